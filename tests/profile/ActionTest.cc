#include "Action.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "ActionContainer.h"
#include "platform/parser/Rfc2047.h"
#include "tests/support/Addresses.h"

using namespace Kestrav;
using Kestrav::Testing::address;

TEST(Action, IsMadeEmptyButForItsType) {
  const Action action(ActionTypes::kArchive);
  ASSERT_FALSE(action.isNull());
  EXPECT_EQ(action.type(), 0x100000u);
  EXPECT_EQ(action.headerTag().name(), "");
  EXPECT_EQ(action.headerTag().value(), "");
  EXPECT_EQ(action.subjectTag(), "");
  EXPECT_EQ(action.alternateHost(), "");
  EXPECT_TRUE(action.bcc().empty());
  EXPECT_TRUE(action.addressRewriter().isNull());
  EXPECT_EQ(action.systemquarantineFolderId(), 0u);
  EXPECT_EQ(action.archiveRecipientId(), 0u);
  EXPECT_EQ(action.notificationProfileId(), 0u);
  EXPECT_EQ(action.encryptionProfileId(), 0u);
}

TEST(Action, EachSetterFillsItsOwnMember) {
  Action action(1);
  action.headerTag(Header("X-Tag", "spam"));
  action.alternateHost("relay.example");
  action.systemquarantineFolderId(11);
  action.archiveRecipientId(12);
  action.notificationProfileId(13);
  action.encryptionProfileId(14);
  action.addressRewriter(EmailAddressRewriter("%%LOCAL%%@archive.example"));
  const std::set<EmailAddress> copies{address("a@example.com"), address("b@example.com")};
  action.bcc(copies);

  EXPECT_EQ(action.type(), 1u);
  EXPECT_EQ(action.headerTag(), Header("X-Tag", "spam"));
  EXPECT_EQ(action.subjectTag(), "");
  EXPECT_EQ(action.alternateHost(), "relay.example");
  EXPECT_EQ(action.systemquarantineFolderId(), 11u);
  EXPECT_EQ(action.archiveRecipientId(), 12u);
  EXPECT_EQ(action.notificationProfileId(), 13u);
  EXPECT_EQ(action.encryptionProfileId(), 14u);
  EXPECT_FALSE(action.addressRewriter().isNull());
  EXPECT_EQ(action.bcc(), copies);
}

TEST(Action, BlindCopiesCanBeSetThroughAConstHandle) {
  const Action action(ActionTypes::kBlindCopy);
  action.bcc({address("a@example.com")});
  action.bcc({address("b@example.com")});
  EXPECT_EQ(action.bcc(), (std::set<EmailAddress>{address("b@example.com")}));
}

TEST(Action, SettersAreSeenThroughEveryCopy) {
  const Action original(ActionTypes::kAlternateHost);
  Action copy = original;
  copy.alternateHost("relay.example");
  EXPECT_EQ(original.alternateHost(), "relay.example");
  EXPECT_TRUE(original == copy);
  EXPECT_FALSE(original == Action(ActionTypes::kAlternateHost));
}

TEST(Action, SubjectTagIsStoredAsEncodedWords) {
  for (const char* text : {"[KESTRAV-SPAM]", "Entwürfe", "two words", "=?utf-8?q?x?=", ""}) {
    SCOPED_TRACE(text);
    Action action(ActionTypes::kSubjectTag);
    action.subjectTag(text);
    EXPECT_EQ(action.subjectTag(), vexa_encode_rfc2047(text, "utf-8"));
  }
}

TEST(Action, SubjectTagOfPlainTextIsEncodedToo) {
  Action action(ActionTypes::kSubjectTag);
  action.subjectTag("[SPAM]");
  EXPECT_NE(action.subjectTag(), "[SPAM]");
  EXPECT_EQ(action.subjectTag().substr(0, 8), "=?utf-8?");
}

TEST(ActionTypes, AreOneBitEach) {
  const std::vector<ActionType> types = {0x4,      0x8,      0x10,     0x20,    0x80,    0x100,
                                         0x400,    0x4000,   0x8000,   0x10000, 0x40000, 0x80000,
                                         0x100000, 0x200000, 0x400000, 0x800000};
  EXPECT_EQ(
      types,
      (std::vector<ActionType>{
          ActionTypes::kDisposition2, ActionTypes::kHeaderTag, ActionTypes::kSubjectTag,
          ActionTypes::kDisposition4, ActionTypes::kDisposition1, ActionTypes::kDisposition32,
          ActionTypes::kRewriteAddress, ActionTypes::kSystemQuarantine,
          ActionTypes::kContentDisposition128, ActionTypes::kEncrypt, ActionTypes::kAlternateHost,
          ActionTypes::kBlindCopy, ActionTypes::kArchive, ActionTypes::kAntivirusDisposition8,
          ActionTypes::kAntivirusDisposition16, ActionTypes::kNotify}));
}

TEST(ActionContainer, IsNeverNullAndStartsEmpty) {
  const ActionContainer container;
  EXPECT_FALSE(container.isNull());
  EXPECT_NE(container.impl(), nullptr);
  EXPECT_TRUE(container.empty());
  EXPECT_TRUE(container.actions().empty());
  EXPECT_EQ(container.aggregate(), 0u);
}

TEST(ActionContainer, KeepsTheOrderInWhichActionsWereAdded) {
  ActionContainer container;
  for (const ActionType type : {0x80u, 0x10u, 0x8u, 0x10u}) container.add(Action(type));
  std::vector<ActionType> types;
  for (const Action& action : container.actions()) types.push_back(action.type());
  EXPECT_EQ(types, (std::vector<ActionType>{0x80, 0x10, 0x8, 0x10}));
  EXPECT_FALSE(container.empty());
}

TEST(ActionContainer, FindReturnsTheFirstOfATypeThatOccursTwice) {
  Action first(ActionTypes::kArchive);
  first.archiveRecipientId(1);
  Action second(ActionTypes::kArchive);
  second.archiveRecipientId(2);
  ActionContainer container;
  container.add(Action(ActionTypes::kHeaderTag));
  container.add(first);
  container.add(second);
  EXPECT_TRUE(container.find(ActionTypes::kArchive) == first);
}

TEST(ActionContainer, FindComparesTheWholeType) {
  ActionContainer container;
  container.add(Action(0x8));
  container.add(Action(0x10));
  EXPECT_TRUE(container.find(0x18).isNull());
  EXPECT_TRUE(container.find(0x20).isNull());
  EXPECT_TRUE(container.find(0).isNull());
  container.add(Action(0x18));
  ASSERT_FALSE(container.find(0x18).isNull());
  EXPECT_EQ(container.find(0x18).type(), 0x18u);
  EXPECT_EQ(container.find(0x8).type(), 0x8u);
}

TEST(ActionContainer, FindInAnEmptyContainerIsNull) {
  EXPECT_TRUE(ActionContainer().find(0x8).isNull());
}

TEST(ActionContainer, AggregateJoinsTheTypes) {
  ActionContainer container;
  container.add(Action(0x8));
  container.add(Action(0x80000));
  container.add(Action(0x8));
  EXPECT_EQ(container.aggregate(), 0x80008u);
}

TEST(ActionContainer, AggregateRemembersItsFirstAnswer) {
  ActionContainer container;
  container.add(Action(0x8));
  EXPECT_EQ(container.aggregate(), 0x8u);
  container.add(Action(0x10));
  EXPECT_EQ(container.aggregate(), 0x8u);
  EXPECT_FALSE(container.find(0x10).isNull());
}

TEST(ActionContainer, AggregateOfNothingIsNotRemembered) {
  ActionContainer container;
  EXPECT_EQ(container.aggregate(), 0u);
  container.add(Action(0));
  EXPECT_EQ(container.aggregate(), 0u);
  container.add(Action(0x10));
  EXPECT_EQ(container.aggregate(), 0x10u);
}

TEST(ActionContainer, CopiesShareOneListAndOneAggregate) {
  ActionContainer original;
  const ActionContainer copy = original;
  original.add(Action(0x8));
  EXPECT_EQ(copy.actions().size(), 1u);
  EXPECT_EQ(copy.impl(), original.impl());
  EXPECT_TRUE(copy == original);
  EXPECT_EQ(copy.aggregate(), 0x8u);
  original.add(Action(0x10));
  EXPECT_EQ(original.aggregate(), 0x8u);
}

TEST(ActionContainer, EqualContentsAreNotTheSameContainer) {
  EXPECT_FALSE(ActionContainer() == ActionContainer());
}

TEST(ActionContainer, HoldsTheActionItselfNotItsContents) {
  Action action(ActionTypes::kNotify);
  ActionContainer container;
  container.add(action);
  action.notificationProfileId(7);
  EXPECT_EQ(container.find(ActionTypes::kNotify).notificationProfileId(), 7u);
}
