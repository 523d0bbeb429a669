#include "platform/dictionary/ProfileDictionaryScanner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/common/LogCodes.h"
#include "tests/dictionary/DictionaryItems.h"

namespace Kestrav {
namespace {

using Testing::DictionaryItem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Testing::Literal;
using Testing::LoggedMessages;
using Testing::Matches;
using Testing::Regex;
using Testing::Scanner;
using Testing::Wildcard;

TEST(ProfileDictionaryScanner, WholeWords) {
  const struct {
    std::string word;
    std::string text;
    unsigned matches;
  } cases[] = {
      {"cash", "cash", 1},
      {"cash", "cash, (cash) \"cash\"\ncash", 4},
      {"cash", "cashew encash cash1 1cash", 0},
      {"cash", "_cash_ cash-back", 2},
      {"cash", "CASH Cash", 2},
      {"cash", "caſh", 0},  // no letter outside of ASCII equals one inside
      {"cash",
       "\xC3\xA9"
       "cash cash\xC3\xA9",
       0},                          // é on either side
      {"cash", "cash\xCC\x81", 0},  // an accent on its last letter
      {"cash",
       "\xE4\xB9\xB0"
       "cash\xE5\x90\xA7",
       1},  // between Han
      {"cash",
       "\xE9"
       "cash\xFF",
       1},  // between bytes that are not UTF-8
      {"$$$", "a$$$b", 1},
      {"$$", "$$$$$", 2},
      {"caf\xC3\xA9", "CAF\xC3\x89 caf\xC3\xA9 cafe", 2},
      {"\xD0\x9F\xD1\x80", "\xD0\xBF\xD1\x80 \xD0\x9F\xD0\xA0", 2},  // Cyrillic, any case
      {"\xE5\x85\x8D\xE8\xB4\xB9", "\xE5\xAE\x8C\xE5\x85\xA8\xE5\x85\x8D\xE8\xB4\xB9\xE7\x9A\x84",
       1},
      {"free money", "Free   money free\r\nmoney free\xC2\xA0money", 3},
      {"free money", "freemoney free moneys unfree money", 0},
      {" cash ", "cash", 1},              // outer blanks do not count
      {"caf\xE9", "caf\xE9 CAF\xE9", 2},  // a word that is not UTF-8
      {"\xA9", "\xC3\xA9", 0},            // not in the middle of é
      {"ha ha", "ha ha ha ha", 2},
      {"ha ha", "ha ha ha", 1},  // matches of one item do not overlap
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.word + " in " + row.text);
    EXPECT_EQ(Matches(Literal(row.word), row.text), row.matches);
  }
}

TEST(ProfileDictionaryScanner, PartsOfWords) {
  EXPECT_EQ(Matches(Literal("cash").partsOfWords(), "cashew encash CASH"), 3u);
  EXPECT_EQ(Matches(Literal("aa").partsOfWords(), "aaaaa"), 2u);
  EXPECT_EQ(Matches(Literal("\xA9").partsOfWords(), "\xC3\xA9 \xA9"), 1u);
}

TEST(ProfileDictionaryScanner, CaseSensitive) {
  EXPECT_EQ(Matches(Literal("Cash").caseSensitive(), "Cash cash CASH"), 1u);
  EXPECT_EQ(Matches(Literal("Caf\xC3\xA9").caseSensitive(), "Caf\xC3\xA9 caf\xC3\xA9"), 1u);
  EXPECT_EQ(Matches(Literal("Free Money").caseSensitive(), "Free\nMoney free money"), 1u);
  EXPECT_EQ(Matches(Literal("Caf\xC3\xA9 au").caseSensitive(), "Caf\xC3\xA9  au CAF\xC3\x89 au"),
            1u);
  EXPECT_EQ(Matches(Regex("Ca.h").caseSensitive(), "Cash cash"), 1u);
}

TEST(ProfileDictionaryScanner, RegularExpressions) {
  const struct {
    const char* expression;
    std::string text;
    unsigned matches;
  } cases[] = {
      {"\\d{3}-\\d{4}", "call 555-1234, 555-9999 or 5555-1234", 2},
      {"free(?=\\s+money)", "free money free gift", 1},
      {"(?<!not )cheap", "cheap, not cheap", 1},
      {"(\\w+) \\1", "win win situation", 1},
      {"a++b", "aab ab", 2},
      {"\\N{3}x", "abcx", 1},  // not supported by the engine, still found
      {"x\\Kyz", "xyz", 1},
      {"gr[ae]y", "GRAY grey groy", 2},
      {"\\p{Lu}{3}", "ABC", 1},
      {"caf\xC3\xA9", "CAF\xC3\x89", 1},
      {"caf.", "caf\xE9", 1},  // a byte that is not UTF-8 is one character
      {"\\bcash\\b", "cash-back encash", 1},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(std::string(row.expression) + " in " + row.text);
    EXPECT_EQ(Matches(Regex(row.expression), row.text), row.matches);
  }
  EXPECT_EQ(Matches(Regex("ca").partsOfWords(), "cacao, decade"), 3u);
}

TEST(ProfileDictionaryScanner, ScoresAddUpAndHitsAreListedInOrder) {
  const auto scanner =
      Scanner({Literal("cash").score(5), Regex("mon.y").score(20), Literal("absent").score(100),
               Wildcard("fr*e").score(3), Literal("\xC3\xA9t\xC3\xA9").score(7)});
  const ScanResult result = scanner->scan("free cash, money and cash; \xC3\x89t\xC3\xA9");
  EXPECT_EQ(result.score, 2 * 5 + 20 + 3 + 7);
  EXPECT_TRUE(result.complete);
  ASSERT_EQ(result.hits.size(), 4u);
  EXPECT_EQ(result.hits[0].item, 0u);
  EXPECT_EQ(result.hits[0].pattern, "cash");
  EXPECT_EQ(result.hits[0].count, 2u);
  EXPECT_EQ(result.hits[0].contribution, 10);
  EXPECT_EQ(result.hits[1].item, 1u);
  EXPECT_EQ(result.hits[2].item, 3u);
  EXPECT_EQ(result.hits[3].item, 4u);
  EXPECT_EQ(result.hits[3].pattern, "\xC3\xA9t\xC3\xA9");
}

TEST(ProfileDictionaryScanner, LargestScoresDoNotOverflow) {
  std::string text;
  for (int i = 0; i < 100'000; ++i) text += "x ";
  EXPECT_EQ(Scanner({Literal("x").score(65535)})->scan(text).score, 6'553'500'000);
}

TEST(ProfileDictionaryScanner, AtMostSoManyMatchesCount) {
  for (const DictionaryItem& item :
       {Literal("cash"), Regex("ca.h"), Wildcard("ca?h"), Regex("ca.h").partsOfWords(),
        Literal("cash").partsOfWords()}) {
    SCOPED_TRACE(item.record().text);
    EXPECT_EQ(Matches(item, "cash cash cash"), 3u);
    EXPECT_EQ(Matches(DictionaryItem(item).atMost(2), "cash cash cash"), 2u);
    EXPECT_EQ(Matches(DictionaryItem(item).atMost(1), "cash cash cash"), 1u);
    EXPECT_EQ(Matches(DictionaryItem(item).atMost(255), "cash cash cash"), 3u);
  }
}

TEST(ProfileDictionaryScanner, MaximumIsThatOfAllTextsOfAMessage) {
  const auto scanner = Scanner({Literal("cash").score(10).atMost(3), Literal("late").score(1),
                                Regex("mo.ey").score(100).atMost(2)});
  ScanResult result;
  scanner->scan("cash cash money", kDictionaryScopeSubject, result);
  EXPECT_EQ(result.score, 120);
  scanner->scan("late cash cash money money", kDictionaryScopeBodyText, result);
  EXPECT_EQ(result.score, 30 + 1 + 200);
  scanner->scan("cash money", kDictionaryScopeBodyHtml, result);
  EXPECT_EQ(result.score, 231);
  ASSERT_EQ(result.hits.size(), 3u);
  EXPECT_EQ(result.hits[0].count, 3u);
  EXPECT_EQ(result.hits[1].count, 1u);
  EXPECT_EQ(result.hits[2].count, 2u);
}

TEST(ProfileDictionaryScanner, ScopeSaysWhereAnItemCounts) {
  constexpr std::uint32_t kBody = kDictionaryScopeBodyText | kDictionaryScopeBodyHtml;
  const struct {
    std::uint32_t scope;
    ScanArea area;
    bool counts;
  } cases[] = {
      {kDictionaryScopeSubject, kDictionaryScopeSubject, true},
      {kDictionaryScopeSubject, kDictionaryScopeBodyText, false},
      {kDictionaryScopeSubject, kBody, false},
      {kBody, kDictionaryScopeBodyText, true},
      {kBody, kDictionaryScopeBodyHtml, true},
      {kBody, kDictionaryScopeSubject, false},
      {7, kDictionaryScopeSubject, true},
      {kBody, kScanEverywhere, true},
      {0, kDictionaryScopeSubject, true},
      {0, kDictionaryScopeBodyHtml, true},
      {0, 0, true},
      {kBody, 0, false},
      {8, kScanEverywhere, false},  // an unknown part of the message
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(std::to_string(row.scope) + " in " + std::to_string(row.area));
    for (const DictionaryItem& item : {Literal("cash"), Regex("cash"), Literal("my cash")}) {
      const auto scanner = Scanner({DictionaryItem(item).scope(row.scope)});
      EXPECT_EQ(scanner->scan("my cash", row.area).score, row.counts ? 1 : 0);
    }
  }
}

TEST(ProfileDictionaryScanner, DisabledAndEmptyItemsAreLeftOutSilently) {
  const LoggedMessages logged;
  const auto scanner =
      Scanner({Literal("cash").disabled(), Literal(""), Literal(" \t "), Regex(""), Wildcard(" ")});
  EXPECT_EQ(scanner->size(), 0u);
  EXPECT_EQ(scanner->scan("cash").score, 0);
  EXPECT_THAT(logged.codes, IsEmpty());
}

TEST(ProfileDictionaryScanner, ItemsThatCannotBeLookedForAreSkippedAndLogged) {
  const struct {
    DictionaryItem item;
    const char* reason;
  } cases[] = {
      {Regex("bad("), "missing closing parenthesis"},
      {Regex("caf\xE9"), "not UTF-8"},
      {Regex("a{1,70000}"), "number too big"},
      {Wildcard("*"), "would match everything"},
      {Literal("cash").kind(static_cast<DictionaryPatternKind>(0)), "unknown kind 0"},
      {Literal("cash").kind(static_cast<DictionaryPatternKind>(99)), "unknown kind 99"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.reason);
    const LoggedMessages logged;
    const auto scanner = Scanner({row.item, Literal("good")});
    EXPECT_EQ(scanner->size(), 1u);
    EXPECT_EQ(scanner->scan("good bad( cash").score, 1);
    ASSERT_THAT(logged.codes, ElementsAre(LogCode::kDictionaryItemSkipped));
    EXPECT_THAT(logged.fields[0],
                ElementsAre("test", row.item.record().text, HasSubstr(row.reason)));
  }
}

TEST(ProfileDictionaryScanner, TextWithoutItsEndIsCutAtTheField) {
  DictionaryItem item("x");
  __vexa_dictionary_item record = item.record();
  std::memset(record.text, 'y', sizeof record.text);
  ProfileDictionaryScanner scanner("test");
  EXPECT_TRUE(scanner.add_pattern(record));
  EXPECT_EQ(scanner.scan(std::string(256, 'y')).score, 1);
  EXPECT_EQ(scanner.scan(std::string(257, 'y')).score, 0);
}

TEST(ProfileDictionaryScanner, ExpressionsWithoutLiteralsAreLimitedInNumber) {
  const LoggedMessages logged;
  std::vector<DictionaryItem> items;
  for (int i = 100; i < 303; ++i) items.push_back(Regex("x[" + std::to_string(i) + "]y"));
  items[200] = Regex("a\\Kb");
  const auto scanner = Scanner(items);
  EXPECT_EQ(scanner->size(), 203u);
  const ScanResult result = scanner->scan("ab");
  EXPECT_EQ(result.score, 0);
  EXPECT_FALSE(result.complete);
  ASSERT_EQ(logged.codes, std::vector<std::uint32_t>(3, LogCode::kDictionaryItemSkipped));
  EXPECT_THAT(logged.fields[0],
              ElementsAre("test", "a\\Kb",
                          "one of too many expressions that can only be searched for one by one"));
  std::swap(items[199], items[200]);
  items.resize(200, Literal("cash"));
  const ScanResult whole = Scanner(items)->scan("ab");
  EXPECT_EQ(whole.score, 1);
  EXPECT_TRUE(whole.complete);
}

// The multi-pattern engine misses most of these matches when it searches for the expression.
TEST(ProfileDictionaryScanner, LongTextsBeforeAMatchHideNothing) {
  const struct {
    const char* expression;
    const char* match;
  } cases[] = {{"x[a-z]+7", "xabc7"},
               {"a\\W*b\\W*c", "a b c"},
               {"[cd]a.h", "cash"},
               {"x\\d+", "x1"},
               {"cash[^y]*y\\d", "cash--y1"},
               {"a\\b", "a"},
               {"\\x04", "\x04"},
               {"a?b?c", "abc"},
               {"money\\s+back", "money back"}};
  for (const auto& row : cases) {
    const auto scanner = Scanner({Regex(row.expression).partsOfWords().atMost(1)});
    for (int before = 0; before < 300; before += 7) {
      SCOPED_TRACE(std::string(row.expression) + " after " + std::to_string(before));
      const std::string text = std::string(static_cast<std::size_t>(before), '-') + " " + row.match;
      EXPECT_EQ(scanner->scan(text).score, 1);
      EXPECT_EQ(scanner->scan(text + std::string(20, '-')).score, 1);
    }
  }
}

TEST(ProfileDictionaryScanner, TheCostliestItemsOfACostlySetAreLeftOut) {
  const LoggedMessages logged;
  std::vector<DictionaryItem> items(100'100, Literal("cash"));
  items.push_back(Regex("m(on|in)ey"));
  const ScanResult result = Scanner(items)->scan("cash money");
  EXPECT_FALSE(result.complete);
  EXPECT_EQ(logged.codes.size(), 101u);
  EXPECT_EQ(result.score, 100'000);
  ASSERT_FALSE(logged.fields.empty());
  EXPECT_THAT(
      logged.fields[0][2],
      HasSubstr("to compile, at most 2000000 are allowed, and this is one of the costliest"));
}

TEST(ProfileDictionaryScanner, CostlyExpressionsAreSearchedForByTheirLiterals) {
  const LoggedMessages logged;
  std::vector<DictionaryItem> items;
  for (int i = 0; i < 200; ++i) {
    items.push_back(Regex("xy[a-z]{200,400}" + std::to_string(i)).partsOfWords());
  }
  for (int i = 0; i < 200; ++i) {
    std::string words = "gold" + std::to_string(i);
    while (words.size() < 240) words += "|mon.y" + std::to_string(words.size()) + "s";
    items.push_back(Regex(words));
  }
  const auto scanner = Scanner(items);
  const std::string letters(300, 'q');
  const ScanResult result = scanner->scan("xy" + letters + "199 xyz7 gold42 mon-y100s");
  EXPECT_TRUE(result.complete);
  EXPECT_THAT(logged.codes, IsEmpty());
  std::vector<std::size_t> found;
  for (const ScanHit& hit : result.hits) found.push_back(hit.item);
  EXPECT_THAT(found, ElementsAre(1, 19, 199, 242));
}

TEST(ProfileDictionaryScanner, WhateverIsLeftOutMakesResultsIncomplete) {
  const struct {
    const char* name;
    std::vector<DictionaryItem> items;
    bool complete;
  } cases[] = {
      {"nothing", {Literal("cash"), Regex("mo.ey"), Wildcard("v?agra")}, true},
      {"disabled", {Literal("cash"), Regex("bad(").disabled(), Literal("")}, true},
      {"expression", {Literal("cash"), Regex("bad(")}, false},
      {"wildcard", {Literal("cash"), Wildcard("*")}, false},
      {"kind", {Literal("cash"), Literal("x").kind(static_cast<DictionaryPatternKind>(9))}, false},
      {"all", {Regex("bad(")}, false},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    const LoggedMessages logged;
    const auto scanner = Scanner(row.items);
    EXPECT_EQ(scanner->scan("cash").complete, row.complete);
    EXPECT_EQ(scanner->scan("").complete, row.complete);
    ScanResult result;
    scanner->scan("x", kDictionaryScopeSubject, result);
    scanner->scan("money", kDictionaryScopeBodyText, result);
    EXPECT_EQ(result.complete, row.complete);
  }
}

TEST(ProfileDictionaryScanner, ItemThatIsLeftOutLaterMakesLaterResultsIncomplete) {
  const LoggedMessages logged;
  ProfileDictionaryScanner scanner("test");
  scanner.add_pattern(Literal("cash").record());
  EXPECT_TRUE(scanner.scan("cash").complete);
  EXPECT_FALSE(scanner.add_pattern(Regex("bad(").record()));
  EXPECT_FALSE(scanner.scan("cash").complete);
}

TEST(ProfileDictionaryScanner, EmptyMatchesDoNotCountWhateverTheMaximum) {
  for (const int most : {0, 1, 2}) {
    const auto item = Regex("\\b").partsOfWords().atMost(static_cast<unsigned char>(most));
    EXPECT_EQ(Scanner({item})->scan("cash").score, 0) << most;
  }
}

TEST(ProfileDictionaryScanner, GivenUpSearchIsLoggedAndTheResultSaysSo) {
  const LoggedMessages logged;
  const auto scanner = Scanner({Regex("(a+)+$(?<!a)"), Literal("cash")});
  std::string text = "cash ";
  text.append(5'000, 'a');
  const ScanResult result = scanner->scan(text);
  EXPECT_FALSE(result.complete);
  EXPECT_EQ(result.score, 1);
  ASSERT_THAT(logged.codes, ElementsAre(LogCode::kDictionaryScanFailed));
  EXPECT_THAT(logged.fields[0], ElementsAre("test", HasSubstr("was given up")));
}

TEST(ProfileDictionaryScanner, MatchesOfOtherItemsStayWhenASearchIsGivenUp) {
  const LoggedMessages logged;
  const auto scanner = Scanner({Regex("(x+x+)+y").partsOfWords(), Regex("c[a-b]sh")});
  std::string text(5'000, 'x');
  text += " xxy cash";
  const ScanResult result = scanner->scan(text);
  EXPECT_FALSE(result.complete);
  EXPECT_EQ(result.score, 1);
}

TEST(ProfileDictionaryScanner, EmptyAndOddTexts) {
  const auto scanner =
      Scanner({Literal("cash"), Regex("c.sh"), Literal("\xC3\xA9"), Literal("a b")});
  EXPECT_EQ(scanner->scan("").score, 0);
  EXPECT_EQ(scanner->scan(std::string_view()).score, 0);
  EXPECT_EQ(scanner->scan(std::string_view("\0cash\0", 6)).score, 2);
  EXPECT_EQ(Scanner({})->scan("cash").score, 0);
}

TEST(ProfileDictionaryScanner, ItemsAddedAfterAScanTakePartInTheNext) {
  ProfileDictionaryScanner scanner("test");
  scanner.add_pattern(Literal("cash").record());
  scanner.compile();
  EXPECT_EQ(scanner.scan("cash money").score, 1);
  scanner.add_pattern(Literal("money").record());
  EXPECT_EQ(scanner.scan("cash money").score, 2);
  EXPECT_EQ(scanner.size(), 2u);
  EXPECT_EQ(scanner.name(), "test");
}

TEST(ProfileDictionaryScanner, SameWordTwiceIsTwoItems) {
  const ScanResult result =
      Scanner({Literal("cash").score(1), Literal("CASH").score(2)})->scan("cash");
  EXPECT_EQ(result.score, 3);
  EXPECT_EQ(result.hits.size(), 2u);
}

}  // namespace
}  // namespace Kestrav
