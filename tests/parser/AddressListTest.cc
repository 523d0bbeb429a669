// Address lists of header values.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/common/Exception.h"
#include "platform/parser/EmailAddress.h"

namespace Kestrav {
namespace {

using std::string;

// The bare addresses in set order, separated by blanks.
string addresses(const string& text, bool acceptGroups = true, bool skipInvalid = false) {
  string out;
  for (const EmailAddress& address :
       EmailAddress::rfc5322ParseSet(text, acceptGroups, skipInvalid)) {
    out += (out.empty() ? "" : " ") + address.address();
  }
  return out;
}

struct Row {
  string text;
  string addresses;  // empty: refused
};

TEST(AddressList, AcceptsListsOfMailboxesAndGroupsOnly) {
  const std::vector<Row> rows = {
      {"a@b.example", "a@b.example"},
      {" a@b.example ", "a@b.example"},
      {"<a@b.example>", "a@b.example"},
      {"a@b.example, c@d.example", "a@b.example c@d.example"},
      {"a@b.example,c@d.example", "a@b.example c@d.example"},
      {"a@b.example,\tc@d.example", "a@b.example c@d.example"},
      {"a@b.example, A@B.EXAMPLE", "a@b.example"},
      {"a@b.example,, c@d.example,", "a@b.example c@d.example"},
      {"z@a.example, a@z.example", "z@a.example a@z.example"},
      {"Name <a@b.example>", "a@b.example"},
      {"\"Name, Other\" <a@b.example>, c@d.example", "a@b.example c@d.example"},
      {"\"x; y: \\\"z\\\"\" <a@b.example>", "a@b.example"},
      {"a@b.example (a, comment)", "a@b.example"},
      {"a@b.example (a (nested, one)), c@d.example", "a@b.example c@d.example"},
      {"a@b.example (with \\) bracket, x), c@d.example", "a@b.example c@d.example"},
      {"\"a b\"@c.example", "\"a b\"@c.example"},
      {"\"a,b\"@c.example, d@e.example", "\"a,b\"@c.example d@e.example"},
      {"a@[192.0.2.1], b@[IPv6:2001:db8::1]", "a@[192.0.2.1] b@[IPv6:2001:db8::1]"},
      {"=?utf-8?Q?J=C3=B6rg?= <a@b.example>", "a@b.example"},
      {"jörg@münchen.example", "jörg@münchen.example"},
      {"a@xn--mnchen-3ya.example", "a@xn--mnchen-3ya.example"},
      {"a@XN--MNCHEN-3YA.example", "a@XN--MNCHEN-3YA.example"},
      {"Team: a@b.example, c@d.example;", "a@b.example c@d.example"},
      {"Team: a@b.example;, c@d.example", "a@b.example c@d.example"},
      {"c@d.example, \"Our team\": a@b.example;", "a@b.example c@d.example"},
      {"Team:;, c@d.example", "c@d.example"},
      {"One: a@b.example; , Two: Name <c@d.example>;", "a@b.example c@d.example"},
      {"(only a comment), a@b.example", "a@b.example"},
      {"a (x) @ (y) b . (z) example", "a@b.example"},
      {"J. Doe <(x) a @ b.example (y)> (z)", "a@b.example"},
      {"\"a @ . b\" @ c.example", "\"a @ . b\"@c.example"},
      {"a@b.example (" + string(9000, 'x') + ")", "a@b.example"},
      {string(100, '(') + string(100, ')') + "a@b.example", "a@b.example"},
      // Refused.
      {"", ""},
      {" ", ""},
      {",", ""},
      {"a", ""},
      {"postmaster", ""},
      {"Name", ""},
      {"<>", ""},
      {"a@", ""},
      {"@b", ""},
      {"a@b.example c@d.example", ""},
      {"a@b.example; c@d.example", ""},
      {"a@b.example, bad", ""},
      {"bad, a@b.example", ""},
      {"a@b.example, c@d.example x", ""},
      {"Name <a@b.example> x", ""},
      {"Name <a@b.example", ""},
      {"a@b.example>", ""},
      {"Name <<a@b.example>>", ""},
      {"\"unterminated <a@b.example>", ""},
      {"a@b.example (unterminated", ""},
      {"a@b.example)", ""},
      {"a..b@c.example", ""},
      {"a@b_c.example", ""},
      {"a@-b.example", ""},
      {"a@[192.0.2.256]", ""},
      {"a@[", ""},
      {"Team:;", ""},
      {"Team: a@b.example", ""},
      {"Team: a@b.example; c@d.example", ""},
      {"Team: Inner: a@b.example;;", ""},
      {"Team: bad;", ""},
      {"mailto:a@b.example", ""},
      {string(65, 'a') + "@b.example", ""},
      {"a@b.example.", ""},
      {"a b@c.example", ""},
      {"a@b.example>", ""},
      {"a@b.example>x", ""},
      {"c@d.example <a@b.example>", ""},
      {"a@b.example <>", ""},
      {"<a@b.example> <c@d.example>", ""},
      {"<@a.example,@b.example:c@d.example>", ""},
      {"<@ple:c,j@d.example>{", ""},
      {"\"N\"[x] <a@b.example>", ""},
      {"N: <a@b.example>", ""},
      {"N\\ <a@b.example>", ""},
      {":a@b.example;", ""},
      {"<x>: a@b.example;", ""},
      {"Team: a@b.example;;", ""},
      {"\"a\\", ""},
      {"(a\\", ""},
      {"a@b.example\n", ""},
      {"a@b.example,\r\n c@d.example", ""},
      {string("a@b.example\0", 12), ""},
      {"a@b.example\x7F", ""},
      {"\"a\x01\" <a@b.example>", ""},
      {"N\xFF <a@b.example>", ""},
      {"N\xC2\x85 <a@b.example>", ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text.substr(0, 100));
    try {
      EXPECT_EQ(addresses(row.text), row.addresses);
    } catch (const Exception& e) {
      EXPECT_EQ("", row.addresses) << e.asString();
      EXPECT_EQ(e.code(), EmailAddress::kInvalidAddress);
    }
  }
}

TEST(AddressList, PassesOverInvalidEntriesWhenAsked) {
  EXPECT_EQ(addresses("bad, a@b.example, c@d.example x, e@f.example", true, true),
            "a@b.example e@f.example");
  EXPECT_EQ(addresses("a@b.example; c@d.example, e@f.example", true, true), "e@f.example");
  EXPECT_EQ(addresses("Team: a@b.example, bad;", true, true), "a@b.example");
}

TEST(AddressList, SkippingDoesNotExcuseAnEmptyResultOrControls) {
  EXPECT_THROW(addresses("bad, worse", true, true), Exception);
  EXPECT_THROW(addresses("", true, true), Exception);
  EXPECT_THROW(addresses("a@b.example\n", true, true), Exception);
  EXPECT_THROW(addresses("a@b.example, \xFF@c.example", true, true), Exception);
}

TEST(AddressList, GroupsCountAsInvalidUnlessAccepted) {
  const string text = "c@d.example, Team: a@b.example;, e@f.example";
  EXPECT_EQ(addresses(text, true), "a@b.example c@d.example e@f.example");
  EXPECT_THROW(addresses(text, false), Exception);
  EXPECT_EQ(addresses(text, false, true), "c@d.example e@f.example");
}

TEST(AddressList, TheErrorNamesTheEntry) {
  try {
    addresses("a@b.example, c@d_d.example, e@f.example");
    FAIL() << "accepted";
  } catch (const Exception& e) {
    EXPECT_EQ(e.stringParameter(), "c@d_d.example");
  }
}

string stringForm(const string& text) {
  return EmailAddress::rfc5322ParseSet(text, true, false).begin()->asString();
}

TEST(AddressList, KeepsTheDisplayName) {
  EXPECT_EQ(stringForm("John Smith <a@b.example>"), "John Smith <a@b.example>");
  EXPECT_EQ(stringForm("\"John\" <a@b.example>"), "John <a@b.example>");
  EXPECT_EQ(stringForm("\"Smith, John\" <a@b.example>"), "\"Smith, John\" <a@b.example>");
  EXPECT_EQ(stringForm("\"J. \\\"Q\\\"\" <a@b.example>"), "\"J. \\\"Q\\\"\" <a@b.example>");
  EXPECT_EQ(stringForm("=?utf-8?Q?J=C3=B6rg?= <a@b.example>"), "Jörg <a@b.example>");
  EXPECT_EQ(stringForm("=?utf-8?B?SsO2cmc?= <a@b.example>"), "Jörg <a@b.example>");
  EXPECT_EQ(stringForm("=?iso-8859-1?Q?J=F6rg?= M. <a@b.example>"), "\"Jörg M.\" <a@b.example>");
  EXPECT_EQ(stringForm("N (comment) <a@b.example>"), "N <a@b.example>");
  EXPECT_EQ(stringForm("a@b.example (comment)"), "a@b.example");
}

TEST(AddressList, ADisplayNameCannotSmuggleLineBreaks) {
  EXPECT_EQ(stringForm("=?utf-8?Q?a=0D=0AX=3A_y?= <a@b.example>").find_first_of("\r\n"),
            string::npos);
}

TEST(AddressList, ATabInADisplayNameIsABlank) {
  EXPECT_EQ(stringForm("a\tb <a@b.example>"), "a b <a@b.example>");
}

TEST(AddressList, TheDisplayNameDoesNotCountInComparison) {
  const auto named = EmailAddress::rfc5322ParseSet("Name <A@b.example>", true, false);
  EXPECT_EQ(*named.begin(), EmailAddress::rfc5321Parse("a@b.example", false));
}

TEST(AddressList, ReadsLongLists) {
  string text;
  for (int i = 0; i < 5000; ++i) text += "user" + std::to_string(i) + "@example.com, ";
  EXPECT_EQ(EmailAddress::rfc5322ParseSet(text, true, false).size(), 5000U);
}

}  // namespace
}  // namespace Kestrav
