// A store that holds all sets, and peers that use it.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>

#include "tests/processes/PeerProcess.h"
#include "tests/processes/Sets.h"
#include "tests/support/StoreFixture.h"

namespace Kestrav::Testing {

class SetsFixture : public ::testing::Test {
 protected:
  explicit SetsFixture(const Config::ConfigStore::Options& options = {})
      : store_(Config::ConfigStore::open(folder_ / "store", options)) {
    liveAtNoon();
    putAllSets(*store_);
  }

  Config::ConfigStore& store() { return *store_; }
  std::string path() const { return (folder_ / "store").string(); }
  const TemporaryFolder& folder() const { return folder_; }

  // A follower that is ready.
  std::unique_ptr<PeerProcess> follower(int askingThreads) {
    auto peer = startFollower(askingThreads);
    EXPECT_EQ(peer->line(), "ready");
    return peer;
  }
  std::unique_ptr<PeerProcess> startFollower(int askingThreads) {
    return std::make_unique<PeerProcess>(
        std::vector<std::string>{"follow", path(), std::to_string(askingThreads)});
  }

  // The answers of a new process, which has seen only the newest revision.
  std::string freshAnswers() {
    const auto fresh = follower(0);
    std::string answers = fresh->askAll("answers");
    EXPECT_EQ(fresh->finish(), "");
    return answers;
  }

  // Read from the store: a commit may not have published its revision yet.
  Config::Revision storedRevision() { return store_->snapshot().revision(); }

  void expectWholeSets() {
    const Config::Snapshot snapshot = store_->snapshot();
    for (int set = 0; set < kSets; ++set) EXPECT_EQ(brokenPart(snapshot, set), "");
  }

  // Waits until `peer` has applied `revision`.
  static void await(PeerProcess& peer, Config::Revision revision) {
    ASSERT_EQ(peer.ask("await " + std::to_string(revision)), "applied");
  }

  // Different in each run. Failures name it.
  static unsigned seed() {
    static const unsigned chosen = std::random_device{}();
    return chosen;
  }

 private:
  TemporaryFolder folder_;
  std::shared_ptr<Config::ConfigStore> store_;
};

}  // namespace Kestrav::Testing
