// Readers of the caches and of the store against a writer. Runs under the thread sanitizer too.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "config/CMF.h"
#include "config/ClientSideCache.h"
#include "config/ServerCache.h"
#include "platform/config/records/SystemRecords.h"
#include "tests/client/Listening.h"

namespace Kestrav::CMF {
namespace {

using Testing::ConfigStore;
using Testing::OwnedRecord;
using Testing::Revision;

using Global = RefApsSysClientSideCache<__aps_sys_global, 732>;

constexpr int kReaders = 4;
constexpr std::uint32_t kChanges = 150;

class AnyChangeHandler : public Event::HandlerTemplate<__aps_systemquarantine_folders, 1682> {
 public:
  explicit AnyChangeHandler(Testing::Notes& notes) : notes_(notes) {}
  using HandlerTemplate::message;
  void message(unsigned int, const __aps_systemquarantine_folders*,
               const __aps_systemquarantine_folders*) override {
    notes_.add("heard");
  }

 private:
  Testing::Notes& notes_;
};

class ClientThreads : public Testing::StoreTest {
 protected:
  // Two fields that always agree.
  Revision setSwitch(std::uint32_t value) {
    OwnedRecord record = Testing::defaults(GID_SYSTEM_GLOBAL);
    record.as<__aps_sys_global>()->data_loss_prevention = value % 2;
    boundedCopy(record.as<__aps_sys_global>()->host_name, std::to_string(value));
    return put(GID_SYSTEM_GLOBAL, record);
  }

  // Runs `read` in several threads until `write` has returned.
  template <class Read, class Write>
  static void readWhile(Read read, Write write) {
    std::atomic<bool> done{false};
    std::vector<std::thread> readers;
    for (int reader = 0; reader < kReaders; ++reader) {
      readers.emplace_back([&, reader] {
        do {
          read(reader);
        } while (!done);
      });
    }
    write();
    done = true;
    for (std::thread& reader : readers) reader.join();
  }
};

TEST_F(ClientThreads, SnapshotsAreWholeAndNeverGoBack) {
  applied(setSwitch(0));
  std::atomic<std::uint32_t> appliedValue{0};
  readWhile(
      [&](int) {
        // Nothing older than an applied commit is served.
        const std::uint32_t least = appliedValue;
        const Global snapshot = Global::instance(false);
        const __aps_sys_global& record = snapshot->record();
        const std::uint32_t value = static_cast<std::uint32_t>(std::stoul(record.host_name));
        EXPECT_GE(value, least);
        EXPECT_EQ(record.data_loss_prevention, value % 2);
      },
      [&] {
        for (std::uint32_t value = 1; value <= kChanges; ++value) {
          applied(setSwitch(value));
          appliedValue = value;
        }
      });
}

TEST_F(ClientThreads, ProtectedDomainsAreFoundWhileTheyChange) {
  applied(put(GID_PROTECTED_DOMAIN, Testing::domainRecord(1, "always.example", 0)));
  std::atomic<std::uint32_t> appliedValue{0};
  readWhile(
      [&](int) {
        const std::uint32_t least = appliedValue;
        const RefApsGwServer always = RefApsGwServerCache::instance(false).find("always.example");
        ASSERT_FALSE(always.isNull());
        EXPECT_GE(always->configurationDomain(), least);
        EXPECT_EQ(always->record().configuration_domain, always->configurationDomain());
        const RefApsGwServer sometimes =
            RefApsGwServerCache::instance(false).find("sometimes.example");
        EXPECT_TRUE(sometimes.isNull() || sometimes->record().id == 2);
      },
      [&] {
        for (std::uint32_t value = 1; value <= kChanges; ++value) {
          put(GID_PROTECTED_DOMAIN, Testing::domainRecord(1, "always.example", value));
          applied(value % 2 == 0
                      ? erase(GID_PROTECTED_DOMAIN, 2)
                      : put(GID_PROTECTED_DOMAIN, Testing::domainRecord(2, "sometimes.example")));
          appliedValue = value;
        }
      });
}

TEST_F(ClientThreads, QueriesSeeWholeRevisions) {
  readWhile(
      [&](int) {
        TableQuery<__aps_systemquarantine_folders, 1682> folders;
        std::string all;
        for (auto at = folders.begin(); at != folders.end(); ++at) {
          if (all.empty()) all = at->name;
          EXPECT_EQ(all, at->name);
        }
        EXPECT_TRUE(folders.size() == 0 || folders.size() == 3);
        cmf_query_do_get_by_gid(nCfg_query(1682), 2);
        cmf_query_update(nCfg_query(1682));
        const Object<__aps_mail_disclaimer, 17> object;
        EXPECT_NE(*object, nullptr);
      },
      [&] {
        for (std::uint32_t value = 1; value <= kChanges; ++value) {
          Testing::ChangeSet changes;
          for (const std::uint32_t id : {1, 2, 3}) {
            changes.put(GID_QUARANTINE_FOLDER, 0,
                        Testing::folderRecord(id, std::to_string(value)).data());
          }
          store_->commit(std::move(changes));
        }
      });
}

TEST_F(ClientThreads, HandlersComeAndGoDuringDelivery) {
  Testing::Notes notes;
  const Testing::Registered steady(new Testing::FolderHandler(notes, "steady"));
  readWhile(
      [&](int) {
        std::atomic<bool> alive{true};
        {
          const Testing::Registered passing(
              new Testing::FolderHandler(notes, "passing", [&] { EXPECT_TRUE(alive); }));
          Testing::dispatcher()->waitApplied(store_->revision(), Testing::kForeverMs);
        }
        alive = false;
      },
      [&] {
        for (std::uint32_t value = 1; value <= kChanges; ++value)
          putFolder(1, std::to_string(value));
      });
  applied(store_->revision());
  std::uint32_t seen = 0;
  for (const std::string& line : notes.all()) {
    if (line.starts_with("steady")) ++seen;
  }
  EXPECT_EQ(seen, kChanges);
}

TEST_F(ClientThreads, StoreAttachedDuringTheFirstRegistrationIsFollowed) {
  for (int round = 0; round < 100; ++round) {
    ConfigStore::detach();
    Testing::Notes notes;
    std::atomic<bool> go{false};
    std::thread attaching([&] {
      go.wait(false);
      ConfigStore::attach(store_);
    });
    go = true;
    go.notify_all();
    const Testing::Registered handler(new AnyChangeHandler(notes));
    attaching.join();
    putFolder(1, std::to_string(round));
    ASSERT_TRUE(notes.waitFor("heard"));  // no further call is needed
  }
}

}  // namespace
}  // namespace Kestrav::CMF
