// A writer that dies in the middle of a commit.

#include "tests/processes/SetsFixture.h"
#include "tests/processes/TracedWriter.h"

namespace Kestrav::Testing {
namespace {

using Config::Revision;

class DyingWriter : public SetsFixture {
 protected:
  static constexpr int kFollowers = 2;

  void SetUp() override {
    if (!TracedWriter(path(), 1).traced()) GTEST_SKIP() << "processes cannot be traced here";
    for (auto& follower : followers_) follower = this->follower(0);
  }

  // All followers reach `revision`, although the writer woke none of them.
  void expectFollowed(Revision revision) {
    for (const auto& follower : followers_) await(*follower, revision);
  }

  void expectSettled() {
    const std::string expected = freshAnswers();
    for (const auto& follower : followers_) {
      EXPECT_EQ(follower->askAll("answers"), expected);
      EXPECT_EQ(follower->ask("compare"), "compared");
      EXPECT_EQ(follower->ask("missed"), "0");
      EXPECT_EQ(follower->finish(), "");
    }
  }

  // The new revision is in the store. `published`: the revision word has been raised too.
  void expectStored(Revision revision, bool published) {
    EXPECT_EQ(storedRevision(), revision);
    EXPECT_EQ(store().revision(), published ? revision : revision - 1);
  }

  std::unique_ptr<PeerProcess> followers_[kFollowers];
};

TEST_F(DyingWriter, IsFollowedWhenItDiedBeforeItPublished) {
  // Counts the system calls until the commit can be seen. The writer below runs to the last of them
  // and steps from there by single instructions: stepping through all of them would take too long.
  int calls = 0;
  {
    TracedWriter writer(path(), 2);
    for (; storedRevision() < 2; ++calls) ASSERT_TRUE(writer.toNextSystemCall());
  }
  for (std::uint32_t number = 3; number <= 5; ++number) {
    SCOPED_TRACE(number);
    const Revision next = storedRevision() + 1;
    TracedWriter writer(path(), number);
    for (int call = 1; call < calls; ++call) ASSERT_TRUE(writer.toNextSystemCall());
    ASSERT_LT(storedRevision(), next);
    while (storedRevision() < next) ASSERT_TRUE(writer.step());
    expectStored(next, false);
    writer.kill();
    expectStored(next, false);
    expectFollowed(next);
  }
  expectSettled();
}

TEST_F(DyingWriter, IsFollowedWhenItDiedBeforeItWokeAnyone) {
  for (std::uint32_t number = 2; number <= 4; ++number) {
    SCOPED_TRACE(number);
    const Revision next = storedRevision() + 1;
    TracedWriter writer(path(), number);
    do {
      ASSERT_TRUE(writer.toNextSystemCall());
    } while (!writer.aboutToWake());
    writer.kill();
    expectStored(next, true);
    expectFollowed(next);
  }
  expectSettled();
}

TEST_F(DyingWriter, LeavesAWholeRevisionAtEverySystemCall) {
  bool finished = false;
  int lost = 0;
  int kept = 0;
  for (std::uint32_t stops = 1; !finished; ++stops) {
    SCOPED_TRACE(stops);
    const Revision before = storedRevision();
    TracedWriter writer(path(), stops + 1);
    for (std::uint32_t i = 0; i < stops && !finished; ++i) finished = !writer.toNextSystemCall();
    if (finished) {
      EXPECT_TRUE(writer.finished());
      EXPECT_EQ(storedRevision(), before + 1);
    } else {
      writer.kill();
    }
    const Revision after = storedRevision();
    ++(after == before ? lost : kept);
    expectWholeSets();
    expectFollowed(after);
    // Mostly this process takes over the dead writer's lock, so that the next writer makes as many
    // system calls as the last one; now and then the next writer does.
    if (stops % 4 != 0) {
      Config::ChangeSet changes;
      putSet(changes, 0, 1000 + stops);
      EXPECT_GT(store().commit(std::move(changes)), after);
      expectWholeSets();
    }
    if (HasFailure()) return;
  }
  EXPECT_GT(lost, 0);
  EXPECT_GT(kept, 1);
  expectFollowed(storedRevision());
  expectSettled();
}

}  // namespace
}  // namespace Kestrav::Testing
