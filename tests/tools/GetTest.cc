// Single records, and lists of records and tables.
#include <nlohmann/json.hpp>

#include "ToolFixture.h"

using namespace Kestrav::ToolTesting;
using Json = nlohmann::json;

namespace {

class Get : public ToolFixture {
 protected:
  void SetUp() override { load(example()); }
};

TEST_F(Get, WithoutATableListsTheTables) {
  EXPECT_TRUE(contains(run({"get"}).out, "antispam-profiles        Which spam classifiers run"));
  const Json json = Json::parse(run({"get", "--json"}).out);
  EXPECT_EQ(json[0]["table"], "system");
}

TEST_F(Get, WithoutANameListsTheRecordsInOrder) {
  EXPECT_EQ(run({"get", "ip-policies"}).out,
            "1\tpartners\n2\tdata-centre\n3\told-scanner\n4\teveryone\n");
  EXPECT_EQ(run({"get", "incoming-policies", "--domain", "example.com"}).out,
            "4\tsales\n5\tno-newsletters-for-support\n");
  EXPECT_EQ(Json::parse(run({"get", "ip-policies", "--json"}).out)[1],
            Json({{"id", 2}, {"name", "data-centre"}}));
  const Result none = run({"get", "antivirus-profiles"});
  EXPECT_EQ(none.code, 0);
  EXPECT_EQ(none.out, "");
}

TEST_F(Get, PrintsARecordInTheTextForm) {
  expectGolden("get-profile.txt", run({"get", "antispam-profiles", "strict"}).out);
  EXPECT_EQ(run({"get", "antispam-actions", "sales-tag", "--domain", "example.com"}).out,
            "name: sales-tag\nid: 8\ntag-subject: on\nsubject-tag: \"[Verdacht] \"\n");
  EXPECT_EQ(run({"get", "system"}).out, "host-name: mx.example.com\n");
}

TEST_F(Get, FindsARecordByNumberAndByDomainNumber) {
  EXPECT_EQ(run({"get", "ip-policies", "2"}).out, run({"get", "ip-policies", "data-centre"}).out);
  EXPECT_EQ(run({"get", "antispam-actions", "8", "--domain", "1"}).out,
            run({"get", "antispam-actions", "sales-tag", "--domain", "example.com"}).out);
  // An alias has the configuration of its domain.
  EXPECT_EQ(run({"get", "antispam-actions", "--domain", "example.org"}).out, "8\tsales-tag\n");
}

TEST_F(Get, PrintsEveryFieldWhenAsked) {
  expectGolden("get-all.txt", run({"get", "ip-policies", "data-centre", "--all"}).out);
  expectGolden("get.json", run({"get", "ip-policies", "data-centre", "--json"}).out);
}

}  // namespace
