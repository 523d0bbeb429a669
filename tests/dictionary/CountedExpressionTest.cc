#include "platform/dictionary/CountedExpression.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/common/Exception.h"

namespace Kestrav::Dictionary {
namespace {

constexpr std::uint32_t kAny = 0xFFFFFFFF;
constexpr CountedExpression::Options kWords{true, true, true};

std::uint32_t count(const std::string& expression, std::string_view text,
                    CountedExpression::Options options = {}) {
  const auto result = CountedExpression(expression, options).count(text, kAny);
  EXPECT_FALSE(result.givenUp) << result.reason;
  return result.matches;
}

TEST(CountedExpression, CountsMatchesThatDoNotOverlap) {
  EXPECT_EQ(count("aa", "aaaaa"), 2u);
  EXPECT_EQ(count("a+", "aa b aaa"), 2u);
  EXPECT_EQ(count("x", ""), 0u);
  EXPECT_EQ(count("(?=a)b?a", "ca"), 1u);  // needs PCRE2 without optimisations of the start
}

TEST(CountedExpression, EmptyMatchesDoNotCount) {
  EXPECT_EQ(count("a*", "xaax"), 1u);
  EXPECT_EQ(count("(?=a)", "aaa"), 0u);
  EXPECT_EQ(count("^", "aaa"), 0u);
}

TEST(CountedExpression, StopsAtMost) {
  EXPECT_EQ(CountedExpression("a", {}).count("aaaa", 3).matches, 3u);
  EXPECT_EQ(CountedExpression("a", {}).count("aaaa", 0).matches, 0u);
}

TEST(CountedExpression, StartAndEndMeanTheWholeText) {
  EXPECT_EQ(count("^a", "aa\na"), 1u);
  EXPECT_EQ(count("a$", "a\naa\n"), 1u);
  EXPECT_EQ(count("(?m)^a", "aa\na"), 2u);
}

TEST(CountedExpression, WholeWords) {
  const struct {
    const char* expression;
    const char* text;
    unsigned matches;
  } cases[] = {
      {"cash", "cash cashew Cash", 2},
      {"cash|cashew", "cashew", 1},  // backtracks to a match that ends a word
      {"\\d+", "123 4a 5", 2},
      {"\\Qcash", "cash", 1},           // left open
      {"(?x)cash # money", "cash", 1},  // ends in a comment
      {"(?i)cash", "CASH", 1},
      {"(*ANYCRLF)cash", "cash", 1},  // a verb must stay at the start
      {"(*F)|cash", "cash", 1},       // other verbs stay where they are
      {"(*atomic:ab)*c", "ababc", 1},
      {"(a)\\1", "aa aaa", 1},
      {"\\$+", "a$$b", 1},  // no letter at its ends, so it splits no word
      {"na\xC3\xAF", "na\xC3\xAFve na\xC3\xAF", 1},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(std::string(row.expression) + " in " + row.text);
    EXPECT_EQ(count(row.expression, row.text, kWords), row.matches);
  }
}

TEST(CountedExpression, WhatIsNoExpressionByItselfIsRefused) {
  for (const char* expression :
       {"(", "a)(?:b", "[z-a]", "a{99999}", "(?<n>a)\\k<m>", "\\C", "\xE9"}) {
    SCOPED_TRACE(expression);
    EXPECT_THROW(CountedExpression(expression, kWords), Exception);
    EXPECT_THROW(CountedExpression(expression, {}), Exception);
  }
}

TEST(CountedExpression, ErrorNamesReasonAndOffset) {
  try {
    CountedExpression("ab(", kWords);
    FAIL();
  } catch (const Exception& exception) {
    EXPECT_EQ(exception.message(),
              "regular expression does not compile: missing closing parenthesis at offset 3");
    EXPECT_EQ(exception.code(), Exception::kBadText);
  }
}

TEST(CountedExpression, EndlessSearchesAreGivenUp) {
  std::string text(100'000, 'a');
  text += " b:";
  for (const char* expression : {"(a+)+$(?<!:)", "(a|aa)+b(?<!b)", "(\\w+\\s?)+:(?<!:)"}) {
    SCOPED_TRACE(expression);
    const auto result = CountedExpression(expression, {}).count(text, kAny);
    EXPECT_TRUE(result.givenUp);
    EXPECT_NE(result.reason, "");
    EXPECT_EQ(result.matches, 0u);
  }
}

TEST(CountedExpression, WorkIsBoundedOverAllStartsTogether) {
  // Each start is cheap; their sum is quadratic in the size of the text.
  const auto result = CountedExpression("a+(?=b)", {}).count(std::string(50'000, 'a'), kAny);
  EXPECT_TRUE(result.givenUp);
  EXPECT_EQ(result.reason, "too much work");
}

TEST(CountedExpression, MatchesBeforeGivingUpStay) {
  std::string text = "good good ";
  text.append(5'000, 'a');
  const auto result = CountedExpression("good|(a+)+$(?<!a)", {}).count(text, kAny);
  EXPECT_TRUE(result.givenUp);
  EXPECT_EQ(result.matches, 2u);
}

}  // namespace
}  // namespace Kestrav::Dictionary
