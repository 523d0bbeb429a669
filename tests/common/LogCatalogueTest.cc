#include "platform/common/LogCatalogue.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "platform/common/LogCodes.h"

namespace Kestrav {
namespace {

using Severity = Logger::Severity;

TEST(LogCatalogue, EveryCodeHasAnEntryWithText) {
  for (const std::uint32_t code : LogCode::kAll) {
    SCOPED_TRACE(testing::Message() << std::hex << code);
    const LogEntry* entry = findLogEntry(code);
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->code, code);
    EXPECT_STRNE(entry->text, "");
  }
}

TEST(LogCatalogue, EveryEntryIsOfAKnownCode) {
  const std::set<std::uint32_t> all(std::begin(LogCode::kAll), std::end(LogCode::kAll));
  EXPECT_EQ(all.size(), std::size(LogCode::kAll)) << "two names for one code";
  for (const LogEntry& entry : logCatalogue()) EXPECT_EQ(all.count(entry.code), 1u) << entry.text;
  EXPECT_EQ(logCatalogue().size(), all.size());
}

// Compares the list of all codes, which is written by hand, with the declarations.
TEST(LogCatalogue, NoDeclaredCodeIsMissingFromTheList) {
  std::ifstream file(KESTRAV_LOG_CODES_H);
  ASSERT_TRUE(file) << KESTRAV_LOG_CODES_H;
  const std::string source((std::istreambuf_iterator<char>(file)),
                           std::istreambuf_iterator<char>());
  std::set<std::uint32_t> declared;
  for (std::size_t at = 0;
       (at = source.find("inline constexpr std::uint32_t k", at)) != std::string::npos;) {
    at = source.find_first_of("[=", at);  // '[' is the declaration of the list
    if (source[at] == '[') continue;
    declared.insert(static_cast<std::uint32_t>(std::stoul(source.substr(at + 1, 40), nullptr, 16)));
  }
  EXPECT_EQ(declared, std::set<std::uint32_t>(std::begin(LogCode::kAll), std::end(LogCode::kAll)));
}

TEST(LogCatalogue, CodesThatOtherProgramsKnowKeepTheirNumbers) {
  EXPECT_EQ(LogCode::kAntispamProfileUpdate, 0x30001C1u);
  EXPECT_EQ(LogCode::kProfileUpdateFailed, 0x30001C2u);
  EXPECT_EQ(LogCode::kContentProfileUpdate, 0x30001C3u);
  EXPECT_EQ(LogCode::kWebFilterOrSessionUpdate, 0x30001C4u);
  EXPECT_EQ(LogCode::kDlpProfileUpdate, 0x3000239u);
  EXPECT_EQ(LogCode::kFilePatternUpdate, 0x300023Au);
  EXPECT_EQ(LogCode::kRecipientPolicyFailed, 0x30001BDu);
  EXPECT_EQ(LogCode::kAntispamBlindCopyFailed, 0x30001C0u);
  EXPECT_EQ(LogCode::kAntivirusBlindCopyFailed, 0x30001BBu);
  EXPECT_EQ(LogCode::kContentBlindCopyFailed, 0x30001BCu);
  EXPECT_EQ(LogCode::kAclRuleSkipped, 0x300013Au);
  EXPECT_EQ(LogCode::kCertBindingSkipped, 0x30001BEu);
  EXPECT_EQ(LogCode::kCertBindingStatusChanged, 0x30001BFu);
  EXPECT_EQ(LogCode::kAttachmentSignatureSkipped, 0x300012Eu);
}

TEST(LogCatalogue, LinesPutFieldsIntoTheText) {
  EXPECT_EQ(logLine(LogCode::kAntispamProfileUpdate, {"7", "strict"}),
            "antispam profile 7 \"strict\" changed");
  EXPECT_EQ(logLine(LogCode::kAclRuleSkipped, {"f()", "AclConfiguration", "101", "why (code 1)"}),
            "access control rule skipped: why (code 1) (in f(), AclConfiguration:101)");
  EXPECT_EQ(logLine(LogCode::kCertBindingStatusChanged, {"3", "Valid"}),
            "certificate binding 3 is now Valid");
}

TEST(LogCatalogue, FieldsNeitherBreakALineNorStandForOthers) {
  EXPECT_EQ(logLine(LogCode::kAntispamProfileUpdate, {"{1}", "a\nb"}),
            "antispam profile {1} \"a\\nb\" changed");
}

TEST(LogCatalogue, AMissingFieldIsMarkedAndASpareOneLeftOut) {
  EXPECT_EQ(logLine(LogCode::kAntispamProfileUpdate, {"7"}), "antispam profile 7 \"?\" changed");
  EXPECT_EQ(logLine(LogCode::kAntispamProfileUpdate, {"7", "a", "b"}),
            "antispam profile 7 \"a\" changed");
}

TEST(LogCatalogue, AnUnknownCodeIsAWarningThatListsItsFields) {
  EXPECT_EQ(findLogEntry(0x7FFFFFFF), nullptr);
  EXPECT_EQ(findLogEntry(0), nullptr);
  EXPECT_EQ(logSeverity(0x7FFFFFFF), Severity::kWarning);
  EXPECT_EQ(logLine(0x7FFFABC, {"a", "b\r"}), "message 0x7FFFABC: a, b\\r");
  EXPECT_EQ(logLine(0, {}), "message 0x0: ");
}

TEST(LogCatalogue, SeveritiesFollowWhatHappened) {
  EXPECT_EQ(logSeverity(LogCode::kAntispamProfileUpdate), Severity::kInfo);
  EXPECT_EQ(logSeverity(LogCode::kRecipientPolicyFailed), Severity::kError);
  EXPECT_EQ(logSeverity(LogCode::kAntispamBlindCopyFailed), Severity::kWarning);
  EXPECT_EQ(logSeverity(LogCode::kAclRuleSkipped), Severity::kError);
}

}  // namespace
}  // namespace Kestrav
