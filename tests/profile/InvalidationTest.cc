// Which cached profiles a change of each table drops, and which it keeps. Changes are committed to
// the store and delivered as in a daemon.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <string>
#include <vector>

#include "platform/config/client/cmf.h"
#include "platform/dictionary/DictionaryFactory.h"
#include "tests/profile/AnyRecord.h"
#include "tests/profile/Factory.h"
#include "tests/profile/Gateway.h"
#include "tests/support/AntispamRecords.h"
#include "tests/support/DictionaryRecords.h"
#include "tests/support/QuarantineRecords.h"
#include "tests/support/SystemRecords.h"
#include "tests/support/WebFilterRecords.h"

using namespace Kestrav;
using namespace Kestrav::Testing;
using testing::ElementsAre;

namespace {

using Kinds = std::set<std::string>;

// Cached profiles of records that a test does not change.
class Bystanders {
 public:
  Bystanders() { store().status().setDirty(Config::Zone::kContentDirty); }

  // The kinds of profiles that were dropped since.
  Kinds dropped() const {
    Kinds kinds;
    const bool first = !(antispam(ids_[0]) == first_);
    const bool second = !(antispam(ids_[1]) == second_);
    EXPECT_EQ(first, second) << "some antispam profiles were dropped, others not";
    if (first) kinds.insert("antispam");
    if (!(webFilter(ids_[2]) == webFilter_)) kinds.insert("web filter");
    if (!(folder(ids_[3]) == folder_)) kinds.insert("quarantine folder");
    if (!(scanner() == scanner_)) kinds.insert("dictionary");
    // Nothing caches content profiles yet, but clearing them clears their stale mark.
    if ((store().status().dirtyFlags() & Config::Zone::kContentDirty) == 0) kinds.insert("content");
    return kinds;
  }

 private:
  static const std::vector<std::uint32_t>& ids() {
    static const std::vector<std::uint32_t> made = [] {
      const std::vector<std::uint32_t> fresh{freshId(), freshId(), freshId(), freshId(), freshId()};
      put(AntispamRecord(fresh[0]), AntispamRecord(fresh[1]), WebFilterRecord(fresh[2]),
          QuarantineFolderRecord(fresh[3], "Bystander"),
          DictionaryRecord(fresh[4], "bystander-" + std::to_string(fresh[4])));
      return fresh;
    }();
    return made;
  }
  Ref<DictionaryScannerImpl> scanner() const {
    return DictionaryFactory::instance().createProfileScanner("bystander-" +
                                                              std::to_string(ids_[4]));
  }

  const std::vector<std::uint32_t> ids_ = ids();
  const ProfileAntiSpam first_ = antispam(ids_[0]);
  const ProfileAntiSpam second_ = antispam(ids_[1]);
  const ProfileWebFilter webFilter_ = webFilter(ids_[2]);
  const Ref<ProfileQuarantineFolder> folder_ = folder(ids_[3]);
  const Ref<DictionaryScannerImpl> scanner_ = scanner();
};

struct Row {
  G_CLI_GID gid;
  Kinds dropped;
  int ruleClears = 0;  // of the data loss prevention rules
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << "table " << row.gid;
}

const Row kRows[] = {
    {GID_ANTISPAM_PROFILE, {}},
    {GID_ANTIVIRUS_PROFILE, {}},
    {GID_DEEP_HEADER, {"antispam"}},
    {GID_DLP_PROFILE, {}},
    {GID_ENCRYPTION_PROFILE, {}},
    {GID_NOTIFICATION_PROFILE, {}},
    {GID_CONTENT_PROFILE, {}},
    {GID_SESSION_PROFILE, {}},
    {GID_DICTIONARY_GROUP, {"dictionary", "antispam", "content"}},
    {GID_DICTIONARY_GROUP_ITEM, {"dictionary", "antispam", "content"}},
    {GID_DICTIONARY, {"dictionary", "antispam", "content"}},
    {GID_DICTIONARY_ITEM, {"dictionary", "antispam", "content"}},
    {GID_ANTISPAM_ACTION, {"antispam"}},
    {GID_ANTIVIRUS_ACTION, {}},
    {GID_CONTENT_ACTION, {"content"}},
    {GID_FILE_PATTERN, {"content"}, 1},
    {GID_CUSTOM_MESSAGE, {}},
    {GID_MAIL_SERVER, {"content"}},
    {GID_ADDRESS_MAP, {}},
    {GID_ACL_RULESET, {}},
    {GID_BOUNCE_PROFILE, {}},
    {GID_WEB_FILTER_PROFILE, {"web filter", "antispam"}},
    // A web filter holds copies of its categories.
    {GID_WEB_CATEGORY, {"web filter", "antispam"}},
    {GID_TRUSTED_MTA, {}},
    {GID_TRUSTED_ANTISPAM_MTA, {}},
    {GID_QUARANTINE_FOLDER, {}},
    // No profile is built from these.
    {GID_SYSTEM_GLOBAL, {}},
    {GID_PROTECTED_DOMAIN, {}},
    {GID_IP_POLICY, {}},
};

class TableChange : public testing::TestWithParam<Row> {
 protected:
  void SetUp() override { factory(); }

  template <class Change>
  void expectDrops(const char* what, Change change) {
    SCOPED_TRACE(what);
    std::atomic<int> ruleClears{0};
    const DlpRules rules([&] { ++ruleClears; });
    const Bystanders bystanders;
    change();
    EXPECT_EQ(bystanders.dropped(), GetParam().dropped);
    EXPECT_EQ(ruleClears, GetParam().ruleClears);
  }
};

TEST_P(TableChange, DropsWhatDependsOnTheTableAndNothingElse) {
  AnyRecord record(GetParam().gid);
  if (record.single()) {
    put(record);
  } else {
    expectDrops("addition", [&] { put(record); });
  }
  expectDrops("change", [&] {
    record.touch();
    put(record);
  });
  expectDrops("erasure", [&] { erase(GetParam().gid, record.id()); });
}

std::vector<Row> rowsOf(Config::Scope scope) {
  std::vector<Row> rows;
  for (const Row& row : kRows) {
    if (Config::findTable(row.gid)->scope == scope) rows.push_back(row);
  }
  return rows;
}

std::string tableName(const testing::TestParamInfo<Row>& row) {
  return "Table" + std::to_string(row.param.gid);
}

INSTANTIATE_TEST_SUITE_P(Tables, TableChange, testing::ValuesIn(kRows), tableName);

class DomainTableChange : public TableChange {};

TEST_P(DomainTableChange, DropsTheSameAsTheSystems) {
  AnyRecord record(GetParam().gid);
  const ngid_t domain = freshId();
  expectDrops("addition", [&] { putInto(domain, record); });
  expectDrops("change", [&] {
    record.touch();
    putInto(domain, record);
  });
  expectDrops("erasure", [&] { erase(GetParam().gid, record.id(), domain); });
}

INSTANTIATE_TEST_SUITE_P(Tables, DomainTableChange,
                         testing::ValuesIn(rowsOf(Config::Scope::kDomainList)), tableName);

}  // namespace

// --- Changes that drop one profile

TEST(ProfileChange, DropsTheOneAntispamProfile) {
  const std::uint32_t id = freshId();
  const std::uint32_t other = freshId();
  factory();
  put(AntispamRecord(id).name("old"), AntispamRecord(other));
  const ProfileAntiSpam before = antispam(id);
  const ProfileAntiSpam kept = antispam(other);
  put(AntispamRecord(id).name("new"));
  EXPECT_EQ(antispam(id).name(), "new");
  EXPECT_TRUE(antispam(other) == kept);
  EXPECT_EQ(before.name(), "old");
}

TEST(ProfileChange, ErasureDropsTheProfileThatTheOldRecordNames) {
  const std::uint32_t id = freshId();
  factory();
  put(AntispamRecord(id), QuarantineFolderRecord(id, "Gone"), WebFilterRecord(id));
  ASSERT_FALSE(antispam(id).isNull());
  ASSERT_FALSE(folder(id).isNull());
  ASSERT_FALSE(webFilter(id).isNull());
  erase(GID_ANTISPAM_PROFILE, id);
  erase(GID_QUARANTINE_FOLDER, id);
  erase(GID_WEB_FILTER_PROFILE, id);
  EXPECT_TRUE(antispam(id).isNull());
  EXPECT_TRUE(folder(id).isNull());
  EXPECT_TRUE(webFilter(id).isNull());
}

TEST(ProfileChange, SystemsRecordThatComesLaterReplacesTheDomains) {
  const std::uint32_t id = freshId();
  const ngid_t domain = freshId();
  factory();
  putInto(domain, AntispamRecord(id).name("domain"));
  ASSERT_EQ(antispam(id, domain).name(), "domain");
  put(AntispamRecord(id).name("system"));
  EXPECT_EQ(antispam(id, domain).name(), "system");
  erase(GID_ANTISPAM_PROFILE, id);
  EXPECT_EQ(antispam(id, domain).name(), "domain");
}

TEST(ProfileChange, DropsTheOneFolder) {
  const std::uint32_t id = freshId();
  const std::uint32_t other = freshId();
  factory();
  put(QuarantineFolderRecord(id, "Old"), QuarantineFolderRecord(other, "Kept"));
  ASSERT_EQ(folder(id)->name(), "Old");
  const auto kept = folder(other);
  put(QuarantineFolderRecord(id, "New"));
  const auto changed = folder(id);
  EXPECT_EQ(changed->name(), "New");
  EXPECT_TRUE(folder(other) == kept);
}

// --- What the next profile is built from

TEST(ActionChange, EmptiesTheWholeAntispamCache) {
  const std::uint32_t action = freshId();
  const std::uint32_t user = freshId();
  const std::uint32_t stranger = freshId();
  factory();
  put(AntispamActionRecord(action).archive(1), AntispamRecord(user).defaultAction(action),
      AntispamRecord(stranger));
  const auto archive = [&] { return antispam(user).actions().find(0x100000).archiveRecipientId(); };
  ASSERT_EQ(archive(), 1u);
  const ProfileAntiSpam before = antispam(stranger);
  put(AntispamActionRecord(action).archive(2));
  EXPECT_EQ(archive(), 2u);
  EXPECT_FALSE(antispam(stranger) == before);
}

TEST(DictionaryChange, NewWordsAreLookedFor) {
  const std::uint32_t dictionary = freshId();
  const std::uint32_t profile = freshId();
  const std::string name = "growing-" + std::to_string(dictionary);
  factory();
  put(DictionaryRecord(dictionary, name),
      DictionaryItemRecord(freshId(), dictionary, "casino").score(1),
      AntispamRecord(profile).dictionary(name));
  const auto score = [&] {
    const ProfileAntiSpam made = antispam(profile);
    return made.dictionaryScanner()->scan("casino lottery").score;
  };
  ASSERT_EQ(score(), 1);
  put(DictionaryItemRecord(freshId(), dictionary, "lottery").score(10));
  EXPECT_EQ(score(), 11);
}

TEST(WebFilterChange, ReachesTheAntispamProfileThatUsesIt) {
  const std::uint32_t category = freshId();
  const std::uint32_t filter = freshId();
  const std::uint32_t profile = freshId();
  factory();
  put(WebCategoryRecord(category, 17), WebFilterRecord(filter),
      AntispamRecord(profile).cloud().uriCategoryCheck(filter));
  const auto isSpam = [&] { return antispam(profile).profileWebFilter().isSpam(17); };
  ASSERT_FALSE(isSpam());
  put(WebFilterRecord(filter).categories({category}));
  EXPECT_TRUE(isSpam());
}

TEST(MailServerChange, SetsTheDeferredPeriodFromTheNewRecord) {
  factory();
  put(MailServerRecord().deferredPeriod(0, 0, 24, 0));
  EXPECT_NE(factory().deferredPeriod(), 0);
  put(MailServerRecord().deferredPeriod(1, 0, 1, 0));
  EXPECT_EQ(factory().deferredPeriod(), 0);
  put(MailServerRecord().deferredPeriod(0, 0, 24, 0));
  EXPECT_NE(factory().deferredPeriod(), 0);
}

TEST(Changes, OfOneChangeSetArriveTogether) {
  const std::uint32_t action = freshId();
  const std::uint32_t profile = freshId();
  factory();
  put(AntispamActionRecord(action).archive(1),
      AntispamRecord(profile).name("old").defaultAction(action));
  antispam(profile);
  put(AntispamRecord(profile).name("new").defaultAction(action),
      AntispamActionRecord(action).archive(2), QuarantineFolderRecord(profile, "Both"));
  const ProfileAntiSpam changed = antispam(profile);
  EXPECT_EQ(changed.name(), "new");
  EXPECT_EQ(changed.actions().find(0x100000).archiveRecipientId(), 2u);
  EXPECT_FALSE(folder(profile).isNull());
}
