#include "platform/common/Strings.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <vector>

namespace Kestrav {
namespace {

using namespace std::string_literals;

TEST(Strings, TrimRemovesAsciiWhiteSpaceOnly) {
  const struct {
    std::string text, left, right, both;
  } rows[] = {
      {"", "", "", ""},
      {"a", "a", "a", "a"},
      {" \t\n\v\f\r", "", "", ""},
      {"  a b  ", "a b  ", "  a b", "a b"},
      {"\r\na\r\n", "a\r\n", "\r\na", "a"},
      {"\0a\0"s, "\0a\0"s, "\0a\0"s, "\0a\0"s},
      {"\xC2\xA0"
       "a\xA0",
       "\xC2\xA0"
       "a\xA0",
       "\xC2\xA0"
       "a\xA0",
       "\xC2\xA0"
       "a\xA0"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.text));
    std::string text = row.text;
    stringLeftTrim(text);
    EXPECT_EQ(text, row.left);
    text = row.text;
    stringRightTrim(text);
    EXPECT_EQ(text, row.right);
    text = row.text;
    stringTrim(text);
    EXPECT_EQ(text, row.both);
  }
}

TEST(Strings, CompareIgnoresTheCaseOfAsciiLetters) {
  const struct {
    std::string a, b;
    int sign;
  } rows[] = {
      {"", "", 0},
      {"abc", "ABC", 0},
      {"a@Example.COM", "A@example.com", 0},
      {"a", "b", -1},
      {"B", "a", 1},
      {"ab", "abc", -1},
      {"abc", "AB", 1},
      {"", "a", -1},
      {"Z", "_", 1},   // in lower case '_' precedes the letters
      {"[", "{", -1},  // differ by the case bit, but are not letters
      {"@", "`", -1},
      {"a", "\xE4", -1},     // bytes compare unsigned
      {"\xC4", "\xE4", -1},  // and are not letters in any locale
      {"a\0b"s, "a\0c"s, -1},
      {"a\0"s, "a", 1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.a) + " and " + testing::PrintToString(row.b));
    const int forth = stringCompareNoCase(row.a, row.b);
    const int back = stringCompareNoCase(row.b, row.a);
    EXPECT_EQ((forth > 0) - (forth < 0), row.sign);
    EXPECT_EQ((back > 0) - (back < 0), -row.sign);
    EXPECT_EQ(stringEqualsNoCase(row.a, row.b), row.sign == 0);
  }
}

TEST(Strings, LettersAndDigitsAreAsciiOnly) {
  for (const char c : "09AZaz"s) EXPECT_TRUE(isAsciiLetterOrDigit(c)) << c;
  for (const char c : "/:@[`{\x80\xC4\xE1\0"s) EXPECT_FALSE(isAsciiLetterOrDigit(c)) << c;
  EXPECT_FALSE(isAsciiLetterOrDigit(U'\xE9'));
  EXPECT_FALSE(isAsciiLetterOrDigit(U'\x161'));
}

TEST(Strings, IsAsciiForBytesBelow0x80) {
  EXPECT_TRUE(isAscii(""));
  EXPECT_TRUE(isAscii("a\0\x7F"s));
  EXPECT_FALSE(isAscii("a\x80"));
  EXPECT_FALSE(isAscii("\xC3\xA9"));
}

TEST(Strings, ToLowerChangesAsciiLettersOnly) {
  EXPECT_EQ(stringToLower("AZ az@[`{09\xC4\0X"s), "az az@[`{09\xC4\0x"s);
  EXPECT_EQ(stringToLower(""), "");
}

TEST(Strings, SplitGivesOnePieceMoreThanSeparators) {
  using Pieces = std::vector<std::string>;
  EXPECT_EQ(stringSplit("", ','), Pieces{""});
  EXPECT_EQ(stringSplit("a", ','), Pieces{"a"});
  EXPECT_EQ(stringSplit("a,,b", ','), (Pieces{"a", "", "b"}));
  EXPECT_EQ(stringSplit(",a,", ','), (Pieces{"", "a", ""}));
  EXPECT_EQ(stringSplit("a\x01"
                        "b c",
                        '\x01'),
            (Pieces{"a", "b c"}));
}

TEST(Strings, BoundedCopyEndsInNulAndZeroesTheRest) {
  const struct {
    std::string text, stored;
    bool whole;
  } rows[] = {
      {"", "", true},
      {"abc", "abc", true},
      {"1234567", "1234567", true},
      {"12345678", "1234567", false},
      {"ab\0cd"s, "ab", true},
      {"123456\xC3\xA9", "123456", false},      // a sequence of two at the edge
      {"12345\xE2\x82\xAC", "12345", false},    // of three
      {"1234\xF0\x9F\x98\x80", "1234", false},  // of four
      {"12345\xC3\xA9"
       "6",
       "12345\xC3\xA9", false},                                       // ends at the cut
      {"123\x80\x80\x80\x80\x80\x80", "123\x80\x80\x80\x80", false},  // not UTF-8: cut anywhere
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.text));
    char field[8];
    std::memset(field, '#', sizeof field);
    EXPECT_EQ(boundedCopy(field, row.text), row.whole);
    std::string expected = row.stored;
    expected.resize(sizeof field);
    EXPECT_EQ(std::string(field, sizeof field), expected);
  }
}

TEST(Strings, BoundedCopyWritesNothingBehindTheField) {
  char field[4] = {'#', '#', '#', '#'};
  EXPECT_FALSE(boundedCopy(field, 1, "abc"));
  EXPECT_EQ(std::string(field, 4), "\0###"s);
  EXPECT_FALSE(boundedCopy(field, 2, "abc"));
  EXPECT_EQ(std::string(field, 4), "a\0##"s);
}

TEST(Strings, BoundedTextStopsAtItsNulOrItsBound) {
  const char ended[5] = {'a', 'b', '\0', 'c', 'd'};
  const char endless[3] = {'a', 'b', 'c'};
  EXPECT_EQ(boundedText(ended), "ab");
  EXPECT_EQ(boundedText(ended, 1), "a");
  EXPECT_EQ(boundedText(endless), "abc");
  EXPECT_EQ(boundedText(endless, 0), "");
  EXPECT_EQ(boundedText(nullptr, 5), "");
}

}  // namespace
}  // namespace Kestrav
