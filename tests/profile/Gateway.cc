#include "tests/profile/Gateway.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <utility>

#include "tests/support/StoreFixture.h"
#include "tests/support/SystemRecords.h"

namespace Kestrav::Testing {
namespace {

std::unique_ptr<AttachedStore> gStore;

class StoreOfTheProcess : public testing::Environment {
 public:
  void SetUp() override { gStore = std::make_unique<AttachedStore>(); }
  void TearDown() override {
    dispatcher()->stop();
    gStore.reset();
  }
};

[[maybe_unused]] const auto* const kEnvironment =
    testing::AddGlobalTestEnvironment(new StoreOfTheProcess);

}  // namespace

Config::ConfigStore& store() {
  return gStore->store();
}

std::uint32_t freshId() {
  static std::atomic<std::uint32_t> next{1000};
  return ++next;
}

void commit(Config::ChangeSet changes) {
  awaitApplied(store().commit(std::move(changes)));
}

void erase(G_CLI_GID gid, std::uint32_t id, ngid_t domain) {
  Config::ChangeSet changes;
  changes.erase(gid, domain, id);
  commit(std::move(changes));
}

void contentInspection(bool on) {
  store().status().contentInspection(on);
}

EventsHeld::~EventsHeld() {
  dispatcher()->start();
  EXPECT_TRUE(dispatcher()->waitApplied(store().revision(), kPatienceMs));
}

}  // namespace Kestrav::Testing
