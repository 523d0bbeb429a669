// watch in one process tells what other processes commit.
#include <signal.h>

#include <nlohmann/json.hpp>

#include "ToolFixture.h"
#include "config/records/Gid.h"
#include "config/records/QuarantineRecords.h"

using namespace Kestrav::ToolTesting;
using Json = nlohmann::json;

namespace {

class Watch : public ToolFixture {
 protected:
  void SetUp() override { load(example()); }

  // Four changes in the first revision, then two back.
  void makeChanges() const {
    std::string text = fileContent(example());
    text = replaced(text, "max-scan-size: 400", "max-scan-size: 500");
    text = replaced(text, "partner-hosts", "partner-networks");
    text = replaced(text, "subject-tag: \"[Verdacht] \"", "subject-tag: Verdacht");
    load(file("changed.yaml", text));
    load(example());
  }
};

TEST_F(Watch, TellsEachRecordAndField) {
  Process watching(withStore({"watch", "--changes", "2"}));
  const std::string first = watching.line();
  EXPECT_EQ(placeless(first), "watching FOLDER/store from revision 1 on");
  makeChanges();
  const Result result = watching.wait();
  EXPECT_EQ(result.code, 0) << result.err;
  expectGolden("watch.txt", result.out);
}

TEST_F(Watch, TellsTheSameAsJson) {
  Process watching(withStore({"watch", "--changes", "2", "--json"}));
  const Json first = Json::parse(watching.line());
  EXPECT_EQ(first["revision"], 1);
  EXPECT_EQ(first["watching"], store());
  makeChanges();
  const Result result = watching.wait();
  EXPECT_EQ(result.code, 0) << result.err;
  std::istringstream lines(result.out);
  for (std::string line; std::getline(lines, line);) EXPECT_TRUE(Json::accept(line)) << line;
  expectGolden("watch.json", result.out);
}

TEST_F(Watch, NeverTellsMoreThanAskedFor) {
  Process watching(withStore({"watch", "--changes", "1", "--json"}));
  watching.line();
  makeChanges();
  const Result result = watching.wait();
  std::istringstream lines(result.out);
  for (std::string line; std::getline(lines, line);) EXPECT_EQ(Json::parse(line)["revision"], 2);
  EXPECT_EQ(linesIn(result.out), 5);
}

TEST_F(Watch, EndsWellWhenInterrupted) {
  for (const int signal : {SIGINT, SIGTERM}) {
    Process watching(withStore({"watch"}));
    watching.line();
    watching.signal(signal);
    const Result result = watching.wait();
    EXPECT_EQ(result.code, 0) << "signal " << result.signal;
    EXPECT_EQ(result.err, "");
  }
}

TEST_F(Watch, EndsWhenNobodyReadsAnyMore) {
  Process watching(withStore({"watch"}), {.out = Streams::kReaderGone});
  const Result result = watching.wait();
  EXPECT_EQ(result.code, 0) << "signal " << result.signal;
  EXPECT_EQ(result.err, "");
}

TEST_F(Watch, IsListedWithWhatItApplied) {
  Process watching(withStore({"watch", "--json"}));
  watching.line();
  const Json before = Json::parse(run({"status", "--json"}).out)["processes"];
  ASSERT_EQ(before.size(), 1u);
  EXPECT_EQ(before[0]["pid"], watching.pid());
  EXPECT_EQ(before[0]["name"], "vexactl watch");
  EXPECT_EQ(before[0]["applied"], 1);
  EXPECT_EQ(before[0]["lag"], 0);

  // Stopped, it falls behind by what is committed meanwhile.
  watching.signal(SIGSTOP);
  makeChanges();
  const Json behind = Json::parse(run({"status", "--json"}).out)["processes"];
  ASSERT_EQ(behind.size(), 1u);
  EXPECT_EQ(behind[0]["lag"], 2);
  watching.signal(SIGCONT);
  for (int revision = 0; revision < 3;) {
    const std::string line = watching.line();
    ASSERT_FALSE(line.empty());
    revision = Json::parse(line)["revision"];
  }
  watching.signal(SIGINT);
  EXPECT_EQ(watching.wait().code, 0);
  EXPECT_TRUE(Json::parse(run({"status", "--json"}).out)["processes"].empty());
}

// The journal is kept for those who are behind, but not without end.
TEST_F(Watch, SaysWhenItMissedChanges) {
  Process watching(withStore({"watch"}));
  watching.line();
  watching.signal(SIGSTOP);
  {
    Kestrav::Config::ConfigStore::Options options;
    options.journalEntries = 2;
    options.journalEntriesHard = 4;
    const auto writer = Kestrav::Config::ConfigStore::open(store(), options);
    for (std::uint32_t id = 100; id < 110; ++id) {
      ::__aps_systemquarantine_folders folder{};
      folder.id = id;
      Kestrav::Config::ChangeSet changes;
      changes.put(GID_QUARANTINE_FOLDER, 0, &folder);
      writer->commit(std::move(changes));
    }
  }
  watching.signal(SIGCONT);
  EXPECT_EQ(watching.line(), "revision 11  the changes since revision 1 were missed");
  watching.signal(SIGINT);
  EXPECT_EQ(watching.wait().code, 0);
}

}  // namespace
