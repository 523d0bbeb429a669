// Every byte and bit of an antispam record: the accessors that it turns on, the parts of a message
// that it needs parsed, and its classifier's action.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/profile/AntispamProfile.h"
#include "tests/profile/Gateway.h"
#include "tests/support/AntispamRecords.h"
#include "tests/support/DictionaryRecords.h"

using namespace Kestrav;
using namespace Kestrav::Testing;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Switches = std::set<std::string>;
using Classifiers = std::set<int>;

constexpr std::uint32_t kLabelBase = 100'000;  // an action's label is this plus its field's offset

// The system's actions, one for each field of the record, and a dictionary.
struct World {
  std::map<std::size_t, std::uint32_t> actionIds;
  std::string dictionary = "switches-" + std::to_string(freshId());

  World() {
    Config::ChangeSet changes;
    const auto add = [&](std::size_t offset) {
      actionIds[offset] = freshId();
      AntispamActionRecord(actionIds[offset])
          .archive(kLabelBase + static_cast<std::uint32_t>(offset))
          .put(changes);
    };
    for (const ActionField& field : kActionFields) add(field.offset);
    add(kDefaultActionField);
    DictionaryRecord(freshId(), dictionary).put(changes);
    commit(std::move(changes));
  }
};

const World& world() {
  static const World made;
  return made;
}

unsigned char* bytes(AntispamRecord& record) {
  return reinterpret_cast<unsigned char*>(&record.record());
}

// All scanners are off, but each has what it needs to be turned on, and an action.
AntispamRecord quietRecord() {
  AntispamRecord record(freshId());
  record.name("quiet");
  record.bannedWords({{"banned"}}).whiteWords({{"white"}}).rbl({"bl.example"}).surbl({"u.example"});
  record.dictionary(world().dictionary);
  std::memset(bytes(record) + 260, 0, 273 - 260);
  for (const auto& [offset, id] : world().actionIds) {
    std::memcpy(bytes(record) + offset, &id, sizeof(id));
  }
  return record;
}

std::map<int, std::uint32_t> labels(const Classifiers& classifiers) {
  std::map<int, std::uint32_t> made;
  for (const ActionField& field : kActionFields) {
    if (classifiers.count(field.classifier) != 0) {
      made[field.classifier] = kLabelBase + static_cast<std::uint32_t>(field.offset);
    }
  }
  return made;
}

struct Bit {
  std::size_t offset;
  unsigned char value;
  Switches on;
  std::uint32_t parse;
  Classifiers actions;
};

// Bits that are not listed turn nothing on.
const Bit kBits[] = {
    {260, 0x01, {"heuristic"}, 0x10, {10}},      {260, 0x02, {"bayesian"}, 0x1, {9}},
    {260, 0x08, {"norbexAntiSpam"}, 0x100, {7}}, {260, 0x10, {"rbl"}, 0x40, {5}},
    {260, 0x20, {"surbl"}, 0x20, {6}},           {260, 0x40, {"bannedWord"}, 0x2, {12}},
    {260, 0x80, {"imageSpam"}, 0x8, {29}},       {261, 0x02, {"behavior"}, 0x400, {64}},
    {261, 0x04, {"spamOutBreak"}, 0, {}},        {262, 0x80, {"greyList"}, 0, {}},
    {263, 0x01, {"bypassScanOnAuth"}, 0, {}},    {263, 0x40, {"deepHeader"}, 0x200, {13}},
    {265, 0xFF, {"dictionary"}, 0x2, {11}},      {266, 0xFF, {"whitelistWord"}, 0x2, {}},
    {267, 0xFF, {"spfFailureSpam"}, 0, {45}},    {268, 0xFF, {"newsLetterSuspicious"}, 0x1, {59}},
    {269, 0xFF, {"newsLetter"}, 0x1, {66}},      {272, 0xFF, {"dmarc"}, 0x1, {67}},
};

Bit expected(std::size_t offset, unsigned char value) {
  for (const Bit& bit : kBits) {
    if (bit.offset == offset && (bit.value & value) != 0) return bit;
  }
  return {offset, value, {}, 0, {}};
}

}  // namespace

TEST(AntispamSwitches, EachBitTurnsOnItsOwnSwitch) {
  for (std::size_t offset = 260; offset <= 272; ++offset) {
    for (unsigned value = 1; value <= 0x80; value <<= 1) {
      SCOPED_TRACE("byte " + std::to_string(offset) + " value " + std::to_string(value));
      AntispamRecord record = quietRecord();
      bytes(record)[offset] = static_cast<unsigned char>(value);
      const ProfileAntiSpam profile = profileOf(record);
      Bit bit = expected(offset, static_cast<unsigned char>(value));
      bit.on.insert({"systemList", "userList"});
      EXPECT_EQ(switchedOn(profile), bit.on);
      EXPECT_EQ(profile.messageParseType(), bit.parse);
      EXPECT_EQ(ownActions(profile), labels(bit.actions));
      EXPECT_EQ(label(profile.actions()), kLabelBase + kDefaultActionField);
      EXPECT_EQ(profile.isOutgoing(), offset == 271);
    }
  }
}

TEST(AntispamSwitches, AllTogetherJoinTheirParseBits) {
  AntispamRecord record = quietRecord();
  std::memset(bytes(record) + 260, 0xFF, 273 - 260);
  record->scan_attachments = 1;
  const ProfileAntiSpam profile = profileOf(record);
  EXPECT_EQ(profile.messageParseType(), 0x7FFu);
  Switches all;
  for (const Switch& accessor : kSwitches) all.insert(accessor.name);
  for (const char* option : {"quarantineReport", "quarantineEmailRelease", "quarantineWebRelease",
                             "quarantineWhitelistSender"}) {
    all.erase(option);  // set by the default action
  }
  EXPECT_EQ(switchedOn(profile), all);
  Classifiers classifiers;
  for (const ActionField& field : kActionFields) classifiers.insert(field.classifier);
  EXPECT_EQ(ownActions(profile), labels(classifiers));
}

TEST(AntispamSwitches, BayesianOptionsCountWhileTheFilterIsOn) {
  struct Case {
    unsigned char scanners;
    unsigned char options;
    bool option1;
    bool option2;
    std::uint32_t parse;
  };
  for (const Case& row : {Case{0x02, 0x00, false, false, 0x1}, Case{0x02, 0x08, true, false, 0x1},
                          Case{0x02, 0x10, false, true, 0x81}, Case{0x02, 0x18, true, true, 0x81},
                          Case{0x00, 0x18, false, false, 0}}) {
    SCOPED_TRACE(row.scanners * 256 + row.options);
    AntispamRecord record = quietRecord();
    record->scanners = row.scanners;
    record->classifier_options = row.options;
    const ProfileAntiSpam profile = profileOf(record);
    EXPECT_FALSE(profile.bayesianSettings().reserved0);
    EXPECT_EQ(profile.bayesianSettings().option1, row.option1);
    EXPECT_EQ(profile.bayesianSettings().option2, row.option2);
    EXPECT_FALSE(profile.bayesianSettings().reserved3);
    EXPECT_EQ(profile.messageParseType(), row.parse);
  }
}

TEST(AntispamSwitches, HeuristicValuesAreTakenWhileHeuristicsAreOn) {
  AntispamRecord record = quietRecord();
  record->heuristic_second = 276;
  record->heuristic_first = 280;
  record->heuristic_third = 284;
  const HeuristicSettings off = profileOf(record).heuristicSettings();
  EXPECT_EQ(off.first, 0u);
  EXPECT_EQ(off.second, 0u);
  EXPECT_EQ(off.third, 0u);
  record->scanners = 0x01;
  const HeuristicSettings on = profileOf(record).heuristicSettings();
  EXPECT_EQ(on.first, 280u);
  EXPECT_EQ(on.second, 276u);
  EXPECT_EQ(on.third, 284u);
}

TEST(AntispamSwitches, BlockListServersKeepTheirOrderWithoutEmptyEntries) {
  AntispamRecord record(freshId());
  record.rbl({"z.example", "", "a.example", "z.example"}).surbl({"", "u.example", "b.example"});
  const ProfileAntiSpam profile = profileOf(record);
  EXPECT_THAT(profile.rblServers(), ElementsAre("z.example", "a.example", "z.example"));
  EXPECT_THAT(profile.surblServers(), ElementsAre("u.example", "b.example"));
}

TEST(AntispamSwitches, BlockListServersAreEmptyWhileTheirScannerIsOff) {
  const ProfileAntiSpam profile = profileOf(quietRecord());
  EXPECT_THAT(profile.rblServers(), IsEmpty());
  EXPECT_THAT(profile.surblServers(), IsEmpty());
}

TEST(AntispamSwitches, BlockListServerWithoutAnEndEndsWithItsEntry) {
  AntispamRecord record(freshId());
  record.rbl({"first.example", "second.example"});
  auto* servers = const_cast<aps_fqdn_t*>(record->rbl_servers);
  std::memset(servers[0].name, 'a', sizeof(servers[0].name));
  EXPECT_THAT(profileOf(record).rblServers(), ElementsAre(std::string(256, 'a'), "second.example"));
}

TEST(AntispamSwitches, BannedWordsNeedWords) {
  AntispamRecord record(freshId());
  record->scanners = 0x40;
  record->banned_words_action = world().actionIds.at(652);
  const ProfileAntiSpam profile = profileOf(record);
  EXPECT_FALSE(profile.bannedWord());
  EXPECT_TRUE(profile.bannedWordDictionaryScanner().isNull());
  EXPECT_EQ(profile.messageParseType(), 0u);
  EXPECT_THAT(ownActions(profile), IsEmpty());
}

TEST(AntispamSwitches, WhiteWordsNeedWords) {
  AntispamRecord record(freshId());
  record->white_words_scan = 1;
  const ProfileAntiSpam profile = profileOf(record);
  EXPECT_FALSE(profile.whitelistWord());
  EXPECT_TRUE(profile.whiteWordDictionaryScanner().isNull());
  EXPECT_EQ(profile.messageParseType(), 0u);
}

TEST(AntispamSwitches, ImageScanLevelIsZeroWhileImageSpamIsOff) {
  struct Case {
    unsigned char scanners;
    unsigned char options;
    std::uint32_t level;
  };
  for (const Case& row : {Case{0x00, 0x00, 0}, Case{0x00, 0x01, 0}, Case{0x80, 0x01, 1},
                          Case{0x80, 0x00, 2}, Case{0x80, 0xFE, 2}}) {
    SCOPED_TRACE(row.scanners * 256 + row.options);
    AntispamRecord record = quietRecord();
    record->scanners = row.scanners;
    record->scan_options = row.options;
    EXPECT_EQ(profileOf(record).imageScanLevel(), row.level);
  }
}

TEST(AntispamSwitches, ScanSizeIsInKibibytes) {
  for (const auto& [value, size] : std::map<std::uint32_t, std::uint32_t>{
           {0, 0}, {1, 1024}, {200, 204800}, {4194303, 4294966272u}}) {
    EXPECT_EQ(profileOf(AntispamRecord(freshId()).maxScanSize(value)).maxScanSize(), size);
  }
}

TEST(AntispamSwitches, EachByteOfTheWordsOfOptionsCounts) {
  for (const std::uint32_t value : {0u, 1u, 2u, 0x100u, 0x80000000u}) {
    SCOPED_TRACE(value);
    AntispamRecord record(freshId());
    record->scan_attachments = value;
    EXPECT_EQ(profileOf(record).messageParseType(), value == 0 ? 0u : 0x4u);
    EXPECT_FALSE(profileOf(record).applyDefaultActionToAllMessages());
    record->scan_attachments = 0;
    record->default_action_for_all = value;
    EXPECT_EQ(profileOf(record).applyDefaultActionToAllMessages(), value != 0);
    EXPECT_EQ(profileOf(record).messageParseType(), 0u);
  }
}

TEST(AntispamSwitches, DictionaryScoreKeepsItsSign) {
  for (const std::int32_t score : {0, 1, -5, std::numeric_limits<std::int32_t>::min(),
                                   std::numeric_limits<std::int32_t>::max()}) {
    EXPECT_EQ(profileOf(AntispamRecord(freshId()).dictionary(world().dictionary, score)).minScore(),
              std::int64_t{score});
  }
}

TEST(AntispamSwitches, DictionarySettingsAreTakenWhileItIsOn) {
  AntispamRecord record(freshId());
  record.dictionary(world().dictionary, 7);
  record->dictionary_scan = 0;
  const ProfileAntiSpam profile = profileOf(record);
  EXPECT_EQ(profile.minScore(), 0);
  EXPECT_TRUE(profile.dictionaryScanner().isNull());
}

TEST(AntispamSwitches, ProfileHasTypeIdAndName) {
  AntispamRecord record(freshId());
  record.name("strict");
  const ProfileAntiSpam profile(0, 4711, record.data());
  EXPECT_EQ(profile.type(), 1u);
  EXPECT_EQ(profile.id(), 4711);
  EXPECT_EQ(profile.name(), "strict");
}

TEST(AntispamSwitches, NameWithoutAnEndEndsWithItsField) {
  AntispamRecord record(freshId());
  std::memset(record->name, 'n', sizeof(record->name));
  EXPECT_EQ(profileOf(record).name(), std::string(256, 'n'));
}

TEST(AntispamSwitches, NullRecordSwitchesEverythingOff) {
  const ProfileAntiSpam profile(0, 9, nullptr);
  ASSERT_FALSE(profile.isNull());
  EXPECT_THAT(switchedOn(profile), IsEmpty());  // the system and user lists too
  EXPECT_EQ(profile.type(), 1u);
  EXPECT_EQ(profile.id(), 0);
  EXPECT_EQ(profile.name(), "");
  EXPECT_EQ(profile.messageParseType(), 0u);
  EXPECT_TRUE(profile.actions().empty());
  EXPECT_TRUE(profile.individualAction(CLASSIFIER_RBL) == profile.actions());
  EXPECT_EQ(profile.imageScanLevel(), 0u);
  EXPECT_EQ(profile.maxScanSize(), 0u);
  EXPECT_EQ(profile.minScore(), 0);
  EXPECT_EQ(profile.quarantineAutoDeleteDays(), 0u);
  EXPECT_FALSE(profile.isOutgoing());
  EXPECT_FALSE(profile.applyDefaultActionToAllMessages());
  EXPECT_TRUE(profile.profileWebFilter().isNull());
  EXPECT_TRUE(profile.bannedWordDictionaryScanner().isNull());
  EXPECT_TRUE(profile.whiteWordDictionaryScanner().isNull());
  EXPECT_TRUE(profile.dictionaryScanner().isNull());
  EXPECT_THAT(profile.rblServers(), IsEmpty());
  EXPECT_THAT(profile.surblServers(), IsEmpty());
}
