#include "platform/config/records/OwnedRecord.h"

#include <gtest/gtest.h>

#include <utility>

#include "platform/config/records/ContentRecords.h"
#include "platform/config/records/FieldAccess.h"
#include "platform/config/records/GroupRecords.h"
#include "platform/config/records/SessionRecords.h"
#include "platform/config/records/WebFilterRecords.h"

using namespace Kestrav::Config;

namespace {

const Field& members() {
  return *findField(kEmailGroupType, "members");
}

void add(OwnedRecord& group, const char* address) {
  void* entry = group.append(members());
  ASSERT_TRUE(writeText(*findField(kEmailSlotType, "text"), entry, address));
}

}  // namespace

TEST(OwnedRecord, KeepsTheEntriesOfItsLists) {
  OwnedRecord group(kEmailGroupType);
  for (int i = 0; i < 100; ++i) add(group, ("user" + std::to_string(i) + "@example.com").c_str());
  const auto* record = group.as<__vexa_email_address_group>();
  ASSERT_EQ(record->member_count, 100u);
  EXPECT_STREQ(record->members[0].text, "user0@example.com");
  EXPECT_STREQ(record->members[99].text, "user99@example.com");
}

TEST(OwnedRecord, AppendsToTheListAtAnOffset) {
  OwnedRecord group(kEmailGroupType);
  EXPECT_NE(group.appendAt(offsetof(__vexa_email_address_group, member_count)), nullptr);
  EXPECT_EQ(group.as<__vexa_email_address_group>()->member_count, 1u);
  EXPECT_EQ(group.appendAt(offsetof(__vexa_email_address_group, name)), nullptr);
}

TEST(OwnedRecord, CopiesAreIndependentAndMovesKeepPointers) {
  OwnedRecord group(kEmailGroupType);
  add(group, "a@example.com");
  OwnedRecord copy = group;
  add(copy, "b@example.com");
  EXPECT_EQ(group.as<__vexa_email_address_group>()->member_count, 1u);
  EXPECT_NE(group.as<__vexa_email_address_group>()->members,
            copy.as<__vexa_email_address_group>()->members);
  const void* before = copy.as<__vexa_email_address_group>()->members;
  const OwnedRecord moved = std::move(copy);
  EXPECT_EQ(moved.as<__vexa_email_address_group>()->members, before);
  EXPECT_STREQ(moved.as<__vexa_email_address_group>()->members[1].text, "b@example.com");
  OwnedRecord assigned(kEmailGroupType);
  assigned = moved;
  EXPECT_TRUE(sameRecord(kEmailGroupType, assigned.data(), moved.data()));
}

TEST(OwnedRecord, CopiesARecordWithItsLists) {
  aps_email_address_t slots[] = {{"a@example.com"}};
  __vexa_email_address_group record{};
  record.member_count = 1;
  record.members = slots;
  const OwnedRecord copy(kEmailGroupType, &record);
  slots[0].text[0] = 'z';
  EXPECT_STREQ(copy.as<__vexa_email_address_group>()->members[0].text, "a@example.com");
}

TEST(OwnedRecord, AnArrayTakesNoMoreThanItsCapacity) {
  OwnedRecord filter(kWebFilterProfileType);
  const Field& categories = *findField(kWebFilterProfileType, "categories");
  for (int i = 0; i < 128; ++i) ASSERT_NE(filter.append(categories), nullptr);
  EXPECT_EQ(filter.append(categories), nullptr);
  EXPECT_EQ(filter.as<__aps_as_wf_profile>()->category_id_count, 128u);
  filter.clear(categories);
  EXPECT_EQ(filter.as<__aps_as_wf_profile>()->category_id_count, 0u);
}

TEST(OwnedRecord, NewEntriesHoldTheirDefaults) {
  OwnedRecord ruleset(kAclRulesetType);
  const auto* rule =
      static_cast<const __aps_acl_rule*>(ruleset.append(*findField(kAclRulesetType, "rules")));
  EXPECT_STREQ(rule->sender, "*");
  EXPECT_EQ(rule->enabled, 1);
  EXPECT_EQ(readMask(*findField(kAclRuleType, "client-mask"), rule), "any");
}
