// Commits of queries into a map that has to grow for them.

#include <gtest/gtest.h>

#include "StoreRecords.h"
#include "config/CMF.h"
#include "platform/common/Strings.h"
#include "tests/support/StoreFixture.h"

namespace Kestrav::Config {
namespace {

using namespace StoreTesting;
using Items = CMF::TableQuery<Item, kItems>;

constexpr std::size_t kMiB = 1u << 20;

// A store whose map is nearly full, with an item 1.
class QueryCommit : public ::testing::Test {
 protected:
  QueryCommit() {
    ConfigStore::Options options;
    options.initialMapSize = kMiB;
    options.resizePatienceMs = 3'600'000;  // a wait for the own thread would not end
    store_ = ConfigStore::open(folder_ / "store", options);
    ConfigStore::attach(store_);
    putAll(*store_, {1});
    for (int i = 100; store_->statistics().usedBytes < kMiB * 93 / 100; i += 25) {
      fillWithNoise(*store_, i);
    }
  }
  ~QueryCommit() override { ConfigStore::detach(); }

  std::string text() const { return store_->snapshot().byId(kItems, 0, 1).as<Item>()->text; }
  bool grown() const { return store_->statistics().mapBytes > kMiB; }

  Testing::TemporaryFolder folder_;
  std::shared_ptr<ConfigStore> store_;
};

// Each commit adds to the journal until the map is full.
constexpr int kAtMost = 5000;

TEST_F(QueryCommit, OfATableQueryMakesTheMapGrow) {
  ASSERT_FALSE(grown());
  for (int i = 0; i < kAtMost && !grown(); ++i) {
    const std::string wanted = "commit " + std::to_string(i);
    {
      Items items;
      const auto first = items.begin();
      boundedCopy(const_cast<Item*>(*first)->text, wanted);
      items.commit();
    }
    ASSERT_EQ(text(), wanted);
  }
  EXPECT_TRUE(grown());
}

TEST_F(QueryCommit, OfTheSharedQueryMakesTheMapGrow) {
  ASSERT_FALSE(grown());
  for (int i = 0; i < kAtMost && !grown(); ++i) {
    const std::string wanted = "commit " + std::to_string(i);
    cmf_set_cur_domain_id(0);
    cmf_query* shared = nCfg_query(kItems);
    ASSERT_EQ(cmf_query_goto(shared, 0), 0);
    Item record = *static_cast<const Item*>(cmf_query_data(shared));
    boundedCopy(record.text, wanted);
    if (i % 2 == 1) {  // another writer comes between
      const Item other = item(2, wanted);
      ChangeSet changes;
      changes.put(kItems, 0, &other);
      std::thread([&] { store_->commit(std::move(changes)); }).join();
    }
    ASSERT_EQ(cmf_query_do_gui_commit(0, shared, &record, 3), 0);
    ASSERT_EQ(text(), wanted);
  }
  EXPECT_TRUE(grown());
}

}  // namespace
}  // namespace Kestrav::Config
