// The scanner against the plainest implementation of its rules, on random texts. Expressions are
// counted with unmetered programs and without the multi-pattern pass.
#include <gtest/gtest.h>

#include "platform/dictionary/Words.h"
#include "tests/dictionary/DictionaryItems.h"
#include "tests/dictionary/PlainCounts.h"
#include "tests/dictionary/RandomExpressions.h"

namespace Kestrav {
namespace {

using Testing::DictionaryItem;
using Testing::plainCount;
using Testing::plainExpressionCount;
using Testing::Random;
using Testing::Scanner;

constexpr int kRounds = 300;
constexpr int kExpressionRounds = 30;  // fewer, because each one compiles

// Few and similar, so that matches, near misses and overlaps are frequent.
const std::vector<std::string> kPieces = {
    "a",    "b",    "A",        "B", "ab", " ", "-", "1", "\xC3\xA9", "\xC3\x89", "\xE6\xBC\xA2",
    "\r\n", "\xE9", "\xC2\xA0", "$"};

TEST(DictionaryDifferential, LiteralsOnRandomTexts) {
  Random random(1);
  for (int round = 0; round < kRounds; ++round) {
    std::vector<DictionaryItem> items;
    while (items.size() < 30) {
      DictionaryItem item(random.text(kPieces, 4));
      if (random.below(4) == 0) item.caseSensitive();
      if (random.below(3) == 0) item.partsOfWords();
      if (random.below(4) == 0) item.atMost(static_cast<unsigned char>(1 + random.below(3)));
      if (Dictionary::normalised(item.record().text, false) == " ") continue;
      items.push_back(item);
    }
    const auto scanner = Scanner(items);
    ASSERT_EQ(scanner->size(), items.size());
    const std::string text = random.text(kPieces, 200);
    const ScanResult result = scanner->scan(text);
    std::vector<std::uint32_t> counts(items.size());
    for (const ScanHit& hit : result.hits) counts[hit.item] = hit.count;
    for (std::size_t i = 0; i < items.size(); ++i) {
      ASSERT_EQ(counts[i], plainCount(items[i].record(), text))
          << "\"" << items[i].record().text << "\" in \"" << text << "\", round " << round;
    }
  }
}

TEST(DictionaryDifferential, ExpressionsOnRandomTexts) {
  const std::vector<std::string> atoms = {"a",
                                          "b",
                                          "A",
                                          "[ab]",
                                          ".",
                                          "\\d",
                                          "\\w",
                                          "\\s",
                                          "[^a]",
                                          "\xC3\xA9",
                                          "\\p{L}",
                                          "(a|b1)",
                                          "(?=a)",
                                          "(?!b)",
                                          "(?<=a)",
                                          "\\b",
                                          "(?<!\xC3\xA9)",
                                          "[\\p{Lu}-]",
                                          "\\x{6f22}",
                                          "(?i:ab)"};
  const std::vector<std::string> repeats = {"",  "",    "",      "",   "+", "?",
                                            "*", "{2}", "{1,3}", "+?", "++"};
  const std::vector<std::string> pieces = {"a", "b", "A",        "B",        "ab",           " ",
                                           "-", "1", "\xC3\xA9", "\xC3\x89", "\xE6\xBC\xA2", "\n"};
  Random random(2);
  for (int round = 0; round < kExpressionRounds; ++round) {
    std::vector<DictionaryItem> items;
    while (items.size() < 20) {
      std::string expression;
      for (int i = random.below(4) + 1; i > 0; --i) {
        const std::string atom = random.pick(atoms);
        const bool assertion = atom == "\\b" || atom.compare(0, 3, "(?=") == 0 ||
                               atom.compare(0, 3, "(?!") == 0 || atom.compare(0, 3, "(?<") == 0;
        expression += atom + (assertion ? "" : random.pick(repeats));
      }
      DictionaryItem item = Testing::Regex(expression).partsOfWords();
      if (random.below(3) == 0) item.caseSensitive();
      items.push_back(item);
    }
    const std::string text = random.text(pieces, 60);
    const ScanResult result = Scanner(items)->scan(text);
    std::vector<std::uint32_t> counts(items.size());
    for (const ScanHit& hit : result.hits) counts[hit.item] = hit.count;
    for (std::size_t i = 0; i < items.size(); ++i) {
      ASSERT_EQ(counts[i], plainExpressionCount(items[i].record(), text))
          << items[i].record().text << " in \"" << text << "\", round " << round;
    }
  }
}

TEST(DictionaryDifferential, ThousandWords) {
  Random random(3);
  std::vector<DictionaryItem> items;
  const std::vector<std::string> letters = {"a", "b", "c", "d", "e", "\xC3\xA9", " "};
  while (items.size() < 1'000) {
    const std::string word = "x" + random.text(letters, 5) + "y";
    items.push_back(DictionaryItem(word));
  }
  const auto scanner = Scanner(items);
  std::string text;
  for (int i = 0; i < 5'000; ++i) {
    text += random.below(3) == 0
                ? std::string(random.pick({"x", "y", "X"}))
                : std::string(items[static_cast<std::size_t>(random.below(1'000))].record().text);
    text += random.pick({" ", "-", "", "\n"});
  }
  const ScanResult result = scanner->scan(text);
  EXPECT_GT(result.score, 1'000);
  std::vector<std::uint32_t> counts(items.size());
  for (const ScanHit& hit : result.hits) counts[hit.item] = hit.count;
  for (std::size_t i = 0; i < items.size(); ++i) {
    ASSERT_EQ(counts[i], plainCount(items[i].record(), text)) << items[i].record().text;
  }
}

}  // namespace
}  // namespace Kestrav
