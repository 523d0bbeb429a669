// Action records converted by a description of their layout.
#include "profile/action/ActionConverter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "platform/config/records/SharedRecords.h"
#include "tests/support/AntispamRecords.h"

namespace Kestrav {
namespace {

using Step = ActionLayout::Step;
using Testing::AntispamActionRecord;
using testing::ElementsAre;

// A record layout made up for this test.
struct Record {
  unsigned char options = 0;  // bits: 0 header, 1 subject
  unsigned char disposition = 0;
  char tag[8] = {};
  char headerName[8] = {};
  char headerValue[8] = {};
  std::uint32_t encryption = 0;
};

constexpr Step kSubjectFirst[] = {Step::kSubject, Step::kHeader, Step::kDisposition};
constexpr ActionLayout::Disposition kEncryptIs64[] = {{64, ActionTypes::kEncrypt}};

const ActionLayout kLayout = {
    .steps = kSubjectFirst,
    .disposition = offsetof(Record, disposition),
    .dispositions = kEncryptIs64,
    .encryptionProfileId = offsetof(Record, encryption),
    .insertHeader = {offsetof(Record, options), 0x1},
    .headerName = {offsetof(Record, headerName), 8},
    .headerValue = {offsetof(Record, headerValue), 8},
    .tagSubject = {offsetof(Record, options), 0x2},
    .subjectTag = {offsetof(Record, tag), 8},
};

std::vector<ActionType> typesOf(const ActionContainer& container) {
  std::vector<ActionType> types;
  for (const Action& action : container.actions()) types.push_back(action.type());
  return types;
}

std::vector<ActionType> converted(const Record& record) {
  ActionContainer container;
  convertAction(&record, kLayout, container);
  return typesOf(container);
}

TEST(ActionConverter, FollowsTheOrderOfTheLayout) {
  Record record;
  record.options = 0x3;
  record.disposition = 64;
  record.encryption = 5;
  EXPECT_THAT(converted(record), ElementsAre(ActionTypes::kSubjectTag, ActionTypes::kHeaderTag,
                                             ActionTypes::kEncrypt));
}

TEST(ActionConverter, TakesAFlagByItsBits) {
  Record record;
  record.options = 0x2;
  EXPECT_THAT(converted(record), ElementsAre(ActionTypes::kSubjectTag));
  record.options = 0xFC;
  EXPECT_THAT(converted(record), ElementsAre());
}

TEST(ActionConverter, EncryptsOnlyWithAProfile) {
  Record record;
  record.disposition = 64;
  EXPECT_THAT(converted(record), ElementsAre());
}

TEST(ActionConverter, SkipsADispositionThatTheLayoutDoesNotKnow) {
  Record record;
  record.disposition = 1;
  EXPECT_THAT(converted(record), ElementsAre());
}

TEST(ActionConverter, ReadsATextWithoutAnEndUpToItsField) {
  Record record;
  record.options = 0x1;
  std::memset(record.headerName, 'N', sizeof record.headerName);
  std::memset(record.headerValue, 'v', sizeof record.headerValue);
  ActionContainer container;
  convertAction(&record, kLayout, container);
  ASSERT_EQ(container.actions().size(), 1u);
  EXPECT_EQ(container.actions().front().headerTag().name(), "NNNNNNNN");
  EXPECT_EQ(container.actions().front().headerTag().value(), "vvvvvvvv");
}

TEST(ActionConverter, AppendsToWhatIsThere) {
  ActionContainer container;
  container.add(Action(ActionTypes::kNotify));
  convertAction(AntispamActionRecord().disposition(__aps_antispam_action::kReject).data(),
                kAntispamActionLayout, container);
  EXPECT_THAT(typesOf(container), ElementsAre(ActionTypes::kNotify, ActionTypes::kReject));
}

}  // namespace
}  // namespace Kestrav
