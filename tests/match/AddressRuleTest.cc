#include "platform/config/match/AddressRule.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "platform/common/Exception.h"

namespace Kestrav::Config {
namespace {

struct Case {
  AddressKind kind;
  std::string text;
  std::vector<std::string> members;
  std::string address;
  bool matches;
};

const std::vector<Case>& cases() {
  static const std::vector<Case> kCases = {
      {AddressKind::kAny, "", {}, "user@example.com", true},
      {AddressKind::kAny, "", {}, "", true},
      {AddressKind::kAddress, "user@example.com", {}, "user@example.com", true},
      {AddressKind::kAddress, "User@Example.COM", {}, "uSER@example.com", true},
      {AddressKind::kAddress, "user@example.com", {}, "other@example.com", false},
      {AddressKind::kAddress, "user@example.com", {}, "user@example.com.net", false},
      {AddressKind::kAddress, "", {}, "", true},
      {AddressKind::kDomain, "example.com", {}, "a@example.com", true},
      {AddressKind::kDomain, "Example.com", {}, "a@EXAMPLE.com", true},
      {AddressKind::kDomain, "example.com", {}, "a@sub.example.com", false},
      {AddressKind::kDomain, "example.com", {}, "\"a@b\"@example.com", true},
      {AddressKind::kDomain, "", {}, "", false},
      {AddressKind::kDomain, "example.com", {}, "", false},
      {AddressKind::kDomainWithSubdomains, "example.com", {}, "a@example.com", true},
      {AddressKind::kDomainWithSubdomains, "example.com", {}, "a@deep.sub.example.com", true},
      {AddressKind::kDomainWithSubdomains, "example.com", {}, "a@notexample.com", false},
      {AddressKind::kDomainWithSubdomains, "example.com", {}, "a@com", false},
      {AddressKind::kDomainWithSubdomains, "", {}, "", false},
      {AddressKind::kWildcard, "*", {}, "", true},
      {AddressKind::kWildcard, "sales-*@example.com", {}, "SALES-eu@example.com", true},
      {AddressKind::kWildcard, "sales-*@example.com", {}, "sales@example.com", false},
      {AddressKind::kWildcard, "*@example.com", {}, "x@example.com", true},
      {AddressKind::kWildcard, "*@*.example.com", {}, "x@a.example.com", true},
      {AddressKind::kWildcard, "*@*.example.com", {}, "x@example.com", false},
      {AddressKind::kWildcard, "a?c@example.com", {}, "abc@example.com", true},
      {AddressKind::kWildcard, "*@", {}, "a@", true},
      {AddressKind::kWildcard, "user@example.com", {}, "user@example.com", true},
      {AddressKind::kRegex, "^bounce(s)?[-+]", {}, "bounces+1@example.com", true},
      {AddressKind::kRegex, "(?=.*@example)user", {}, "user@example.com", true},
      {AddressKind::kRegex, "^$", {}, "", true},
      {AddressKind::kRegex, "^bounce", {}, "user@example.com", false},
      {AddressKind::kGroup, "", {"a@x.example", "*@y.example"}, "q@y.example", true},
      {AddressKind::kGroup, "", {"a@x.example", "*@y.example"}, "A@X.example", true},
      {AddressKind::kGroup, "", {"a@x.example", "*@y.example"}, "b@x.example", false},
      {AddressKind::kGroup, "", {"a*@x.example", "b@y.example"}, "abc@x.example", true},
      {AddressKind::kGroup, "", {}, "a@x.example", false},
  };
  return kCases;
}

TEST(AddressRule, MatchesWhatItsKindSays) {
  for (const Case& c : cases()) {
    SCOPED_TRACE(std::to_string(static_cast<int>(c.kind)) + " " + c.text + " on " + c.address);
    EXPECT_EQ(AddressRule(c.kind, c.text, c.members).matches(AddressSubject(c.address)), c.matches);
  }
}

// The index relies on this: a matching address shows one of the rule's keys.
TEST(AddressRule, AnAddressThatMatchesShowsAKeyOfTheRule) {
  int filed = 0;
  for (const Case& c : cases()) {
    const AddressRule rule(c.kind, c.text, c.members);
    const auto keys = rule.keys('r');
    if (!c.matches || keys.empty()) continue;
    SCOPED_TRACE(c.text + " on " + c.address);
    std::vector<CandidateIndex::Key> shown;
    AddressSubject(c.address).keys('r', shown);
    EXPECT_TRUE(std::any_of(keys.begin(), keys.end(), [&](auto key) {
      return std::find(shown.begin(), shown.end(), key) != shown.end();
    }));
    ++filed;
  }
  EXPECT_GT(filed, 10);
}

TEST(AddressRule, HasKeysOnlyWhenTheyCoverAllThatItMatches) {
  const struct {
    AddressKind kind;
    const char* text;
    std::vector<std::string> members;
    std::size_t keys;
  } cases[] = {
      {AddressKind::kAddress, "a@b", {}, 1},         {AddressKind::kWildcard, "*@b", {}, 1},
      {AddressKind::kWildcard, "*@*.b", {}, 1},      {AddressKind::kWildcard, "a*@b", {}, 0},
      {AddressKind::kWildcard, "*@", {}, 0},         {AddressKind::kGroup, "", {"a@b", "*@*.b"}, 2},
      {AddressKind::kGroup, "", {"a@b", "a*@b"}, 0}, {AddressKind::kAny, "", {}, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(static_cast<int>(c.kind)) + " " + c.text);
    EXPECT_EQ(AddressRule(c.kind, c.text, c.members).keys('r').size(), c.keys);
  }
}

TEST(AddressRule, RefusesWhatDoesNotCompile) {
  EXPECT_THROW(AddressRule(AddressKind::kRegex, "(", {}), Exception);
  EXPECT_THROW(AddressRule(AddressKind::kWildcard, "[a", {}), Exception);
  EXPECT_THROW(AddressRule(static_cast<AddressKind>(77), "", {}), Exception);
}

TEST(AddressSubject, KeepsItsDomainWhenItIsMoved) {
  AddressSubject subject("a@b.c");
  const AddressSubject moved(std::move(subject));
  EXPECT_EQ(moved.domain(), "b.c");
}

}  // namespace
}  // namespace Kestrav::Config
