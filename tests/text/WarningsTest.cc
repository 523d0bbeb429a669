// What is accepted but hardly does what was meant.
#include "TextFixture.h"

using namespace Kestrav::Config::Text;

namespace {

// The warnings of a text that is accepted, one per line.
std::string warningsOf(const std::string& text) {
  std::vector<Problem> problems;
  const std::vector<Source> sources{{"gateway.yaml", text}};
  EXPECT_TRUE(read(std::span<const Source>(sources), problems).has_value());
  std::string lines;
  for (const Problem& problem : problems) {
    EXPECT_EQ(problem.severity, Severity::kWarning) << problem.toString();
    lines += problem.toString() + "\n";
  }
  return lines;
}

std::string action(const std::string& table, const std::string& rewriting) {
  return table + ":\n  - name: a\n    " + rewriting + "\n";
}

}  // namespace

TEST(Warnings, RewritingThatGivesNoAddress) {
  for (const char* table : {"antispam-actions", "antivirus-actions", "content-actions"}) {
    SCOPED_TRACE(table);
    EXPECT_EQ(warningsOf(action(table, "rewrite-domain: {kind: replace, text: \"\"}")),
              "gateway.yaml:2:5: warning: '%%LOCAL%%@' gives no e-mail address; such as "
              "%%LOCAL%%@example.com\n");
    EXPECT_NE(warningsOf(action(table, "rewrite-local: {kind: replace, text: a b}")), "");
    EXPECT_NE(warningsOf(action(table, "rewrite-domain: {kind: prefix, text: \"@\"}")), "");
    EXPECT_NE(warningsOf(action(table, "rewrite-domain: {kind: suffix, text: \".-\"}")), "");
  }
}

TEST(Warnings, RewritingThatGivesAnAddress) {
  for (const char* rewriting :
       {"rewrite-local: {kind: prefix, text: spam-}", "rewrite-local: {kind: none, text: a b}",
        "rewrite-domain: {kind: replace, text: \"[192.0.2.1]\"}",
        "rewrite-domain: {kind: prefix, text: mx.}", "rewrite-local: {kind: replace, text: x%}",
        "rewrite-local: {kind: replace, text: \"%%DOMAIN%%\"}"}) {
    SCOPED_TRACE(rewriting);
    EXPECT_EQ(warningsOf(action("antispam-actions", rewriting)), "");
  }
}

TEST(Warnings, DoNotHideMistakesAndDoNotCountAsMistakes) {
  std::vector<Problem> problems;
  const std::vector<Source> sources{
      {"gateway.yaml", action("antispam-actions", "rewrite-domain: {kind: replace, text: \"\"}") +
                           "quarantine-folders: [a, a]\n"}};
  EXPECT_FALSE(read(std::span<const Source>(sources), problems).has_value());
  EXPECT_EQ(countOf(Severity::kMistake, problems), 1u);
  EXPECT_EQ(countOf(Severity::kWarning, problems), 1u);
}
