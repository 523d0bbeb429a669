#include "platform/dictionary/Words.h"

#include <gtest/gtest.h>

#include "platform/regex/Characters.h"

namespace Kestrav::Dictionary {
namespace {

TEST(Words, LettersDigitsAndMarksJoin) {
  for (const char32_t character : {U'a', U'Z', U'7', U'é', U'ß', U'я', U'ع', U'한', U'́', U'٣'}) {
    EXPECT_TRUE(joinsWords(character)) << static_cast<std::uint32_t>(character);
  }
}

TEST(Words, PunctuationBlanksAndScriptsWithoutBlanksDoNotJoin) {
  for (const char32_t character :
       {U' ', U'-', U'_', U'$', U'’', U'　', U'漢', U'ひ', U'カ', U'ไ', U'😀'}) {
    EXPECT_FALSE(joinsWords(character)) << static_cast<std::uint32_t>(character);
  }
  EXPECT_FALSE(joinsWords(Characters::kStrayByte + 0xE9));
}

TEST(Words, SplitsWord) {
  const struct {
    std::string text;
    std::size_t position;
    bool splits;
  } cases[] = {
      {"", 0, false},
      {"ab", 0, false},
      {"ab", 1, true},
      {"ab", 2, false},
      {"a b", 1, false},
      {"a b", 2, false},
      {"caf\xC3\xA9s", 5, true},  // between é and s
      {"\xC3\xA9s", 2, true},
      {"s\xC3\xA9", 1, true},
      {"s\xE9", 1, false},
      {"\xE9s", 1, false},  // a stray byte is not a letter
      {"\xE6\xBC\xA2"
       "a",
       3, false},                      // Han and Latin
      {"\xF0\x90\x90\x80x", 4, true},  // a four-byte letter
      {"e\xCC\x81", 1, true},          // a letter and its accent
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.text + " at " + std::to_string(row.position));
    EXPECT_EQ(splitsWord(row.text, row.position), row.splits);
  }
}

TEST(Words, WholeCharactersDoNotBeginOrEndInASequence) {
  const std::string text = "x\xC3\xA9y";
  EXPECT_TRUE(isWholeCharacters(text, 1, 3));
  EXPECT_FALSE(isWholeCharacters(text, 2, 3));
  EXPECT_FALSE(isWholeCharacters(text, 1, 2));
  // A continuation byte after a complete sequence is a separate character.
  EXPECT_TRUE(isWholeCharacters("\xC3\xA9\xA9", 0, 2));
}

TEST(Words, NormalisedFoldsCaseAndJoinsWhiteSpace) {
  EXPECT_EQ(normalised("Free \r\n\t MONEY", true), "free money");
  EXPECT_EQ(normalised("Free \r\n\t MONEY", false), "Free MONEY");
  EXPECT_EQ(normalised("\xC3\x89T\xC3\x89", true), "\xC3\xA9t\xC3\xA9");
  EXPECT_EQ(normalised("a\xC2\xA0\xE3\x80\x80"
                       "b",
                       true),
            "a b");  // no-break, ideographic space
  EXPECT_EQ(normalised("  ", true), " ");
  EXPECT_EQ(normalised("A\xFF"
                       "B",
                       true),
            "a\xFF"
            "b");
  EXPECT_EQ(normalised("", true), "");
}

TEST(Words, AsUtf8ReplacesOnlyWhatIsNone) {
  EXPECT_EQ(asUtf8("caf\xC3\xA9"), "caf\xC3\xA9");
  EXPECT_EQ(asUtf8("caf\xE9!"), "caf\xEF\xBF\xBD!");
  EXPECT_EQ(asUtf8("\xC3"), "\xEF\xBF\xBD");
}

}  // namespace
}  // namespace Kestrav::Dictionary
