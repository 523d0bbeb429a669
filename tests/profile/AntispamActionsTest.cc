// Antispam action records: the actions that they become, and which record a profile uses.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "platform/common/Exception.h"
#include "platform/common/LogCodes.h"
#include "platform/parser/Rfc2047.h"
#include "tests/profile/AntispamProfile.h"
#include "tests/profile/Gateway.h"
#include "tests/support/Addresses.h"
#include "tests/support/AntispamRecords.h"

using namespace Kestrav;
using namespace Kestrav::Testing;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

ProfileAntiSpam profileWithDefault(std::uint32_t action, int domain = 0) {
  return profileOf(AntispamRecord(freshId()).defaultAction(action), domain);
}

// The actions of a profile whose default action is the record.
ActionContainer converted(const AntispamActionRecord& record) {
  put(record);
  return profileWithDefault(record->id).actions();
}

AntispamActionRecord action() {
  return AntispamActionRecord(freshId());
}

std::vector<ActionType> types(const ActionContainer& actions) {
  std::vector<ActionType> found;
  for (const Action& one : actions.actions()) found.push_back(one.type());
  return found;
}

}  // namespace

TEST(AntispamAction, EmptyRecordGivesNoAction) {
  EXPECT_THAT(types(converted(action())), IsEmpty());
}

TEST(AntispamAction, DispositionsBecomeTypes) {
  struct Case {
    unsigned char kind;
    std::vector<ActionType> types;
  };
  for (const Case& row : {Case{1, {0x80}}, Case{2, {0x4}}, Case{4, {0x20}}, Case{8, {0x4000}},
                          Case{16, {0x400}}, Case{0, {}}, Case{3, {}}, Case{5, {}}, Case{24, {}},
                          Case{32, {}}, Case{64, {}}, Case{128, {}}, Case{255, {}}}) {
    SCOPED_TRACE(static_cast<int>(row.kind));
    EXPECT_EQ(types(converted(action().disposition(row.kind))), row.types);
  }
}

TEST(AntispamAction, SystemQuarantineNamesItsFolder) {
  const ActionContainer actions = converted(action().systemQuarantine(77));
  EXPECT_EQ(actions.find(0x4000).systemquarantineFolderId(), 77u);
}

TEST(AntispamAction, FolderBelongsToTheSystemQuarantine) {
  const ActionContainer actions = converted(action().systemQuarantine(77).disposition(1));
  EXPECT_EQ(actions.find(0x80).systemquarantineFolderId(), 0u);
}

TEST(AntispamAction, RewritingTakesTheLocalPartFromTheFirstHalf) {
  const ActionContainer actions = converted(action().rewrite(1, "spam-", 3, "vault.example"));
  EXPECT_EQ(actions.find(0x400).addressRewriter()(address("user@example.com")).address(),
            "spam-user@vault.example");
}

TEST(AntispamAction, RewritingTextThatDoesNotCompileLeavesTheOtherActions) {
  const ActionContainer actions =
      converted(action().rewrite(3, "%%LOCAL", 0, "").alternateHost("relay.example"));
  EXPECT_TRUE(actions.find(0x400).addressRewriter()(address("user@example.com")).isNull());
  EXPECT_EQ(actions.find(0x40000).alternateHost(), "relay.example");
}

TEST(AntispamAction, AlternateHostNeedsTheOptionAndAHost) {
  EXPECT_EQ(converted(action().alternateHost("relay.example")).find(0x40000).alternateHost(),
            "relay.example");
  EXPECT_THAT(types(converted(action().alternateHost(""))), IsEmpty());
  AntispamActionRecord off = action().alternateHost("relay.example");
  off->use_alternate_host = 0;
  EXPECT_THAT(types(converted(off)), IsEmpty());
}

TEST(AntispamAction, BlindCopyNeedsTheOptionAndAList) {
  EXPECT_THAT(types(converted(action().blindCopy(""))), IsEmpty());
  AntispamActionRecord off = action().blindCopy("a@example.com");
  off->use_blind_copy = 0;
  EXPECT_THAT(types(converted(off)), IsEmpty());
}

TEST(AntispamAction, BlindCopyTakesAHeadersAddressList) {
  const ActionContainer actions =
      converted(action().blindCopy("b@example.com, Ann <a@example.com>, team: c@example.com;"));
  EXPECT_EQ(actions.find(0x80000).bcc(),
            (std::set<EmailAddress>{address("a@example.com"), address("b@example.com"),
                                    address("c@example.com")}));
}

TEST(AntispamAction, BlindCopyListThatCannotBeReadIsLoggedAndLeftOut) {
  for (const char* list : {"no address", "a@example.com, nonsense", "<"}) {
    SCOPED_TRACE(list);
    const LogCapture log;
    const ActionContainer actions =
        converted(action().disposition(1).blindCopy(list).archive(5).header("X-Spam", "yes"));
    EXPECT_THAT(types(actions), ElementsAre(0x80, 0x100000, 0x8));
    EXPECT_THAT(log.fields(LogCode::kAntispamBlindCopyFailed), ElementsAre(ElementsAre(" ")));
  }
  EXPECT_EQ(LogCode::kAntispamBlindCopyFailed, 0x30001C0u);
}

TEST(AntispamAction, ArchiveNeedsTheOptionAndAnAccount) {
  EXPECT_EQ(converted(action().archive(9)).find(0x100000).archiveRecipientId(), 9u);
  EXPECT_THAT(types(converted(action().archive(0))), IsEmpty());
  AntispamActionRecord off = action().archive(9);
  off->archive = 0;
  EXPECT_THAT(types(converted(off)), IsEmpty());
}

TEST(AntispamAction, NotificationNeedsTheOptionAndAProfile) {
  EXPECT_EQ(converted(action().notify(9)).find(0x800000).notificationProfileId(), 9u);
  EXPECT_THAT(types(converted(action().notify(0))), IsEmpty());
  AntispamActionRecord off = action().notify(9);
  off->notify = 0;
  EXPECT_THAT(types(converted(off)), IsEmpty());
}

TEST(AntispamAction, HeaderHasADefaultNameButNoDefaultValue) {
  EXPECT_EQ(converted(action().header("X-Spam", "yes")).find(0x8).headerTag(),
            Header("X-Spam", "yes"));
  EXPECT_EQ(converted(action().header("", "yes")).find(0x8).headerTag(),
            Header("X-KESTRAV-SPAM", "yes"));
  const Header bare = converted(action().header("", "")).find(0x8).headerTag();
  EXPECT_EQ(bare.name(), "X-KESTRAV-SPAM");
  EXPECT_EQ(bare.value(), "");
  AntispamActionRecord off = action().header("X-Spam", "yes");
  off->insert_header = 0;
  EXPECT_THAT(types(converted(off)), IsEmpty());
}

TEST(AntispamAction, SubjectTagHasADefault) {
  EXPECT_EQ(converted(action().subject("[JUNK]")).find(0x10).subjectTag(),
            vexa_encode_rfc2047("[JUNK]", "utf-8"));
  EXPECT_EQ(converted(action().subject("")).find(0x10).subjectTag(),
            vexa_encode_rfc2047("[KESTRAV-SPAM]", "utf-8"));
  AntispamActionRecord off = action().subject("[JUNK]");
  off->tag_subject = 0;
  EXPECT_THAT(types(converted(off)), IsEmpty());
}

TEST(AntispamAction, UnknownDispositionStillTags) {
  EXPECT_THAT(types(converted(action().disposition(3).header("X-Spam", "").subject(""))),
              ElementsAre(0x8, 0x10));
}

TEST(AntispamAction, EachNonZeroByteTurnsItsOptionOn) {
  AntispamActionRecord record = action()
                                    .alternateHost("relay.example")
                                    .blindCopy("a@example.com")
                                    .archive(1)
                                    .notify(1)
                                    .header("", "")
                                    .subject("");
  record->use_alternate_host = 0x80;
  record->use_blind_copy = 0x40;
  record->archive = 0x20;
  record->notify = 2;
  record->insert_header = 4;
  record->tag_subject = 8;
  EXPECT_THAT(types(converted(record)),
              ElementsAre(0x40000, 0x80000, 0x100000, 0x800000, 0x8, 0x10));
}

TEST(AntispamAction, ActionsAreInAFixedOrder) {
  EXPECT_THAT(types(converted(action()
                                  .subject("tag")
                                  .header("X-Spam", "yes")
                                  .notify(1)
                                  .archive(1)
                                  .blindCopy("a@example.com")
                                  .alternateHost("relay.example")
                                  .disposition(4))),
              ElementsAre(0x20, 0x40000, 0x80000, 0x100000, 0x800000, 0x8, 0x10));
}

// --- Which record is used

TEST(AntispamActionLookup, DomainsOwnRecordComesBeforeTheSystems) {
  const std::uint32_t id = freshId();
  const ngid_t domain = freshId();
  put(AntispamActionRecord(id).archive(1));
  putInto(domain, AntispamActionRecord(id).archive(2));
  EXPECT_EQ(label(profileWithDefault(id, static_cast<int>(domain)).actions()), 2u);
  EXPECT_EQ(label(profileWithDefault(id, 0).actions()), 1u);
  EXPECT_EQ(label(profileWithDefault(id, static_cast<int>(freshId())).actions()), 1u);
}

TEST(AntispamActionLookup, AppliesToClassifiersToo) {
  const std::uint32_t id = freshId();
  const ngid_t domain = freshId();
  put(AntispamActionRecord(id).archive(1));
  putInto(domain, AntispamActionRecord(id).archive(2));
  const ProfileAntiSpam profile = profileOf(
      AntispamRecord(freshId()).dmarc().action(CLASSIFIER_DMARC, id), static_cast<int>(domain));
  EXPECT_EQ(label(profile.individualAction(CLASSIFIER_DMARC)), 2u);
}

TEST(AntispamActionLookup, RecordOfAnotherDomainIsNotFound) {
  const std::uint32_t id = freshId();
  putInto(freshId(), AntispamActionRecord(id).archive(2));
  EXPECT_TRUE(profileWithDefault(id, 0).actions().empty());
  EXPECT_TRUE(profileWithDefault(id, static_cast<int>(freshId())).actions().empty());
}

TEST(AntispamActionLookup, UnknownActionLeavesTheClassifierWithTheDefault) {
  const std::uint32_t id = freshId();
  put(AntispamActionRecord(id).archive(1));
  const ProfileAntiSpam profile = profileOf(
      AntispamRecord(freshId()).dmarc().action(CLASSIFIER_DMARC, freshId()).defaultAction(id));
  EXPECT_TRUE(profile.dmarc());
  EXPECT_TRUE(profile.individualAction(CLASSIFIER_DMARC) == profile.actions());
}

// The default action replaces a missing record, not one without actions.
TEST(AntispamActionLookup, RecordWithoutActionsIsUsed) {
  const std::uint32_t nothing = freshId();
  const std::uint32_t fallback = freshId();
  put(AntispamActionRecord(nothing), AntispamActionRecord(fallback).archive(1));
  const ProfileAntiSpam profile = profileOf(
      AntispamRecord(freshId()).dmarc().action(CLASSIFIER_DMARC, nothing).defaultAction(fallback));
  EXPECT_TRUE(profile.individualAction(CLASSIFIER_DMARC).empty());
  EXPECT_EQ(label(profile.actions()), 1u);
}

TEST(AntispamActionLookup, ForeignClassifiersGetTheDefault) {
  const std::uint32_t id = freshId();
  put(AntispamActionRecord(id).archive(1));
  const ProfileAntiSpam profile = profileWithDefault(id);
  for (const int classifier : {0, 1, 8, 68, -1}) {
    EXPECT_TRUE(profile.individualAction(static_cast<ClassifierType>(classifier)) ==
                profile.actions());
  }
}

// --- The default action's own options

TEST(AntispamDefaultAction, EachQuarantineOptionSwitchesItsFlag) {
  struct Case {
    std::size_t offset;
    const char* flag;
  };
  for (const Case& row :
       {Case{40, "quarantineReport"}, Case{41, "quarantineEmailRelease"},
        Case{42, "quarantineWebRelease"}, Case{43, "quarantineWhitelistSender"}}) {
    for (const unsigned char value : {1, 2, 0x80}) {
      SCOPED_TRACE(row.flag);
      AntispamActionRecord record = action();
      reinterpret_cast<unsigned char*>(&record.record())[row.offset] = value;
      put(record);
      EXPECT_EQ(switchedOn(profileWithDefault(record->id)),
                (std::set<std::string>{"systemList", "userList", row.flag}));
    }
  }
}

TEST(AntispamDefaultAction, SaysHowLongMessagesAreKept) {
  const AntispamActionRecord record = action().quarantineDays(30);
  put(record);
  EXPECT_EQ(profileWithDefault(record->id).quarantineAutoDeleteDays(), 30u);
  EXPECT_EQ(profileWithDefault(0).quarantineAutoDeleteDays(), 0u);
}

TEST(AntispamDefaultAction, OptionsOfOtherActionsDoNotCount) {
  const AntispamActionRecord record =
      action().quarantineOptions(true, true, true, true).quarantineDays(30);
  put(record);
  const ProfileAntiSpam profile =
      profileOf(AntispamRecord(freshId()).dmarc().action(CLASSIFIER_DMARC, record->id));
  EXPECT_EQ(switchedOn(profile), (std::set<std::string>{"systemList", "userList", "dmarc"}));
  EXPECT_EQ(profile.quarantineAutoDeleteDays(), 0u);
}

TEST(AntispamDefaultAction, IsWhatTheProfileHandsOutAsItsActions) {
  const AntispamActionRecord record = action().disposition(2).archive(3);
  put(record);
  const ProfileAntiSpam profile = profileWithDefault(record->id);
  EXPECT_THAT(types(static_cast<const Profile&>(profile).actions()), ElementsAre(0x4, 0x100000));
}
