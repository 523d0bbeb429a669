// The scanners of an antispam profile: banned and white words, and dictionaries.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/profile/AntispamProfile.h"
#include "tests/profile/Gateway.h"
#include "tests/support/AntispamRecords.h"
#include "tests/support/DictionaryRecords.h"

using namespace Kestrav;
using namespace Kestrav::Testing;

namespace {

using Scanner = Ref<DictionaryScannerImpl>;

std::int64_t score(const Scanner& scanner, const char* text, ScanArea area = kScanEverywhere) {
  return scanner->scan(text, area).score;
}

struct Kind {
  const char* suffix;
  AntispamRecord& (AntispamRecord::*words)(std::initializer_list<Word>);
  const Scanner& (ProfileAntiSpam::*scanner)() const;
};

class WordScanner : public testing::TestWithParam<Kind> {
 protected:
  Scanner made(const char* name, std::initializer_list<Word> words) const {
    AntispamRecord record(freshId());
    record.name(name);
    (record.*GetParam().words)(words);
    return (profileOf(record).*GetParam().scanner)();
  }
};

TEST_P(WordScanner, IsNamedAfterTheProfile) {
  EXPECT_EQ(made("strict", {{"word"}})->name(), std::string("strict") + GetParam().suffix);
  EXPECT_EQ(made("", {{"word"}})->name(), GetParam().suffix);
}

TEST_P(WordScanner, SkipsEmptyEntries) {
  EXPECT_EQ(made("strict", {{""}, {"one"}, {""}, {"two"}})->size(), 2u);
}

TEST_P(WordScanner, LooksWhereTheEntrySays) {
  struct Case {
    bool body;
    bool subject;
    ScanArea area;
    bool found;
  };
  const Case cases[] = {
      {true, false, kDictionaryScopeBodyText, true},
      {true, false, kDictionaryScopeBodyHtml, true},
      {true, false, kDictionaryScopeSubject, false},
      {false, true, kDictionaryScopeSubject, true},
      {false, true, kDictionaryScopeBodyText, false},
      {false, true, kDictionaryScopeBodyHtml, false},
      {true, true, kDictionaryScopeSubject, true},
      {true, true, kDictionaryScopeBodyText, true},
      {true, true, kDictionaryScopeBodyHtml, true},
      // A word without a place is searched for in every place.
      {false, false, kDictionaryScopeSubject, true},
      {false, false, kDictionaryScopeBodyText, true},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE("body " + std::to_string(row.body) + " subject " + std::to_string(row.subject) +
                 " area " + std::to_string(row.area));
    const Scanner scanner = made("strict", {{"lottery", row.body, row.subject}});
    EXPECT_EQ(score(scanner, "a lottery", row.area), row.found ? 1 : 0);
  }
}

TEST_P(WordScanner, CountsWholeWordsInEitherCaseOneByOne) {
  const Scanner scanner = made("strict", {{"lottery"}, {"win"}});
  EXPECT_EQ(score(scanner, "LOTTERY"), 1);
  EXPECT_EQ(score(scanner, "lotteryx winner"), 0);
  EXPECT_EQ(score(scanner, "lottery lottery win"), 3);
}

TEST_P(WordScanner, TakesWordsLiterally) {
  const Scanner scanner = made("strict", {{"a.c"}, {"b*d"}});
  EXPECT_EQ(score(scanner, "a.c"), 1);
  EXPECT_EQ(score(scanner, "abc bxd"), 0);
  EXPECT_EQ(score(scanner, "b*d"), 1);
}

INSTANTIATE_TEST_SUITE_P(Antispam, WordScanner,
                         testing::Values(Kind{"-bannedwords", &AntispamRecord::bannedWords,
                                              &ProfileAntiSpam::bannedWordDictionaryScanner},
                                         Kind{"-whitewords", &AntispamRecord::whiteWords,
                                              &ProfileAntiSpam::whiteWordDictionaryScanner}),
                         [](const testing::TestParamInfo<Kind>& kind) {
                           return std::string(kind.param.suffix + 1);
                         });

}  // namespace

TEST(WordScanners, DoNotShareTheirWords) {
  const ProfileAntiSpam profile = profileOf(
      AntispamRecord(freshId()).name("both").bannedWords({{"bad"}}).whiteWords({{"good"}}));
  EXPECT_EQ(score(profile.bannedWordDictionaryScanner(), "bad good"), 1);
  EXPECT_EQ(score(profile.bannedWordDictionaryScanner(), "good"), 0);
  EXPECT_EQ(score(profile.whiteWordDictionaryScanner(), "good"), 1);
  EXPECT_EQ(score(profile.whiteWordDictionaryScanner(), "bad"), 0);
  EXPECT_TRUE(profile.dictionaryScanner().isNull());
}

TEST(WordScanners, WordWithoutAnEndEndsWithItsField) {
  AntispamRecord record(freshId());
  record.bannedWords({{"word", true, true}});
  auto* words = const_cast<__aps_as_word_entry*>(record->banned_words);
  std::memset(words[0].text, 'w', sizeof(words[0].text));
  const ProfileAntiSpam profile = profileOf(record);
  ASSERT_EQ(profile.bannedWordDictionaryScanner()->size(), 1u);
  // A dictionary item's text ends with a zero byte, so it holds one character less.
  EXPECT_EQ(score(profile.bannedWordDictionaryScanner(), std::string(255, 'w').c_str()), 1);
  EXPECT_EQ(score(profile.bannedWordDictionaryScanner(), std::string(256, 'w').c_str()), 0);
}

TEST(AntispamDictionary, NameIsThatOfADictionaryOrOfAGroup) {
  const std::uint32_t dictionary = freshId();
  const std::uint32_t other = freshId();
  const std::uint32_t group = freshId();
  const std::string name = "words-" + std::to_string(dictionary);
  // The dictionary and the group have the same name but different words.
  put(DictionaryRecord(dictionary, name), DictionaryRecord(other, "other-" + name),
      DictionaryGroupRecord(group, name), DictionaryGroupItemRecord(freshId(), group, other),
      DictionaryItemRecord(freshId(), dictionary, "lottery").score(3),
      DictionaryItemRecord(freshId(), other, "casino").score(5));

  const ProfileAntiSpam byDictionary = profileOf(AntispamRecord(freshId()).dictionary(name));
  ASSERT_FALSE(byDictionary.dictionaryScanner().isNull());
  EXPECT_EQ(score(byDictionary.dictionaryScanner(), "lottery casino"), 3);
  const ProfileAntiSpam byGroup = profileOf(AntispamRecord(freshId()).dictionaryGroup(name));
  ASSERT_FALSE(byGroup.dictionaryScanner().isNull());
  EXPECT_EQ(score(byGroup.dictionaryScanner(), "lottery casino"), 5);

  EXPECT_TRUE(byDictionary.bannedWordDictionaryScanner().isNull());
  EXPECT_TRUE(byDictionary.whiteWordDictionaryScanner().isNull());
}
