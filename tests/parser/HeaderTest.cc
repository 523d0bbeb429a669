#include "platform/parser/Header.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Kestrav {
namespace {

TEST(Header, IsEmptyByDefault) {
  EXPECT_EQ(Header().name(), "");
  EXPECT_EQ(Header().value(), "");
  EXPECT_EQ(Header().asString(), "");
}

TEST(Header, MayHaveAnEmptyValue) {
  EXPECT_EQ(Header("X-KESTRAV-SPAM", "").value(), "");
  EXPECT_EQ(Header("X-KESTRAV-SPAM", "").asString(), "X-KESTRAV-SPAM: ");
}

TEST(Header, NameKeepsOnlyWhatANameMayHold) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"Subject", "Subject"},  {"X-A_b!~#", "X-A_b!~#"},       {"Sub ject", "Subject"},
      {"Subject:", "Subject"}, {"A: b\r\nC", "AbC"},           {"T\t", "T"},
      {"Übung", "bung"},       {std::string("A\0B", 3), "AB"}, {" :\r\n", ""},
      {"DEL\x7F", "DEL"},
  };
  for (const auto& [text, name] : rows) {
    SCOPED_TRACE(text);
    EXPECT_EQ(Header(text, "x").name(), name);
  }
  EXPECT_EQ(Header(" :\r\n", "value").asString(), "");
}

TEST(Header, ValueCannotLeaveItsLine) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"yes", "yes"},
      {" a: b\tc ", " a: b\tc "},
      {"jörg", "jörg"},
      {"\xFF\xFE", "\xFF\xFE"},
      {"a\r\nBcc: b@c", "a Bcc: b@c"},
      {"a\nb", "a b"},
      {"a\rb", "a b"},
      {"a\r\n\r\nbody", "a body"},
      {"a\r\n b", "a  b"},
      {std::string("a\0b", 3), "a b"},
      {"a\x0B\x0C\x1B\x7F"
       "b",
       "a b"},
      {"\n", " "},
  };
  for (const auto& [text, value] : rows) {
    SCOPED_TRACE(text);
    EXPECT_EQ(Header("X", text).value(), value);
    EXPECT_EQ(Header("X", text).asString(), "X: " + value);
  }
}

TEST(Header, ComparesNamesWithoutCaseAndValuesWithIt) {
  EXPECT_EQ(Header("X-Spam", "yes"), Header("x-spam", "yes"));
  EXPECT_FALSE(Header("X-Spam", "yes") == Header("X-Spam", "Yes"));
  EXPECT_FALSE(Header("X-Spam", "yes") == Header("X-Virus", "yes"));
}

}  // namespace
}  // namespace Kestrav
