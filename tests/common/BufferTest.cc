#include "platform/common/Buffer.h"

#include <gtest/gtest.h>

#include <string>

namespace Kestrav {
namespace {

using namespace std::string_literals;

TEST(Buffer, IsEmptyAtFirst) {
  const Buffer buffer;
  EXPECT_TRUE(buffer.empty());
  EXPECT_EQ(buffer.size(), 0u);
  EXPECT_NE(buffer.data(), nullptr);
  EXPECT_EQ(buffer.asString(), "");
}

TEST(Buffer, AppendsTextsBytesAndSingleBytes) {
  Buffer buffer("ab"s);
  buffer.append("c\0d"s);
  buffer.append("efg", 2);
  buffer.append('!');
  buffer.append(nullptr, 0);
  EXPECT_EQ(buffer.asString(), "abc\0def!"s);
  EXPECT_EQ(std::string(buffer.data(), buffer.size()), "abc\0def!"s);
}

TEST(Buffer, BytesCanBeChangedInPlace) {
  Buffer buffer("abc");
  buffer.data()[1] = 'x';
  EXPECT_EQ(buffer.asString(), "axc");
}

TEST(Buffer, CopiesAreIndependent) {
  Buffer first("abc");
  Buffer second = first;
  EXPECT_EQ(first, second);
  second.append("d");
  EXPECT_EQ(first.asString(), "abc");
  EXPECT_NE(first, second);
}

TEST(Buffer, ClearEmptiesAndTheBufferGrowsAgain) {
  Buffer buffer("abc");
  buffer.clear();
  EXPECT_TRUE(buffer.empty());
  buffer.append("d");
  EXPECT_EQ(buffer.asString(), "d");
}

TEST(Buffer, Base64FollowsTheStandardAlphabetWithPadding) {
  const struct {
    std::string bytes;
    const char* text;
  } rows[] = {
      {"", ""},
      {"f", "Zg=="},
      {"fo", "Zm8="},
      {"foo", "Zm9v"},
      {"foob", "Zm9vYg=="},
      {"fooba", "Zm9vYmE="},
      {"foobar", "Zm9vYmFy"},
      {"\0\0\0"s, "AAAA"},
      {"\xFB\xFF\xBF", "+/+/"},
      {"Entw&APw-rfe", "RW50dyZBUHctcmZl"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(Buffer(row.bytes).toBase64String(), row.text);
  }
}

TEST(Buffer, Base64OfALongBufferIsOneUnbrokenText) {
  constexpr std::size_t kTriples = 3 * 1024 * 1024 / 3 + 100;  // more than is encoded at once
  std::string bytes;
  std::string expected;
  for (std::size_t i = 0; i < kTriples; ++i) {
    bytes += "foo";
    expected += "Zm9v";
  }
  bytes += "f";
  expected += "Zg==";
  EXPECT_TRUE(Buffer(bytes).toBase64String() == expected);
}

}  // namespace
}  // namespace Kestrav
