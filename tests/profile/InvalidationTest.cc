// What a change of each table drops from the factory's caches, and what it leaves. Changes are
// committed to the store and arrive as they do in a daemon.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "AnyRecord.h"
#include "DLPRuleFactory.h"
#include "Factory.h"
#include "Gateway.h"
#include "platform/config/client/cmf.h"
#include "platform/dictionary/DictionaryFactory.h"

using namespace Kestrav;
using namespace Kestrav::Testing;
using testing::ElementsAre;

namespace {

using Kinds = std::set<std::string>;

// Counts what the handlers ask of the rules for data loss prevention.
class CountingRules : public DLPRuleFactory {
 public:
  CountingRules() : installed_(s_instance) { s_instance = this; }
  ~CountingRules() override { s_instance = installed_; }
  void clearDLPRules() override { ++clears; }

  std::atomic<int> clears{0};

 private:
  DLPRuleFactory* const installed_;
};

// Records that are not those under test, and what was cached of them.
class Bystanders {
 public:
  Bystanders() {
    static const std::vector<std::uint32_t> ids = [] {
      const std::vector<std::uint32_t> made{freshId(), freshId(), freshId(), freshId(), freshId()};
      put(AntispamRecord(made[0]), AntispamRecord(made[1]), WebFilterRecord(made[2]),
          QuarantineFolderRecord(made[3], "Bystander"),
          DictionaryRecord(made[4], "bystander-" + std::to_string(made[4])));
      return made;
    }();
    ids_ = ids;
    first_ = antispam(0);
    second_ = antispam(1);
    webFilter_ = webFilter();
    folder_ = folder();
    scanner_ = scanner();
    store().status().setDirty(Config::Zone::kContentDirty);
  }

  // The kinds whose profiles are other ones than at the beginning, whole.
  Kinds dropped() const {
    Kinds kinds;
    const bool first = !(antispam(0) == first_);
    const bool second = !(antispam(1) == second_);
    EXPECT_EQ(first, second) << "some antispam profiles were dropped, others not";
    if (first) kinds.insert("antispam");
    if (!(webFilter() == webFilter_)) kinds.insert("web filter");
    if (!(folder() == folder_)) kinds.insert("quarantine folder");
    if (!(scanner() == scanner_)) kinds.insert("dictionary");
    // Clearing the content profiles takes their mark off.
    if ((store().status().dirtyFlags() & Config::Zone::kContentDirty) == 0) kinds.insert("content");
    return kinds;
  }

 private:
  ProfileAntiSpam antispam(std::size_t which) const {
    return factory().createProfileAntiSpam(static_cast<int>(ids_[which]), 0);
  }
  ProfileWebFilter webFilter() const {
    return factory().createProfileWebFilter(static_cast<int>(ids_[2]));
  }
  Ref<ProfileQuarantineFolder> folder() const {
    return factory().createProfileQuarantineFolder(static_cast<int>(ids_[3]), 0);
  }
  Ref<DictionaryScannerImpl> scanner() const {
    return DictionaryFactory::instance().createProfileScanner("bystander-" +
                                                              std::to_string(ids_[4]));
  }

  std::vector<std::uint32_t> ids_;
  ProfileAntiSpam first_;
  ProfileAntiSpam second_;
  ProfileWebFilter webFilter_;
  Ref<ProfileQuarantineFolder> folder_;
  Ref<DictionaryScannerImpl> scanner_;
};

struct Row {
  G_CLI_GID gid;
  Kinds dropped;       // whole kinds
  int ruleClears = 0;  // of the rules for data loss prevention
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
    // Web filters hold copies of their categories.
    {GID_WEB_CATEGORY, {"web filter", "antispam"}},
    {GID_TRUSTED_MTA, {}},
    {GID_TRUSTED_ANTISPAM_MTA, {}},
    {GID_QUARANTINE_FOLDER, {}},
    // Tables that profiles are not made from.
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
    const CountingRules rules;
    const Bystanders bystanders;
    change();
    EXPECT_EQ(bystanders.dropped(), GetParam().dropped);
    EXPECT_EQ(rules.clears, GetParam().ruleClears);
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

// --- Tables whose change drops the one profile

TEST(ProfileChange, DropsTheOneAntispamProfile) {
  const std::uint32_t id = freshId();
  const std::uint32_t other = freshId();
  factory();
  put(AntispamRecord(id).name("old"), AntispamRecord(other));
  const ProfileAntiSpam before = factory().createProfileAntiSpam(static_cast<int>(id), 0);
  const ProfileAntiSpam kept = factory().createProfileAntiSpam(static_cast<int>(other), 0);
  put(AntispamRecord(id).name("new"));
  EXPECT_EQ(factory().createProfileAntiSpam(static_cast<int>(id), 0).name(), "new");
  EXPECT_TRUE(factory().createProfileAntiSpam(static_cast<int>(other), 0) == kept);
  EXPECT_EQ(before.name(), "old");
}

TEST(ProfileChange, ErasureDropsTheProfileThatTheOldRecordNames) {
  const std::uint32_t id = freshId();
  factory();
  put(AntispamRecord(id), QuarantineFolderRecord(id, "Gone"), WebFilterRecord(id));
  const int number = static_cast<int>(id);
  ASSERT_FALSE(factory().createProfileAntiSpam(number, 0).isNull());
  ASSERT_FALSE(factory().createProfileQuarantineFolder(number, 0).isNull());
  ASSERT_FALSE(factory().createProfileWebFilter(number).isNull());
  erase(GID_ANTISPAM_PROFILE, id);
  erase(GID_QUARANTINE_FOLDER, id);
  erase(GID_WEB_FILTER_PROFILE, id);
  EXPECT_TRUE(factory().createProfileAntiSpam(number, 0).isNull());
  EXPECT_TRUE(factory().createProfileQuarantineFolder(number, 0).isNull());
  EXPECT_TRUE(factory().createProfileWebFilter(number).isNull());
}

TEST(ProfileChange, SystemsRecordThatComesLaterReplacesTheDomains) {
  const std::uint32_t id = freshId();
  const ngid_t domain = freshId();
  factory();
  putInto(domain, AntispamRecord(id).name("domain"));
  ASSERT_EQ(factory().createProfileAntiSpam(static_cast<int>(id), domain).name(), "domain");
  put(AntispamRecord(id).name("system"));
  EXPECT_EQ(factory().createProfileAntiSpam(static_cast<int>(id), domain).name(), "system");
  erase(GID_ANTISPAM_PROFILE, id);
  EXPECT_EQ(factory().createProfileAntiSpam(static_cast<int>(id), domain).name(), "domain");
}

TEST(ProfileChange, DropsTheOneFolder) {
  const std::uint32_t id = freshId();
  const std::uint32_t other = freshId();
  factory();
  put(QuarantineFolderRecord(id, "Old"), QuarantineFolderRecord(other, "Kept"));
  ASSERT_EQ(factory().createProfileQuarantineFolder(static_cast<int>(id), 0)->name(), "Old");
  const auto kept = factory().createProfileQuarantineFolder(static_cast<int>(other), 0);
  put(QuarantineFolderRecord(id, "New"));
  const auto changed = factory().createProfileQuarantineFolder(static_cast<int>(id), 0);
  EXPECT_EQ(changed->name(), "New");
  EXPECT_TRUE(factory().createProfileQuarantineFolder(static_cast<int>(other), 0) == kept);
}

// --- What the next profile is made from

TEST(ActionChange, EmptiesTheWholeAntispamCache) {
  const std::uint32_t action = freshId();
  const std::uint32_t user = freshId();
  const std::uint32_t stranger = freshId();
  factory();
  put(AntispamActionRecord(action).archive(1), AntispamRecord(user).defaultAction(action),
      AntispamRecord(stranger));
  const auto archive = [&] {
    return factory()
        .createProfileAntiSpam(static_cast<int>(user), 0)
        .actions()
        .find(0x100000)
        .archiveRecipientId();
  };
  ASSERT_EQ(archive(), 1u);
  const ProfileAntiSpam before = factory().createProfileAntiSpam(static_cast<int>(stranger), 0);
  put(AntispamActionRecord(action).archive(2));
  EXPECT_EQ(archive(), 2u);
  EXPECT_FALSE(factory().createProfileAntiSpam(static_cast<int>(stranger), 0) == before);
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
    const ProfileAntiSpam made = factory().createProfileAntiSpam(static_cast<int>(profile), 0);
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
      AntispamRecord(profile).norbex().uriCategoryCheck(filter));
  const auto isSpam = [&] {
    return factory()
        .createProfileAntiSpam(static_cast<int>(profile), 0)
        .profileWebFilter()
        .isSpam(17);
  };
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
  factory().createProfileAntiSpam(static_cast<int>(profile), 0);
  put(AntispamRecord(profile).name("new").defaultAction(action),
      AntispamActionRecord(action).archive(2), QuarantineFolderRecord(profile, "Both"));
  const ProfileAntiSpam changed = factory().createProfileAntiSpam(static_cast<int>(profile), 0);
  EXPECT_EQ(changed.name(), "new");
  EXPECT_EQ(changed.actions().find(0x100000).archiveRecipientId(), 2u);
  EXPECT_FALSE(factory().createProfileQuarantineFolder(static_cast<int>(profile), 0).isNull());
}
