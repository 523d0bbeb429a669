#include "platform/parser/EmailAddress.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace Kestrav {
namespace {

EmailAddress parsed(const std::string& text) {
  return EmailAddress::rfc5321Parse(text, true);
}

TEST(EmailAddress, IsNullByDefaultAndEmptyInEveryPart) {
  const EmailAddress null;
  EXPECT_TRUE(null.isNull());
  EXPECT_EQ(null.local() + null.domain() + null.address() + null.displayName() + null.asString(),
            "");
  EXPECT_EQ(null, EmailAddress());
}

TEST(EmailAddress, CopiesShareTheirText) {
  const EmailAddress original = parsed("user@example.com");
  const EmailAddress copy = original;
  EXPECT_EQ(&copy.address(), &original.address());
}

TEST(EmailAddress, TextOfACopyOutlivesTheOriginal) {
  EmailAddress copy;
  {
    const EmailAddress original = parsed("user@example.com");
    copy = original;
  }
  EXPECT_EQ(copy.address(), "user@example.com");
}

TEST(EmailAddress, ComparesWithoutRegardToAsciiCaseAndQuoting) {
  EXPECT_EQ(parsed("User@Example.COM"), parsed("user@example.com"));
  EXPECT_EQ(parsed("\"user\"@example.com"), parsed("user@example.com"));
  EXPECT_EQ(parsed("<user@example.com>"), parsed(" user@example.com "));
  EXPECT_EQ(parsed("u@[ipv6:2001:DB8::1]"), parsed("u@[IPv6:2001:db8::1]"));
  EXPECT_NE(parsed("user@example.com"), parsed("user@example.org"));
  EXPECT_NE(parsed("user@example.com"), parsed("use@example.com"));
  EXPECT_NE(parsed("user.a@example.com"), parsed("usera@example.com"));
  EXPECT_NE(parsed("user@münchen.example"), parsed("user@xn--mnchen-3ya.example"));
  EXPECT_NE(parsed("postmaster"), EmailAddress());
}

TEST(EmailAddress, IsOrderedByDomainThenLocalPartAfterNull) {
  const std::vector<EmailAddress> ordered = {
      EmailAddress(),    parsed("postmaster"),    parsed("z@a.com"), parsed("A@b.com"),
      parsed("b@B.com"), parsed("\"b c\"@b.com"), parsed("c@b.com"), parsed("a@c.com")};
  for (std::size_t i = 0; i < ordered.size(); ++i) {
    for (std::size_t k = 0; k < ordered.size(); ++k) {
      SCOPED_TRACE(ordered[i].address() + " and " + ordered[k].address());
      EXPECT_EQ(ordered[i] < ordered[k], i < k);
      EXPECT_EQ(ordered[i] == ordered[k], i == k);
    }
  }
}

TEST(EmailAddress, ASetHoldsOneOfEqualAddresses) {
  const std::set<EmailAddress> set = {parsed("user@example.com"), parsed("USER@EXAMPLE.COM"),
                                      parsed("other@example.com")};
  EXPECT_EQ(set.size(), 2U);
}

TEST(EmailAddress, StringFormIsTheBareAddressWithoutADisplayName) {
  EXPECT_EQ(parsed(" <user@example.com>").asString(), "user@example.com");
  EXPECT_EQ(parsed("\"a b\"@example.com").asString(), "\"a b\"@example.com");
}

}  // namespace
}  // namespace Kestrav
