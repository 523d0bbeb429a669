#include "platform/common/IPAddress.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/common/Exception.h"

namespace Kestrav {
namespace {

using namespace std::string_literals;

int codeThrownFor(const std::string& text) {
  try {
    const IPAddress address(text);
  } catch (const Exception& e) {
    EXPECT_EQ(e.stringParameter(), text);
    return e.code();
  }
  return 0;
}

TEST(IPAddress, IsNullAtFirst) {
  const IPAddress address;
  EXPECT_TRUE(address.isNull());
  EXPECT_FALSE(address.isV4());
  EXPECT_FALSE(address.isV6());
  EXPECT_EQ(address.family(), IPAddress::Family::kNone);
  EXPECT_EQ(address.asString(), "");
  const ip_addr_t plain = address.asIpAddr();
  const auto* bytes = reinterpret_cast<const unsigned char*>(&plain);
  EXPECT_TRUE(std::all_of(bytes, bytes + sizeof plain, [](unsigned char c) { return c == 0; }));
}

TEST(IPAddress, PrintsTheCanonicalText) {
  const struct {
    const char *text, *canonical;
    bool v4;
  } rows[] = {
      {"0.0.0.0", "0.0.0.0", true},
      {"255.255.255.255", "255.255.255.255", true},
      {"192.0.2.1", "192.0.2.1", true},
      {"::ffff:192.0.2.1", "192.0.2.1", true},
      {"::FFFF:c000:201", "192.0.2.1", true},
      {"0:0:0:0:0:ffff:0:0", "0.0.0.0", true},
      {"::", "::", false},
      {"::1", "::1", false},
      {"1::", "1::", false},
      {"0:0:0:0:0:0:0:0", "::", false},
      {"2001:0DB8:0000:0000:0000:0000:0000:0001", "2001:db8::1", false},
      {"2001:db8:0:1:1:1:1:1", "2001:db8:0:1:1:1:1:1", false},  // a single zero is not shortened
      {"2001:db8::1:1:1:1:1", "2001:db8:0:1:1:1:1:1", false},   // also when the input is shortened
      {"2001:0:0:1:0:0:0:1", "2001:0:0:1::1", false},           // the longest run
      {"2001:db8:0:0:1:0:0:1", "2001:db8::1:0:0:1", false},     // the first of two equal runs
      {"0:0:1:0:0:0:1:0", "0:0:1::1:0", false},
      {"1:0:0:0:0:0:0:0", "1::", false},
      {"1:2:3:4:5:6:0:0", "1:2:3:4:5:6::", false},
      {"0:0:3:4:5:6:7:8", "::3:4:5:6:7:8", false},
      {"::1.2.3.4", "::102:304", false},  // IPv4-compatible is not mapped
      {"64:ff9b::192.0.2.33", "64:ff9b::c000:221", false},
      {"fe80::ffff:1.2.3.4", "fe80::ffff:102:304", false},
      {"::ffff:0:1.2.3.4", "::ffff:0:102:304", false},
      {"0000:0000:0000:0000:0000:ffff:255.255.255.255", "255.255.255.255",
       true},  // the longest text
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    EXPECT_TRUE(IPAddress::isValidIPAddress(row.text));
    const IPAddress address(row.text);
    EXPECT_EQ(address.asString(), row.canonical);
    EXPECT_EQ(address.isV4(), row.v4);
    EXPECT_EQ(address.isV6(), !row.v4);
    EXPECT_FALSE(address.isNull());
    EXPECT_EQ(IPAddress(address.asString()), address);
    EXPECT_EQ(IPAddress(address.asIpAddr()), address);
  }
}

TEST(IPAddress, RejectsWhatIsNoCompleteAddress) {
  const std::string rows[] = {
      "",
      " ",
      "1.2.3",
      "1.2.3.",
      "1.2.3.4.",
      "1.2.3.4.5",
      ".1.2.3.4",
      "1..2.3",
      "256.1.1.1",
      "1.2.3.-4",
      "01.2.3.4",
      "1.2.3.4 ",
      " 1.2.3.4",
      "0x1.2.3.4",
      "16909060",
      "1.2.3.4/32",
      "1.2.3.4-1.2.3.5",
      "1.2.3.4:25",
      ":",
      ":::",
      "1::2::3",
      "1:2:3:4:5:6:7",
      "1:2:3:4:5:6:7:8:9",
      "12345::",
      "g::",
      "[::1]",
      "::1%lo",
      "fe80::1%1",
      "::1/128",
      "::1.2.3",
      "localhost",
      "mail.example.com",
      "any",
      "*",
      "1.2.3.4\0"s,
      "1.2.3.4\0.5"s,
      "::1\n",
      std::string(100000, '1'),
      "0000:0000:0000:0000:0000:ffff:255.255.255.2550",
  };
  for (const std::string& text : rows) {
    SCOPED_TRACE(testing::PrintToString(text.substr(0, 60)));
    EXPECT_FALSE(IPAddress::isValidIPAddress(text));
    EXPECT_EQ(codeThrownFor(text), Exception::kBadText);
  }
}

TEST(IPAddress, ReadsTextThatIsPartOfALongerOne) {
  EXPECT_EQ(IPAddress(std::string_view("192.0.2.123", 9)).asString(), "192.0.2.1");
}

TEST(IPAddress, OrderIsNullThenIPv4ThenIPv6EachNumerically) {
  const std::vector<IPAddress> ascending = {
      IPAddress(),           IPAddress("0.0.0.0"),         IPAddress("9.255.255.255"),
      IPAddress("10.0.0.0"), IPAddress("255.255.255.255"), IPAddress("::"),
      IPAddress("::1"),      IPAddress("::1:0"),           IPAddress("2001:db8::"),
  };
  for (std::size_t i = 0; i < ascending.size(); ++i) {
    for (std::size_t j = 0; j < ascending.size(); ++j) {
      SCOPED_TRACE(ascending[i].asString() + " and " + ascending[j].asString());
      EXPECT_EQ(ascending[i] < ascending[j], i < j);
      EXPECT_EQ(ascending[i] == ascending[j], i == j);
    }
  }
}

TEST(IPAddress, PlainFormHoldsIPv4MappedInNetworkOrder) {
  const ip_addr_t v4 = IPAddress("192.0.2.1").asIpAddr();
  EXPECT_EQ(v4.family, kIpFamilyV4);
  EXPECT_EQ(std::vector<int>(v4.bytes, v4.bytes + 16),
            (std::vector<int>{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 192, 0, 2, 1}));
  const ip_addr_t v6 = IPAddress("2001:db8::1").asIpAddr();
  EXPECT_EQ(v6.family, kIpFamilyV6);
  EXPECT_EQ(std::vector<int>(v6.bytes, v6.bytes + 16),
            (std::vector<int>{0x20, 1, 0xD, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}));
}

TEST(IPAddress, PlainFormThatCannotBeReadIsRefused) {
  EXPECT_TRUE(IPAddress(ip_addr_t{}).isNull());

  ip_addr_t mapped = IPAddress("192.0.2.1").asIpAddr();
  mapped.family = kIpFamilyV6;
  EXPECT_EQ(IPAddress(mapped), IPAddress("192.0.2.1"));

  ip_addr_t unmapped{};
  unmapped.family = kIpFamilyV4;
  unmapped.bytes[0] = 10;
  EXPECT_THROW(IPAddress{unmapped}, Exception);

  ip_addr_t unknown = IPAddress("::1").asIpAddr();
  unknown.family = 10;
  EXPECT_THROW(IPAddress{unknown}, Exception);
}

}  // namespace
}  // namespace Kestrav
