// A thread's current domain, which committing a record in a domain sets, does not hide the tables
// that only the system has.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "config/CMF.h"
#include "platform/config/records/QuarantineRecords.h"
#include "platform/config/records/Tables.h"
#include "tests/profile/AnyRecord.h"
#include "tests/profile/Factory.h"
#include "tests/profile/Gateway.h"
#include "tests/support/AntispamRecords.h"
#include "tests/support/WebFilterRecords.h"

using namespace Kestrav;
using namespace Kestrav::Testing;

namespace {

constexpr ngid_t kDomain = 12;

// Commits a record of the domain, which makes it the thread's current one.
class CommittedIn {
 public:
  explicit CommittedIn(ngid_t domain) {
    putInto(domain, AntispamActionRecord(freshId()));
    CMF::TableQuery<__aps_antispam_action, GID_ANTISPAM_ACTION> actions(domain);
    EXPECT_NE(*actions.begin(), nullptr);
    actions.commit();
  }
  ~CommittedIn() { cmf_set_cur_domain_id(0); }
  CommittedIn(const CommittedIn&) = delete;
  CommittedIn& operator=(const CommittedIn&) = delete;
};

}  // namespace

TEST(CurrentDomain, DoesNotApplyToTablesOfTheSystem) {
  int seen = 0;
  for (const Config::Table& table : Config::tables()) {
    if (table.scope == Config::Scope::kDomainList) continue;
    SCOPED_TRACE(std::string(table.key));
    ++seen;
    const AnyRecord record(table.gid);
    put(record);
    const CommittedIn other(kDomain);
    ASSERT_EQ(cmf_query_do_get_by_gid(nCfg_query(table.gid), record.id()), 0);
    EXPECT_NE(cmf_query_update(nCfg_query(table.gid)), nullptr);
  }
  EXPECT_GT(seen, 20);
}

TEST(CurrentDomain, LeavesASharedQueryOfTheSystemOnItsRecord) {
  const AnyRecord first(GID_QUARANTINE_FOLDER);
  const AnyRecord second(GID_QUARANTINE_FOLDER);
  put(first, second);
  ASSERT_EQ(cmf_query_do_get_by_gid(nCfg_query(GID_QUARANTINE_FOLDER), second.id()), 0);
  const CommittedIn other(kDomain);
  const auto* record = static_cast<const __aps_systemquarantine_folders*>(
      cmf_query_update(nCfg_query(GID_QUARANTINE_FOLDER)));
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->id, second.id());
}

TEST(CurrentDomain, ProfilesKeepTheirWebFilters) {
  const std::uint32_t id = freshId();
  const std::uint32_t category = freshId();
  put(WebCategoryRecord(category, 26), WebFilterRecord(id).categories({category}),
      AntispamRecord(id).cloud().uriCategoryCheck(id));
  factory();
  {
    const CommittedIn other(kDomain);
    EXPECT_FALSE(antispam(id).profileWebFilter().isNull());
    EXPECT_FALSE(webFilter(id).isNull());
  }
  ASSERT_FALSE(antispam(id).profileWebFilter().isNull());  // from the cache
  EXPECT_TRUE(antispam(id).profileWebFilter().isSpam(26));
}
