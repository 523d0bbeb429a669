#include "platform/common/LogFormat.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdint>
#include <string>
#include <vector>

namespace Kestrav {
namespace {

using namespace std::string_literals;
using Fields = std::vector<std::string>;

Fields format(const char* text, ...) {
  std::va_list arguments;
  va_start(arguments, text);
  Fields fields = formatFields(text, arguments);
  va_end(arguments);
  return fields;
}

const char* const kNoText = nullptr;

TEST(LogFormat, EachSeparatorStartsAField) {
  EXPECT_EQ(format(""), Fields{""});
  EXPECT_EQ(format("plain"), Fields{"plain"});
  EXPECT_EQ(format("%s", "a"), Fields{"a"});
  EXPECT_EQ(format("%d\x01%s", 7, "strict"), (Fields{"7", "strict"}));
  EXPECT_EQ(format("%s\x01%s\x01%d\x01%s", "f()", "File", 101, "why"),
            (Fields{"f()", "File", "101", "why"}));
  EXPECT_EQ(format("\x01"), (Fields{"", ""}));
  EXPECT_EQ(format("a\x01\x01%s", "b"), (Fields{"a", "", "b"}));
  EXPECT_EQ(format("id=%d (%s)\x01!", 1, "x"), (Fields{"id=1 (x)", "!"}));
}

TEST(LogFormat, ASeparatorWithinAnArgumentStaysInItsField) {
  EXPECT_EQ(format("%s\x01%d",
                   "a\x01"
                   "b",
                   2),
            (Fields{"a\x01"
                    "b",
                    "2"}));
  EXPECT_EQ(format("%c\x01%s", 1, "\x01\x01"), (Fields{"\x01", "\x01\x01"}));
}

TEST(LogFormat, NullTextsAreNamed) {
  EXPECT_EQ(format("%s\x01%s", kNoText, "b"), (Fields{"(null)", "b"}));
  EXPECT_EQ(format("%10s", kNoText), Fields{"    (null)"});
  EXPECT_EQ(format("%.3s|", kNoText), Fields{"(nu|"});
}

TEST(LogFormat, ReadsEveryLengthAndKeepsItsPlace) {
  EXPECT_EQ(format("%hhd %hd %d %ld %lld %jd %zu %td %s", 300, 70000, -1, -2L, -3LL,
                   std::intmax_t{-4}, std::size_t{5}, std::ptrdiff_t{-6}, "end"),
            Fields{"44 4464 -1 -2 -3 -4 5 -6 end"});
  EXPECT_EQ(format("%llu %lx %X %o %u %s", ~0ULL, 0xABCDEF0123UL, 255u, 8u, ~0u, "end"),
            Fields{"18446744073709551615 abcdef0123 FF 10 4294967295 end"});
  EXPECT_EQ(format("%.2f %Lg %e %s", 1.5, 2.5L, 0.0, "end"), Fields{"1.50 2.5 0.000000e+00 end"});
  EXPECT_EQ(format("%c%c %% %s", 'a', 'b', "end"), Fields{"ab % end"});
  EXPECT_EQ(format("%ls %lc %s", L"wide", std::wint_t{L'w'}, "end"), Fields{"wide w end"});
}

TEST(LogFormat, HonoursFlagsWidthAndPrecision) {
  EXPECT_EQ(format("%5d|%-5d|%05d|%+d|%#x|% d", 42, 42, 42, 42, 42, 42),
            Fields{"   42|42   |00042|+42|0x2a| 42"});
  EXPECT_EQ(format("%*d|%-*d|%*d|%s", 4, 1, 4, 2, -4, 3, "end"), Fields{"   1|2   |3   |end"});
  EXPECT_EQ(format("%.*s|%.*s|%.s|%s", 2, "abcdef", -1, "abcdef", "abc", "end"),
            Fields{"ab|abcdef||end"});
  const char unended[3] = {'a', 'b', 'c'};
  EXPECT_EQ(format("%.3s", unended), Fields{"abc"});
}

TEST(LogFormat, PointersAreWritten) {
  int object = 0;
  EXPECT_EQ(format("%p", static_cast<void*>(&object))[0].substr(0, 2), "0x");
  EXPECT_EQ(format("%p\x01%s", static_cast<void*>(nullptr), "end"), (Fields{"(nil)", "end"}));
}

TEST(LogFormat, NothingIsWrittenThroughAnArgument) {
  int written = 77;
  EXPECT_EQ(format("abc%n\x01%s", &written, "end"), (Fields{"abc", "end"}));
  EXPECT_EQ(written, 77);
}

TEST(LogFormat, AnUnknownConversionStopsReadingArgumentsButKeepsTheFieldCount) {
  EXPECT_EQ(format("%d %k %s\x01%d", 1, "a", 2), (Fields{"1 %k %s", "%d"}));
  EXPECT_EQ(format("%"), Fields{"%"});
  EXPECT_EQ(format("100%\x01%s", "a"), (Fields{"100%", "%s"}));
  EXPECT_EQ(format("%-08.3l"), Fields{"%-08.3l"});
}

TEST(LogFormat, LongArgumentsAreKeptWhole) {
  const std::string text(100000, 'x');
  EXPECT_EQ(format("%s\x01%s", text.c_str(), "b"), (Fields{text, "b"}));
}

TEST(LogFormat, LinesAreFreeOfBreaksControlsAndBadUtf8) {
  const struct {
    std::string text, escaped;
  } rows[] = {
      {"", ""},
      {"plain {0} \\ \"text\" ~", "plain {0} \\ \"text\" ~"},
      {"a\r\nb\tc", "a\\r\\nb\\tc"},
      {"\0\x01\x1B[31m\x7F"s, "\\x00\\x01\\x1B[31m\\x7F"},
      {"gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x98\x80",
       "gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x98\x80"},
      {"\xC2\x9B"
       "31m",
       "\\xC2\\x9B"
       "31m"},                     // an escape sequence on some terminals
      {"\xC2\x85", "\\xC2\\x85"},  // next line
      {"\xC2\xA0", "\xC2\xA0"},
      {"\xE2\x80\xA8\xE2\x80\xA9\xE2\x80\xAA", "\\xE2\\x80\\xA8\\xE2\\x80\\xA9\xE2\x80\xAA"},
      {"\x9B"
       "x\xFF",
       "\\x9B"
       "x\\xFF"},
      {"\xC3", "\\xC3"},
      {"\xC3"
       "a",
       "\\xC3"
       "a"},
      {"\xE2\x82", "\\xE2\\x82"},
      {"\xC0\x8A", "\\xC0\\x8A"},  // an over-long line feed
      {"\xE0\x80\x8A", "\\xE0\\x80\\x8A"},
      {"\xF0\x80\x80\x8A", "\\xF0\\x80\\x80\\x8A"},
      {"\xED\xA0\x80", "\\xED\\xA0\\x80"},           // a surrogate
      {"\xF4\x90\x80\x80", "\\xF4\\x90\\x80\\x80"},  // above the last character
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.text));
    EXPECT_EQ(escapedForLine(row.text), row.escaped);
  }
}

TEST(LogFormat, LongTextsAreCutInLines) {
  const auto text = [](std::size_t size, const char* end) {
    std::string made;
    made.append(size, 'x').append(end);
    return made;
  };
  EXPECT_EQ(escapedForLine(text(4096, "")), text(4096, ""));
  EXPECT_EQ(escapedForLine(text(5000, "")), text(4096, "..."));
  EXPECT_EQ(escapedForLine(text(4095, "\xC3\xA9yz")), text(4095, "\xC3\xA9..."));
}

}  // namespace
}  // namespace Kestrav
