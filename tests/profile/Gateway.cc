#include "Gateway.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>

#include "tests/support/StoreFixture.h"

namespace Kestrav::Testing {
namespace {

constexpr int kPatience = 60'000;  // ms; only a hang takes as long

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

CMF::Event::Dispatcher dispatcher() {
  return CMF::Event::Dispatcher::instance("", false, false);
}

std::uint32_t freshId() {
  static std::atomic<std::uint32_t> next{1000};
  return ++next;
}

void commit(Config::ChangeSet changes) {
  const Config::Revision revision = store().commit(std::move(changes));
  ASSERT_TRUE(dispatcher()->waitApplied(revision, kPatience));
}

void erase(G_CLI_GID gid, std::uint32_t id, ngid_t domain) {
  Config::ChangeSet changes;
  changes.erase(gid, domain, id);
  commit(std::move(changes));
}

void contentInspection(bool on) {
  store().status().contentInspection(on);
}

void dataLossPrevention(bool on) {
  put(SystemGlobalRecord().dataLossPrevention(on));
}

EventsHeld::~EventsHeld() {
  dispatcher()->start();
  EXPECT_TRUE(dispatcher()->waitApplied(store().revision(), kPatience));
}

LogCapture::LogCapture() {
  token_ = Logger::instance().capture([this](const Logger::Message& message) {
    const std::lock_guard guard(mutex_);
    messages_.push_back(message);
  });
}

std::vector<std::vector<std::string>> LogCapture::fields(std::uint32_t code) const {
  const std::lock_guard guard(mutex_);
  std::vector<std::vector<std::string>> found;
  for (const Logger::Message& message : messages_) {
    if (message.code == code) found.push_back(message.fields);
  }
  return found;
}

std::vector<std::uint32_t> LogCapture::codes() const {
  const std::lock_guard guard(mutex_);
  std::vector<std::uint32_t> found;
  for (const Logger::Message& message : messages_) found.push_back(message.code);
  return found;
}

}  // namespace Kestrav::Testing
