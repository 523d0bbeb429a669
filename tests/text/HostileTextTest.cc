// Hostile texts.
#include "TextFixture.h"

using namespace Kestrav::Config::Text;

TEST(HostileText, AliasesAreRefused) {
  EXPECT_EQ(mistakesOf("a: &a [x, x]\nb: &b [*a, *a]\nc: [*b, *b]\n"),
            "gateway.yaml:1:4: an anchor; the value without '&' and a name\n");
  EXPECT_EQ(mistakesOf("system: *a\n"),
            "gateway.yaml:1:9: no valid YAML: the referenced anchor is not defined; lists and maps "
            "by indentation, quotes around special characters\n");
}

TEST(HostileText, AnchorsAreRefusedWhereverTheyStand) {
  for (const char* text :
       {"&a", "--- &a\n", "&a system: {}", "system: &a", "system: &a {}", "&a {system: {}}",
        "system: {&a host-name: x}", "system: {host-name: &a x}", "system: {host-name: &a \"x\"}",
        "quarantine-folders: &a [x]", "quarantine-folders: [&a x]", "quarantine-folders:\n- &a",
        "? &a system\n: {}", "system: {host-name: !!binary &a QQ==}",
        "system:\n  host-name: &a |\n    x"}) {
    SCOPED_TRACE(text);
    EXPECT_NE(mistakesOf(text).find(" an anchor; "), std::string::npos) << mistakesOf(text);
  }
}

TEST(HostileText, TagsAreRefusedWhereverTheyStand) {
  for (const char* text : {"!a",
                           "!!map {}",
                           "! {}",
                           "!<?> {}",
                           "!<!> {}",
                           "! []",
                           "!a system: {}",
                           "system: !!null",
                           "system: !!null x",
                           "system: !",
                           "system: {host-name: ! x}",
                           "system: {host-name: !<?> x}",
                           "system: {host-name: !<!> x}",
                           "system: {host-name: !!str x}",
                           "system: {!!str host-name: x}",
                           "quarantine-folders: !!seq [x]",
                           "quarantine-folders: [!a x]",
                           "quarantine-folders: [!a ]",
                           "%TAG !e! tag:x,\n---\nsystem: {host-name: !e!f x}",
                           "\xEF\xBB\xBFsystem: !!map {}",
                           "quarantine-folders: [\"Ä\", ! x]"}) {
    SCOPED_TRACE(text);
    EXPECT_NE(mistakesOf(text).find(" a tag; "), std::string::npos) << mistakesOf(text);
  }
  for (const char* text :
       {"system: {host-name: 'x'}", "system: {host-name: \"x\"}", "system:\n  host-name: |-\n    x",
        "quarantine-folders: [\"Ä\", 'x']", "\xEF\xBB\xBFquarantine-folders: ['x']",
        "system: {host-name: !!binary eA==}"}) {
    SCOPED_TRACE(text);
    EXPECT_EQ(mistakesOf(text), "");
  }
}

TEST(HostileText, LongLinesAreRefused) {
  const std::string longest(kMaximumLine, '#');
  EXPECT_EQ(mistakesOf("# x\n" + longest + "\n" + longest), "");
  EXPECT_EQ(mistakesOf("# x\n" + longest + "#\n"),
            "gateway.yaml:2:1: the line is too long; at most 1 MiB; lists and maps over several "
            "lines\n");
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
