#include "EmailAddressRewriter.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "platform/common/Exception.h"
#include "platform/common/LogCodes.h"
#include "platform/common/Strings.h"
#include "platform/config/records/SharedRecords.h"
#include "profile/action/StoredRewriter.h"
#include "tests/support/Addresses.h"
#include "tests/support/LogCapture.h"

using namespace Kestrav;
using Kestrav::Testing::address;

namespace {

std::string rewrite(const char* pattern, const std::string& text) {
  return EmailAddressRewriter(pattern)(address(text)).address();
}

cfg_as_email_address_modification_ half(std::uint32_t kind, const char* text) {
  cfg_as_email_address_modification_ made{};
  made.kind = kind;
  boundedCopy(made.text, text);
  return made;
}

}  // namespace

TEST(EmailAddressRewriter, PutsThePartsOfTheAddressIntoThePattern) {
  EXPECT_EQ(rewrite("%%LOCAL%%@%%DOMAIN%%", "user@example.com"), "user@example.com");
  EXPECT_EQ(rewrite("%%LOCAL%%@archive.%%DOMAIN%%", "user@example.com"),
            "user@archive.example.com");
  EXPECT_EQ(rewrite("%%DOMAIN%%-%%LOCAL%%@vault.example", "user@example.com"),
            "example.com-user@vault.example");
  EXPECT_EQ(rewrite("spam@vault.example", "user@example.com"), "spam@vault.example");
}

TEST(EmailAddressRewriter, ValuesAreTakenAsTheyAre) {
  EXPECT_EQ(rewrite("%%LOCAL%%@x.example", "a&b@example.com"), "a&b@x.example");
  EXPECT_EQ(rewrite("%%LOCAL%%@x.example", "a%%DOMAIN%%b@example.com"), "a%%DOMAIN%%b@x.example");
  EXPECT_EQ(rewrite("{{LOCAL}}%%LOCAL%%@x.example", "u@example.com"), "{{LOCAL}}u@x.example");
}

TEST(EmailAddressRewriter, LocalPartThatNeedsQuotesIsQuotedAgain) {
  struct Case {
    const char* pattern;
    const char* address;
    const char* expected;
  };
  const std::string longest = "\"" + std::string(61, 'x') + " \"";
  const Case cases[] = {
      // Only the domain changes.
      {"%%LOCAL%%@x.example", R"("john smith"@a.example)", R"("john smith"@x.example)"},
      {"%%LOCAL%%@x.example", R"("\"x\""@a.example)", R"("\"x\""@x.example)"},
      {"%%LOCAL%%@x.example", R"("a\\b"@a.example)", R"("a\\b"@x.example)"},
      {"%%LOCAL%%@x.example", R"("a@b"@a.example)", R"("a@b"@x.example)"},
      {"%%LOCAL%%@x.example", R"("<a>"@a.example)", R"("<a>"@x.example)"},
      {"%%LOCAL%%@x.example", R"(" a "@a.example)", R"(" a "@x.example)"},
      {"%%LOCAL%%@x.example", R"(""@a.example)", R"(""@x.example)"},
      {"%%LOCAL%%@x.example", R"(".a..b."@a.example)", R"(".a..b."@x.example)"},
      {"%%LOCAL%%@x.example", R"("%%DOMAIN%% %%"@a.example)", R"("%%DOMAIN%% %%"@x.example)"},
      {"%%LOCAL%%@x.example", "\"j\xC3\xBC rg\"@a.example", "\"j\xC3\xBC rg\"@x.example"},
      // The quotes are not needed.
      {"%%LOCAL%%@x.example", R"("john"@a.example)", "john@x.example"},
      {"%%LOCAL%%@x.example", "j\xC3\xBCrg@a.example", "j\xC3\xBCrg@x.example"},
      // The local part changes, too.
      {"%%LOCAL%%+spam@x.example", R"("john smith"@a.example)", R"("john smith+spam"@x.example)"},
      {"  spam-%%LOCAL%%@%%DOMAIN%%", R"("john smith"@a.example)",
       R"("spam-john smith"@a.example)"},
      {"archive@x.example", R"("john smith"@a.example)", "archive@x.example"},
      {"%%DOMAIN%%@x.example", R"("john smith"@a.example)", "a.example@x.example"},
      // The pattern has the quotes.
      {"\"%%LOCAL%%\"@x.example", R"("john smith"@a.example)", R"("john smith"@x.example)"},
      {"\"%%LOCAL%%\"@x.example", R"("\"x\""@a.example)", R"("\"x\""@x.example)"},
      {"\"%%LOCAL%%\"@x.example", "john@a.example", "john@x.example"},
      {"\"my %%LOCAL%%\"@x.example", "john@a.example", R"("my john"@x.example)"},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(std::string(row.pattern) + " of " + row.address);
    EXPECT_EQ(rewrite(row.pattern, row.address), row.expected);
  }
  EXPECT_EQ(rewrite("%%LOCAL%%@x.example", longest + "@a.example"), longest + "@x.example");
}

TEST(EmailAddressRewriter, QuotedLocalPartThatBecomesTooLongIsAnError) {
  const std::string longest = "\"" + std::string(61, 'x') + " \"@a.example";
  EXPECT_THROW(rewrite("%%LOCAL%%y@x.example", longest), Exception);
  EXPECT_THROW(rewrite("%%LOCAL%%@%%DOMAIN%%%%DOMAIN%%",
                       "\"a b\"@" + std::string(63, 'a') + "." + std::string(63, 'b') + ".example"),
               Exception);
}

TEST(EmailAddressRewriter, NullAddressStaysNull) {
  EXPECT_TRUE(EmailAddressRewriter("%%LOCAL%%@archive.example")(EmailAddress()).isNull());
}

// The template begins with a tag that sets the delimiters; the blank after it is expanded too.
TEST(EmailAddressRewriter, ExpandedTextStartsWithABlank) {
  const EmailAddressRewriter noAddress("%%LOCAL%%");
  try {
    noAddress(address("user@example.com"));
    FAIL() << "nothing was thrown";
  } catch (const Exception& thrown) {
    EXPECT_EQ(thrown.code(), EmailAddress::kInvalidAddress);
    EXPECT_EQ(thrown.stringParameter(), " user");
  }
}

TEST(EmailAddressRewriter, ResultThatIsNoAddressIsAnError) {
  const EmailAddressRewriter rewriter("%%LOCAL%%@@%%DOMAIN%%");
  EXPECT_THROW(rewriter(address("user@example.com")), Exception);
  // Its lock is released: it can still be used.
  EXPECT_THROW(rewriter(address("user@example.com")), Exception);
}

TEST(EmailAddressRewriter, HoldsNothingByDefault) {
  const EmailAddressRewriter nothing;
  EXPECT_TRUE(nothing.isNull());
  EXPECT_FALSE(EmailAddressRewriter("x@example.com").isNull());
  EXPECT_THROW(nothing(address("user@example.com")), Exception);
}

TEST(EmailAddressRewriter, UnclosedMarkerIsAnError) {
  try {
    const EmailAddressRewriter rewriter("%%LOCAL@%%DOMAIN%%");
    FAIL() << "nothing was thrown";
  } catch (const Exception& thrown) {
    EXPECT_EQ(thrown.code(), Exception::kBadText);
    EXPECT_EQ(thrown.stringParameter(), "%%LOCAL@%%DOMAIN%%");
  }
}

TEST(EmailAddressRewriter, CopiesRewriteAlike) {
  const EmailAddressRewriter original("%%LOCAL%%@a.example");
  EmailAddressRewriter copy;
  copy = original;
  EXPECT_EQ(copy(address("u@b.example")), original(address("u@b.example")));
}

TEST(EmailAddressRewriter, AdapterAppliesEachHalfToItsPart) {
  struct Case {
    std::uint32_t localKind;
    std::uint32_t domainKind;
    const char* expected;
  };
  const Case cases[] = {
      {0, 0, "user@example.com"},   {1, 0, "Xuser@example.com"},
      {2, 0, "userX@example.com"},  {3, 0, "X@example.com"},
      {4, 0, "user@example.com"},   {0xFFFFFFFF, 5, "user@example.com"},
      {0, 1, "user@y.example.com"}, {1, 1, "Xuser@y.example.com"},
      {3, 1, "X@y.example.com"},    {2, 4, "userX@example.com"},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.localKind * 10 + row.domainKind);
    const auto rewriter =
        EmailAddressRewriter::adapter(half(row.localKind, "X"), half(row.domainKind, "y."));
    EXPECT_EQ(rewriter(address("user@example.com")).address(), row.expected);
  }
}

TEST(EmailAddressRewriter, AdapterAppendsToAndReplacesTheDomain) {
  EXPECT_EQ(EmailAddressRewriter::adapter(half(0, ""), half(2, ".archive"))(address("u@a.example"))
                .address(),
            "u@a.example.archive");
  EXPECT_EQ(EmailAddressRewriter::adapter(half(0, ""), half(3, "b.example"))(address("u@a.example"))
                .address(),
            "u@b.example");
}

TEST(EmailAddressRewriter, AdapterTextMayNameTheParts) {
  EXPECT_EQ(EmailAddressRewriter::adapter(half(3, "%%LOCAL%%+%%DOMAIN%%"),
                                          half(3, "vault.example"))(address("u@a.example"))
                .address(),
            "u+a.example@vault.example");
}

TEST(EmailAddressRewriter, AdapterOfATextThatDoesNotCompileAnswersTheNullAddress) {
  const Testing::LogCapture log;
  for (int times = 0; times < 3; ++times) {
    const auto unusable = EmailAddressRewriter::adapter(half(1, "%%oops"), half(0, ""));
    EXPECT_FALSE(unusable.isNull());
    EXPECT_TRUE(unusable(address("u@a.example")).isNull());
    EXPECT_TRUE(unusable(EmailAddress()).isNull());
  }
  EXPECT_EQ(log.fields(LogCode::kRewriterUnusable),
            (std::vector<std::vector<std::string>>{{"%%oops%%LOCAL%%@%%DOMAIN%%"}}));
}

TEST(EmailAddressRewriter, StoredTextThatDoesNotCompileGivesNoRewriter) {
  const Testing::LogCapture log;
  ASSERT_TRUE(storedRewriter("%%LOCAL%%@x.example").has_value());
  EXPECT_TRUE(log.codes().empty());
  for (int n = 0; n < 300; ++n) {  // more texts than it remembers
    EXPECT_FALSE(storedRewriter(std::to_string(n) + "%%LOCAL@x.example").has_value());
    EXPECT_FALSE(storedRewriter(std::to_string(n) + "%%LOCAL@x.example").has_value());
  }
  EXPECT_EQ(log.fields(LogCode::kRewriterUnusable).size(), 300u);
}

TEST(EmailAddressRewriter, AdapterTextWithoutAnEndEndsWithItsField) {
  cfg_as_email_address_modification_ endless{};
  endless.kind = 3;
  std::memset(endless.text, 'a', sizeof(endless.text));
  const auto rewriter = EmailAddressRewriter::adapter(half(0, ""), endless);
  try {
    rewriter(address("u@a.example"));
    FAIL() << "a domain of 256 letters is no domain";
  } catch (const Exception& thrown) {
    EXPECT_EQ(thrown.code(), EmailAddress::kInvalidAddress);
  }
}
