#include "platform/dictionary/RequiredLiterals.h"

#include <gtest/gtest.h>
#include <unicode/uchar.h>

#include <algorithm>

#include "platform/common/Strings.h"
#include "platform/regex/Characters.h"
#include "platform/regex/Pcre.h"
#include "tests/dictionary/RandomExpressions.h"

namespace Kestrav::Dictionary {
namespace {

using Testing::Random;
using Testing::RandomExpressions;

TEST(RequiredLiterals, NoneForUnclearExpressions) {
  for (const char* expression :
       {"(*UCP)money", "(?x)a # [\\p{L}\n|b]", "[\\Q]\\E]", "(?#()abc", "[a[:b]|xyz[:]]abc"}) {
    EXPECT_TRUE(requiredLiterals(expression).empty()) << expression;
  }
}

TEST(RequiredLiterals, ThatEveryMatchContains) {
  using Texts = std::vector<std::string>;
  const struct {
    const char* expression;
    Texts literals;
  } cases[] = {
      {"money", {"money"}},
      {"a+money\\s+back", {"money"}},
      {"win (golden|money)", {"golden", "money"}},
      {"a|money", {}},
      {"(gold|money)?", {}},
      {"(gold|money){2}", {"gold", "money"}},
      {"(gold|money){0,2}win", {"win"}},
      {"monke?bat", {"monk"}},
      {"SkiCash", {"skicash"}},
      {"two words", {"two words"}},
      {"moneys?", {"money"}},
      {"mon+ey", {"mon"}},
      {"gold\\.com", {"gold.com"}},
      {"gold\\x2dcom", {"gold-com"}},
      {"gold\\x{2d}com", {"gold"}},
      {"free[^ ]{0,255}?money", {"money"}},
      {"money{200,400}567", {"money"}},
      {"gold+?money", {"money"}},
      {"gold??win", {"gol"}},
      {"gold{2}{0}win", {"gol"}},
      {"(?i)money", {"money"}},
      {"(?i:money)", {"money"}},
      {"(?x)mon ey", {}},
      {"(?<name>money)\\k<name>", {}},
      {"(money)\\1", {"money"}},
      {"(?=money)\\w+", {}},
      {"(?!money)gold", {"gold"}},
      {"(?<!money)gold", {"gold"}},
      {"(?<n>gold)", {"gold"}},
      {"(?P<n>gold)", {"gold"}},
      {"(?>gold)", {"gold"}},
      {"(a)(?(1)money|gold)", {}},
      {"gold(*ACCEPT)money", {}},
      {"[gold]", {}},
      {"\\Qgold\\E", {}},
      {"[\\E]gold]", {}},  // a class up to its end
      {"(?<*n|s>gold)mo", {}},
      {"gold\\Kmoney", {"money"}},
      {"\xE6\xBC\xA2\xE5\xAD\x97", {"\xE6\xBC\xA2\xE5\xAD\x97"}},  // without case
      {"CAF\xC3\x89", {"caf\xC3\xA9"}},
      {"d{4}gold", {"gold"}},
      {"gold{0}win", {"gol"}},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(requiredLiterals(row.expression), row.literals) << row.expression;
  }
}

bool containsAny(const std::string& text, const std::vector<std::string>& literals) {
  const std::string folded = foldedText(text);
  return std::any_of(literals.begin(), literals.end(), [&](const std::string& literal) {
    return folded.find(literal) != std::string::npos;
  });
}

// Other cases of a character are the same character in a folded text.
TEST(RequiredLiterals, CoverEveryCaseThatExpressionsKnow) {
  std::string cased;
  std::vector<char32_t> characters;
  for (char32_t character = 1; character < 0x1F000; ++character) {
    if (character >= 0xD800 && character < 0xE000) continue;
    if (u_hasBinaryProperty(static_cast<UChar32>(character), UCHAR_CASED) == 0) continue;
    characters.push_back(character);
    Characters::append(cased, character);
  }
  int others = 0;
  for (const char32_t character : characters) {
    std::string expression;
    Characters::append(expression, character);
    const Pcre::Program program(expression, {.ignoreCase = true, .utf8 = true});
    for (Pcre::Result found = program.next(cased, 0); found.status == Pcre::Status::kFound;
         found = program.next(cased, found.end)) {
      std::size_t start = found.end - 1;
      while (isUtf8Continuation(cased[start])) --start;
      const char32_t other = Characters::next(cased, start);
      std::string one;
      Characters::append(one, other);
      ASSERT_EQ(foldedText(one), foldedText(expression))
          << static_cast<std::uint32_t>(character) << " " << static_cast<std::uint32_t>(other);
      others += other != character ? 1 : 0;
    }
  }
  EXPECT_GT(others, 2'000);
}

TEST(RequiredLiterals, HoldBackNoMatch) {
  Random random(7);
  const RandomExpressions expressions;
  int selected = 0;
  for (int round = 0; round < 20'000; ++round) {
    const std::string expression = expressions.make(random);
    const std::vector<std::string> literals = requiredLiterals(expression);
    if (literals.empty()) continue;
    const Pcre::Program program(expression, {.ignoreCase = true, .utf8 = true});
    if (!program.compiled()) continue;
    for (int i = 0; i < 20; ++i) {
      const std::string text = expressions.text(random);
      if (program.search(text).status != Pcre::Status::kFound) continue;
      ++selected;
      ASSERT_TRUE(containsAny(text, literals)) << expression << " in " << text;
    }
  }
  EXPECT_GT(selected, 1'000);
}

}  // namespace
}  // namespace Kestrav::Dictionary
