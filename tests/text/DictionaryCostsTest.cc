// Dictionaries of which a scanner would leave something out are refused.
#include <gmock/gmock.h>

#include "TextFixture.h"
#include "platform/config/text/Problem.h"

namespace Kestrav::Config::Text {
namespace {

using ::testing::HasSubstr;
using ::testing::MatchesRegex;

std::string item(const std::string& pattern, const std::string& kind = "regex") {
  return "      - {pattern: '" + pattern + "', kind: " + kind + "}\n";
}

std::string dictionary(const std::string& name, const std::string& items) {
  return "  - name: " + name + "\n    items:\n" + items;
}

// Expressions that can only be searched for one by one, of which 200 may be in a set.
std::string oneByOne(int from, int to) {
  std::string items;
  for (int i = from; i < to; ++i) items += item("x[" + std::to_string(1'000 + i) + "]");
  return items;
}

std::string warningsOf(const std::string& text) {
  std::vector<Problem> problems;
  const std::vector<Source> sources{{"gateway.yaml", text}};
  EXPECT_TRUE(read(std::span<const Source>(sources), problems).has_value());
  std::string lines;
  for (const Problem& problem : problems) lines += problem.toString() + "\n";
  return lines;
}

TEST(DictionaryCosts, ItemsThatNothingCanSearchForAreRefused) {
  EXPECT_EQ(
      mistakesOf("dictionaries:\n" + dictionary("d", item("ok") + item("*", "wildcard"))),
      "gateway.yaml:5:9: '*' cannot be searched for: wildcard has no character of its own and "
      "would match everything; another pattern\n");
  // Not twice.
  EXPECT_EQ(mistakesOf("dictionaries:\n" + dictionary("d", item("bad("))),
            "gateway.yaml:4:9: the pattern 'bad(' does not compile: regular expression does not "
            "compile: missing closing parenthesis at offset 4; a regular expression\n");
}

TEST(DictionaryCosts, TooManyExpressionsWithoutLiteralsAreRefused) {
  EXPECT_EQ(mistakesOf("dictionaries:\n" + dictionary("d", oneByOne(0, 200))), "");
  EXPECT_EQ(
      mistakesOf("dictionaries:\n" + dictionary("d", oneByOne(0, 202))),
      "gateway.yaml:2:5: the dictionary 'd' would leave out 2 of its items, such as 'x[1200]' "
      "in line 204, 'x[1201]' in line 205: one of too many expressions that can only be searched "
      "for one by one; expressions with three characters in a row that every match "
      "contains\n");
}

TEST(DictionaryCosts, GroupsAreCheckedAsAWhole) {
  const std::string dictionaries =
      "dictionaries:\n" + dictionary("a", oneByOne(0, 120)) + dictionary("b", oneByOne(120, 208));
  EXPECT_EQ(mistakesOf(dictionaries), "");
  EXPECT_EQ(mistakesOf(dictionaries + "dictionary-groups:\n  - name: g\n    dictionaries: [a]\n"),
            "");
  EXPECT_THAT(
      mistakesOf(dictionaries + "dictionary-groups:\n  - name: g\n    dictionaries: [a, b, a]\n"),
      HasSubstr("gateway.yaml:215:5: the dictionary group 'g' would leave out 8 of its items, such "
                "as 'x[1200]' in line 206, "));
}

TEST(DictionaryCosts, DisabledItemsCostNothing) {
  std::string items = oneByOne(0, 200);
  items += "      - {pattern: 'x[99]', kind: regex, enabled: off}\n";
  EXPECT_EQ(mistakesOf("dictionaries:\n" + dictionary("d", items)), "");
}

TEST(DictionaryCosts, CostlyPatternsAreAccepted) {
  std::string items;
  for (int i = 0; i < 200; ++i) items += item("xy[a-z]{200,400}" + std::to_string(i));
  for (int i = 0; i < 60; ++i) {
    std::string words;
    while (words.size() < 240) words += "word" + std::to_string(1'000 * i + 7 * words.size()) + "|";
    items += item(words + "word");
  }
  EXPECT_EQ(mistakesOf("dictionaries:\n" + dictionary("d", items)), "");
}

// Hundreds of alternatives per item cost most by far.
std::string alternatives(int seed) {
  std::string words;
  while (words.size() < 250)
    words += std::to_string(100 + (seed * 131 + words.size() * 7) % 900) + "|";
  return words + "end";
}

TEST(DictionaryCosts, SetsOverTheirBudgetAreRefusedWithTheirCostliestItems) {
  std::string items;
  for (int i = 0; i < 1'400; ++i) items += item(alternatives(i));
  const std::string words = item("cash", "literal");
  EXPECT_THAT(mistakesOf("dictionaries:\n" + dictionary("d", words + items)),
              MatchesRegex("gateway.yaml:2:5: the dictionary 'd' costs about 2[0-9]{3} ms to "
                           "compile, most of it for '[^']*' in line 5 \\(2 ms\\), '[^']*' in line "
                           "6 \\(2 ms\\), '[^']*' in line 7 \\(2 ms\\); at most 2000 ms: fewer or "
                           "simpler items\n"));
}

TEST(DictionaryCosts, CostlySetsAreWarnedOf) {
  std::string items;
  for (int i = 0; i < 15'000; ++i) items += "      - word" + std::to_string(i) + "\n";
  EXPECT_THAT(warningsOf("dictionaries:\n" + dictionary("d", items)),
              MatchesRegex("gateway.yaml:2:5: warning: the dictionary 'd' costs about 300 ms of "
                           "2000 ms to compile \\(here: [0-9]+ ms\\), all 15000 items alike; fewer "
                           "or simpler items keep first scans short\n"));
  EXPECT_EQ(warningsOf("dictionaries:\n" + dictionary("d", item("cash"))), "");
}

}  // namespace
}  // namespace Kestrav::Config::Text
