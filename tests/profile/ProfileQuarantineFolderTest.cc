#include "ProfileQuarantineFolder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "platform/common/Buffer.h"
#include "tests/support/QuarantineRecords.h"

using namespace Kestrav;
using namespace Kestrav::Testing;

namespace {

std::string encoded(const char* name) {
  return ProfileQuarantineFolder(QuarantineFolderRecord(1, name).data()).encodedName();
}

std::string base64(const char* text) {
  return Buffer(text).toBase64String();
}

}  // namespace

TEST(ProfileQuarantineFolder, AsciiNameIsEncodedAsItIs) {
  const ProfileQuarantineFolder folder(QuarantineFolderRecord(1, "Bulk").data());
  EXPECT_EQ(folder.name(), "Bulk");
  EXPECT_EQ(folder.encodedName(), "QnVsaw==");
}

TEST(ProfileQuarantineFolder, NameBeyondAsciiTakesTheMailboxForm) {
  const ProfileQuarantineFolder folder(QuarantineFolderRecord(1, "Entwürfe").data());
  EXPECT_EQ(folder.name(), "Entwürfe");
  EXPECT_EQ(folder.encodedName(), base64("Entw&APw-rfe"));
}

TEST(ProfileQuarantineFolder, MailboxFormOfSpecialNames) {
  EXPECT_EQ(encoded("a&b"), base64("a&-b"));
  EXPECT_EQ(encoded("台北"), base64("&U,BTFw-"));
  EXPECT_EQ(encoded("Sub/Folder"), base64("Sub/Folder"));
  EXPECT_EQ(encoded(""), "");
}

TEST(ProfileQuarantineFolder, NameWithoutAnEndEndsWithItsField) {
  QuarantineFolderRecord record(1, "");
  std::memset(record->name, 'q', sizeof(record->name));
  EXPECT_EQ(ProfileQuarantineFolder(record.data()).name(), std::string(256, 'q'));
}
