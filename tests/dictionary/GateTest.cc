#include "platform/dictionary/Gate.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unicode/uchar.h>

#include <algorithm>

#include "platform/common/Strings.h"
#include "platform/dictionary/ExpressionSet.h"
#include "platform/dictionary/Words.h"
#include "platform/regex/Characters.h"
#include "platform/regex/Pcre.h"
#include "tests/dictionary/RandomExpressions.h"

namespace Kestrav::Dictionary {
namespace {

using Testing::Random;
using Testing::RandomExpressions;

TEST(Gate, PropertiesBecomeAnyCharacter) {
  const struct {
    const char* expression;
    const char* gate;
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
      {"(a|b){2,30}", "(?:(a|b))+"},
      {"a{x}", "a{x}"},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(makeGate(row.expression).expression, row.gate) << row.expression;
  }
}

TEST(Gate, CostlyRepeatsLoseTheirBounds) {
  const struct {
    const char* expression;
    const char* gate;
  } cases[] = {
      {"xy[a-z]{200,400}7", "xy(?:[a-z])+7"},
      {"xy[a-z]{0,400}7", "xy(?:[a-z])*7"},
      {"xy[a-z]{200,400}+7", "xy(?:[a-z])+7"},  // "++" would take the 7 too
      {"xy[a-z]{200,400}?7", "xy(?:[a-z])+?7"},
      {"a{2}{900}", "(?:a{2})+"},
      {"xy[a-z]{2,3}7", "xy[a-z]{2,3}7"},
      {"((a{1,20}){1,20}){1,20}", "(?:((?:(a{1,20}))+))+"},
      {"(?x)a {3000}", ""},  // repeats the "a", not the blank
  };
  for (const auto& row : cases) {
    const Gate gate = makeGate(row.expression);
    EXPECT_EQ(gate.expression, row.gate) << row.expression;
    EXPECT_EQ(gate.exact, gate.expression == row.expression) << row.expression;
    EXPECT_LE(gate.expression.empty() ? 0 : gate.cost, kMostGateCost);
  }
}

TEST(Gate, NoneForUnclearExpressions) {
  for (const char* expression : {"(*UCP)\\w+", "a)b", "(a", "[a", "(?x)a # [\\p{L}\n|b]",
                                 "[\\Q]\\E]", "(?#()abc", "[a[:b]|xyz[:]]abc"}) {
    const Gate gate = makeGate(expression);
    EXPECT_EQ(gate.expression, "") << expression;
    EXPECT_TRUE(gate.literals.empty()) << expression;
  }
}

TEST(Gate, LiteralsThatEveryMatchContains) {
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
      {"two words", {"words"}},
      {"moneys?", {"money"}},
      {"mon+ey", {"mon"}},
      {"gold\\.com", {"gold.com"}},
      {"gold\\x2dcom", {"gold-com"}},
      {"gold\\x{2d}com", {"gold"}},
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
      {"gold\\Kmoney", {"money"}},
      {"\xE6\xBC\xA2\xE5\xAD\x97", {"\xE6\xBC\xA2\xE5\xAD\x97"}},  // without case
      {"CAF\xC3\x89", {"caf\xC3\xA9"}},
      {"d{4}gold", {"gold"}},
      {"gold{0}win", {"gol"}},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(makeGate(row.expression).literals, row.literals) << row.expression;
  }
}

bool containsAny(const std::string& text, const std::vector<std::string>& literals) {
  const std::string folded = foldedForGates(text);
  return std::any_of(literals.begin(), literals.end(), [&](const std::string& literal) {
    return folded.find(literal) != std::string::npos;
  });
}

// Other cases of a character are the same character in a folded text.
TEST(Gate, LiteralsCoverEveryCaseThatExpressionsKnow) {
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
      ASSERT_EQ(foldedForGates(one), foldedForGates(expression))
          << static_cast<std::uint32_t>(character) << " " << static_cast<std::uint32_t>(other);
      others += other != character ? 1 : 0;
    }
  }
  EXPECT_GT(others, 2'000);
}

TEST(Gate, LiteralsHoldBackNoMatch) {
  Random random(7);
  const RandomExpressions expressions;
  int selected = 0;
  for (int round = 0; round < 20'000; ++round) {
    const std::string expression = expressions.make(random);
    const Gate gate = makeGate(expression);
    if (gate.literals.empty()) continue;
    const Pcre::Program program(expression, {.ignoreCase = true, .utf8 = true});
    if (!program.compiled()) continue;
    for (int i = 0; i < 20; ++i) {
      const std::string text = expressions.text(random);
      if (program.search(text).status != Pcre::Status::kFound) continue;
      ++selected;
      ASSERT_TRUE(containsAny(text, gate.literals)) << expression << " in " << text;
    }
  }
  EXPECT_GT(selected, 1'000);
}

TEST(Gate, EngineHoldsBackNoMatch) {
  Random random(8);
  const RandomExpressions expressions;
  int selected = 0;
  for (int round = 0; round < 100; ++round) {
    std::vector<std::string> texts;
    std::vector<Gate> gates;
    while (texts.size() < 30) {
      texts.push_back(expressions.make(random));
      gates.push_back(makeGate(texts.back()));
    }
    std::vector<ExpressionSet::Expression> all;
    for (std::uint32_t i = 0; i < texts.size(); ++i) all.push_back({&gates[i], i, true});
    const ExpressionSet set(all);
    std::vector<std::string> subjects;
    while (subjects.size() < 40) subjects.push_back(expressions.text(random));
    for (std::uint32_t i = 0; i < texts.size(); ++i) {
      const Pcre::Program program(texts[i], {.ignoreCase = true, .utf8 = true});
      const auto& ungated = set.ungated();
      if (!program.compiled() || std::binary_search(ungated.begin(), ungated.end(), i)) continue;
      for (const std::string& subject : subjects) {
        if (program.next(subject, 0).status != Pcre::Status::kFound) {
          if (set.isProof(i)) {
            ASSERT_THAT(set.candidates(subject), ::testing::Not(::testing::Contains(i)))
                << texts[i] << " in " << subject;
          }
          continue;
        }
        ++selected;
        ASSERT_THAT(set.candidates(subject), ::testing::Contains(i))
            << texts[i] << " in " << subject;
      }
    }
  }
  EXPECT_GT(selected, 1'000);
}

}  // namespace
}  // namespace Kestrav::Dictionary
