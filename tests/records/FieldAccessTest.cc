// Single fields: limits, signs, bits, texts without an end, wrong counts.
#include "platform/config/records/FieldAccess.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "platform/config/records/AntispamRecords.h"
#include "platform/config/records/ContentRecords.h"
#include "platform/config/records/DeliveryRecords.h"
#include "platform/config/records/GroupRecords.h"
#include "platform/config/records/PolicyRecords.h"
#include "platform/config/records/WebFilterRecords.h"

using namespace Kestrav::Config;

namespace {

const Field& field(const RecordType& type, const char* name) {
  const Field* found = findField(type, name);
  EXPECT_NE(found, nullptr) << name;
  return *found;
}

}  // namespace

TEST(FieldAccess, ABitLeavesItsNeighboursAlone) {
  __aps_gw_as_profile profile{};
  profile.scanners = 0x01;
  ASSERT_TRUE(writeNumber(field(kAntispamProfileType, "rbl"), &profile, 1));
  EXPECT_EQ(profile.scanners, 0x11);
  ASSERT_TRUE(writeNumber(field(kAntispamProfileType, "heuristic"), &profile, 0));
  EXPECT_EQ(profile.scanners, 0x10);
  EXPECT_FALSE(writeNumber(field(kAntispamProfileType, "rbl"), &profile, 2));
}

TEST(FieldAccess, NumbersThatDoNotFitAreRefused) {
  __aps_gw_as_profile profile{};
  const Field& score = field(kAntispamProfileType, "dictionary-min-score");
  EXPECT_TRUE(writeNumber(score, &profile, -2147483648LL));
  EXPECT_EQ(readNumber(score, &profile), -2147483648LL);
  EXPECT_FALSE(writeNumber(score, &profile, 2147483648LL));
  const Field& size = field(kAntispamProfileType, "max-scan-size");
  EXPECT_TRUE(writeNumber(size, &profile, 4294967295LL));
  EXPECT_EQ(profile.max_scan_size, 4294967295u);
  EXPECT_FALSE(writeNumber(size, &profile, 4294967296LL));
  EXPECT_FALSE(writeNumber(size, &profile, -1));
}

TEST(FieldAccess, TextsThatDoNotFitAreRefused) {
  __aps_antispam_action action{};
  const Field& name = field(kAntispamActionType, "name");
  EXPECT_TRUE(writeText(name, &action, std::string(31, 'n')));
  EXPECT_FALSE(writeText(name, &action, std::string(32, 'n')));
  EXPECT_EQ(readText(name, &action), std::string(31, 'n'));
  EXPECT_FALSE(writeText(name, &action, std::string_view("a\0b", 3)));
  EXPECT_TRUE(writeText(name, &action, "ab"));
  EXPECT_EQ(action.name[30], '\0') << "the rest of a longer text is gone";
}

TEST(FieldAccess, ATextWithoutAnEndStopsAtItsField) {
  __aps_antispam_action action{};
  std::memset(action.name, 'n', sizeof action.name);
  action.id = 0x6e6e6e6e;
  EXPECT_EQ(readText(field(kAntispamActionType, "name"), &action).size(), 32u);
}

TEST(FieldAccess, MasksAreReadAndWrittenAsText) {
  __vexa_ip_address_entry entry{};
  const Field& mask = field(kIpEntryType, "address");
  EXPECT_EQ(readMask(mask, &entry), "");
  for (const char* text :
       {"any", "192.0.2.1", "192.0.2.0/24", "10.0.0.5-10.0.0.9", "2001:db8::/32"}) {
    EXPECT_TRUE(writeMask(mask, &entry, text)) << text;
    EXPECT_EQ(readMask(mask, &entry), text);
  }
  EXPECT_FALSE(writeMask(mask, &entry, "2001:db8::1-2001:db8::3")) << "no room for IPv6 ranges";
  EXPECT_FALSE(writeMask(mask, &entry, "example.com"));
  std::memset(&entry, 0xff, sizeof entry);
  EXPECT_EQ(readMask(mask, &entry), "") << "unreadable bytes";
}

TEST(FieldAccess, CountsBeyondTheCapacityAreCut) {
  __aps_as_wf_profile filter{};
  filter.category_id_count = ~0ull;
  EXPECT_EQ(readEntries(field(kWebFilterProfileType, "categories"), &filter).count, 128u);
  __aps_profile_notification notification{};
  notification.other_recipient_count = 6;
  const Entries slots =
      readEntries(field(kNotificationProfileType, "other-recipients"), &notification);
  EXPECT_EQ(slots.count, 5u);
  EXPECT_EQ(slots.at(4), notification.other_recipients[4]);
}

TEST(FieldAccess, AListWithoutMemoryIsEmpty) {
  __vexa_email_address_group group{};
  group.member_count = 3;
  EXPECT_EQ(readEntries(field(kEmailGroupType, "members"), &group).count, 0u);
}

TEST(FieldAccess, ListsAreComparedByTheirEntries) {
  aps_email_address_t first[] = {{"a@example.com"}, {"b@example.com"}};
  aps_email_address_t second[] = {{"a@example.com"}, {"b@example.com"}};
  __vexa_email_address_group a{}, b{};
  a.member_count = b.member_count = 2;
  a.members = first;
  b.members = second;
  EXPECT_TRUE(sameRecord(kEmailGroupType, &a, &b));
  second[1].text[0] = 'c';
  EXPECT_FALSE(sameRecord(kEmailGroupType, &a, &b));
  b.member_count = 1;
  EXPECT_FALSE(sameRecord(kEmailGroupType, &a, &b));
}

TEST(FieldAccess, RealsKeepTheirBits) {
  __aps_fasmilter settings{};
  const Field& confidence = field(kDeepHeaderType, "confidence");
  writeReal(confidence, &settings, 99.5);
  EXPECT_EQ(settings.confidence, 99.5f);
  settings.confidence = std::nanf("");
  EXPECT_TRUE(std::isnan(readReal(confidence, &settings)));
}

TEST(FieldAccess, ValuesAreDescribedForPeople) {
  __aps_content_action action{};
  action.disposition = 64;
  action.encryption = 7;
  EXPECT_EQ(describeField(field(kContentActionType, "disposition"), &action), "encrypt");
  action.disposition = 3;
  EXPECT_EQ(describeField(field(kContentActionType, "disposition"), &action), "3");
  EXPECT_EQ(describeField(field(kContentActionType, "encryption"), &action), "#7");
  EXPECT_EQ(describeField(field(kContentActionType, "notify"), &action), "off");
  ASSERT_TRUE(writeText(field(kContentActionType, "subject-tag"), &action, "[a \"b\"]\n\x01"));
  EXPECT_EQ(describeField(field(kContentActionType, "subject-tag"), &action),
            "\"[a \\\"b\\\"]\\n\\x01\"");
  EXPECT_EQ(describeField(field(kContentActionType, "rewrite-local"), &action),
            "kind none, text \"\"");
  __vexa_certificate_binding binding{};
  const Field& phrase = field(kCertificateBindingType, "pass-phrase");
  EXPECT_EQ(describeField(phrase, &binding), "none");
  ASSERT_TRUE(writeText(phrase, &binding, "open sesame"));
  EXPECT_EQ(describeField(phrase, &binding), "(secret)");
}

TEST(FieldAccess, CriteriaAreFoundByName) {
  ASSERT_NE(findCriterion(kIpPolicyType, "client"), nullptr);
  EXPECT_EQ(findCriterion(kIpPolicyType, "client")->group, "client-group");
  EXPECT_EQ(findCriterion(kIpPolicyType, "from"), nullptr);
}
