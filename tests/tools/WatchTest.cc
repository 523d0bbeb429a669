// watch in one process prints what other processes commit.
#include <signal.h>

#include <nlohmann/json.hpp>

#include "ToolFixture.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/QuarantineRecords.h"

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

  // A change whose output is larger than a pipe's buffer: the writer blocks until somebody reads.
  static std::string largeGroup() {
    std::string members;
    for (int i = 10'000; i < 30'000; ++i) {
      members += "      - member-" + std::to_string(i) + "@example.com\n";
    }
    return replaced(fileContent(example()), "\nemail-groups:\n",
                    "\nemail-groups:\n  - name: large\n    members:\n" + members);
  }
  Json processes() const { return Json::parse(run({"status", "--json"}).out)["processes"]; }
};

TEST_F(Watch, PrintsEachRecordAndField) {
  Process watching(withStore({"watch", "--changes", "2"}));
  const std::string first = watching.line();
  EXPECT_EQ(placeless(first), "watching FOLDER/store from revision 1");
  makeChanges();
  const Result result = watching.wait();
  EXPECT_EQ(result.code, 0) << result.err;
  expectGolden("watch.txt", result.out);
}

TEST_F(Watch, PrintsTheSameAsJson) {
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

TEST_F(Watch, EndsAfterTheGivenRevision) {
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

TEST_F(Watch, EndsWhenTheReaderIsGone) {
  Process watching(withStore({"watch"}), {.out = Streams::kReaderGone});
  const Result result = watching.wait();
  EXPECT_EQ(result.code, 0) << "signal " << result.signal;
  EXPECT_EQ(result.err, "");
}

TEST_F(Watch, IsListedWithWhatItApplied) {
  Process watching(withStore({"watch", "--json"}));
  watching.line();
  const Json before = processes();
  ASSERT_EQ(before.size(), 1u);
  EXPECT_EQ(before[0]["pid"], watching.pid());
  EXPECT_EQ(before[0]["name"], "vexactl watch");
  EXPECT_EQ(before[0]["applied"], 1);
  EXPECT_EQ(before[0]["lag"], 0);

  load(file("large.yaml", largeGroup()));
  load(example());
  const Json lagging = processes();
  ASSERT_EQ(lagging.size(), 1u);
  EXPECT_EQ(lagging[0]["applied"], 1);
  EXPECT_EQ(lagging[0]["lag"], 2);

  for (int revision = 0; revision < 3;) {
    const std::string line = watching.line();
    ASSERT_FALSE(line.empty());
    revision = Json::parse(line)["revision"];
  }
  watching.signal(SIGINT);
  EXPECT_EQ(watching.wait().code, 0);
  EXPECT_TRUE(processes().empty());
}

TEST_F(Watch, NamesRecordsThatAreRemovedMeanwhile) {
  Process watching(withStore({"watch", "--changes", "3", "--json"}));
  watching.line();
  load(file("large.yaml", largeGroup()));
  EXPECT_EQ(Json::parse(watching.line())["name"], "large");
  // Delivered only after both are committed.
  load(file("renamed.yaml", replaced(largeGroup(), "partner-hosts", "partner-networks")));
  load(example());
  const Result result = watching.wait();
  EXPECT_TRUE(contains(result.out, R"("from":"partner-hosts","to":"partner-networks")"))
      << result.out;
  EXPECT_TRUE(contains(result.out, R"("from":"partner-networks","to":"partner-hosts")"))
      << result.out;
}

// The journal is kept for processes that lag, up to a limit.
TEST_F(Watch, ReportsMissedChanges) {
  Process watching(withStore({"watch"}));
  watching.line();
  load(file("large.yaml", largeGroup()));
  // After this line the event thread blocks in revision 2.
  EXPECT_EQ(watching.line().substr(0, 10), "revision 2");
  {
    Kestrav::Config::ConfigStore::Options options;
    options.create = false;
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
  std::string line;
  do {
    line = watching.line();
  } while (!line.empty() && line.substr(0, 11) != "revision 12");
  EXPECT_EQ(line, "revision 12  the changes since revision 2 were missed");
  watching.signal(SIGINT);
  EXPECT_EQ(watching.wait().code, 0);
}

}  // namespace
