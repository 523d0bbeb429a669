#include "platform/config/text/CriterionText.h"

#include <gtest/gtest.h>

#include "platform/config/records/FieldAccess.h"
#include "platform/config/records/PolicyRecords.h"
#include "platform/config/records/SessionRecords.h"

using namespace Kestrav::Config;
using namespace Kestrav::Config::Text;

namespace {

const Criterion& sender() {
  return *findCriterion(kRecipientPolicyType, "from");
}
const Criterion& client() {
  return *findCriterion(kIpPolicyType, "client");
}
const Criterion& aclSender() {
  return *findCriterion(kAclRuleType, "from");
}
const Criterion& aclClient() {
  return *findCriterion(kAclRuleType, "client");
}

}  // namespace

TEST(CriterionText, NaturalFormsAreUnderstood) {
  const struct {
    const Criterion& criterion;
    const char* text;
    CriterionValue value;
  } cases[] = {
      {sender(), "any", {Criterion::kAny, ""}},
      {sender(), "user@example.com", {Criterion::kAddress, "user@example.com"}},
      {sender(), "user@[192.0.2.1]", {Criterion::kAddress, "user@[192.0.2.1]"}},
      {sender(), "@example.com", {Criterion::kDomain, "example.com"}},
      {sender(), "example.com", {Criterion::kDomain, "example.com"}},
      {sender(), ".example.com", {Criterion::kDomainWithSubdomains, "example.com"}},
      {sender(), "*@*.example.com", {Criterion::kWildcard, "*@*.example.com"}},
      {sender(), "/^info@/", {Criterion::kRegex, "^info@"}},
      {sender(), "group:partners", {Criterion::kGroup, "partners"}},
      {sender(), "wildcard:user@example.com", {Criterion::kWildcard, "user@example.com"}},
      {client(), "any", {Criterion::kAny, ""}},
      {client(), "192.0.2.0/24", {Criterion::kMask, "192.0.2.0/24"}},
      {client(), "2001:db8::1-2001:db8::9", {Criterion::kMask, "2001:db8::1-2001:db8::9"}},
      {client(), "group:office", {Criterion::kGroup, "office"}},
      {aclSender(), "any", {Criterion::kWildcard, "*"}},
      {aclSender(), "example.com", {Criterion::kWildcard, "example.com"}},
      {aclSender(), "external:ldap", {Criterion::kExternal, "ldap"}},
      {aclClient(), "any", {Criterion::kMask, "any"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const auto parsed = parseCriterion(c.criterion, c.text);
    ASSERT_TRUE(std::holds_alternative<CriterionValue>(parsed))
        << std::get<Mistake>(parsed).what.full();
    EXPECT_EQ(std::get<CriterionValue>(parsed), c.value);
  }
}

TEST(CriterionText, WhatIsWrittenIsReadBack) {
  const struct {
    const Criterion& criterion;
    CriterionValue value;
    const char* text;
  } cases[] = {
      {sender(), {Criterion::kAny, ""}, "any"},
      {sender(), {Criterion::kDomain, "example.com"}, "@example.com"},
      {sender(), {Criterion::kDomainWithSubdomains, "example.com"}, ".example.com"},
      {sender(), {Criterion::kWildcard, "*"}, "wildcard:*"},
      {sender(), {Criterion::kWildcard, "a@example.com"}, "wildcard:a@example.com"},
      {sender(), {Criterion::kWildcard, "/x*/"}, "wildcard:/x*/"},
      {sender(), {Criterion::kRegex, "a/b"}, "/a/b/"},
      {sender(), {Criterion::kGroup, "x"}, "group:x"},
      {aclSender(), {Criterion::kWildcard, "*"}, "any"},
      {client(), {Criterion::kMask, "10.0.0.1"}, "10.0.0.1"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const std::string text = formatCriterion(c.criterion, c.value);
    EXPECT_EQ(text, c.text);
    const auto parsed = parseCriterion(c.criterion, text);
    ASSERT_TRUE(std::holds_alternative<CriterionValue>(parsed));
    EXPECT_EQ(std::get<CriterionValue>(parsed), c.value);
  }
}

TEST(CriterionText, MistakesNameWhatIsPossible) {
  const struct {
    const Criterion& criterion;
    const char* text;
  } cases[] = {
      {sender(), ""},
      {sender(), "a b"},
      {sender(), "/(/"},
      {sender(), "user@"},
      {sender(), "group:"},
      {sender(), "mask:10.1"},
      {client(), "10.0.0.300"},
      {client(), "/x/"},
      {client(), "regex:x"},
      {aclClient(), "example.com"},
      {sender(), "[a-"},
      {sender(), "external:x"},
      {aclSender(), "invalid:9"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const auto parsed = parseCriterion(c.criterion, c.text);
    ASSERT_TRUE(std::holds_alternative<Mistake>(parsed));
    EXPECT_FALSE(std::get<Mistake>(parsed).wouldBeRight.empty());
  }
}
