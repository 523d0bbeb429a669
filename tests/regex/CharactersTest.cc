#include "platform/regex/Characters.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace Kestrav {
namespace {

std::vector<char32_t> characters(std::string_view text) {
  std::vector<char32_t> result;
  for (std::size_t position = 0; position < text.size();) {
    result.push_back(Characters::next(text, position));
  }
  return result;
}

TEST(Characters, ReadsUtf8AndKeepsStrayBytesApart) {
  constexpr char32_t kStray = Characters::kStrayByte;
  const struct {
    const char* what;
    std::string text;
    std::vector<char32_t> expected;
  } cases[] = {
      {"ASCII", "aZ", {U'a', U'Z'}},
      {"NUL", std::string(1, '\0'), {0}},
      {"two bytes", "\xC3\xA9", {0xE9}},
      {"three bytes", "\xE2\x82\xAC", {0x20AC}},
      {"four bytes", "\xF0\x9F\x98\x80", {0x1F600}},
      {"the last code point", "\xF4\x8F\xBF\xBF", {0x10FFFF}},
      {"beyond the last",
       "\xF4\x90\x80\x80",
       {kStray + 0xF4, kStray + 0x90, kStray + 0x80, kStray + 0x80}},
      {"lone continuation", "\x80", {kStray + 0x80}},
      {"cut short", "\xE2\x82", {kStray + 0xE2, kStray + 0x82}},
      {"cut short by a letter",
       "\xE2\x82"
       "a",
       {kStray + 0xE2, kStray + 0x82, U'a'}},
      {"longer than needed", "\xC0\xAF", {kStray + 0xC0, kStray + 0xAF}},
      {"longer than needed, three bytes",
       "\xE0\x80\xAF",
       {kStray + 0xE0, kStray + 0x80, kStray + 0xAF}},
      {"surrogate", "\xED\xA0\x80", {kStray + 0xED, kStray + 0xA0, kStray + 0x80}},
      {"never a lead", "\xFF\xC3\xA9", {kStray + 0xFF, 0xE9}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(characters(c.text), c.expected);
  }
}

TEST(Characters, AppendUndoesNextForAnyBytes) {
  std::mt19937 random(1);
  const std::string bytes = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xED\xFF";
  for (int round = 0; round < 20000; ++round) {
    std::string text;
    for (auto n = random() % 9; n != 0; --n) text += bytes[random() % bytes.size()];
    std::string back;
    for (const char32_t c : characters(text)) Characters::append(back, c);
    ASSERT_EQ(back, text);
    const std::string folded = Characters::fold(text);
    ASSERT_EQ(Characters::fold(folded), folded);
  }
}

TEST(Characters, FoldKeepsAsciiAmongItself) {
  EXPECT_EQ(Characters::fold(std::string_view("AbZ[@`{09")), "abz[@`{09");
  EXPECT_EQ(Characters::fold(std::string_view("\xC3\x89\xCE\xA3\xCF\x82")),
            "\xC3\xA9\xCF\x83\xCF\x83");
  const std::string kelvinAndLongS = "\xE2\x84\xAA\xC5\xBF";
  EXPECT_EQ(Characters::fold(kelvinAndLongS), kelvinAndLongS);
  EXPECT_EQ(Characters::fold(std::string_view("\xFF"
                                              "A")),
            "\xFF"
            "a");
}

TEST(Characters, IsUtf8WithoutStrayBytes) {
  EXPECT_TRUE(Characters::isUtf8(""));
  EXPECT_TRUE(Characters::isUtf8("\xC3\xA9"));
  EXPECT_FALSE(Characters::isUtf8("\xC3"));
  EXPECT_FALSE(Characters::isUtf8("\xED\xA0\x80"));
}

}  // namespace
}  // namespace Kestrav
