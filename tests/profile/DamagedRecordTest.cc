// A damaged record is no missing one: a lookup throws, or finds what the journal has.

#include <gtest/gtest.h>

#include "ProfileFactory.h"
#include "config/CMF.h"
#include "platform/common/Exception.h"
#include "platform/config/store/Keys.h"
#include "tests/store/RawStore.h"
#include "tests/support/AntispamRecords.h"
#include "tests/support/StoreFixture.h"

namespace Kestrav {
namespace {

using Config::ConfigStore;

constexpr std::uint32_t kWhole = 1;
constexpr std::uint32_t kDamaged = 2;
constexpr std::uint32_t kMissing = 3;

class DamagedRecord : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto store = ConfigStore::open(path());
    Config::ChangeSet changes;
    for (const std::uint32_t id : {kWhole, kDamaged}) {
      Testing::AntispamRecord profile(id);
      changes.put(GID_ANTISPAM_PROFILE, 0, profile.data());
    }
    store->commit(std::move(changes));
  }
  void TearDown() override { ConfigStore::detach(); }
  std::filesystem::path path() const { return folder_ / "store"; }
  void damage(const char* database, const Config::Key& key) {
    Config::StoreTesting::RawStore(path()).put(database, {{std::string(key), "damaged"}});
  }
  void damageRow() {
    damage("rows", Config::rowKey(GID_ANTISPAM_PROFILE, 0, Config::kFirstPosition + Config::kGap,
                                  kDamaged));
  }
  template <class Call>
  static int codeOf(Call call) {
    try {
      call();
      return 0;
    } catch (const Exception& exception) {
      return exception.code();
    }
  }
  Testing::TemporaryFolder folder_;
};

TEST_F(DamagedRecord, IsReadFromTheJournal) {
  damageRow();
  ConfigStore::attach(ConfigStore::open(path()));
  EXPECT_FALSE(ProfileFactory::instance()->createProfileAntiSpam(kDamaged, 0).isNull());
  CMF::TableQuery<__aps_gw_as_profile, GID_ANTISPAM_PROFILE> table;
  EXPECT_STREQ(CMF::find(table, kDamaged)->name, "antispam-2");
}

TEST_F(DamagedRecord, ThrowsWhereAMissingOneIsNull) {
  damageRow();
  damage("journal", Config::journalKey(1, 2));
  ConfigStore::attach(ConfigStore::open(path()));
  const auto factory = ProfileFactory::instance();
  for (int i = 0; i < 2; ++i) {
    EXPECT_FALSE(factory->createProfileAntiSpam(kWhole, 0).isNull());
    EXPECT_EQ(codeOf([&] { factory->createProfileAntiSpam(kDamaged, 0); }),
              Config::StoreError::kDamaged);
    EXPECT_TRUE(factory->createProfileAntiSpam(kMissing, 0).isNull());
  }

  CMF::TableQuery<__aps_gw_as_profile, GID_ANTISPAM_PROFILE> table;
  EXPECT_EQ(table.size(), 2);
  auto at = table.begin();
  EXPECT_EQ(at->id, kWhole);
  ++at;
  EXPECT_EQ(codeOf([&] { static_cast<void>(*at); }), Config::StoreError::kDamaged);
  const auto found = CMF::find(table, kDamaged);
  EXPECT_TRUE(found != table.end());

  cmf_query* const query = cmf_query_create_withdomain(0, GID_ANTISPAM_PROFILE);
  EXPECT_EQ(cmf_query_do_get_by_gid(query, kDamaged), 0);
  EXPECT_EQ(codeOf([&] { cmf_query_data(query); }), Config::StoreError::kDamaged);
  EXPECT_EQ(codeOf([&] { cmf_query_index_of_name(query, "another"); }),
            Config::StoreError::kDamaged);
  EXPECT_EQ(cmf_query_do_get_by_gid(query, kWhole), 0);
  EXPECT_NE(cmf_query_data(query), nullptr);
  EXPECT_EQ(cmf_query_do_get_by_gid(query, kMissing), -1);
  cmf_query_free(query);
}

}  // namespace
}  // namespace Kestrav
