#include "platform/parser/Rfc2047.h"

#include <gmime/gmime.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/common/Strings.h"
#include "platform/parser/GMimeLibrary.h"

namespace Kestrav {
namespace {

using std::string;

// With an independent decoder.
string decoded(const string& words) {
  ensureGMime();
  char* text = g_mime_utils_header_decode_text(nullptr, words.c_str());
  string out = text;
  g_free(text);
  return out;
}

string repeat(const string& text, int times) {
  string out;
  for (int i = 0; i < times; ++i) out += text;
  return out;
}

// Each word is short enough and can be decoded by itself; together they decode to `text`.
void expectGoodWords(const string& text, const string& charset) {
  const string words = vexa_encode_rfc2047(text, charset);
  string joined;
  for (const string& word : stringSplit(words, ' ')) {
    EXPECT_LE(word.size(), kLongestEncodedWord);
    EXPECT_EQ(word.substr(0, 2), "=?");
    EXPECT_EQ(word.substr(word.size() - 2), "?=");
    for (const char c : word) EXPECT_TRUE(c > 0x20 && c < 0x7F);
    joined += decoded(word);
  }
  EXPECT_EQ(joined, text);
  EXPECT_EQ(decoded(words), text);
}

TEST(Rfc2047, EncodesPlainAsciiToo) {
  EXPECT_EQ(vexa_encode_rfc2047("SPAM", "utf-8"), "=?utf-8?Q?SPAM?=");
  EXPECT_EQ(vexa_encode_rfc2047("[KESTRAV-SPAM]", "utf-8"), "=?utf-8?Q?=5BKESTRAV-SPAM=5D?=");
  EXPECT_EQ(vexa_encode_rfc2047(" two words ", "utf-8"), "=?utf-8?Q?_two_words_?=");
}

TEST(Rfc2047, GivesNothingForNothing) {
  EXPECT_EQ(vexa_encode_rfc2047("", "utf-8"), "");
}

TEST(Rfc2047, TakesTheShorterEncodingAndQWhenTheyAreEqual) {
  EXPECT_EQ(vexa_encode_rfc2047("Entwürfe 2024", "utf-8"), "=?utf-8?Q?Entw=C3=BCrfe_2024?=");
  EXPECT_EQ(vexa_encode_rfc2047("日本語", "utf-8"), "=?utf-8?B?5pel5pys6Kqe?=");
  EXPECT_EQ(vexa_encode_rfc2047("a=b", "utf-8"), "=?utf-8?B?YT1i?=");
  EXPECT_EQ(vexa_encode_rfc2047("a=bcd", "utf-8"), "=?utf-8?Q?a=3Dbcd?=");
  EXPECT_EQ(vexa_encode_rfc2047("ab=c=d", "utf-8"), "=?utf-8?B?YWI9Yz1k?=");
  EXPECT_EQ(vexa_encode_rfc2047("abc=d=ef", "utf-8"), "=?utf-8?Q?abc=3Dd=3Def?=");
}

TEST(Rfc2047, SpecialsOfBothEncodingsSurvive) {
  for (const string text : {"=?utf-8?Q?a?=", "_a_ b_", "a?b=c_d", "\t tab", "\"quoted\" <x@y>",
                            "(c)", "=", "  ", " ", "a  b"}) {
    SCOPED_TRACE(text);
    expectGoodWords(text, "utf-8");
  }
}

TEST(Rfc2047, WordsEndBetweenCharactersWhateverTheOffset) {
  for (const string character : {"a", "ü", "日", "😀", " ", "="}) {
    for (int offset = 0; offset < 70; ++offset) {
      SCOPED_TRACE(character + " from " + std::to_string(offset));
      expectGoodWords(string(static_cast<std::size_t>(offset), 'x') + repeat(character, 60),
                      "utf-8");
    }
  }
}

TEST(Rfc2047, OnlyTheLastWordIsPadded) {
  const string words = vexa_encode_rfc2047("Re: " + repeat("日本語", 20), "utf-8");
  EXPECT_NE(words.find("?B?"), string::npos);
  const std::vector<string> all = stringSplit(words, ' ');
  for (std::size_t i = 0; i + 1 < all.size(); ++i) {
    const bool padded = all[i].find("?B?") != string::npos && all[i][all[i].size() - 3] == '=';
    EXPECT_FALSE(padded) << all[i];
  }
}

TEST(Rfc2047, FillsAWordToItsLimit) {
  const std::size_t room = kLongestEncodedWord - string(
                                                     "=?utf-8?Q??"
                                                     "=")
                                                     .size();
  EXPECT_EQ(vexa_encode_rfc2047(string(room, 'a'), "utf-8"),
            "=?utf-8?Q?" + string(room, 'a') + "?=");
  EXPECT_EQ(vexa_encode_rfc2047(string(room + 1, 'a'), "utf-8"),
            "=?utf-8?Q?" + string(room, 'a') + "?= =?utf-8?Q?a?=");
}

TEST(Rfc2047, LineBreaksAndControlsBecomeBlanks) {
  EXPECT_EQ(decoded(vexa_encode_rfc2047("a\r\nBcc: x", "utf-8")), "a  Bcc: x");
  EXPECT_EQ(decoded(vexa_encode_rfc2047(string("a\0b", 3), "utf-8")), "a b");
  EXPECT_EQ(decoded(vexa_encode_rfc2047("a\u0085b\u2028c\x7F", "utf-8")), "a b c ");
}

TEST(Rfc2047, IllFormedUtf8BecomesReplacementCharacters) {
  EXPECT_EQ(decoded(vexa_encode_rfc2047("a\xFF"
                                        "b",
                                        "utf-8")),
            "a\uFFFDb");
  EXPECT_EQ(decoded(vexa_encode_rfc2047("a\xC3", "utf-8")), "a\uFFFD");
  EXPECT_EQ(decoded(vexa_encode_rfc2047("\xED\xA0\x80", "utf-8")), "\uFFFD\uFFFD\uFFFD");
}

TEST(Rfc2047, WritesTheCharsetThatIsAskedFor) {
  EXPECT_EQ(vexa_encode_rfc2047("Entwürfe", "ISO-8859-1"), "=?ISO-8859-1?Q?Entw=FCrfe?=");
  for (const string charset : {"UTF-8", "ISO-8859-1", "windows-1252"}) {
    SCOPED_TRACE(charset);
    expectGoodWords(repeat("Entwürfe für Größe ", 20), charset);
  }
  for (const string charset : {"ISO-2022-JP", "Shift_JIS", "EUC-JP", "utf-8"}) {
    SCOPED_TRACE(charset);
    expectGoodWords(repeat("日本語 text のメール ", 20), charset);
  }
}

TEST(Rfc2047, FallsBackToUtf8) {
  const string words = "=?utf-8?B?5pel5pys6Kqe?=";
  EXPECT_EQ(vexa_encode_rfc2047("日本語", "ISO-8859-1"), words);
  EXPECT_EQ(vexa_encode_rfc2047("日本語", "no-such-charset"), words);
  EXPECT_EQ(vexa_encode_rfc2047("日本語", ""), words);
  EXPECT_EQ(vexa_encode_rfc2047("日本語", "utf-8?Q?x?=\r\nBcc: a"), words);
  EXPECT_EQ(vexa_encode_rfc2047("日本語", string(100, 'x')), words);
}

TEST(Rfc2047, DecodesWhatItEncoded) {
  for (const string text :
       {"[SPAM] ", " two words ", "Entwürfe 2024", "日本語", "=?utf-8?Q?a?=", ""}) {
    for (const char* charset : {"utf-8", "iso-8859-1", "iso-2022-jp"}) {
      EXPECT_EQ(vexa_decode_rfc2047(vexa_encode_rfc2047(text, charset)), text) << charset;
    }
  }
  const string longText = repeat("ein längerer Betreff, ", 40);
  EXPECT_EQ(vexa_decode_rfc2047(vexa_encode_rfc2047(longText, "utf-8")), longText);
}

TEST(Rfc2047, DecodesOnlyWords) {
  EXPECT_EQ(vexa_decode_rfc2047("[SPAM]"), "[SPAM]");
  EXPECT_EQ(vexa_decode_rfc2047("a =?utf-8?Q?b?= c"), "a b c");
  EXPECT_EQ(vexa_decode_rfc2047("=?utf-8?Q?a?= =?utf-8?B?Yg==?="), "ab");
  EXPECT_EQ(vexa_decode_rfc2047("=?utf-8?Q?open"), "=?utf-8?Q?open");
}

TEST(Rfc2047, DecodesBase64WithAnyPadding) {
  const struct {
    const char* words;
    const char* text;
  } cases[] = {
      {"=?utf-8?B?Yg?=", "b"},
      {"=?utf-8?b?YmI?=", "bb"},
      {"=?utf-8?B?YmJi?=", "bbb"},
      {"=?utf-8?B?Yg=?=", "b"},
      {"=?utf-8?B?Yg==?=", "b"},
      {"=?utf-8?B?YmJiY?=", "bbb"},
      {"=?utf-8?B?Ym I?=", "bb"},
      {"=?utf-8?B?"
       "?=",
       ""},
      {"a =?utf-8?B?YmI?= c", "a bb c"},
      {"=?utf-8?B?Yg?= =?utf-8?B?Yg?=", "bb"},
      {"=?utf-8?B?Yg==?= =?utf-8?B?Yg==?=", "bb"},
      {"=?utf-8?Q?a?= =?utf-8?B?Yg?=", "ab"},
      {"=?utf-8?B?w7?= =?utf-8?B?vA?=", "ü"},
      {"=?ISO-8859-1?B?/A?=", "ü"},
      {"=?utf-8?B?Yg", "=?utf-8?B?Yg"},
      {"=?utf-8?B?Yg?x", "=?utf-8?B?Yg?x"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.words);
    EXPECT_EQ(vexa_decode_rfc2047(c.words), c.text);
  }
}

TEST(Rfc2047, DecodesNothingThatBreaksALine) {
  EXPECT_EQ(vexa_decode_rfc2047("=?utf-8?Q?a=0D=0Ab?="), "a  b");
  EXPECT_EQ(vexa_decode_rfc2047("=?utf-8?Q?=1B[2J?="), " [2J");
}

}  // namespace
}  // namespace Kestrav
