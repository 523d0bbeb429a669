#include "platform/dictionary/ExpressionSet.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>

#include "platform/dictionary/LiteralSet.h"

namespace Kestrav::Dictionary {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Text {
  std::string text;
  std::uint32_t item;
  bool ignoreCase;
  bool byLiterals = false;
};

ExpressionSet Set(const std::vector<Text>& texts) {
  std::vector<Gate> gates;
  for (const Text& text : texts) gates.push_back(makeGate(text.text));
  std::vector<ExpressionSet::Expression> expressions;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    expressions.push_back({&gates[i], texts[i].item, texts[i].ignoreCase, texts[i].byLiterals});
  }
  return ExpressionSet(expressions);
}

TEST(ExpressionSet, NamesThoseThatMayMatch) {
  const ExpressionSet set = Set({{"cash", 3, true},
                                 {"money(?=back)", 5, true},
                                 {"Free", 7, false},
                                 {"(?<!\\p{L})gift", 9, true}});
  EXPECT_THAT(set.ungated(), IsEmpty());
  EXPECT_THAT(set.candidates("CASH and free gift"), ElementsAre(3, 9));
  EXPECT_THAT(set.candidates("moneyback Free"), ElementsAre(5, 7));
  EXPECT_THAT(set.candidates(""), IsEmpty());
}

TEST(ExpressionSet, OnlyExactExpressionsAreProof) {
  const ExpressionSet set =
      Set({{"cash", 0, true}, {"money(?=back)", 1, true}, {"a\\p{L}", 2, true}});
  EXPECT_TRUE(set.isProof(0));
  EXPECT_FALSE(set.isProof(1));
  EXPECT_FALSE(set.isProof(2));
}

TEST(ExpressionSet, OneThatIsNotSupportedLeavesTheOthers) {
  const ExpressionSet set = Set(
      {{"cash", 0, true}, {"a\\Kb", 1, true}, {"b*", 2, true}, {"gift", 3, true}, {"(", 4, true}});
  EXPECT_THAT(set.ungated(), ElementsAre(1, 2, 4));
  EXPECT_THAT(set.candidates("gift cash"), ElementsAre(0, 3));
}

TEST(ExpressionSet, MoreThanOneDatabase) {
  std::vector<Text> expressions;
  for (std::uint32_t i = 0; i < 1'100; ++i) {
    expressions.push_back({"w" + std::to_string(i) + "x", i, true});
  }
  const ExpressionSet set = Set(expressions);
  EXPECT_THAT(set.candidates("w1099x W0X w500x"), ElementsAre(0, 500, 1099));
}

TEST(ExpressionSet, LiteralsSelectWithoutTheEngine) {
  const ExpressionSet set = Set({{"ca\\Ksh", 1, true},
                                 {"gi(?:fted|rlie)+x", 2, false, true},
                                 {"[a-z]+\\.example\\.com", 3, true, true},
                                 {"\\d+", 4, true, true}});
  EXPECT_THAT(set.ungated(), ElementsAre(1, 4));
  EXPECT_THAT(set.candidates("no gift 34"), IsEmpty());
  EXPECT_THAT(set.candidates("A.EXAMPLE.COM 12"), ElementsAre(3));
  EXPECT_FALSE(set.isProof(3));
}

TEST(ExpressionSet, LiteralsReplaceAnExpressionThatTheEngineRefuses) {
  const ExpressionSet set = Set({{"cash\\Kmoney", 1, true}, {"gift", 2, true}});
  EXPECT_THAT(set.ungated(), IsEmpty());
  EXPECT_THAT(set.candidates("CASH money gift"), ElementsAre(1, 2));
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
