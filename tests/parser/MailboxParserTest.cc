// Accepted and refused texts, and the parts of a mailbox.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/common/Exception.h"
#include "platform/parser/EmailAddress.h"

namespace Kestrav {
namespace {

using std::string;

string repeat(const string& text, int times) {
  string out;
  for (int i = 0; i < times; ++i) out += text;
  return out;
}

// A domain of exactly `length` octets: labels of 63, the last one shorter.
string domainOf(std::size_t length) {
  string domain;
  while (length - domain.size() > 64) domain += string(63, 'd') + '.';
  return domain + string(length - domain.size(), 'e');
}

struct Valid {
  string text;
  string local;
  string domain;
  string address;  // empty: local@domain
};

const std::vector<Valid> kValid = {
    // Plain.
    {"user@example.com", "user", "example.com", ""},
    {"User@Example.COM", "User", "Example.COM", ""},
    {"a@b", "a", "b", ""},
    {"first.last@example.com", "first.last", "example.com", ""},
    {"a.b.c.d@example.com", "a.b.c.d", "example.com", ""},
    {"user+tag@example.com", "user+tag", "example.com", ""},
    {"user-name@example.com", "user-name", "example.com", ""},
    {"-user-@example.com", "-user-", "example.com", ""},
    {"_@example.com", "_", "example.com", ""},
    {"123@example.com", "123", "example.com", ""},
    {"!#$%&'*+-/=?^_`{|}~@example.com", "!#$%&'*+-/=?^_`{|}~", "example.com", ""},
    {"user%other.example@example.com", "user%other.example", "example.com", ""},
    {"host!user@example.com", "host!user", "example.com", ""},
    {"=?x?=@example.com", "=?x?=", "example.com", ""},
    {"customer/department=shipping@example.com", "customer/department=shipping", "example.com", ""},
    {"postmaster@example.com", "postmaster", "example.com", ""},
    // Domains.
    {"user@localhost", "user", "localhost", ""},
    {"user@123.com", "user", "123.com", ""},
    {"user@1", "user", "1", ""},
    {"user@192.0.2.1", "user", "192.0.2.1", ""},
    {"user@a-b.example", "user", "a-b.example", ""},
    {"user@a--b.example", "user", "a--b.example", ""},
    {"user@3com.example", "user", "3com.example", ""},
    {"user@example.museum", "user", "example.museum", ""},
    {"user@a.b.c.d.e.f.g", "user", "a.b.c.d.e.f.g", ""},
    {"user@xn--mnchen-3ya.example", "user", "xn--mnchen-3ya.example", ""},
    // Around the address.
    {" user@example.com", "user", "example.com", ""},
    {"user@example.com ", "user", "example.com", ""},
    {"  \t user@example.com \t", "user", "example.com", ""},
    {"<user@example.com>", "user", "example.com", ""},
    {" <user@example.com> ", "user", "example.com", ""},
    {"\t<\"a b\"@example.com>", "a b", "example.com", "\"a b\"@example.com"},
    // Quoted.
    {"\"user\"@example.com", "user", "example.com", ""},
    {"\"first.last\"@example.com", "first.last", "example.com", ""},
    {"\"first last\"@example.com", "first last", "example.com", "\"first last\"@example.com"},
    {"\" \"@example.com", " ", "example.com", "\" \"@example.com"},
    {"\"\"@example.com", "", "example.com", "\"\"@example.com"},
    {"\".user\"@example.com", ".user", "example.com", "\".user\"@example.com"},
    {"\"user.\"@example.com", "user.", "example.com", "\"user.\"@example.com"},
    {"\"a..b\"@example.com", "a..b", "example.com", "\"a..b\"@example.com"},
    {"\".\"@example.com", ".", "example.com", "\".\"@example.com"},
    {"\"a@b\"@example.com", "a@b", "example.com", "\"a@b\"@example.com"},
    {"\"<>\"@example.com", "<>", "example.com", "\"<>\"@example.com"},
    {"\"(),:;<>[]\"@example.com", "(),:;<>[]", "example.com", "\"(),:;<>[]\"@example.com"},
    {"\"\\\"\"@example.com", "\"", "example.com", "\"\\\"\"@example.com"},
    {"\"\\\\\"@example.com", "\\", "example.com", "\"\\\\\"@example.com"},
    {"\"\\a\\b\"@example.com", "ab", "example.com", "ab@example.com"},
    {"\"\\ \"@example.com", " ", "example.com", "\" \"@example.com"},
    {"\"\\@\"@example.com", "@", "example.com", "\"@\"@example.com"},
    {"\"say \\\"hi\\\"\"@example.com", "say \"hi\"", "example.com",
     "\"say \\\"hi\\\"\"@example.com"},
    {"\"../../etc\"@example.com", "../../etc", "example.com", "\"../../etc\"@example.com"},
    // IPv4 literals.
    {"user@[192.0.2.1]", "user", "[192.0.2.1]", ""},
    {"user@[0.0.0.0]", "user", "[0.0.0.0]", ""},
    {"user@[255.255.255.255]", "user", "[255.255.255.255]", ""},
    {"\"a b\"@[127.0.0.1]", "a b", "[127.0.0.1]", "\"a b\"@[127.0.0.1]"},
    {"<user@[192.0.2.1]>", "user", "[192.0.2.1]", ""},
    // IPv6 literals.
    {"user@[IPv6:2001:db8::1]", "user", "[IPv6:2001:db8::1]", ""},
    {"user@[IPv6:::]", "user", "[IPv6:::]", ""},
    {"user@[IPv6:::1]", "user", "[IPv6:::1]", ""},
    {"user@[IPv6:1::]", "user", "[IPv6:1::]", ""},
    {"user@[ipv6:2001:DB8::1]", "user", "[ipv6:2001:DB8::1]", ""},
    {"user@[IPv6:1:2:3:4:5:6:7:8]", "user", "[IPv6:1:2:3:4:5:6:7:8]", ""},
    {"user@[IPv6:1:2:3:4:5:6::]", "user", "[IPv6:1:2:3:4:5:6::]", ""},
    {"user@[IPv6:::3:4:5:6:7:8]", "user", "[IPv6:::3:4:5:6:7:8]", ""},
    {"user@[IPv6:::ffff:192.0.2.1]", "user", "[IPv6:::ffff:192.0.2.1]", ""},
    {"user@[IPv6:1:2:3:4::192.0.2.1]", "user", "[IPv6:1:2:3:4::192.0.2.1]", ""},
    {"user@[IPv6:1:2:3:4:5:6:192.0.2.1]", "user", "[IPv6:1:2:3:4:5:6:192.0.2.1]", ""},
    // General literals.
    {"user@[tag:value]", "user", "[tag:value]", ""},
    {"user@[x-400:c=de;a=net]", "user", "[x-400:c=de;a=net]", ""},
    {"user@[T:!^_~]", "user", "[T:!^_~]", ""},
    {"user@[a:b:c]", "user", "[a:b:c]", ""},
    // UTF-8.
    {"jörg@example.com", "jörg", "example.com", ""},
    {"用户@example.com", "用户", "example.com", ""},
    {"用户@例え.example", "用户", "例え.example", ""},
    {"user@münchen.example", "user", "münchen.example", ""},
    {"user@MÜNCHEN.example", "user", "MÜNCHEN.example", ""},
    {"user@straße.example", "user", "straße.example", ""},
    {"user@пример.испытание", "user", "пример.испытание", ""},
    {"user@مثال.example", "user", "مثال.example", ""},
    {"\"jörg müller\"@example.com", "jörg müller", "example.com", "\"jörg müller\"@example.com"},
    {"\"jörg\"@example.com", "jörg", "example.com", ""},
    {"😀@example.com", "😀", "example.com", ""},
    {" <jörg@münchen.example> ", "jörg", "münchen.example", ""},
    // At the limits.
    {string(64, 'a') + "@example.com", string(64, 'a'), "example.com", ""},
    {"\"" + string(62, 'a') + "\"@example.com", string(62, 'a'), "example.com", ""},
    {repeat("ö", 32) + "@example.com", repeat("ö", 32), "example.com", ""},
    {"user@" + string(63, 'd') + ".example", "user", string(63, 'd') + ".example", ""},
    {"u@" + domainOf(252), "u", domainOf(252), ""},
    {string(64, 'a') + "@" + domainOf(189), string(64, 'a'), domainOf(189), ""},
    {"<" + string(64, 'a') + "@" + domainOf(189) + ">", string(64, 'a'), domainOf(189), ""},
    {"user@" + repeat("ü", 30) + ".example", "user", repeat("ü", 30) + ".example", ""},
};

struct Invalid {
  string text;
  string reason;  // part of the message
};

const std::vector<Invalid> kInvalid = {
    {"", "no text"},
    {" ", "no text"},
    {"\t", "no text"},
    {"<>", "no text"},
    {" <> ", "no text"},
    {"user", "no @"},
    {"postmaster", "no @"},
    {"<Postmaster>", "no @"},
    {"\"user\"", "no @"},
    {"user.example.com", "no @"},
    {"@", "local part is missing"},
    {"@example.com", "local part is missing"},
    {"<@example.com>", "local part is missing"},
    {"user@", "domain is missing"},
    {"\"a\"@", "domain is missing"},
    {"<user@>", "domain is missing"},
    // Source routes.
    {"<@a.example,@b.example:user@c.example>", "source routes"},
    {"<@a.example:user@c.example>", "source routes"},
    {"@a.example:user@c.example", "source routes"},
    // Local parts.
    {".user@example.com", "begins with a dot"},
    {".@example.com", "begins with a dot"},
    {"user.@example.com", "ends with a dot"},
    {"a..b@example.com", "two dots"},
    {"a b@example.com", "needs a quoted local part"},
    {"a b", "needs a quoted local part"},
    {"user @example.com", "needs a quoted local part"},
    {"a,b@example.com", "needs a quoted local part"},
    {"a;b@example.com", "needs a quoted local part"},
    {"a:b@example.com", "needs a quoted local part"},
    {"a(b)@example.com", "needs a quoted local part"},
    {"a[b]@example.com", "needs a quoted local part"},
    {"a\\b@example.com", "needs a quoted local part"},
    {"a\\@b@example.com", "needs a quoted local part"},
    {"a<b@example.com", "needs a quoted local part"},
    {"a\"b\"@example.com", "needs a quoted local part"},
    {"mailto:user@example.com", "needs a quoted local part"},
    {"User <user@example.com>", "needs a quoted local part"},
    {"(comment)user@example.com", "needs a quoted local part"},
    {"\"a\"b@example.com", "something other than @"},
    {"\"a\".b@example.com", "something other than @"},
    {"\"a\" @example.com", "something other than @"},
    {"\"Name\" <user@example.com>", "something other than @"},
    {"\"a\"\"b\"@example.com", "something other than @"},
    {"\"a@example.com", "quoted local part has no end"},
    {"\"", "quoted local part has no end"},
    {"\"\\", "quoted local part has no end"},
    {"\"a\\\"@example.com", "quoted local part has no end"},
    {"\"\\ö\"@example.com", "escaped by a backslash"},
    // Domains.
    {"user@example..com", "label of the domain is empty"},
    {"user@.example.com", "label of the domain is empty"},
    {"user@example.com.", "label of the domain is empty"},
    {"user@.", "label of the domain is empty"},
    {"user@-example.com", "hyphen"},
    {"user@example-.com", "hyphen"},
    {"user@example.-com", "hyphen"},
    {"user@-", "hyphen"},
    {"user@exa_mple.com", "cannot be in a domain"},
    {"user@exa mple.com", "cannot be in a domain"},
    {"user@ example.com", "cannot be in a domain"},
    {"user@example.com x", "cannot be in a domain"},
    {"user@example.com,other@example.com", "cannot be in a domain"},
    {"user@other@example.com", "cannot be in a domain"},
    {"user@@example.com", "cannot be in a domain"},
    {"user@example.com>", "cannot be in a domain"},
    {"user@example.com (comment)", "cannot be in a domain"},
    {"user@\"example\".com", "cannot be in a domain"},
    {"user@example!com", "cannot be in a domain"},
    {"user@exa*mple.com", "cannot be in a domain"},
    {"user@*.example.com", "cannot be in a domain"},
    {"user@example.com/path", "cannot be in a domain"},
    {"user@192.0.2.1]", "cannot be in a domain"},
    {"user@IPv6:2001:db8::1", "cannot be in a domain"},
    {"user@x[192.0.2.1]", "cannot be in a domain"},
    // Angle brackets.
    {"<user@example.com", "not closed"},
    {"<", "not closed"},
    {"<user@example.com> x", "not closed"},
    {"<user@example.com>,", "not closed"},
    {"<<user@example.com>>", "needs a quoted local part"},
    {"< user@example.com>", "needs a quoted local part"},
    {"<user@example.com >", "cannot be in a domain"},
    {"<user@example.com>>", "cannot be in a domain"},
    // Literals.
    {"user@[]", "no IPv4"},
    {"user@[", "no end"},
    {"user@[192.0.2.1", "no end"},
    {"user@[192.0.2.1]x", "no end"},
    {"user@[192.0.2.1].example", "no end"},
    {"user@[192.0.2.256]", "no IPv4"},
    {"user@[192.0.2]", "no IPv4"},
    {"user@[192.0.2.1.5]", "no IPv4"},
    {"user@[192.0.2.]", "no IPv4"},
    {"user@[192.0.2.01]", "no IPv4"},
    {"user@[ 192.0.2.1]", "no IPv4"},
    {"user@[192.0.2.1/24]", "no IPv4"},
    {"user@[example]", "no IPv4"},
    {"user@[2001:db8::1]", "begins with \"IPv6:\""},
    {"user@[::1]", "begins with \"IPv6:\""},
    {"user@[IPv6:]", "no IPv6"},
    {"user@[IPv6:192.0.2.1]", "no IPv6"},
    {"user@[IPv6:1:2:3:4:5:6:7]", "no IPv6"},
    {"user@[IPv6:1:2:3:4:5:6:7:8:9]", "no IPv6"},
    {"user@[IPv6:1::2::3]", "no IPv6"},
    {"user@[IPv6:12345::1]", "no IPv6"},
    {"user@[IPv6:g::1]", "no IPv6"},
    {"user@[IPv6: ::1]", "no IPv6"},
    {"user@[IPv6:fe80::1%eth0]", "no IPv6"},
    {"user@[IPv6:1:2:3:4:5:6:7::]", "less than two groups"},
    {"user@[IPv6:::2:3:4:5:6:7:8]", "less than two groups"},
    {"user@[IPv6:1:2:3:4:5::192.0.2.1]", "less than two groups"},
    {"user@[tag:]", "empty after its tag"},
    {"user@[:value]", "no valid tag"},
    {"user@[tag-:value]", "no valid tag"},
    {"user@[t_g:value]", "no valid tag"},
    {"user@[tag:a b]", "blank, bracket or backslash"},
    {"user@[tag:a\\b]", "blank, bracket or backslash"},
    {"user@[tag:a[b]", "blank, bracket or backslash"},
    {"user@[tag:a]]", "blank, bracket or backslash"},
    {"user@[tag:ö]", "is ASCII"},
    // Controls and bad UTF-8.
    {string("user@example.com\0", 17), "control character"},
    {string("us\0er@example.com", 17), "control character"},
    {string("\0", 1), "control character"},
    {"user@example.com\n", "control character"},
    {"user@example.com\r\n", "control character"},
    {"\nuser@example.com", "control character"},
    {"user@example.com\r\nBcc: victim@example.com", "control character"},
    {"us\ter@example.com", "control character"},
    {"<user@example.com\t>", "control character"},
    {"\"us\ter\"@example.com", "control character"},
    {"\"us\\\ter\"@example.com", "control character"},
    {"\"a\r\n b\"@example.com", "control character"},
    {"us\x7F"
     "er@example.com",
     "control character"},
    {"us\x1B[1mer@example.com", "control character"},
    {"us\xC2\x85"
     "er@example.com",
     "control character"},
    {"us\xE2\x80\xA8"
     "er@example.com",
     "control character"},
    {"us\xFF"
     "er@example.com",
     "well-formed UTF-8"},
    {"us\xC3@example.com", "well-formed UTF-8"},
    {"us\xC0\xAF@example.com", "well-formed UTF-8"},
    {"us\xED\xA0\x80@example.com", "well-formed UTF-8"},
    {"user@m\xFCnchen.example", "well-formed UTF-8"},
    // International domains.
    {"user@例え。example", "no valid international name"},
    {"user@ｅｘａｍｐｌｅ.com", "no valid international name"},
    {"user@a\u200B.example", "no valid international name"},
    {"user@a\u200Db.example", "no valid international name"},
    {"user@\u0301x.example", "no valid international name"},
    {"user@aא1.example", "no valid international name"},
    {"user@" + repeat("ü", 61) + ".example", "longer than 63 octets in its ASCII form"},
    // Beyond the limits.
    {string(65, 'a') + "@example.com", "local part is longer than 64"},
    {"\"" + string(63, 'a') + "\"@example.com", "local part is longer than 64"},
    {"\"" + repeat("\\a", 32) + "\"@example.com", "local part is longer than 64"},
    {repeat("ö", 32) + "x@example.com", "local part is longer than 64"},
    {string(65, 'a'), "local part is longer than 64"},
    {"user@" + string(64, 'd') + ".example", "label of the domain is longer than 63"},
    {"u@" + domainOf(253), "longer than 254"},
    {"u@" + domainOf(256), "domain is longer than 255"},
    {string(64, 'a') + "@" + domainOf(190), "longer than 254"},
    {string(100000, 'a') + "@example.com", "local part is longer than 64"},
    {"user@" + repeat("a.", 100000) + "b", "domain is longer than 255"},
    {"u@" + repeat("ü.", 40) + "example", "in its ASCII form"},
};

TEST(MailboxParser, AcceptsMailboxesAndFindsTheirParts) {
  for (const Valid& row : kValid) {
    SCOPED_TRACE(row.text);
    const EmailAddress address = EmailAddress::rfc5321Parse(row.text, false);
    EXPECT_FALSE(address.isNull());
    EXPECT_EQ(address.local(), row.local);
    EXPECT_EQ(address.domain(), row.domain);
    EXPECT_EQ(address.address(), row.address.empty() ? row.local + "@" + row.domain : row.address);
    EXPECT_EQ(EmailAddress::rfc5321Parse(address.address(), false).address(), address.address());
    EXPECT_EQ(EmailAddress::rfc5321Parse(row.text, true).address(), address.address());
  }
}

TEST(MailboxParser, RefusesEverythingElseAndSaysWhy) {
  for (const Invalid& row : kInvalid) {
    SCOPED_TRACE(row.text.substr(0, 100));
    try {
      const EmailAddress address = EmailAddress::rfc5321Parse(row.text, false);
      ADD_FAILURE() << "accepted as " << address.address();
    } catch (const Exception& e) {
      EXPECT_EQ(e.code(), EmailAddress::kInvalidAddress);
      EXPECT_NE(e.message().find(row.reason), string::npos) << e.message();
    }
  }
}

TEST(MailboxParser, AcceptsTheEmptyReversePathOnlyWhenAsked) {
  for (const string text : {"", " ", "<>", " <> "}) {
    SCOPED_TRACE(text);
    EXPECT_TRUE(EmailAddress::rfc5321Parse(text, true).isNull());
    EXPECT_THROW(EmailAddress::rfc5321Parse(text, false), Exception);
  }
}

TEST(MailboxParser, AcceptsPostmasterWithoutDomainOnlyWhenAsked) {
  for (const string text : {"postmaster", "<Postmaster>", " POSTMASTER "}) {
    SCOPED_TRACE(text);
    const EmailAddress address = EmailAddress::rfc5321Parse(text, true);
    EXPECT_FALSE(address.isNull());
    EXPECT_EQ(address.domain(), "");
    EXPECT_EQ(address.address(), address.local());
    EXPECT_EQ(EmailAddress::rfc5321Parse(address.address(), true), address);
    EXPECT_THROW(EmailAddress::rfc5321Parse(text, false), Exception);
  }
}

TEST(MailboxParser, SpecialPathsDoNotOpenTheDoorToOthers) {
  for (const string text : {"user", "\"postmaster\"", "postmaster@", "<", "<> x", "@example.com",
                            "<@a.example:user@c.example>", "postmaster\n"}) {
    SCOPED_TRACE(text);
    EXPECT_THROW(EmailAddress::rfc5321Parse(text, true), Exception);
  }
}

TEST(MailboxParser, TheErrorShowsThePrintablePartOfTheText) {
  try {
    EmailAddress::rfc5321Parse("a\r\nb\tc\xFF" + string(1000, 'x'), false);
    FAIL() << "accepted";
  } catch (const Exception& e) {
    EXPECT_EQ(e.stringParameter().substr(0, 9), "a  b c\xEF\xBF\xBD");
    EXPECT_LT(e.stringParameter().size(), 400U);
    EXPECT_EQ(e.asString().find_first_of("\r\n\t"), string::npos);
  }
}

}  // namespace
}  // namespace Kestrav
