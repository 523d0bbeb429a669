// Snapshots of the system's settings.
#include "config/ClientSideCache.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "platform/config/records/AntispamRecords.h"
#include "platform/config/records/OwnedRecord.h"
#include "platform/config/records/SessionRecords.h"
#include "platform/config/records/SystemRecords.h"
#include "platform/config/records/WebFilterRecords.h"
#include "tests/client/Listening.h"

namespace Kestrav::CMF {
namespace {

using Testing::ConfigStore;
using Testing::OwnedRecord;
using Testing::Revision;

static_assert(std::is_base_of_v<NonCopyable, ApsSysClientSideCache<__aps_sys_global>>);
static_assert(!std::is_copy_constructible_v<ApsSysClientSideCache<__aps_sys_global>>);

using Global = RefApsSysClientSideCache<__aps_sys_global, 732>;
using MailServer = RefApsSysClientSideCache<__aps_mailserver, 617>;
using AddressMap = RefApsSysClientSideCache<__aps_vip_map, 1418>;

class ClientSideCache : public Testing::StoreTest {
 protected:
  Revision setPort(std::uint32_t port) {
    OwnedRecord record = Testing::defaults(GID_MAIL_SERVER);
    record.as<__aps_mailserver>()->smtp_port = port;
    return put(GID_MAIL_SERVER, record);
  }
  static std::uint32_t port() { return MailServer::instance(false)->record().smtp_port; }
};

TEST_F(ClientSideCache, InstanceIsTheSameUntilAChange) {
  applied(setPort(1));
  const MailServer first = MailServer::instance(false);
  EXPECT_EQ(first->record().smtp_port, 1u);
  EXPECT_TRUE(MailServer::instance(true) == first);
  applied(putFolder(1, "unrelated"));
  EXPECT_TRUE(MailServer::instance(false) == first);
}

TEST_F(ClientSideCache, ChangeReplacesTheSnapshotAndLeavesTheOldOneAlone) {
  applied(setPort(1));
  const MailServer before = MailServer::instance(false);
  applied(setPort(2));
  const MailServer after = MailServer::instance(false);
  EXPECT_FALSE(before == after);
  EXPECT_EQ(before->record().smtp_port, 1u);
  EXPECT_EQ(after->record().smtp_port, 2u);
  EXPECT_EQ(before->referenceCount(), 1u);  // only this test holds the old one
}

TEST_F(ClientSideCache, UnwrittenSettingsHoldTheirDefaults) {
  EXPECT_EQ(port(), Testing::defaults(GID_MAIL_SERVER).as<__aps_mailserver>()->smtp_port);
}

TEST_F(ClientSideCache, SettingsWithoutAStoreHoldTheirDefaults) {
  applied(setPort(7777));
  EXPECT_EQ(port(), 7777u);
  ConfigStore::detach();
  EXPECT_EQ(port(), Testing::defaults(GID_MAIL_SERVER).as<__aps_mailserver>()->smtp_port);
}

TEST_F(ClientSideCache, StoreAttachedAfterADetachmentShowsAtOnce) {
  applied(setPort(1));
  EXPECT_EQ(port(), 1u);
  const Testing::Folder second;
  const auto other = ConfigStore::open(second.path() / "store");
  OwnedRecord record = Testing::defaults(GID_MAIL_SERVER);
  record.as<__aps_mailserver>()->smtp_port = 2;
  Testing::ChangeSet changes;
  changes.put(GID_MAIL_SERVER, 0, record.data());
  other->commit(std::move(changes));
  ConfigStore::detach();
  ConfigStore::attach(other);
  EXPECT_EQ(port(), 2u);
}

OwnedRecord addressMap(std::uint32_t id, std::string_view name,
                       const std::vector<std::string>& patterns) {
  OwnedRecord map = Testing::defaults(GID_ADDRESS_MAP);
  map.as<__aps_vip_map>()->id = id;
  boundedCopy(map.as<__aps_vip_map>()->name, name);
  for (const Config::Field& field : map.type().fields) {
    if (field.kind != Config::Kind::kList) continue;
    for (const std::string& pattern : patterns) {
      boundedCopy(static_cast<__aps_vip_map_entry*>(map.append(field))->pattern, pattern);
    }
  }
  return map;
}

TEST_F(ClientSideCache, ListsOutliveTheQueryAndTheRecord) {
  AddressMap kept;
  {
    const OwnedRecord map = addressMap(1, "m", {"one", "two"});
    kept = AddressMap(*map.as<__aps_vip_map>());
    applied(put(GID_ADDRESS_MAP, map));
  }
  ASSERT_EQ(kept->record().entry_count, 2u);
  EXPECT_STREQ(kept->record().entries[1].pattern, "two");
  const AddressMap fromStore = AddressMap::instance(false);
  applied(put(GID_ADDRESS_MAP, addressMap(1, "m", {"three"})));
  ASSERT_EQ(fromStore->record().entry_count, 2u);
  EXPECT_STREQ(fromStore->record().entries[0].pattern, "one");
  EXPECT_STREQ(AddressMap::instance(false)->record().entries[0].pattern, "three");
}

TEST_F(ClientSideCache, ListShowsItsFirstRecord) {
  applied(put(GID_ADDRESS_MAP, addressMap(5, "five", {})));
  EXPECT_EQ(AddressMap::instance(false)->record().id, 5u);
  applied(put(GID_ADDRESS_MAP, addressMap(3, "three", {})));
  EXPECT_EQ(AddressMap::instance(false)->record().id, 5u);
  applied(erase(GID_ADDRESS_MAP, 5));
  EXPECT_EQ(AddressMap::instance(false)->record().id, 3u);
  applied(erase(GID_ADDRESS_MAP, 3));
  EXPECT_EQ(AddressMap::instance(false)->record().id, 0u);  // a list without records
  EXPECT_EQ(AddressMap::instance(false)->record().entry_count, 0u);
}

// Each cache follows its table.
template <class Cache>
class EveryCache : public ClientSideCache {};

template <class Record, unsigned int Table>
struct Kind {
  using Cache = RefApsSysClientSideCache<Record, Table>;
  using Handler = ApsSysClientSideCacheHandler<Record, Table>;
  using Rec = Record;
  static constexpr G_CLI_GID kTable = static_cast<G_CLI_GID>(Table);
};
using Kinds = testing::Types<Kind<__aps_mailserver, 617>, Kind<__aps_sys_global, 732>,
                             Kind<__aps_sys_antispam, 801>, Kind<__aps_vip_map, 1418>,
                             Kind<__aps_acl_ruleset, 1441>, Kind<__vexa_bounce_profile, 1511>,
                             Kind<__aps_as_wf_profile, 1528>>;
TYPED_TEST_SUITE(EveryCache, Kinds);

// A record of the table whose first text says `text`.
OwnedRecord withText(G_CLI_GID gid, std::string_view text) {
  const Config::Table& table = *Config::findTable(gid);
  OwnedRecord record(*table.type);
  auto* bytes = static_cast<char*>(record.data());
  if (table.scope != Config::Scope::kSystemSingle) bytes[table.idOffset] = 1;
  for (const Config::Field& field : table.type->fields) {
    if (field.kind != Config::Kind::kText) continue;
    boundedCopy(bytes + field.offset, field.size, text);
    break;
  }
  return record;
}

TYPED_TEST(EveryCache, FollowsItsTable) {
  using Rec = typename TypeParam::Rec;
  using Cache = typename TypeParam::Cache;
  for (const char* text : {"first", "second", "third"}) {
    SCOPED_TRACE(text);
    const OwnedRecord record = withText(TypeParam::kTable, text);
    this->applied(this->put(TypeParam::kTable, record));
    const Cache seen = Cache::instance(false);
    // Without the lists: these records have none.
    const Rec& copy = seen->record();
    EXPECT_EQ(std::memcmp(&copy, record.data(), sizeof(Rec)), 0);
  }
}

TYPED_TEST(EveryCache, HandlerReadsTheRecordAnewWhateverTheChange) {
  using Cache = typename TypeParam::Cache;
  this->applied(this->put(TypeParam::kTable, withText(TypeParam::kTable, "first")));
  const Cache before = Cache::instance(false);
  typename TypeParam::Handler handler;
  EXPECT_EQ(handler.gid(), TypeParam::kTable);
  handler.message(99, nullptr, static_cast<const typename TypeParam::Rec*>(nullptr));
  EXPECT_FALSE(Cache::instance(false) == before);
}

TEST_F(ClientSideCache, ThreadThatHoldsAnOldRevisionSeesTheNewestSnapshot) {
  applied(setPort(1));
  const Lock lock(true);  // this thread reads the store as it is now
  EXPECT_EQ(port(), 1u);
  applied(setPort(2));
  EXPECT_EQ(port(), 2u);
}

TEST_F(ClientSideCache, HandleFromARecordIsIndependent) {
  const OwnedRecord record = withText(GID_SYSTEM_GLOBAL, "gateway");
  const Global one(*record.as<__aps_sys_global>());
  const Global two(*record.as<__aps_sys_global>());
  EXPECT_FALSE(one == two);
  EXPECT_STREQ(one->record().host_name, "gateway");
}

TEST_F(ClientSideCache, NullHandleThrows) {
  EXPECT_THROW((void)Global()->record(), Exception);
}

}  // namespace
}  // namespace Kestrav::CMF
