// load reports all mistakes of a file and changes nothing.
#include <gmock/gmock.h>

#include "ToolFixture.h"

using namespace Kestrav::ToolTesting;

namespace {

constexpr const char* kMistaken = R"(system:
  host-nam: mx.example.com
  bounce-rules: perhaps
mail-server:
  smtp-port: 70000
  deferred-start-hour: late
quarantine-folders:
  - Bulk
  - Bulk
email-groups:
  - name: broken
    members: ["[a-"]
antispam-actions:
  - name: tag
    disposition: discrad
    quarantine-folder: Bilk
  - disposition: reject
antispam-profiles:
  - name: listless
    rbl-servers: bl.example.net
  - name: standard
    default-action: tagg
    max-scan-size: many
ip-policies:
  - name: bad-mask
    client: 192.0.2.0/33
  - name: no-group
    client: group:office
outgoing-policies:
  - name: bad-expression
    from: /(/
domains:
  - name: example.com
    alias-of: example.org
web-filters:
  - name: a-name-of-more-than-thirty-five-bytes
unheard-of: 1
)";

class Mistakes : public ToolFixture {};

TEST_F(Mistakes, AreAllReportedAndChangeNothing) {
  load(example());
  const auto before = rows();
  const Result result = run({"load", file("mistaken.yaml", kMistaken)});
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_GE(linesIn(result.err), 18);
  expectGolden("mistakes.txt", placeless(result.err));
  EXPECT_EQ(rows(), before);
  EXPECT_EQ(revision(), 1u);
}

TEST_F(Mistakes, AreReportedByCheckAsByLoad) {
  const std::string path = file("mistaken.yaml", kMistaken);
  const Result checked = run({"check", path});
  EXPECT_EQ(checked.code, 2);
  EXPECT_EQ(replaced(run({"load", path}).err, "; nothing was changed", ""), checked.err);
  EXPECT_FALSE(std::filesystem::exists(store()));
}

TEST_F(Mistakes, AreReportedByADryRunAndByDiff) {
  const std::string path = file("mistaken.yaml", kMistaken);
  EXPECT_EQ(run({"load", "--dry-run", path}).code, 2);
  EXPECT_EQ(run({"diff", example(), path}).code, 2);
}

// Each message gives file, line and column, and after a semicolon what would be right.
TEST_F(Mistakes, HaveAPlaceAndARemedy) {
  const Result result = run({"check", file("mistaken.yaml", kMistaken)});
  std::istringstream lines(result.err);
  std::string line;
  std::string last;
  int reported = 0;
  const std::string path = folder() / "mistaken.yaml";
  while (std::getline(lines, line)) {
    last = line;
    if (line.rfind("vexactl: ", 0) == 0) continue;
    ++reported;
    EXPECT_THAT(line, testing::MatchesRegex(path + ":[0-9]+:[0-9]+: .+; .+"));
  }
  EXPECT_EQ(last, "vexactl: " + std::to_string(reported) + " mistakes");
}

TEST_F(Mistakes, AreNoWarnings) {
  const std::string rewriting =
      "antispam-actions:\n  - name: a\n    rewrite-domain: {kind: replace, text: \"\"}\n";
  const std::string path = file("doubtful.yaml", rewriting);
  const std::string warning =
      path + ":2:5: warning: '%%LOCAL%%@' gives no e-mail address; such as %%LOCAL%%@example.com\n";
  const Result checked = run({"check", path});
  EXPECT_EQ(checked.code, 0);
  EXPECT_EQ(checked.out, "no mistakes; 1 record\n");
  EXPECT_EQ(checked.err, warning + "vexactl: 1 warning\n");
  const Result loaded = run({"load", path});
  EXPECT_EQ(loaded.code, 0);
  EXPECT_EQ(loaded.err, checked.err);
  const Result both = run({"check", file("doubtful.yaml", rewriting + "unheard-of: 1\n")});
  EXPECT_EQ(both.code, 2);
  EXPECT_EQ(both.err.find(warning), 0u) << both.err;
  EXPECT_TRUE(contains(both.err, "vexactl: 1 mistake, 1 warning\n")) << both.err;
}

TEST_F(Mistakes, AreCountedUpToALimit) {
  std::string text = "quarantine-folders:\n";
  for (int i = 0; i < 1200; ++i) text += "  - {nam: x}\n";
  const Result result = run({"check", file("many.yaml", text)});
  EXPECT_EQ(linesIn(result.err), 1001);
  EXPECT_TRUE(contains(result.err, "vexactl: at least 1000 mistakes\n"));
}

TEST_F(Mistakes, OfSeveralFilesNameTheirFile) {
  const std::string one = file("one.yaml", "quarantine-folders: [Bulk]\n");
  const std::string two = file("two.yaml", "\nquarantine-folders: [Bulk]\n");
  const Result result = run({"check", one, two});
  EXPECT_EQ(result.code, 2);
  EXPECT_TRUE(contains(result.err, two + ":2:22: ")) << result.err;
  EXPECT_TRUE(contains(result.err, one + ":1:22")) << result.err;
}

TEST_F(Mistakes, OfAnySourceEndInMessages) {
  std::string nested = "system: ";
  for (int i = 0; i < 100'000; ++i) nested += "[";
  std::string aliases = "a0: &a0 [x, x, x, x, x, x, x, x, x]\n";
  for (int i = 1; i < 12; ++i) {
    const std::string before = "*a" + std::to_string(i - 1);
    aliases += "a" + std::to_string(i) + ": &a" + std::to_string(i) + " [";
    for (int j = 0; j < 9; ++j) aliases += before + (j < 8 ? ", " : "]\n");
  }
  const struct {
    const char* name;
    std::string content;
  } cases[] = {
      {"huge nesting", nested},
      {"aliases that expand exponentially", aliases},
      {"binary", std::string("\x7f"
                             "ELF\0\x01\x02\xff\xfe",
                             9)},
      {"no UTF-8", "system:\n  host-name: \"\xff\xfe\"\n"},
      {"a list at the top", "- a\n- b\n"},
      {"a text at the top", "hello\n"},
      {"two documents", "system: {}\n---\nsystem: {}\n"},
      {"an unclosed quote", "system:\n  host-name: \"mx\n"},
      {"tabs", "system:\n\thost-name: mx\n"},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(one.name);
    const Result result = run({"load", file("hostile.yaml", one.content)});
    EXPECT_EQ(result.code, 2) << result.out;
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(contains(result.err, "hostile.yaml:")) << result.err;
    EXPECT_FALSE(std::filesystem::exists(store()));
  }
}

}  // namespace
