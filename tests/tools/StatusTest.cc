// status and set: the state of a store and its switches.
#include <nlohmann/json.hpp>

#include "ToolFixture.h"

using namespace Kestrav::ToolTesting;
using Json = nlohmann::json;

namespace {

class Status : public ToolFixture {
 protected:
  void SetUp() override { load(example()); }
  Json status() const { return Json::parse(run({"status", "--json"}).out); }
};

TEST_F(Status, DescribesTheStoreInBothForms) {
  const Json json = status();
  EXPECT_EQ(json["store"], store());
  EXPECT_EQ(json["revision"], 1);
  EXPECT_EQ(json["journal"]["entries"], 56);
  EXPECT_EQ(json["journal"]["oldestRevision"], 1);
  EXPECT_GT(json["usedBytes"], 0);
  EXPECT_GE(json["mapBytes"], json["usedBytes"]);
  EXPECT_GE(json["readers"]["inUse"], 0);
  EXPECT_GT(json["readers"]["slots"], 0);
  EXPECT_TRUE(json["processes"].empty());

  std::string text = placeless(run({"status"}).out);
  // The size depends on the page size of the machine, the readers on the moment.
  text = replaced(text, "readers    " + std::to_string(json["readers"]["inUse"].get<int>()),
                  "readers    N");
  text = replaced(text, std::to_string(json["usedBytes"].get<long>()) + " bytes", "N bytes");
  expectGolden("status.txt", text);
}

TEST_F(Status, ShowsEverySwitchAsItWasSet) {
  const Json initial = {{"content-inspection", true},
                        {"antispam-dirty", false},
                        {"content-dirty", false},
                        {"disclaimer-reload", false}};
  EXPECT_EQ(status()["switches"], initial);
  for (const auto& [name, on] : initial.items()) {
    SCOPED_TRACE(name);
    Json expected = initial;
    const std::string was = on.get<bool>() ? "on" : "off";
    const std::string other = on.get<bool>() ? "off" : "on";

    const Result turned = run({"set", name, other});
    EXPECT_EQ(turned.code, 0);
    EXPECT_EQ(turned.out, name + ": " + was + " -> " + other + "\n");
    expected[name] = !on.get<bool>();
    EXPECT_EQ(status()["switches"], expected);

    EXPECT_EQ(run({"set", name, other}).out, name + ": " + other + " -> " + other + "\n");
    EXPECT_EQ(run({"set", name, was}).out, name + ": " + other + " -> " + was + "\n");
    EXPECT_EQ(status()["switches"], initial);
  }
}

TEST_F(Status, AcceptsTheUsualWordsForOnAndOff) {
  for (const char* word : {"off", "false", "no", "0"}) {
    EXPECT_EQ(run({"set", "content-inspection", word}).code, 0) << word;
    EXPECT_EQ(status()["switches"]["content-inspection"], false) << word;
    EXPECT_EQ(run({"set", "content-inspection", "on"}).code, 0);
  }
  for (const char* word : {"true", "yes", "1"}) {
    EXPECT_EQ(run({"set", "antispam-dirty", word}).code, 0) << word;
    EXPECT_EQ(status()["switches"]["antispam-dirty"], true) << word;
    EXPECT_EQ(run({"set", "antispam-dirty", "off"}).code, 0);
  }
}

TEST_F(Status, SwitchesRaiseNoRevision) {
  run({"set", "content-inspection", "off"});
  EXPECT_EQ(status()["revision"], 1);
}

}  // namespace
