#include "platform/config/text/Nearest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

using namespace Kestrav::Config::Text;

TEST(Nearest, FindsTheWordThatWasMeant) {
  const std::vector<std::string> words = {"antispam", "antivirus", "content", "dlp"};
  const struct {
    const char* word;
    const char* expected;
  } cases[] = {
      {"antspam", "antispam"},
      {"ANTISPAM", "antispam"},
      {"anitvirus", "antivirus"},
      {"contents", "content"},
      {"dpl", "dlp"},
      {"policy", ""},
      {"", ""},
      {"x", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.word);
    EXPECT_EQ(nearest(c.word, words), c.expected);
  }
}

// The plain table of all cells.
std::size_t changesByTable(const std::string& a, const std::string& b) {
  std::vector<std::vector<std::size_t>> cells(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i) {
    for (std::size_t j = 0; j <= b.size(); ++j) {
      std::size_t& cell = cells[i][j];
      if (i == 0 || j == 0) {
        cell = i + j;
        continue;
      }
      cell = std::min(
          {cells[i - 1][j] + 1, cells[i][j - 1] + 1, cells[i - 1][j - 1] + (a[i - 1] != b[j - 1])});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        cell = std::min(cell, cells[i - 2][j - 2] + 1);
      }
    }
  }
  return cells[a.size()][b.size()];
}

TEST(Nearest, CountsChangesAsThePlainTableDoes) {
  std::mt19937 random(1);
  const auto word = [&](std::size_t longest) {
    std::string text(random() % (longest + 1), 'a');
    for (char& c : text) c = static_cast<char>('a' + random() % 3);
    return text;
  };
  for (int i = 0; i < 20'000; ++i) {
    const std::size_t longest = i % 50 == 0 ? kLongestWord : 9;
    const std::string a = word(longest);
    const std::string b = word(longest);
    const std::size_t most = random() % (longest + 3);
    SCOPED_TRACE(a + " " + b + " " + std::to_string(most));
    ASSERT_EQ(changesBetween(a, b, most), std::min(changesByTable(a, b), most + 1));
  }
}

TEST(Nearest, SearchesSeveralListsInOrder) {
  const std::vector<std::string> own = {"tag"};
  const std::vector<std::string> common = {"tog", "drop"};
  const WordList first(own);
  const WordList second(common);
  const WordList* const lists[] = {&first, &second};
  EXPECT_EQ(nearest("tig", lists), "tag");
  EXPECT_EQ(nearest("toga", lists), "tog");
  EXPECT_EQ(nearest("drap", lists), "drop");
}

TEST(Nearest, VeryLongWordsAndListsAreNotSearched) {
  EXPECT_EQ(nearest(std::string(1000, 'a'), std::vector<std::string>{"a"}), "");
  EXPECT_EQ(nearest("abc", std::vector<std::string>(5001, "abd")), "");
}

TEST(Nearest, AlternativesReadLikeASentence) {
  EXPECT_EQ(alternatives(std::vector<std::string>{"a"}), "a");
  EXPECT_EQ(alternatives(std::vector<std::string>{"a", "b"}), "a or b");
  EXPECT_EQ(alternatives(std::vector<std::string>{"a", "b", "c"}), "a, b or c");
}
