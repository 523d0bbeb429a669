#include "platform/parser/VexaConv.h"

#include <gtest/gtest.h>
#include <unicode/ucnv.h>

#include <string>
#include <string_view>
#include <vector>

#include "platform/common/Exception.h"

namespace Kestrav {
namespace {

using std::string;

constexpr const char* kMailbox = "IMAP-mailbox-name";

string mailboxName(const string& text) {
  return VexaConv::fromUtf8(text, kMailbox, 0).asString();
}

struct Result {
  string bytes;
  std::size_t failures;
};

Result convert(const string& text, const string& from, const string& to, unsigned flags = 0) {
  Buffer buffer;
  BufferMediaOut out(buffer);
  VexaConv converter(out, from, to, flags);
  EXPECT_TRUE(converter.ok());
  converter.write(text.data(), text.size());
  converter.end();
  return {buffer.asString(), converter.terrCnt()};
}

TEST(VexaConv, WritesMailboxNames) {
  const std::vector<std::pair<string, string>> rows = {
      {"", ""},
      {"Bulk", "Bulk"},
      {"INBOX.Drafts 2/a~!", "INBOX.Drafts 2/a~!"},
      {"Entwürfe", "Entw&APw-rfe"},
      {"&", "&-"},
      {"Tom & Jerry", "Tom &- Jerry"},
      {"~peter/mail/台北/日本語", "~peter/mail/&U,BTFw-/&ZeVnLIqe-"},
      {"日本語", "&ZeVnLIqe-"},
      {"😀", "&2D3eAA-"},
      {"\t", "&AAk-"},
      {"ü&", "&APw-&-"},
  };
  for (const auto& [text, name] : rows) {
    SCOPED_TRACE(text);
    EXPECT_EQ(mailboxName(text), name);
    EXPECT_EQ(convert(name, kMailbox, "UTF-8").bytes, text);
  }
}

TEST(VexaConv, ResultDoesNotDependOnWhereTheTextIsCut) {
  const string text = "Entwürfe & 日本語 😀 Ende";
  for (const string charset :
       {kMailbox, "UTF-16", "ISO-2022-JP", "UTF-8", "GB18030", "ISO-8859-1"}) {
    const Result whole = convert(text, "UTF-8", charset);
    for (std::size_t cut = 0; cut <= text.size(); ++cut) {
      SCOPED_TRACE(charset + " cut at " + std::to_string(cut));
      Buffer buffer;
      BufferMediaOut out(buffer);
      VexaConv converter(out, "UTF-8", charset, 0);
      converter.write(text.data(), cut);
      converter.write(text.data() + cut, text.size() - cut);
      converter.end();
      EXPECT_EQ(buffer.asString(), whole.bytes);
      EXPECT_EQ(converter.terrCnt(), whole.failures);
    }
  }
}

TEST(VexaConv, TakesSingleBytes) {
  Buffer buffer;
  BufferMediaOut out(buffer);
  VexaConv converter(out, "UTF-8", kMailbox, 0);
  for (const char c : string("日本語 & ü")) converter.write(&c, 1);
  converter.end();
  EXPECT_EQ(buffer.asString(), "&ZeVnLIqe- &- &APw-");
}

TEST(VexaConv, ConvertsTextLargerThanItsOwnBuffers) {
  string text;
  string latin;
  for (int i = 0; i < 20000; ++i) {
    text += "aü";
    latin += "a\xFC";
  }
  EXPECT_EQ(convert(text, "UTF-8", "ISO-8859-1").bytes, latin);
  EXPECT_EQ(convert(latin, "ISO-8859-1", "UTF-8").bytes, text);
  EXPECT_EQ(convert(convert(text, "UTF-8", kMailbox).bytes, kMailbox, "UTF-8").bytes, text);
}

TEST(VexaConv, CountsAndLeavesOutWhatTheTargetCannotExpress) {
  const Result result = convert("aü日b本c😀", "UTF-8", "ISO-8859-1");
  EXPECT_EQ(result.bytes,
            "a\xFC"
            "bc");
  EXPECT_EQ(result.failures, 3U);
}

TEST(VexaConv, SubstitutesAndStillCountsWhenAsked) {
  const Result result = convert("aü日b本c", "UTF-8", "ISO-8859-1", VexaConv::kSubstituteUnknown);
  EXPECT_EQ(result.bytes,
            "a\xFC\x1A"
            "b\x1A"
            "c");
  EXPECT_EQ(result.failures, 2U);
}

TEST(VexaConv, LosslessConversionCountsNothing) {
  EXPECT_EQ(convert("Entwürfe", "UTF-8", "ISO-8859-1").failures, 0U);
  EXPECT_EQ(convert("日本語", "UTF-8", "ISO-2022-JP").failures, 0U);
  EXPECT_EQ(convert("", "UTF-8", "ISO-8859-1").failures, 0U);
}

TEST(VexaConv, ReturnsAStatefulCharsetToItsInitialState) {
  EXPECT_EQ(convert("日本", "UTF-8", "ISO-2022-JP").bytes, "\x1B$BF|K\\\x1B(B");
}

TEST(VexaConv, IllFormedSourceTextIsCountedAndLeftOut) {
  const Result result = convert(
      "a\xFF"
      "b\xC3",
      "UTF-8", "UTF-8");
  EXPECT_EQ(result.bytes, "ab");
  EXPECT_EQ(result.failures, 2U);
}

TEST(VexaConv, IllFormedSourceTextCountsOnceWhenItIsSubstituted) {
  const Result utf8 = convert(
      "a\xFF"
      "b\xC3",
      "UTF-8", "UTF-8", VexaConv::kSubstituteUnknown);
  EXPECT_EQ(utf8.bytes, "a\uFFFDb\uFFFD");
  EXPECT_EQ(utf8.failures, 2U);
  const Result latin = convert(
      "a\xFF"
      "\uFFFD"
      "b",
      "UTF-8", "ISO-8859-1", VexaConv::kSubstituteUnknown);
  EXPECT_EQ(latin.bytes,
            "a\x1A\x1A"
            "b");
  EXPECT_EQ(latin.failures, 2U);
}

TEST(VexaConv, ACharacterCutOffByTheEndIsCounted) {
  Buffer buffer;
  BufferMediaOut out(buffer);
  VexaConv converter(out, "UTF-8", "UTF-8", 0);
  converter.write("a\xE6\x97", 3);
  EXPECT_EQ(converter.terrCnt(), 0U);
  converter.end();
  EXPECT_EQ(converter.terrCnt(), 1U);
  EXPECT_EQ(buffer.asString(), "a");
}

TEST(VexaConv, RetryUsesOneWayApproximations) {
  // The fullwidth letter A has only an approximation in this charset.
  const string text = "\uFF21";
  EXPECT_EQ(convert(text, "UTF-8", "windows-1252").failures, 1U);
  const Result retried = convert(text, "UTF-8", "windows-1252", VexaConv::kRetryOnFailure);
  EXPECT_EQ(retried.bytes, "A");
  EXPECT_EQ(retried.failures, 0U);
}

TEST(VexaConv, SettersReplaceTheFlags) {
  Buffer buffer;
  BufferMediaOut out(buffer);
  VexaConv converter(out, "UTF-8", "windows-1252",
                     VexaConv::kSubstituteUnknown | VexaConv::kRetryOnFailure);
  converter.substitute_unknown(false);
  converter.retry_on_failure(false);
  const string text = "a\uFF21日";
  converter.write(text.data(), text.size());
  converter.end();
  EXPECT_EQ(buffer.asString(), "a");
  EXPECT_EQ(converter.terrCnt(), 2U);
}

TEST(VexaConv, UnknownCharsetsAreNotUsable) {
  Buffer buffer;
  BufferMediaOut out(buffer);
  for (const string name :
       {"", "no-such-charset", "../../etc/passwd", "utf-8,version=1", "utf 8", "utf-8\n"}) {
    SCOPED_TRACE(name);
    VexaConv to(out, "UTF-8", name, VexaConv::kRetryOnFailure);
    EXPECT_FALSE(to.ok());
    to.write("abc", 3);
    to.end();
    EXPECT_EQ(to.terrCnt(), 0U);
    EXPECT_FALSE(VexaConv(out, name, "UTF-8", 0).ok());
    EXPECT_THROW(VexaConv::fromUtf8("abc", name, 0), Exception);
  }
  EXPECT_FALSE(VexaConv(out, "UTF-8", string("utf-8\0x", 7), 0).ok());
  EXPECT_EQ(buffer.size(), 0U);
}

TEST(VexaConv, UnknownCharsetIsNamedInTheException) {
  try {
    VexaConv::fromUtf8("abc", "no-such-charset", 0);
    FAIL() << "no exception";
  } catch (const Exception& e) {
    EXPECT_EQ(e.code(), VexaConv::kUnknownCharset);
    EXPECT_EQ(e.stringParameter(), "no-such-charset");
  }
}

TEST(VexaConv, EveryNameThatIcuListsIsUsable) {
  Buffer buffer;
  BufferMediaOut out(buffer);
  for (std::int32_t i = 0; i < ucnv_countAvailable(); ++i) {
    const string name = ucnv_getAvailableName(i);
    EXPECT_TRUE(VexaConv(out, "UTF-8", name, 0).ok()) << name;
    UErrorCode error = U_ZERO_ERROR;
    const std::uint16_t count = ucnv_countAliases(name.c_str(), &error);
    for (std::uint16_t k = 0; U_SUCCESS(error) && k < count; ++k) {
      const string alias = ucnv_getAlias(name.c_str(), k, &error);
      EXPECT_TRUE(VexaConv(out, "UTF-8", alias, 0).ok()) << name << " alias " << alias;
    }
  }
}

// A medium that records its calls.
class Recorder : public MediaOut {
 public:
  void write(const char* data, std::size_t size) override { text.append(data, size); }
  void end() override { ++ends; }

  string text;
  int ends = 0;
};

TEST(VexaConv, EndsItsMediumOnceAndIgnoresLaterText) {
  Recorder recorder;
  VexaConv converter(recorder, "UTF-8", "UTF-8", 0);
  converter.write("a", 1);
  EXPECT_EQ(recorder.ends, 0);
  converter.end();
  converter.end();
  converter.write("b", 1);
  EXPECT_EQ(recorder.ends, 1);
  EXPECT_EQ(recorder.text, "a");
}

TEST(VexaConv, ConvertersCanBeChained) {
  Recorder recorder;
  VexaConv second(recorder, "ISO-8859-1", kMailbox, 0);
  VexaConv first(second, "UTF-8", "ISO-8859-1", 0);
  const string text = "Entwürfe";
  first.write(text.data(), text.size());
  first.end();
  EXPECT_EQ(recorder.text, "Entw&APw-rfe");
  EXPECT_EQ(recorder.ends, 1);
}

TEST(BufferMedia, ReadsInPiecesUntilTheEnd) {
  const Buffer buffer("abcde");
  BufferMediaIn in(buffer);
  char data[2];
  string text;
  while (const std::size_t count = in.read(data, sizeof data)) text.append(data, count);
  EXPECT_EQ(text, "abcde");
  EXPECT_EQ(in.read(data, sizeof data), 0U);
}

TEST(BufferMedia, ReadsNothingFromAnEmptyBuffer) {
  const Buffer buffer;
  BufferMediaIn in(buffer);
  char data[2];
  EXPECT_EQ(in.read(data, sizeof data), 0U);
  EXPECT_EQ(BufferMediaIn(std::string_view("x")).read(nullptr, 0), 0U);
}

TEST(BufferMedia, AppendsToItsBuffer) {
  Buffer buffer("a");
  BufferMediaOut out(buffer);
  out.write("bc", 2);
  out.write(nullptr, 0);
  out.end();
  EXPECT_EQ(buffer.asString(), "abc");
}

}  // namespace
}  // namespace Kestrav
