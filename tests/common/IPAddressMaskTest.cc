#include "platform/common/IPAddressMask.h"

#include <gtest/gtest.h>

#include <cstring>
#include <list>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "platform/common/Exception.h"

namespace Kestrav {
namespace {

using namespace std::string_literals;
using Masks = std::list<IPAddressMask>;

bool matches(const IPAddressMask& mask, const char* address) {
  return mask.matches(IPAddress(address));
}

IPAddressMask listOf(std::initializer_list<const char*> texts) {
  Masks masks;
  for (const char* text : texts) masks.emplace_back(text);
  return IPAddressMask(masks);
}

TEST(IPAddressMask, NullMatchesNothing) {
  const IPAddressMask mask;
  EXPECT_TRUE(mask.isNull());
  EXPECT_FALSE(mask.isAny());
  EXPECT_FALSE(matches(mask, "0.0.0.0"));
  EXPECT_FALSE(matches(mask, "::"));
  EXPECT_FALSE(mask.matches(IPAddress()));
  EXPECT_TRUE(mask.ranges().empty());
  EXPECT_EQ(mask.asString(), "");
}

TEST(IPAddressMask, EveryFormMatchesItsAddressesAndNoOthers) {
  const struct {
    const char* text;
    std::vector<const char*> inside, outside;
    const char* canonical;
  } rows[] = {
      {"192.0.2.1",
       {"192.0.2.1", "::ffff:192.0.2.1"},
       {"192.0.2.0", "192.0.2.2", "::c000:201"},
       "192.0.2.1"},
      {"2001:db8::1", {"2001:db8::1"}, {"2001:db8::", "2001:db8::2", "32.1.13.184"}, "2001:db8::1"},
      {"10.0.0.0/8",
       {"10.0.0.0", "10.255.255.255"},
       {"9.255.255.255", "11.0.0.0", "a00::"},
       "10.0.0.0/8"},
      {"10.1.2.3/8", {"10.0.0.0", "10.255.255.255"}, {"11.0.0.0"}, "10.0.0.0/8"},
      {"192.0.2.128/25",
       {"192.0.2.128", "192.0.2.255"},
       {"192.0.2.127", "192.0.3.0"},
       "192.0.2.128/25"},
      {"192.0.2.6/31", {"192.0.2.6", "192.0.2.7"}, {"192.0.2.5", "192.0.2.8"}, "192.0.2.6/31"},
      {"192.0.2.6/32", {"192.0.2.6"}, {"192.0.2.5", "192.0.2.7"}, "192.0.2.6"},
      {"0.0.0.0/0", {"0.0.0.0", "255.255.255.255"}, {"::", "::1", "ffff::"}, "0.0.0.0/0"},
      {"1.2.3.4/0", {"0.0.0.0", "255.255.255.255"}, {"::1"}, "0.0.0.0/0"},
      {"10.0.0.0/255.0.0.0", {"10.0.0.0", "10.255.255.255"}, {"11.0.0.0"}, "10.0.0.0/8"},
      {"10.1.2.3/255.255.255.255", {"10.1.2.3"}, {"10.1.2.2", "10.1.2.4"}, "10.1.2.3"},
      {"10.1.2.3/0.0.0.0", {"0.0.0.0", "255.255.255.255"}, {"::1"}, "0.0.0.0/0"},
      {"10.1.2.3/255.255.254.0",
       {"10.1.2.0", "10.1.3.255"},
       {"10.1.1.255", "10.1.4.0"},
       "10.1.2.0/23"},
      {"2001:db8::/32",
       {"2001:db8::", "2001:db8:ffff::1"},
       {"2001:db7::", "2001:db9::"},
       "2001:db8::/32"},
      {"2001:db8::1/33", {"2001:db8:7fff::"}, {"2001:db8:8000::"}, "2001:db8::/33"},
      {"2001:db8::1/128", {"2001:db8::1"}, {"2001:db8::2"}, "2001:db8::1"},
      {"::/0", {"::", "ffff:ffff::"}, {"0.0.0.0", "255.255.255.255"}, "::/0"},
      {"::ffff:10.0.0.0/104", {"10.0.0.0", "10.255.255.255"}, {"11.0.0.0", "::"}, "10.0.0.0/8"},
      {"::ffff:0:0/96", {"0.0.0.0", "255.255.255.255"}, {"::", "::1:0:0:0"}, "0.0.0.0/0"},
      {"::ffff:0:0/95", {"::fffe:0:1"}, {"0.0.0.1", "::fffd:0:1"}, "::fffe:0:0/95"},
      {"10.0.0.1-10.0.0.9",
       {"10.0.0.1", "10.0.0.5", "10.0.0.9"},
       {"10.0.0.0", "10.0.0.10"},
       "10.0.0.1-10.0.0.9"},
      {"10.0.0.7-10.0.0.7", {"10.0.0.7"}, {"10.0.0.6", "10.0.0.8"}, "10.0.0.7"},
      {"10.0.0.0-10.0.0.255", {"10.0.0.0", "10.0.0.255"}, {"10.0.1.0"}, "10.0.0.0/24"},
      {"9.255.255.255-10.0.1.0",
       {"9.255.255.255", "10.0.0.77", "10.0.1.0"},
       {"10.0.1.1"},
       "9.255.255.255-10.0.1.0"},
      {"::ffff:10.0.0.1-10.0.0.9", {"10.0.0.1", "10.0.0.9"}, {"10.0.0.10"}, "10.0.0.1-10.0.0.9"},
      {"2001:db8::1-2001:db8::1:0",
       {"2001:db8::1", "2001:db8::ffff", "2001:db8::1:0"},
       {"2001:db8::", "2001:db8::1:1"},
       "2001:db8::1-2001:db8::1:0"},
      {"::1-::ffff:255.255.255.255",
       {"::1", "::fffe:ffff:ffff"},
       {"::", "1.2.3.4", "::1:0:0:0"},
       "::1-::ffff:255.255.255.255"},
      {"192.168.1",
       {"192.168.1.0", "192.168.1.255"},
       {"192.168.0.255", "192.168.2.0"},
       "192.168.1.0/24"},
      {"192.168.1.", {"192.168.1.0", "192.168.1.255"}, {"192.168.2.0"}, "192.168.1.0/24"},
      {"192.168", {"192.168.0.0", "192.168.255.255"}, {"192.169.0.0"}, "192.168.0.0/16"},
      {"192.168.", {"192.168.0.0", "192.168.255.255"}, {"192.169.0.0"}, "192.168.0.0/16"},
      {"10", {"10.0.0.0", "10.255.255.255"}, {"11.0.0.0"}, "10.0.0.0/8"},
      {"10.", {"10.0.0.0", "10.255.255.255"}, {"11.0.0.0"}, "10.0.0.0/8"},
      {"0", {"0.0.0.0", "0.255.255.255"}, {"1.0.0.0", "::"}, "0.0.0.0/8"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    ASSERT_TRUE(IPAddressMask::isValidIPAddressMask(row.text));
    const IPAddressMask mask(row.text);
    for (const char* address : row.inside) EXPECT_TRUE(matches(mask, address)) << address;
    for (const char* address : row.outside) EXPECT_FALSE(matches(mask, address)) << address;
    EXPECT_FALSE(mask.matches(IPAddress()));
    EXPECT_FALSE(mask.isNull());
    EXPECT_EQ(mask.asString(), row.canonical);
    EXPECT_EQ(IPAddressMask(mask.asString()), mask);
  }
}

TEST(IPAddressMask, RejectsWhatIsNoMask) {
  const std::string rows[] = {
      "",
      " ",
      "/",
      "/8",
      "-",
      ".",
      "..",
      "10..1",
      ".10",
      "10.0.0.0/",
      "10.0.0.0/33",
      "10.0.0.0/-1",
      "10.0.0.0/+8",
      "10.0.0.0/08",
      "10.0.0.0/ 8",
      "10.0.0.0/8 ",
      " 10.0.0.0/8",
      "10.0.0.0/8/8",
      "10.0.0.0/8x",
      "10.0.0.0/4294967304",
      "10.0.0.0/255.0.255.0",  // ones after a zero
      "10.0.0.0/0.0.0.255",    // a wildcard, not a netmask
      "10.0.0.0/255.255",
      "10.0.0.0/::ffff:255.0.0.0",
      "10.0.0.0/ffff::",
      "10/8",
      "192.168.1/24",
      "2001:db8::/129",
      "2001:db8::/",
      "2001:db8::/ffff::",
      "2001:db8::/255.0.0.0",
      "::ffff:10.0.0.0/255.0.0.0",
      "2001:db8:",
      "2001:db8",
      "10.0.0.9-10.0.0.1",
      "10.0.0.1-",
      "-10.0.0.1",
      "10.0.0.1-9",
      "10.0.0.1-10.0.0.9-10.0.0.10",
      "10.0.0.1 - 10.0.0.9",
      "10.0.0.1-2001:db8::1",
      "::1-10.0.0.1",
      "2001:db8::2-2001:db8::1",
      "10.0.0.0/8-11.0.0.0/8",
      "1.2.3.4.",
      "1.2.3.4.5",
      "256",
      "1.256",
      "1.2.999",
      "01",
      "1.02",
      "192.168.1.*",
      "192.168.1.0, 10.0.0.1",
      "any",
      "*",
      "example.com",
      "1a",
      "10.0.0.0\0/8"s,
      "10\0"s,
      std::string(100000, '.'),
  };
  for (const std::string& text : rows) {
    SCOPED_TRACE(testing::PrintToString(text.substr(0, 60)));
    EXPECT_FALSE(IPAddressMask::isValidIPAddressMask(text));
    try {
      const IPAddressMask mask(text);
      ADD_FAILURE() << mask.asString();
    } catch (const Exception& e) {
      EXPECT_EQ(e.code(), Exception::kBadText);
      EXPECT_EQ(e.stringParameter(), text);
    }
  }
}

TEST(IPAddressMask, OneSetOfAddressesIsOneMaskHoweverWritten) {
  const IPAddressMask mask("10.0.0.0/8");
  for (const char* text : {"10.1.2.3/8", "10.0.0.0/255.0.0.0", "10", "10.",
                           "10.0.0.0-10.255.255.255", "::ffff:10.0.0.0/104"}) {
    SCOPED_TRACE(text);
    EXPECT_EQ(IPAddressMask(text), mask);
    EXPECT_FALSE(IPAddressMask(text) < mask);
    EXPECT_FALSE(mask < IPAddressMask(text));
  }
  EXPECT_EQ(listOf({"10.0.0.0/9", "10.128.0.0/9"}), mask);
  EXPECT_NE(IPAddressMask("10.0.0.0/9"), mask);
  EXPECT_NE(IPAddressMask("10.0.0.0"), mask);
  EXPECT_NE(IPAddressMask("0.0.0.0/0"), IPAddressMask("::/0"));

  std::set<IPAddressMask> set{mask, IPAddressMask("10."), IPAddressMask("10.0.0.1")};
  EXPECT_EQ(set.size(), 2u);
  EXPECT_EQ(set.erase(IPAddressMask("10.9.9.9/255.0.0.0")), 1u);
  EXPECT_EQ(set.size(), 1u);
}

TEST(IPAddressMask, ListMatchesWhereAnyMemberDoes) {
  const IPAddressMask mask =
      listOf({"2001:db8::/32", "10.0.0.1", "192.168", "172.16.0.1-172.16.0.9"});
  for (const char* address :
       {"10.0.0.1", "192.168.77.1", "172.16.0.1", "172.16.0.9", "2001:db8::9"}) {
    EXPECT_TRUE(matches(mask, address)) << address;
  }
  for (const char* address :
       {"10.0.0.0", "10.0.0.2", "172.16.0.10", "9.9.9.9", "2001:db9::", "::"}) {
    EXPECT_FALSE(matches(mask, address)) << address;
  }
  EXPECT_EQ(mask.asString(), "10.0.0.1, 172.16.0.1-172.16.0.9, 192.168.0.0/16, 2001:db8::/32");
}

TEST(IPAddressMask, EmptyListIsTheNullMask) {
  const IPAddressMask mask{Masks()};
  EXPECT_TRUE(mask.isNull());
  EXPECT_EQ(mask, IPAddressMask());
  EXPECT_EQ(IPAddressMask(Masks{IPAddressMask(), IPAddressMask()}), IPAddressMask());
}

TEST(IPAddressMask, ListOfListsIsOneList) {
  const IPAddressMask inner = listOf({"10.0.0.1", "10.0.0.3"});
  EXPECT_EQ(IPAddressMask(Masks{inner, IPAddressMask("10.0.0.5")}),
            listOf({"10.0.0.5", "10.0.0.3", "10.0.0.1"}));
}

TEST(IPAddressMask, ListJoinsWhatOverlapsOrTouches) {
  EXPECT_EQ(listOf({"10.0.0.1", "10.0.0.2"}).asString(), "10.0.0.1-10.0.0.2");
  EXPECT_EQ(listOf({"10.0.0.2", "10.0.0.3"}).asString(), "10.0.0.2/31");
  EXPECT_EQ(listOf({"10.0.0.1-10.0.0.9", "10.0.0.5", "10.0.0.7-10.0.0.12"}).asString(),
            "10.0.0.1-10.0.0.12");
  EXPECT_EQ(listOf({"10.0.0.255", "10.0.1.0"}).asString(), "10.0.0.255-10.0.1.0");
  EXPECT_EQ(listOf({"0.0.0.0/0", "255.255.255.255", "10."}).asString(), "0.0.0.0/0");
  EXPECT_EQ(listOf({"::/1", "8000::/1", "ffff::1"}).asString(), "::/0");
  EXPECT_EQ(listOf({"10.0.0.1", "10.0.0.1"}).ranges().size(), 1u);
  // The last IPv4 address and the IPv6 address after its mapped form do not touch.
  EXPECT_EQ(listOf({"255.255.255.255", "::1:0:0:0"}).ranges().size(), 2u);
}

TEST(IPAddressMask, AnyMatchesEveryAddressButNotTheNullOne) {
  const IPAddressMask any = IPAddressMask::any();
  EXPECT_TRUE(any.isAny());
  EXPECT_FALSE(any.isNull());
  for (const char* address : {"0.0.0.0", "255.255.255.255", "::", "ffff::", "2001:db8::1"}) {
    EXPECT_TRUE(matches(any, address)) << address;
  }
  EXPECT_FALSE(any.matches(IPAddress()));
  EXPECT_EQ(any.asString(), "any");
  EXPECT_EQ(listOf({"0.0.0.0/0", "::/0"}), any);
  EXPECT_FALSE(IPAddressMask("0.0.0.0/0").isAny());
}

TEST(IPAddressMask, OfOneAddress) {
  EXPECT_EQ(IPAddressMask(IPAddress("192.0.2.1")), IPAddressMask("192.0.2.1"));
  EXPECT_EQ(IPAddressMask(IPAddress("::1")), IPAddressMask("::1/128"));
  EXPECT_TRUE(IPAddressMask(IPAddress()).isNull());
}

TEST(IPAddressMask, OrderIsTotalWithTheNullMaskFirst) {
  const std::vector<IPAddressMask> ascending = {
      IPAddressMask(),
      IPAddressMask("0.0.0.0/0"),
      IPAddressMask::any(),
      IPAddressMask("10.0.0.0"),
      listOf({"10.0.0.0", "10.0.0.2"}),
      IPAddressMask("10.0.0.0/24"),
      IPAddressMask("10.0.0.0/8"),
      IPAddressMask("10.0.0.1"),
      IPAddressMask("::"),
      IPAddressMask("::/0"),
      IPAddressMask("2001:db8::/32"),
  };
  for (std::size_t i = 0; i < ascending.size(); ++i) {
    for (std::size_t j = 0; j < ascending.size(); ++j) {
      SCOPED_TRACE(ascending[i].asString() + " and " + ascending[j].asString());
      EXPECT_EQ(ascending[i] < ascending[j], i < j);
      EXPECT_EQ(ascending[i] == ascending[j], i == j);
    }
  }
}

TEST(IPAddressMask, RangesTellPrefixesApart) {
  const struct {
    const char* text;
    int prefix;
  } rows[] = {
      {"10.0.0.1", 32},          {"10.0.0.0/8", 8},
      {"0.0.0.0/0", 0},          {"10.0.0.2-10.0.0.3", 31},
      {"10.0.0.1-10.0.0.2", -1}, {"::1", 128},
      {"2001:db8::/32", 32},     {"::/0", 0},
      {"::1-::2", -1},           {"0.0.0.0-127.255.255.255", 1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    const auto ranges = IPAddressMask(row.text).ranges();
    ASSERT_EQ(ranges.size(), 1u);
    EXPECT_EQ(ranges[0].prefixLength(), row.prefix);
  }
  const auto ranges = IPAddressMask("10.0.0.0/8").ranges();
  EXPECT_EQ(ranges[0].family, IPAddress::Family::kV4);
  EXPECT_EQ(ranges[0].low, IPAddress("10.0.0.0").bytes());
  EXPECT_EQ(ranges[0].high, IPAddress("10.255.255.255").bytes());
}

TEST(IPAddressMask, PlainFormGoesThereAndBack) {
  const struct {
    IPAddressMask mask;
    std::vector<int> plain;  // kind, family, prefix, five reserved bytes, sixteen of address
  } rows[] = {
      {IPAddressMask(), {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
      {IPAddressMask::any(),
       {1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
      {IPAddressMask("192.0.2.1"),
       {2, 4, 32, 0, 0, 0, 0, 0, 192, 0, 2, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
      {IPAddressMask("10.0.0.0/8"),
       {2, 4, 8, 0, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
      {IPAddressMask("0.0.0.0/0"),
       {2, 4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
      {IPAddressMask("10.0.0.1-10.0.0.9"),
       {3, 4, 0, 0, 0, 0, 0, 0, 10, 0, 0, 1, 10, 0, 0, 9, 0, 0, 0, 0, 0, 0, 0, 0}},
      {IPAddressMask("2001:db8::/32"),
       {2, 6, 32, 0, 0, 0, 0, 0, 0x20, 1, 0xD, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
      {IPAddressMask("::1"),
       {2, 6, 128, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.mask.asString());
    ip_mask_t plain;
    std::memset(&plain, 0xEE, sizeof plain);
    ASSERT_TRUE(row.mask.toIpMask(plain));
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&plain);
    EXPECT_EQ(std::vector<int>(bytes, bytes + sizeof plain), row.plain);
    EXPECT_EQ(IPAddressMask(plain), row.mask);
  }
}

TEST(IPAddressMask, PlainFormHasNoRoomForListsAndIPv6Ranges) {
  for (const IPAddressMask& mask :
       {listOf({"10.0.0.1", "10.0.0.3"}), IPAddressMask("2001:db8::1-2001:db8::2")}) {
    SCOPED_TRACE(mask.asString());
    ip_mask_t plain{};
    plain.prefix = 77;
    EXPECT_FALSE(mask.toIpMask(plain));
    EXPECT_EQ(plain.prefix, 77);
  }
}

TEST(IPAddressMask, PlainFormIsReadTolerantlyWhereItCanBe) {
  ip_mask_t plain{};
  plain.family = 77;  // kind null: other members are ignored
  EXPECT_TRUE(IPAddressMask(plain).isNull());

  plain = {kIpMaskPrefix, kIpFamilyV4, 8, {}, {10, 1, 2, 3}};  // bits after the prefix
  EXPECT_EQ(IPAddressMask(plain), IPAddressMask("10.0.0.0/8"));

  // IPv4 written as IPv6.
  plain = {kIpMaskPrefix, kIpFamilyV6, 104, {}, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 10}};
  EXPECT_EQ(IPAddressMask(plain), IPAddressMask("10.0.0.0/8"));
}

TEST(IPAddressMask, PlainFormThatCannotBeReadIsRefused) {
  const ip_mask_t rows[] = {
      {4, kIpFamilyV4, 8, {}, {}},
      {0xFF, kIpFamilyV4, 8, {}, {}},
      {kIpMaskPrefix, kIpFamilyNone, 8, {}, {}},
      {kIpMaskPrefix, 5, 8, {}, {}},
      {kIpMaskPrefix, kIpFamilyV4, 33, {}, {10}},
      {kIpMaskPrefix, kIpFamilyV6, 129, {}, {}},
      {kIpMaskRange, kIpFamilyV4, 0, {}, {10, 0, 0, 9, 10, 0, 0, 1}},
      {kIpMaskRange, kIpFamilyV6, 0, {}, {}},
  };
  for (const ip_mask_t& plain : rows) {
    SCOPED_TRACE(testing::Message() << "kind " << +plain.kind << " family " << +plain.family);
    try {
      const IPAddressMask mask(plain);
      ADD_FAILURE() << mask.asString();
    } catch (const Exception& e) {
      EXPECT_EQ(e.code(), Exception::kBadText);
    }
  }
}

// Random lists over 24 addresses around an octet's border, against a plain set of numbers.
TEST(IPAddressMask, ListsBehaveAsSetsOfAddresses) {
  constexpr int kAddresses = 24;
  const auto address = [](int i) {
    const int low = 244 + i;
    return "10.0." + std::to_string(low / 256) + "." + std::to_string(low % 256);
  };
  std::mt19937 random(4711);
  const auto upTo = [&random](int most) {
    return std::uniform_int_distribution<int>(0, most)(random);
  };

  std::vector<std::pair<IPAddressMask, std::set<int>>> made;
  for (int round = 0; round < 300; ++round) {
    Masks masks;
    std::set<int> numbers;
    for (int members = upTo(4); members > 0; --members) {
      const int low = upTo(kAddresses - 1);
      const int high = low + upTo(std::min(5, kAddresses - 1 - low));
      masks.emplace_back(address(low) + "-" + address(high));
      for (int i = low; i <= high; ++i) numbers.insert(i);
    }
    const IPAddressMask mask(masks);
    for (int i = 0; i < kAddresses; ++i) {
      ASSERT_EQ(mask.matches(IPAddress(address(i))), numbers.count(i) == 1)
          << mask.asString() << " and " << address(i);
    }
    made.emplace_back(mask, numbers);
  }
  for (const auto& [maskA, numbersA] : made) {
    for (const auto& [maskB, numbersB] : made) {
      ASSERT_EQ(maskA == maskB, numbersA == numbersB)
          << maskA.asString() << " / " << maskB.asString();
      ASSERT_EQ((maskA < maskB) + (maskB < maskA) + (maskA == maskB), 1);
    }
  }
}

}  // namespace
}  // namespace Kestrav
