#include "platform/dictionary/ExpressionSet.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>

#include "platform/dictionary/LiteralSet.h"

namespace Kestrav::Dictionary {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(CheapExpression, PropertiesBecomeAnyCharacter) {
  const struct {
    const char* expression;
    const char* cheap;
  } cases[] = {
      {"cash", "cash"},
      {"a\\p{L}+b", "a(?s:.)+b"},
      {"a\\pLb", "a(?s:.)b"},
      {"a\\P{Han}b", "a(?s:.)b"},
      {"[\\p{L}0-9]x", "(?s:.)x"},
      {"[^\\p{L}]x", "(?s:.)x"},
      {"[]\\p{L}]x", "(?s:.)x"},
      {"\\Q\\p{L}\\E", "\\Q\\p{L}\\E"},
      {"\\\\p{2}", "\\\\p{2}"},
      {"\\x{1F600}+", "\\x{1F600}+"},
      {"\\x{2026}\\x{2026}\\x{2026}", "\\x{2026}\\x{2026}\\x{2026}"},
      {"[[:alpha:]\\d]{3}", "[[:alpha:]\\d]{3}"},
      {"(a|b){2,30}", "(a|b){2,30}"},
      {"a{x}", "a{x}"},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(cheapExpression(row.expression), row.cheap) << row.expression;
  }
}

TEST(CheapExpression, NoneForExpensiveOrUnclearExpressions) {
  for (const char* expression :
       {"(*UCP)\\w+", "a{5000}", "((a{1,20}){1,20}){1,20}", "(.{1,100}x){1,100}", "a)b", "(a", "[a",
        "(?x)a # [\\p{L}\n|b]", "[\\Q]\\E]"}) {
    EXPECT_EQ(cheapExpression(expression), "") << expression;
  }
}

TEST(ExpressionSet, NamesThoseThatMayMatch) {
  const ExpressionSet set({{"cash", 3, true},
                           {"money(?=back)", 5, true},
                           {"Free", 7, false},
                           {"(?<!\\p{L})gift", 9, true}});
  EXPECT_THAT(set.unsupported(), IsEmpty());
  EXPECT_THAT(set.candidates("CASH and free gift"), ElementsAre(3, 9));
  EXPECT_THAT(set.candidates("moneyback Free"), ElementsAre(5, 7));
  EXPECT_THAT(set.candidates(""), IsEmpty());
}

TEST(ExpressionSet, OnlyExactExpressionsAreProof) {
  const ExpressionSet set({{"cash", 0, true}, {"money(?=back)", 1, true}, {"a\\p{L}", 2, true}});
  EXPECT_TRUE(set.isProof(0));
  EXPECT_FALSE(set.isProof(1));
  EXPECT_FALSE(set.isProof(2));
}

TEST(ExpressionSet, OneThatIsNotSupportedLeavesTheOthers) {
  const ExpressionSet set(
      {{"cash", 0, true}, {"a\\Kb", 1, true}, {"b*", 2, true}, {"gift", 3, true}, {"(", 4, true}});
  EXPECT_THAT(set.unsupported(), ElementsAre(1, 2, 4));
  EXPECT_THAT(set.candidates("gift cash"), ElementsAre(0, 3));
}

TEST(ExpressionSet, MoreThanOneDatabase) {
  std::vector<ExpressionSet::Expression> expressions;
  for (std::uint32_t i = 0; i < 1'100; ++i) {
    expressions.push_back({"w" + std::to_string(i) + "x", i, true});
  }
  const ExpressionSet set(expressions);
  EXPECT_THAT(set.candidates("w1099x W0X w500x"), ElementsAre(0, 500, 1099));
}

TEST(LiteralSet, ExceptionOfAVisitorEndsTheScanAndNotTheThread) {
  const LiteralSet set({{"cash", 7, true}}, [](std::uint32_t, const std::string&) { FAIL(); });
  const auto refuse = [](std::uint32_t, std::size_t, std::size_t) { throw std::bad_alloc(); };
  EXPECT_THROW(set.scan("cash cash", refuse), std::bad_alloc);
  std::vector<std::size_t> begins;
  set.scan("cash CASH", [&](std::uint32_t item, std::size_t begin, std::size_t) {
    EXPECT_EQ(item, 7u);
    begins.push_back(begin);
  });
  EXPECT_THAT(begins, ElementsAre(0, 5));
}

}  // namespace
}  // namespace Kestrav::Dictionary
