#include "platform/config/match/NetworkRule.h"

#include <algorithm>
#include <list>
#include <random>

#include <gtest/gtest.h>

namespace Kestrav::Config {
namespace {

bool found(const NetworkRule& rule, const IPAddress& address) {
  CandidateIndex index;
  NetworkLengths lengths;
  for (const CandidateIndex::Key key : rule.keys('c')) index.add(key, 0);
  rule.addLengths(lengths);
  index.seal();
  std::vector<CandidateIndex::Key> keys;
  lengths.keys('c', address, keys);
  return index.first(keys, [](CandidateIndex::Ordinal) { return true; }) == 0;
}

TEST(NetworkRule, EveryAddressOfAMaskFindsTheRule) {
  const struct {
    const char* mask;
    const char* address;
    bool matches;
  } cases[] = {
      {"192.0.2.1", "192.0.2.1", true},
      {"192.0.2.1", "192.0.2.2", false},
      {"10.0.0.0/8", "10.255.0.1", true},
      {"10.0.0.0/8", "11.0.0.1", false},
      {"192.0.2.3-192.0.2.9", "192.0.2.3", true},
      {"192.0.2.3-192.0.2.9", "192.0.2.7", true},
      {"192.0.2.3-192.0.2.9", "192.0.2.9", true},
      {"192.0.2.3-192.0.2.9", "192.0.2.10", false},
      {"0.0.0.1-255.255.255.254", "128.0.0.0", true},
      {"0.0.0.1-255.255.255.254", "255.255.255.255", false},
      {"192.168.1", "192.168.1.77", true},
      {"2001:db8::/32", "2001:db8:1::1", true},
      {"2001:db8::/32", "2001:db9::1", false},
      {"2001:db8::5-2001:db8::1:0", "2001:db8::ffff", true},
      {"::1-ffff:ffff:ffff:ffff:ffff:ffff:ffff:fffe", "8000::", true},
      {"10.0.0.0/8", "::10.0.0.1", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.mask) + " and " + c.address);
    const NetworkRule rule((IPAddressMask(c.mask)));
    ASSERT_FALSE(rule.keys('c').empty());
    EXPECT_EQ(rule.matches(IPAddress(c.address)), c.matches);
    // The networks of a range are exact: no address outside the range finds the rule.
    EXPECT_EQ(found(rule, IPAddress(c.address)), c.matches);
  }
}

TEST(NetworkRule, HasNoKeysWhenItHoldsEverythingOrNothing) {
  EXPECT_TRUE(NetworkRule::any().keys('c').empty());
  EXPECT_TRUE(NetworkRule(IPAddressMask("0.0.0.0/0")).keys('c').empty());
  EXPECT_TRUE(NetworkRule(IPAddressMask("::/0")).keys('c').empty());
  EXPECT_TRUE(NetworkRule(IPAddressMask()).keys('c').empty());
  EXPECT_FALSE(NetworkRule(IPAddressMask()).matches(IPAddress("192.0.2.1")));
  EXPECT_TRUE(NetworkRule::any().matches(IPAddress("2001:db8::1")));
}

TEST(NetworkRule, HasNoKeysWhenItHoldsOneFamilyAndMore) {
  const std::list<IPAddressMask> masks{IPAddressMask("10.0.0.0/8"), IPAddressMask("::/0")};
  const NetworkRule rule((IPAddressMask(masks)));
  EXPECT_TRUE(rule.keys('c').empty());
  EXPECT_TRUE(rule.matches(IPAddress("10.1.2.3")));
}

}  // namespace
}  // namespace Kestrav::Config
