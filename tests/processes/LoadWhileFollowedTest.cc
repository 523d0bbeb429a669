// Configurations loaded with the tool while processes answer from many threads.

#include <fstream>
#include <thread>

#include "tests/processes/SetsFixture.h"

namespace Kestrav::Testing {
namespace {

using Config::Revision;

class Load : public SetsFixture {
 protected:
  Load() : scratch_(Config::ConfigStore::open(folder() / "scratch")) { putAllSets(*scratch_); }

  // A file with all sets at `number`. REQUIRES: `number` is odd. At even ones no protected domain
  // refers to the own configuration domain, and a file cannot hold records of such a domain.
  std::string fileOf(std::uint32_t number) {
    Config::ChangeSet changes;
    for (int set = 0; set < kSets; ++set) putSet(changes, set, number);
    scratch_->commit(std::move(changes));
    const Outcome dump =
        runProgram(VEXACTL_PROGRAM, {"--store", (folder() / "scratch").string(), "dump"});
    EXPECT_EQ(dump.code, 0) << dump.output;
    const std::string name = folder() / (std::to_string(number) + ".yaml");
    std::ofstream(name) << dump.output;
    return name;
  }

  Outcome load(const std::string& file) {
    return runProgram(VEXACTL_PROGRAM, {"--store", path(), "load", file});
  }

  void expectAllAt(std::uint32_t number) {
    const Config::Snapshot snapshot = store().snapshot();
    for (int set = 0; set < kSets; ++set) EXPECT_EQ(numberOf(snapshot, set), number);
  }

 private:
  std::shared_ptr<Config::ConfigStore> scratch_;
};

TEST_F(Load, IsFollowedWholeByProcessesOfManyThreads) {
  const auto first = follower(8);
  const auto second = follower(4);
  for (std::uint32_t number = 3; number <= 31; number += 2) {
    SCOPED_TRACE(number);
    const Revision before = storedRevision();
    const Outcome loaded = load(fileOf(number));
    ASSERT_EQ(loaded.code, 0) << loaded.output;
    ASSERT_EQ(storedRevision(), before + 1) << loaded.output;
    expectAllAt(number);
    expectWholeSets();
    await(*first, before + 1);
    if (number % 8 == 7) {
      const std::string expected = freshAnswers();
      EXPECT_EQ(first->askAll("answers"), expected);
      await(*second, before + 1);
      EXPECT_EQ(second->askAll("answers"), expected);
    }
    if (HasFailure()) return;
  }
  for (PeerProcess* peer : {first.get(), second.get()}) {
    await(*peer, storedRevision());
    EXPECT_EQ(peer->ask("compare"), "compared");
    EXPECT_GT(std::stoull(peer->ask("asked")), 0u);
    EXPECT_EQ(peer->finish(), "");
  }
}

TEST_F(Load, OfAFileWithAMistakeChangesNothing) {
  const auto peer = follower(4);
  const std::string former = peer->askAll("answers");
  const std::string file = fileOf(3);
  std::ofstream(file, std::ios::app) << "\nno-such-table:\n  - name: x\n";
  const Revision before = storedRevision();
  const Outcome loaded = load(file);
  EXPECT_NE(loaded.code, 0);
  EXPECT_NE(loaded.output.find("no-such-table"), std::string::npos) << loaded.output;
  EXPECT_EQ(storedRevision(), before);
  expectAllAt(1);
  EXPECT_EQ(peer->askAll("answers"), former);
  EXPECT_EQ(peer->finish(), "");
}

TEST_F(Load, OfTheSameFileTwiceIsOneRevision) {
  const std::string file = fileOf(5);
  EXPECT_EQ(load(file).code, 0);
  const Revision revision = storedRevision();
  const Outcome again = load(file);
  EXPECT_EQ(again.code, 0) << again.output;
  EXPECT_EQ(storedRevision(), revision) << again.output;
}

TEST_F(Load, OfTwoFilesAtOnceLeavesOneOfThem) {
  const auto peer = follower(0);
  const std::string one = fileOf(7);
  const std::string other = fileOf(9);
  for (int round = 0; round < 5; ++round) {
    SCOPED_TRACE(round);
    Outcome first{};
    std::thread atOnce([&] { first = load(one); });
    const Outcome second = load(other);
    atOnce.join();
    EXPECT_EQ(first.code, 0) << first.output;
    EXPECT_EQ(second.code, 0) << second.output;
    expectWholeSets();
    expectAllAt(numberOf(store().snapshot(), 0));
  }
  await(*peer, storedRevision());
  EXPECT_EQ(peer->askAll("answers"), freshAnswers());
  EXPECT_EQ(peer->ask("compare"), "compared");
  EXPECT_EQ(peer->finish(), "");
}

}  // namespace
}  // namespace Kestrav::Testing
