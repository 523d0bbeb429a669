// A thread that reads an older revision gets what it reads, but leaves nothing of it to others.
#include <gtest/gtest.h>

#include "ProfileFactory.h"
#include "config/CMF.h"
#include "config/Event.h"
#include "tests/support/Builders.h"
#include "tests/support/StoreFixture.h"

namespace Kestrav {
namespace {

using namespace Testing;

class PinnedRevision : public StoreFixture {
 protected:
  void SetUp() override {
    factory_ = ProfileFactory::instance();
    dispatcher()->start();
  }
  void TearDown() override { dispatcher()->stop(); }

  static CMF::Event::Dispatcher dispatcher() {
    return CMF::Event::Dispatcher::instance("", false, false);
  }
  template <class... Builders>
  void commit(const Builders&... records) {
    Config::ChangeSet changes;
    (records.put(changes), ...);
    const Config::Revision revision = store().commit(std::move(changes));
    ASSERT_TRUE(dispatcher()->waitApplied(revision, 60'000));
  }

  const ProfileFactory* factory_ = nullptr;
};

TEST_F(PinnedRevision, LeavesNothingOldInTheCaches) {
  commit(AntispamRecord(1).name("old").norbex().uriCategoryCheck(2),
         WebFilterRecord(2).name("old filter"), QuarantineFolderRecord(3, "old folder"));
  {
    const CMF::Lock pin(true);
    commit(AntispamRecord(1).name("new").norbex().uriCategoryCheck(2),
           WebFilterRecord(2).name("new filter"), QuarantineFolderRecord(3, "new folder"));
    EXPECT_EQ(factory_->createProfileAntiSpam(1, 0).name(), "old");
    EXPECT_EQ(factory_->createProfileQuarantineFolder(3, 0)->name(), "old folder");
  }
  EXPECT_EQ(factory_->createProfileAntiSpam(1, 0).name(), "new");
  EXPECT_EQ(factory_->createProfileAntiSpam(1, 0).profileWebFilter().name(), "new filter");
  EXPECT_EQ(factory_->createProfileWebFilter(2).name(), "new filter");
  EXPECT_EQ(factory_->createProfileQuarantineFolder(3, 0)->name(), "new folder");
}

TEST_F(PinnedRevision, ServesTheCacheOnceItIsFilledAgain) {
  commit(AntispamRecord(1).name("old"));
  commit(AntispamRecord(1).name("new"));
  const ProfileAntiSpam first = factory_->createProfileAntiSpam(1, 0);
  EXPECT_EQ(factory_->createProfileAntiSpam(1, 0), first);
}

}  // namespace
}  // namespace Kestrav
