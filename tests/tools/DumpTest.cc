// A dump loads back as the same store, byte for byte.
#include "ToolFixture.h"

using namespace Kestrav::ToolTesting;

namespace {

class Dump : public ToolFixture {
 protected:
  // Dumps the store, loads that into another one and compares both.
  void expectLoadsBack(const std::vector<std::string>& options = {}) const {
    std::vector<std::string> arguments = {"dump"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const Result dumped = run(arguments);
    ASSERT_EQ(dumped.code, 0) << dumped.err;
    const std::string second = folder() / "second";
    const Result loaded = vexactl({"--store", second, "load", file("dumped.yaml", dumped.out)});
    ASSERT_EQ(loaded.code, 0) << loaded.err;
    {
      const auto copy = Kestrav::Config::ConfigStore::open(second);
      EXPECT_EQ(rowsOf(copy->snapshot()), rows());
    }
    std::vector<std::string> again = {"--store", second};
    again.insert(again.end(), arguments.begin(), arguments.end());
    EXPECT_EQ(vexactl(again).out, dumped.out);
    EXPECT_EQ(vexactl({"--store", second, "diff", store(), second}).code, 0);
  }
};

TEST_F(Dump, OfTheExampleLoadsBack) {
  load(example());
  expectGolden("dump-example.yaml", run({"dump"}).out);
  expectLoadsBack();
}

TEST_F(Dump, OfEveryKindOfRecordLoadsBack) {
  load(KESTRAV_TEXT_DATA "/full.yaml");
  expectLoadsBack({"--secrets"});
}

// Ids that are neither dense nor in the order of the records.
TEST_F(Dump, OfAStoreWithAHistoryLoadsBack) {
  load(example());
  loadText(
      "antispam-actions:\n  - name: later\n  - name: tag\n"
      "quarantine-folders: [Other, Virus]\n"
      "dictionaries:\n  - name: new\n    items: [b, a]\n"
      "domains:\n  - name: second.example\n    configuration:\n      antispam-actions: [own]\n"
      "  - example.com\n");
  expectLoadsBack();
}

TEST_F(Dump, OfAnEmptyStoreLoadsBack) {
  loadText("{}\n");
  expectLoadsBack();
}

}  // namespace
