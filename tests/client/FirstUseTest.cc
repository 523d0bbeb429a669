// The first use of a cache in a process, by a thread that has pinned an old revision. It is a
// separate program, so that no other test has used the caches before.
#include <gtest/gtest.h>

#include <thread>

#include "config/CMF.h"
#include "config/ClientSideCache.h"
#include "config/ServerCache.h"
#include "platform/common/Strings.h"
#include "platform/config/records/AntispamRecords.h"
#include "platform/config/records/SystemRecords.h"
#include "tests/client/StoreFixture.h"

namespace Kestrav::CMF {
namespace {

using Global = RefApsSysClientSideCache<__aps_sys_global, 732>;

class FirstUse : public Testing::StoreTest {
 protected:
  Testing::Revision setSwitch(std::uint32_t value) {
    Testing::OwnedRecord record = Testing::defaults(GID_SYSTEM_GLOBAL);
    record.as<__aps_sys_global>()->data_loss_prevention = value;
    return put(GID_SYSTEM_GLOBAL, record);
  }
  static std::uint32_t seen() { return Global::instance(false)->record().data_loss_prevention; }
};

TEST_F(FirstUse, OldSettingsAreServedToTheThreadThatHoldsThemAlone) {
  setSwitch(0);
  const Lock lock(true);
  std::thread([&] { setSwitch(1); }).join();
  EXPECT_EQ(seen(), 0u);  // this thread reads the pinned revision only
  std::thread([] { EXPECT_EQ(seen(), 1u); }).join();
  EXPECT_EQ(seen(), 1u);
}

TEST_F(FirstUse, SnapshotOfAnEarlierMessageFollowsLaterChanges) {
  using Antispam = RefApsSysClientSideCache<__aps_sys_antispam, GID_SYSTEM_ANTISPAM>;
  const __aps_sys_antispam* none = nullptr;
  ApsSysClientSideCacheHandler<__aps_sys_antispam, GID_SYSTEM_ANTISPAM>().message(2, none, none);
  Testing::OwnedRecord record = Testing::defaults(GID_SYSTEM_ANTISPAM);
  boundedCopy(record.as<__aps_sys_antispam>()->bayesian_domain, "later.example");
  applied(put(GID_SYSTEM_ANTISPAM, record));
  EXPECT_STREQ(Antispam::instance(false)->record().bayesian_domain, "later.example");
}

TEST_F(FirstUse, ProtectedDomainsAreThoseOfTheNewestRevision) {
  const Lock lock(true);
  std::thread([&] { put(GID_PROTECTED_DOMAIN, Testing::domainRecord(1, "a.example")); }).join();
  EXPECT_FALSE(RefApsGwServerCache::instance(false).find("a.example").isNull());
}

}  // namespace
}  // namespace Kestrav::CMF
