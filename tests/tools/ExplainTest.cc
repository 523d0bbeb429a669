// Decisions of the example gateway, and their reasons.
#include <nlohmann/json.hpp>

#include "ToolFixture.h"

using namespace Kestrav::ToolTesting;

namespace {

constexpr int kDone = 0;
constexpr int kNo = 1;

class Explain : public ToolFixture {
 protected:
  void SetUp() override { load(example()); }

  std::vector<std::string> envelope(const std::string& client, const std::string& sender,
                                    const std::vector<std::string>& recipients) const {
    std::vector<std::string> arguments = {"explain",   "--client", client, "--server",
                                          "192.0.2.1", "--from",   sender};
    for (const std::string& recipient : recipients) {
      arguments.insert(arguments.end(), {"--rcpt", recipient});
    }
    return arguments;
  }
};

TEST_F(Explain, ShowsEachDecisionAndWhy) {
  const struct {
    const char* golden;
    const char* client;
    const char* sender;
    std::vector<std::string> recipients;
    int code;
  } cases[] = {
      {"incoming-own", "203.0.113.5", "someone@elsewhere.example", {"sales-eu@example.com"}, kDone},
      {"incoming-system", "198.51.100.7", "buyer@partner-two.example", {"info@example.net"}, kDone},
      {"incoming-alias", "203.0.113.5", "someone@elsewhere.example", {"sales@example.org"}, kDone},
      {"incoming-strict", "203.0.113.5", "a@x.newsletters.example", {"support@example.com"}, kDone},
      {"outgoing", "203.0.113.5", "anna@example.com", {"customer@elsewhere.example"}, kDone},
      {"none", "203.0.113.5", "spammer@elsewhere.example", {"victim@other.example"}, kNo},
      {"exclusive", "10.20.3.4", "cron@example.com", {"root@elsewhere.example"}, kDone},
      {"null-sender", "2001:db8:aa::5", "<>", {"ceo@example.com"}, kDone},
      {"connection-only", "203.0.113.9", "", {}, kDone},
      {"several",
       "203.0.113.5",
       "news-7@shop.example",
       {"a@example.net", "b@other.example"},
       kDone},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(one.golden);
    auto arguments = envelope(one.client, one.sender, one.recipients);
    const Result text = run(arguments);
    EXPECT_EQ(text.code, one.code);
    EXPECT_EQ(text.err, "");
    expectGolden(std::string("explain-") + one.golden + ".txt", text.out);
    arguments.emplace_back("--json");
    const Result json = run(arguments);
    EXPECT_EQ(json.code, one.code);
    expectGolden(std::string("explain-") + one.golden + ".json", json.out);
  }
}

TEST_F(Explain, TakesSeveralRecipientsAfterOneOption) {
  const Result one = run({"explain", "--client", "203.0.113.5", "--server", "192.0.2.1", "--from",
                          "a@example.com", "--rcpt", "b@example.net", "c@example.net"});
  EXPECT_EQ(one.out,
            run(envelope("203.0.113.5", "a@example.com", {"b@example.net", "c@example.net"})).out);
}

TEST_F(Explain, AnswersNoWhenOneOfSeveralRecipientsGetsNoPolicy) {
  EXPECT_EQ(run(envelope("203.0.113.5", "x@y.example", {"a@example.net", "b@other.example"})).code,
            kNo);
}

TEST_F(Explain, AnswersNoForAConnectionWithoutAPolicy) {
  loadText("ip-policies:\n  - name: inside\n    client: 10.0.0.0/8\n");
  const Result result = run(envelope("203.0.113.9", "", {}));
  EXPECT_EQ(result.code, kNo);
  EXPECT_TRUE(contains(result.out, "no IP policy matches")) << result.out;
  EXPECT_TRUE(
      contains(result.out, "- \"inside\" of the system: the client's address does not match"));
}

TEST_F(Explain, NamesTheFirstPoliciesOfALongRun) {
  std::string text = "ip-policies:\n";
  for (int i = 0; i < 21; ++i) {
    text += "  - name: p" + std::to_string(i) + "\n    client: 10.0.0." + std::to_string(i) + "\n";
  }
  text += "  - name: last\n";
  loadText(text);
  const auto arguments = envelope("203.0.113.9", "", {});
  const std::string out = run(arguments).out;
  EXPECT_TRUE(contains(out,
                       "    - \"p9\" of the system: the client's address does not match\n"
                       "    - 11 more: the client's address does not match\n"
                       "    * \"last\" of the system: chosen\n"))
      << out;
  auto json = arguments;
  json.emplace_back("--json");
  EXPECT_EQ(nlohmann::json::parse(run(json).out)["connection"]["considered"].size(), 22u);
}

TEST_F(Explain, AnswersFromAnEmptyStore) {
  loadText("{}\n");
  const Result result = run(envelope("203.0.113.9", "a@b.example", {"c@d.example"}));
  EXPECT_EQ(result.code, kNo);
  expectGolden("explain-empty-store.txt", result.out);
}

TEST_F(Explain, CarriesNoProfilesWhileInspectionIsOff) {
  ASSERT_EQ(run({"set", "content-inspection", "off"}).code, kDone);
  const Result result = run(envelope("203.0.113.5", "a@b.example", {"info@example.net"}));
  EXPECT_EQ(result.code, kDone);
  expectGolden("explain-inspection-off.txt", result.out);
}

TEST_F(Explain, ReportsConfiguredProfilesThatAreNotInEffect) {
  loadText(
      "antivirus-profiles: [scan]\n"
      "ip-policies:\n  - name: all\n    antivirus: scan\n    dlp: \"#7\"\n");
  const std::string out = run(envelope("203.0.113.5", "", {})).out;
  EXPECT_TRUE(
      contains(out, "  antivirus profile \"scan\" (id 1) is configured but not in effect\n"))
      << out;
  EXPECT_TRUE(contains(out, "  dlp profile #7 is configured but does not exist\n")) << out;
}

TEST_F(Explain, ShowsTheSubjectTagAsSentAndAsRead) {
  const auto json =
      nlohmann::json::parse(run([&] {
                              auto arguments = envelope("198.51.100.7", "buyer@partner-two.example",
                                                        {"info@example.net"});
                              arguments.emplace_back("--json");
                              return arguments;
                            }())
                                .out);
  const auto& actions = json["recipients"][0]["policy"]["profiles"]["antispam"]["defaultActions"];
  ASSERT_EQ(actions.size(), 2u);
  EXPECT_EQ(actions[1]["tag"], "=?utf-8?Q?=5BSPAM=5D_?=");
  EXPECT_EQ(actions[1]["decoded"], "[SPAM] ");
}

TEST_F(Explain, IsOfOneRevision) {
  const auto json =
      nlohmann::json::parse(run({"explain", "--client", "::1", "--server", "::1", "--json"}).out);
  EXPECT_EQ(json["revision"], revision());
}

}  // namespace
