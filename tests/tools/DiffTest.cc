// Configurations compared: files with files, files with stores, stores with stores.
#include <nlohmann/json.hpp>

#include "ToolFixture.h"

using namespace Kestrav::ToolTesting;

namespace {

constexpr const char* kFrom = R"(mail-server:
  smtp-port: 25
quarantine-folders: [One, Two, Three, Four]
email-groups:
  - name: partners
    members: [a@example.com, b@example.com]
  - name: gone
    members: [c@example.com]
antispam-actions:
  - name: tag
    tag-subject: on
    rewrite-local: {kind: prefix, text: spam-}
antispam-profiles:
  - name: standard
    rbl: on
    rbl-servers: [bl.example.net]
    default-action: tag
dictionaries:
  - name: words
    items:
      - pattern: lottery
        score: 3
      - prize
domains:
  - name: example.com
    configuration:
      antispam-actions: [own]
  - name: other.example
)";

constexpr const char* kTo = R"(mail-server:
  smtp-port: 2525
quarantine-folders: [Two, Three, Four, One]
email-groups:
  - name: new
    members: [d@example.com]
  - name: partners
    members: [b@example.com, a@example.com, e@example.com]
antispam-actions:
  - name: hold
  - name: tag
    tag-subject: off
    rewrite-local: {kind: suffix, text: -spam}
antispam-profiles:
  - name: standard
    rbl: on
    rbl-servers: [bl.example.net, zen.example.net]
    default-action: hold
dictionaries:
  - name: words
    items:
      - pattern: lottery
        score: 4
      - prize
domains:
  - name: example.com
    configuration:
      antispam-actions:
        - name: own
          disposition: reject
  - name: third.example
    configuration:
      antispam-actions: [theirs]
)";

class Diff : public ToolFixture {
 protected:
  void SetUp() override {
    from_ = file("from.yaml", kFrom);
    to_ = file("to.yaml", kTo);
  }
  std::string from_;
  std::string to_;
};

TEST_F(Diff, OfTwoFilesIsByRecordAndField) {
  const Result text = run({"diff", from_, to_});
  EXPECT_EQ(text.code, 1);
  EXPECT_EQ(text.err, "");
  expectGolden("diff.txt", text.out);
  const Result json = run({"diff", from_, to_, "--json"});
  EXPECT_EQ(json.code, 1);
  expectGolden("diff.json", json.out);
  EXPECT_FALSE(std::filesystem::exists(store()));
}

TEST_F(Diff, OfFilesAndStoresIsTheSame) {
  const std::string files = run({"diff", from_, to_}).out;
  const std::string second = folder() / "second";
  load(from_);
  ASSERT_EQ(vexactl({"--store", second, "load", to_}).code, 0);
  EXPECT_EQ(run({"diff", store(), to_}).out, files);
  EXPECT_EQ(run({"diff", from_, second}).out, files);
  EXPECT_EQ(run({"diff", store(), second}).out, files);
  // The default for TO is the store of --store.
  EXPECT_EQ(vexactl({"--store", second, "diff", from_}).out, files);
  EXPECT_EQ(vexactl({"--store", second, "diff", store()}).code, 1);
}

TEST_F(Diff, OfEqualConfigurationsIsEmpty) {
  load(from_);
  for (const auto& [one, other] : {std::pair{from_, from_}, std::pair{from_, store()},
                                   std::pair{store(), from_}, std::pair{store(), store()}}) {
    SCOPED_TRACE(one + " " + other);
    const Result result = run({"diff", one, other});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out, "");
  }
  EXPECT_EQ(run({"diff", from_, from_, "--json"}).out, "[]\n");
}

// The same text in two stores with different histories gets different ids.
TEST_F(Diff, IgnoresIds) {
  load(to_);
  load(from_);
  const std::string second = folder() / "second";
  ASSERT_EQ(vexactl({"--store", second, "load", from_}).code, 0);
  EXPECT_NE(run({"dump"}).out, vexactl({"--store", second, "dump"}).out);
  const Result result = run({"diff", store(), second});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "");
}

TEST_F(Diff, ReportsTheFewestMoves) {
  const struct {
    const char* order;
    std::vector<std::string> moved;
  } cases[] = {
      {"[b, c, d, e, a]", {"a"}},
      {"[e, a, b, c, d]", {"e"}},
      {"[b, a, c, d, e]", {"b"}},
      {"[a, d, b, c, e]", {"d"}},
      {"[e, d, c, b, a]", {"d", "c", "b", "e"}},
  };
  const std::string before = file("before.yaml", "quarantine-folders: [a, b, c, d, e]\n");
  for (const auto& one : cases) {
    SCOPED_TRACE(one.order);
    const std::string after =
        file("after.yaml", std::string("quarantine-folders: ") + one.order + "\n");
    const auto changes = nlohmann::json::parse(run({"diff", before, after, "--json"}).out);
    std::vector<std::string> moved;
    for (const auto& change : changes) {
      EXPECT_EQ(change["change"], "moved");
      moved.push_back(change["name"]);
    }
    EXPECT_EQ(moved.size(), one.moved.size());
    if (one.moved.size() == 1) {
      EXPECT_EQ(moved, one.moved);
    }
  }
}

TEST_F(Diff, RefusesWhatIsNeitherFileNorStore) {
  std::filesystem::create_directory(folder() / "foreign");
  file("foreign/data.mdb", std::string(10'000, 'x'));
  const Result result = run({"diff", from_, folder() / "foreign"});
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(linesIn(result.err), 1) << result.err;
  EXPECT_EQ(run({"diff", from_}).code, 2);  // there is no store at --store
  const Result missing = run({"diff", from_, folder() / "missing"});
  EXPECT_EQ(missing.code, 2);
  EXPECT_EQ(placeless(missing.err),
            "FOLDER/missing: does not exist; a file, a folder of files or a store\n");
}

}  // namespace
