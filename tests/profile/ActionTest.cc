#include "Action.h"

#include <gtest/gtest.h>

#include <bit>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "ActionContainer.h"
#include "platform/parser/Rfc2047.h"
#include "tests/support/Addresses.h"
#include "tests/support/GeneratedSection.h"

using namespace Kestrav;
using namespace Kestrav::Testing;

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

namespace {

struct Kind {
  const char* name;
  ActionType type;
  ActionType value;
  const char* meaning;
  const char* parameter;
  const char* source;
};

const Kind kKinds[] = {
    {"kReject", ActionTypes::kReject, 0x4, "reject it", "", "disposition `reject`"},
    {"kHeaderTag", ActionTypes::kHeaderTag, 0x8, "insert a header", "headerTag", "insert-header"},
    {"kSubjectTag", ActionTypes::kSubjectTag, 0x10, "tag the subject", "subjectTag", "tag-subject"},
    {"kPersonalQuarantine", ActionTypes::kPersonalQuarantine, 0x20,
     "quarantine it for the recipient", "", "disposition `personal-quarantine`"},
    {"kDiscard", ActionTypes::kDiscard, 0x80, "discard it", "", "disposition `discard`"},
    {"kReplace", ActionTypes::kReplace, 0x100, "replace it", "", "disposition `replace`"},
    {"kRewriteAddress", ActionTypes::kRewriteAddress, 0x400, "rewrite the recipient address",
     "addressRewriter", "disposition `rewrite-recipient`"},
    {"kSystemQuarantine", ActionTypes::kSystemQuarantine, 0x4000,
     "quarantine it in a system folder", "systemquarantineFolderId",
     "disposition `system-quarantine`"},
    {"kDefer", ActionTypes::kDefer, 0x8000, "defer it", "", "disposition `defer`"},
    {"kEncrypt", ActionTypes::kEncrypt, 0x10000, "encrypt it", "encryptionProfileId",
     "disposition `encrypt`"},
    {"kAlternateHost", ActionTypes::kAlternateHost, 0x40000, "deliver it to another host",
     "alternateHost", "use-alternate-host"},
    {"kBlindCopy", ActionTypes::kBlindCopy, 0x80000, "send blind copies", "bcc", "use-blind-copy"},
    {"kArchive", ActionTypes::kArchive, 0x100000, "archive it", "archiveRecipientId", "archive"},
    {"kRepackage", ActionTypes::kRepackage, 0x200000, "repackage it", "",
     "disposition `repackage`"},
    {"kRepackageWithNotice", ActionTypes::kRepackageWithNotice, 0x400000,
     "repackage it with a notice", "", "disposition `repackage-with-notice`"},
    {"kNotify", ActionTypes::kNotify, 0x800000, "send a notification", "notificationProfileId",
     "notify"},
};

}  // namespace

TEST(ActionTypes, AreOneBitEach) {
  for (const Kind& kind : kKinds) {
    SCOPED_TRACE(kind.name);
    EXPECT_EQ(kind.type, kind.value);
    EXPECT_TRUE(std::has_single_bit(kind.type));
  }
}

// After a change of the kinds: KESTRAV_UPDATE_GOLDEN=1 profile_values_tests
TEST(ActionTypes, TableOfTheActionsPageIsUpToDate) {
  std::ostringstream table;
  table << "| value | name | what to do with the message | parameter | configured by |\n"
        << "|---|---|---|---|---|\n";
  for (const Kind& kind : kKinds) {
    const std::string parameter =
        *kind.parameter == '\0' ? "" : "`" + std::string(kind.parameter) + "`";
    const std::string source = kind.source;
    table << "| 0x" << std::hex << kind.type << " | `" << kind.name << "` | " << kind.meaning
          << " | " << parameter << " | "
          << (source.find(' ') == std::string::npos ? "`" + source + "`" : source) << " |\n";
  }
  expectGenerated(std::string(KESTRAV_DOCS) + "/actions.md", "tests/profile/ActionTest.cc",
                  table.str());
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
