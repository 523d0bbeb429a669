#include "platform/dictionary/ExpressionSet.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>

#include "platform/dictionary/LiteralSet.h"
#include "platform/dictionary/RequiredLiterals.h"

namespace Kestrav::Dictionary {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

ExpressionSet Set(const std::vector<std::string>& expressions) {
  std::vector<LiteralSet::Literal> literals;
  for (std::uint32_t i = 0; i < expressions.size(); ++i) {
    for (const std::string& literal : requiredLiterals(expressions[i])) {
      literals.push_back({literal, i, true});
    }
  }
  return {literals, [](std::uint32_t, const std::string&) { FAIL(); }};
}

TEST(ExpressionSet, NamesThoseThatMayMatch) {
  const ExpressionSet set =
      Set({"cash", "money(?=back)", "Free", "(?<!\\p{L})gift|present", "\\d+"});
  EXPECT_FALSE(set.empty());
  EXPECT_THAT(set.candidates("CASH and free gift"), ElementsAre(0, 2, 3));
  EXPECT_THAT(set.candidates("money, a Present"), ElementsAre(1, 3));
  EXPECT_THAT(set.candidates("cash cash cash"), ElementsAre(0));
  EXPECT_THAT(set.candidates(""), IsEmpty());
  EXPECT_TRUE(Set({"\\d+"}).empty());
}

TEST(ExpressionSet, AllCasesOfACharacterAreTheSame) {
  const ExpressionSet set = Set({"task", "\xC3\x89t\xC3\xA9"});
  EXPECT_THAT(set.candidates("TASK"), ElementsAre(0));
  EXPECT_THAT(set.candidates("ta\xC5\xBF\xE2\x84\xAA"), ElementsAre(0));  // long s, Kelvin sign
  EXPECT_THAT(set.candidates("\xC3\xA9T\xC3\x89"), ElementsAre(1));
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
