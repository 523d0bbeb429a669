// A thread that reads an older revision gets profiles of that revision, but they are not cached.
#include <gtest/gtest.h>

#include "config/CMF.h"
#include "tests/profile/Factory.h"
#include "tests/profile/Gateway.h"
#include "tests/support/AntispamRecords.h"
#include "tests/support/QuarantineRecords.h"
#include "tests/support/WebFilterRecords.h"

using namespace Kestrav;
using namespace Kestrav::Testing;

TEST(PinnedRevision, LeavesNothingOldInTheCaches) {
  const std::uint32_t id = freshId();
  const auto putNamed = [id](const std::string& name) {
    put(AntispamRecord(id).name(name).cloud().uriCategoryCheck(id), WebFilterRecord(id).name(name),
        QuarantineFolderRecord(id, name));
  };
  factory();
  putNamed("old");
  {
    const CMF::Lock pin(true);
    putNamed("new");
    EXPECT_EQ(antispam(id).name(), "old");
    EXPECT_EQ(folder(id)->name(), "old");
  }
  EXPECT_EQ(antispam(id).name(), "new");
  EXPECT_EQ(antispam(id).profileWebFilter().name(), "new");
  EXPECT_EQ(webFilter(id).name(), "new");
  EXPECT_EQ(folder(id)->name(), "new");
}
