// Followers and writers, killed and restarted at random moments.

#include <algorithm>

#include "tests/processes/SetsFixture.h"

namespace Kestrav::Testing {
namespace {

using Config::Revision;

class Following : public SetsFixture {
 protected:
  static constexpr Revision kCommits = 2500;
  static constexpr int kFollowers = 2;
  static constexpr int kAskingThreads = 2;

  void startWriter() {
    writer_ = std::make_unique<PeerProcess>(
        std::vector<std::string>{"write", path(), std::to_string(random_())});
    writer_->send("write 1000000");
  }

  // Kills it at any moment: while it starts, reads or follows.
  void replaceFollower(int index) {
    ++killed_;
    EXPECT_EQ(followers_[index]->kill(), "");
    followers_[index] = startFollower(kAskingThreads);
    ready_[index] = false;
  }

  void waitUntilReady(int index) {
    if (!ready_[index]) {
      ASSERT_EQ(followers_[index]->line(), "ready");
    }
    ready_[index] = true;
  }

  std::mt19937 random_{seed()};
  std::unique_ptr<PeerProcess> writer_;
  std::unique_ptr<PeerProcess> followers_[kFollowers];
  bool ready_[kFollowers] = {};
  int killed_ = 0;
};

TEST_F(Following, NoChangeIsLostTornOrRepeatedWhenProcessesDie) {
  SCOPED_TRACE("seed " + std::to_string(seed()));
  startWriter();
  for (auto& follower : followers_) follower = startFollower(kAskingThreads);

  for (Revision revision = 1; revision < kCommits;) {
    const Revision until = revision + 1 + random_() % 100;
    while ((revision = storedRevision()) < until) store().waitForRevision(revision, 100);
    const unsigned victims = static_cast<unsigned>(random_());
    if ((victims & 3u) == 0) {
      EXPECT_EQ(writer_->kill(), "");
      startWriter();
    }
    const int index = static_cast<int>(victims >> 2 & 1u);
    if ((victims & 8u) == 0) {
      replaceFollower(index);
    } else if ((victims & 16u) == 0) {
      waitUntilReady(index);
      await(*followers_[index], revision);
    }
    expectWholeSets();
    if (HasFatalFailure() || HasNonfatalFailure()) return;
  }
  EXPECT_GT(killed_, 0);
  writer_->kill();
  for (int index = 0; index < kFollowers; ++index) waitUntilReady(index);

  // The last writer may have been killed in a commit. The next one finds whole sets.
  PeerProcess last({"write", path(), "1"});
  ASSERT_EQ(last.line(), "ready");
  const Revision end = std::stoull(last.ask("write 50"));
  EXPECT_EQ(last.finish(), "");
  EXPECT_EQ(storedRevision(), end);
  expectWholeSets();

  const std::string expected = freshAnswers();
  for (const auto& follower : followers_) {
    await(*follower, end);
    EXPECT_EQ(follower->askAll("answers"), expected);
    EXPECT_EQ(follower->ask("compare"), "compared");
    EXPECT_EQ(follower->ask("missed"), "0");
    EXPECT_GT(std::stoull(follower->ask("changes")), 50u);
    EXPECT_GT(std::stoull(follower->ask("asked")), 0u);
    EXPECT_EQ(follower->finish(), "");
  }
}

TEST_F(Following, WritersDoNotUndoEachOther) {
  constexpr int kEach = 100;
  const auto reader = follower(kAskingThreads);
  PeerProcess first({"write", path(), "1"});
  PeerProcess second({"write", path(), "2"});
  ASSERT_EQ(first.line(), "ready");
  ASSERT_EQ(second.line(), "ready");
  first.send("write " + std::to_string(kEach));
  second.send("write " + std::to_string(kEach));
  const Revision end = std::max(std::stoull(first.line()), std::stoull(second.line()));
  EXPECT_EQ(end, 1u + 2 * kEach);
  EXPECT_EQ(storedRevision(), end);
  expectWholeSets();
  await(*reader, end);
  EXPECT_EQ(reader->askAll("answers"), freshAnswers());
  EXPECT_EQ(reader->ask("compare"), "compared");
  EXPECT_EQ(reader->finish(), "");
}

TEST_F(Following, AnswersAreThoseOfTheStore) {
  const auto reader = follower(0);
  for (std::uint32_t number = 2; number <= 13; ++number) {
    SCOPED_TRACE(number);
    Config::ChangeSet changes;
    for (int set = 0; set < kSets; ++set) putSet(changes, set, number);
    await(*reader, store().commit(std::move(changes)));
    const std::string answers = reader->askAll("answers");
    const std::string expected = std::to_string(number);
    EXPECT_NE(answers.find("mail server: mx-" + expected + "\n"), std::string::npos);
    EXPECT_NE(answers.find(number % 2 != 0 ? "deferred: yes" : "deferred: no"), std::string::npos);
    EXPECT_NE(answers.find("trusted: 20.0.0." + expected + " 21.0.0." + expected),
              std::string::npos);
    EXPECT_EQ(answers.find("trusted for spam: 30.0.0." + expected) != std::string::npos,
              number % 3 != 0);
    EXPECT_NE(answers.find("heuristic " + expected + " " + expected + " " + expected +
                           " host host-" + expected),
              std::string::npos);
    EXPECT_NE(answers.find(number % 2 != 0 ? "servers: 8" : "servers: 4"), std::string::npos);
    EXPECT_EQ(answers, freshAnswers());
    if (HasFailure()) FAIL() << answers;
  }
}

}  // namespace
}  // namespace Kestrav::Testing
