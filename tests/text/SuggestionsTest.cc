// Mistakes in large texts: names are prepared once, and only reported mistakes get a suggestion.
#include "TextFixture.h"
#include "platform/config/text/Reader.h"
#include "platform/config/text/YamlTree.h"

using namespace Kestrav::Config::Text;

namespace {

struct Outcome {
  std::vector<Problem> problems;
  Reader::Effort effort;
};

Outcome outcomeOf(const std::string& text) {
  Outcome outcome;
  const Source source{"gateway.yaml", text};
  const auto root = parseYaml(source.name, source.content, outcome.problems);
  Reader reader(outcome.problems);
  reader.readDocument(source, root.value());
  reader.finish();
  outcome.effort = reader.effort();
  return outcome;
}

}  // namespace

TEST(Suggestions, AreMadeForReportedMistakesOnly) {
  std::string text = "antispam-profiles:\n";
  for (int i = 0; i < 300; ++i) text += "  - profile-" + std::to_string(i) + "\n";
  text += "ip-policies:\n";
  for (int i = 0; i < 3000; ++i) {
    text += "  - {name: p" + std::to_string(i) + ", antispam: profil-" + std::to_string(i % 300) +
            "}\n";
  }
  const Outcome outcome = outcomeOf(text);
  EXPECT_EQ(outcome.problems.size(), kMaximumProblems);
  EXPECT_EQ(outcome.effort.suggestions, kMaximumProblems);
  EXPECT_EQ(outcome.effort.lists, 1u);
  EXPECT_EQ(outcome.problems.front().wouldBeRight, "'profile-0'");
}

TEST(Suggestions, AreMadeForReportedKeysAndWordsOnly) {
  std::string keys = "quarantine-folders:\n";
  std::string words = "antispam-actions:\n";
  for (int i = 0; i < 3000; ++i) {
    keys += "  - {nam: x, name: n" + std::to_string(i) + "}\n";
    words += "  - {name: n" + std::to_string(i) + ", disposition: discrad}\n";
  }
  EXPECT_EQ(outcomeOf(keys).effort.suggestions, kMaximumProblems);
  EXPECT_EQ(outcomeOf(words).effort.suggestions, kMaximumProblems);
}

TEST(Suggestions, ComeFromTheOwnDomainAndFromTheSystem) {
  const Outcome outcome = outcomeOf(
      "antispam-actions: [discard]\n"
      "domains:\n"
      "  - name: a.example\n"
      "    configuration:\n"
      "      antispam-actions: [tagging]\n"
      "      antispam-profiles:\n"
      "        - {name: x, default-action: taging}\n"
      "        - {name: y, default-action: discrad}\n"
      "        - {name: z, default-action: notify-all}\n");
  ASSERT_EQ(outcome.problems.size(), 3u);
  EXPECT_EQ(outcome.problems[0].wouldBeRight, "'tagging'");
  EXPECT_EQ(outcome.problems[1].wouldBeRight, "'discard'");
  EXPECT_EQ(outcome.problems[2].wouldBeRight, "one of tagging or discard");
  EXPECT_EQ(outcome.effort.lists, 2u);
}
