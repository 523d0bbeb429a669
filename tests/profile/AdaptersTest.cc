#include "Adapters.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "platform/common/Strings.h"
#include "platform/config/records/SharedRecords.h"
#include "platform/regex/PatternContainer.h"
#include "platform/regex/StringContainer.h"

using namespace Kestrav;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

template <class Entry>
std::vector<Entry> entries(const std::vector<std::string>& texts) {
  std::vector<Entry> made(texts.size());
  for (std::size_t i = 0; i < texts.size(); ++i) {
    std::memset(static_cast<void*>(&made[i]), 0, sizeof(Entry));
    boundedCopy(reinterpret_cast<char*>(&made[i]), sizeof(Entry), texts[i]);
  }
  return made;
}

std::vector<std::string> patterns(const std::vector<std::string>& texts) {
  const auto list = entries<aps_bounded_string>(texts);
  PatternContainer out;
  adapter(out, static_cast<int>(list.size()), list.data());
  return out.patterns();
}

}  // namespace

TEST(HeaderListAdapter, AddsEntriesInOrderAndSkipsEmptyOnes) {
  const auto list = entries<__aps_hideheader_list_t>({"Received", "", "X-Mailer"});
  StringContainer out;
  adapter(out, 3, list.data());
  EXPECT_THAT(out.strings(), ElementsAre("Received", "X-Mailer"));
}

TEST(HeaderListAdapter, TakesNoMoreThanTheCount) {
  const auto list = entries<__aps_hideheader_list_t>({"Received", "X-Mailer"});
  StringContainer out;
  adapter(out, 1, list.data());
  EXPECT_THAT(out.strings(), ElementsAre("Received"));
}

TEST(HostListAdapter, AppendsEntriesInOrderAndSkipsEmptyOnes) {
  const auto list = entries<aps_fqdn_t>({"b.example", "", "a.example"});
  std::list<std::string> out{"first.example"};
  adapter(out, 3, list.data());
  EXPECT_THAT(out, ElementsAre("first.example", "b.example", "a.example"));
}

TEST(HostListAdapter, EntryWithoutAnEndEndsWithItsBytes) {
  std::vector<aps_fqdn_t> list = entries<aps_fqdn_t>({"", "next.example"});
  std::memset(list[0].name, 'a', sizeof(list[0].name));
  std::list<std::string> out;
  adapter(out, 2, list.data());
  EXPECT_THAT(out, ElementsAre(std::string(256, 'a'), "next.example"));
}

TEST(Adapters, CountBelowOneAddsNothing) {
  const auto headers = entries<__aps_hideheader_list_t>({"Received"});
  const auto hosts = entries<aps_fqdn_t>({"a.example"});
  const auto addresses = entries<aps_bounded_string>({"a.example"});
  for (const int count : {0, -1, -1000}) {
    StringContainer strings;
    std::list<std::string> list;
    PatternContainer container;
    adapter(strings, count, headers.data());
    adapter(list, count, hosts.data());
    adapter(container, count, addresses.data());
    EXPECT_THAT(strings.strings(), IsEmpty());
    EXPECT_THAT(list, IsEmpty());
    EXPECT_THAT(container.patterns(), IsEmpty());
  }
}

TEST(AddressListAdapter, BareDomainMeansItsAddressesAndThoseOfItsSubdomains) {
  EXPECT_THAT(patterns({"example.com"}), ElementsAre("*@example.com", "*@*.example.com"));
}

TEST(AddressListAdapter, BlanksAroundAnEntryAreIgnored) {
  EXPECT_THAT(patterns({"  example.com\t"}), ElementsAre("*@example.com", "*@*.example.com"));
  EXPECT_THAT(patterns({" user@example.com "}), ElementsAre("user@example.com"));
  EXPECT_THAT(patterns({" 192.0.2.1 "}), ElementsAre("192.0.2.1"));
}

TEST(AddressListAdapter, FullAddressIsOnePattern) {
  EXPECT_THAT(patterns({"user@example.com"}), ElementsAre("user@example.com"));
  EXPECT_THAT(patterns({"*@example.com"}), ElementsAre("*@example.com"));
}

TEST(AddressListAdapter, SingleIpAddressIsAddedUnchanged) {
  EXPECT_THAT(patterns({"192.0.2.1", "2001:db8::1"}), ElementsAre("192.0.2.1", "2001:db8::1"));
}

TEST(AddressListAdapter, MaskOfSeveralAddressesGetsAnOpenEnd) {
  EXPECT_THAT(patterns({"192.0.2"}), ElementsAre("192.0.2.*"));
  EXPECT_THAT(patterns({"192.0.2.0/24"}), ElementsAre("192.0.2.0/24.*"));
}

TEST(AddressListAdapter, EmptyAndBlankEntriesAreSkipped) {
  EXPECT_THAT(patterns({"", "   ", "\t", "user@example.com"}), ElementsAre("user@example.com"));
}

TEST(AddressListAdapter, EntriesKeepTheirOrder) {
  EXPECT_THAT(patterns({"b.example", "192.0.2.1", "u@a.example"}),
              ElementsAre("*@b.example", "*@*.b.example", "192.0.2.1", "u@a.example"));
}
