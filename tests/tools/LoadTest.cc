// load changes only what differs, in one revision or not at all.
#include "ToolFixture.h"

using namespace Kestrav::ToolTesting;

namespace {

class Load : public ToolFixture {
 protected:
  // The example with a new limit, a renamed group, a policy less, and two policies swapped.
  std::string changedExample() const {
    std::string text = fileContent(example());
    text = replaced(text, "max-scan-size: 400", "max-scan-size: 500");
    text = replaced(text, "partner-hosts", "partner-networks");
    text = replaced(
        text,
        "  - name: branch-offices\n    from: .example.net\n    to: any\n    antispam: outbound\n",
        "");
    const std::string executives =
        "  - name: executives\n    from: any\n    to: group:executives\n    antispam: strict\n";
    const std::string partners =
        "  - name: partners\n    from: group:partners\n    to: any\n    antispam: partner\n";
    EXPECT_TRUE(contains(text, executives + partners));
    text = replaced(text, executives + partners, partners + executives);
    return file("changed.yaml", text);
  }
};

TEST_F(Load, CountsChanges) {
  const Result result = run({"load", example()});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "revision 1: 53 added, 3 changed, 0 moved, 0 removed\n");
  EXPECT_EQ(result.err, "");
}

TEST_F(Load, OfTheSameAgainRaisesNoRevision) {
  load(example());
  const auto before = rows();
  const Result result = run({"load", example()});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "revision 1: no differences, nothing was changed\n");
  EXPECT_EQ(revision(), 1u);
  EXPECT_EQ(rows(), before);
}

TEST_F(Load, ChangesOnlyTheDifference) {
  load(example());
  const auto before = rows();
  const Result result = run({"load", changedExample()});
  EXPECT_EQ(result.out, "revision 2: 1 added, 2 changed, 1 moved, 2 removed\n");
  std::vector<std::string> changed;
  const auto opened = open();
  ASSERT_TRUE(opened->journal(1, 2, [&](const Kestrav::Config::JournalEntry& entry) {
    changed.push_back(std::to_string(entry.gid) + " " + std::to_string(entry.id));
  }));
  EXPECT_EQ(changed.size(), 6u);
  std::vector<std::string> after = rows();
  std::vector<std::string> kept;
  for (const std::string& row : after) {
    if (std::find(before.begin(), before.end(), row) != before.end()) kept.push_back(row);
  }
  EXPECT_EQ(kept.size(), after.size() - 3);  // the new group, its policy, the profile
}

TEST_F(Load, DryRunShowsChangesWithoutMakingThem) {
  load(example());
  const auto before = rows();
  const Result result = run({"load", "--dry-run", changedExample()});
  EXPECT_EQ(result.code, 0);
  expectGolden("dry-run.txt", result.out);
  EXPECT_EQ(rows(), before);
  EXPECT_EQ(revision(), 1u);
}

TEST_F(Load, DryRunCreatesNoStore) {
  const Result result = run({"load", "--dry-run", example()});
  EXPECT_EQ(result.code, 0);
  EXPECT_TRUE(contains(result.out,
                       "dry run, nothing was changed: 53 added, 3 changed, 0 moved, 0 removed\n"));
  EXPECT_FALSE(std::filesystem::exists(store()));
}

TEST_F(Load, DryRunOfTheSameShowsNoDifferences) {
  load(example());
  EXPECT_EQ(run({"load", "--dry-run", example()}).out, "no differences\n");
}

TEST_F(Load, MergesAFolderOfFiles) {
  std::filesystem::create_directory(folder() / "parts");
  file("parts/10-actions.yaml", "antispam-actions:\n  - name: drop\n    disposition: discard\n");
  file("parts/20-profiles.yaml", "antispam-profiles:\n  - name: p\n    default-action: drop\n");
  file("parts/notes.txt", "not YAML: [");
  const Result result = run({"load", folder() / "parts"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.out, "revision 1: 2 added, 0 changed, 0 moved, 0 removed\n");
}

TEST_F(Load, LeavesNothingInTheTemporaryFolder) {
  load(example());
  std::filesystem::create_directory(folder() / "tmp");
  ::setenv("TMPDIR", (folder() / "tmp").c_str(), 1);
  run({"load", "--dry-run", changedExample()});
  run({"diff", example(), changedExample()});
  ::unsetenv("TMPDIR");
  EXPECT_TRUE(std::filesystem::is_empty(folder() / "tmp"));
}

TEST_F(Load, ShowsTheStageOnATerminalOnly) {
  const Result seen = run({"load", example()}, {.err = Streams::kTerminal});
  EXPECT_EQ(seen.code, 0);
  EXPECT_TRUE(contains(seen.err, "reading 1 file")) << seen.err;
  EXPECT_TRUE(contains(seen.err, "loading 57 records")) << seen.err;
  const std::string erased = "\r\033[K";
  EXPECT_EQ(seen.err.substr(seen.err.size() - erased.size()), erased);
  EXPECT_EQ(run({"load", example()}).err, "");
  // Not when the output goes to the same terminal.
  EXPECT_TRUE(contains(run({"dump"}, {.err = Streams::kTerminal}).err, "writing"));
  EXPECT_EQ(run({"dump"}, {.out = Streams::kTerminal, .err = Streams::kTerminal}).err, "");
}

TEST_F(Load, CheckCountsRecords) {
  const Result result = run({"check", example()});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "no mistakes; 57 records\n");
  EXPECT_FALSE(std::filesystem::exists(store()));
}

}  // namespace
