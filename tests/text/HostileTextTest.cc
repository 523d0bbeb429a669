// Hostile texts.
#include "TextFixture.h"

using namespace Kestrav::Config::Text;

TEST(HostileText, AliasesAreRefused) {
  EXPECT_EQ(mistakesOf("a: &a [x, x]\nb: &b [*a, *a]\nc: [*b, *b]\n"),
            "gateway.yaml:2:8: an alias; the value itself, written out\n");
}

TEST(HostileText, DeepNestingIsRefused) {
  for (const char* open : {"[", "{a: "}) {
    std::string text = "system: ";
    for (int i = 0; i < 100'000; ++i) text += open;
    const std::string mistakes = mistakesOf(text);
    EXPECT_NE(mistakes.find("nested too deep"), std::string::npos) << mistakes.substr(0, 200);
  }
  std::string indented;
  for (int i = 0; i < 200; ++i) indented += std::string(static_cast<std::size_t>(i), ' ') + "a:\n";
  EXPECT_NE(mistakesOf(indented).find("nested too deep"), std::string::npos);
}

TEST(HostileText, LargeTextsAreRefused) {
  const std::string mistakes = mistakesOf(std::string(kMaximumSource + 1, '#'));
  EXPECT_EQ(mistakes, "gateway.yaml: the file is too large; at most 64 MiB; split it\n");
}

TEST(HostileText, MistakesAreBounded) {
  std::string text = "quarantine-folders:\n";
  for (int i = 0; i < 5000; ++i) text += "  - {nam: x}\n";
  std::vector<Problem> problems;
  const std::vector<Source> sources{{"gateway.yaml", text}};
  EXPECT_FALSE(read(std::span<const Source>(sources), problems).has_value());
  EXPECT_EQ(problems.size(), kMaximumProblems);
}

TEST(HostileText, OddTextsGiveMistakesOrConfigurations) {
  for (const char* text :
       {"",
        "\n",
        "# nothing\n",
        "~",
        "x",
        "[]",
        "- a",
        "{}",
        "system",
        "system:",
        "system: ~",
        "system: x",
        "domains: [~]",
        "domains: [[]]",
        "domains: [{}]",
        "domains: ['']",
        ": x",
        "? x",
        "\"",
        "'",
        "!!binary x",
        "system: {host-name: !!binary AA==}",
        "%YAML 9.9\n---\n",
        "---",
        "...",
        "\t",
        "a:\tb",
        "{",
        "}",
        "]",
        "&a",
        "*a",
        "&a *a",
        "|",
        ">-\n x",
        "? ? ?",
        "dictionaries: [{name: a, items: {b: c}}]",
        "domains: [{name: a, configuration: [x]}]",
        "web-filters: [{name: a, categories: [{category: a}, [b]]}]",
        "email-groups: [{name: a, members: [~, {}, [], x]}]",
        "content-profiles: [{name: a, attachment-filters: [{file-patterns: [~]}]}]",
        "antispam-actions: [{name: a, rewrite-local: ~}]",
        "ip-policies: [{name: a, client: ~, server: [x]}]"}) {
    SCOPED_TRACE(text);
    std::vector<Problem> problems;
    const std::vector<Source> sources{{"gateway.yaml", text}};
    const auto configuration = read(std::span<const Source>(sources), problems);
    EXPECT_EQ(configuration.has_value(), problems.empty());
  }
}

TEST(HostileText, AKeyWithoutMeaningIsShownOnOneLine) {
  const std::string mistakes = mistakesOf("\"a\\nb\\x1bc" + std::string(200, 'x') + "\": 1\n");
  EXPECT_EQ(mistakes.find('\n'), mistakes.size() - 1);
  EXPECT_EQ(mistakes.find('\x1b'), std::string::npos);
}
