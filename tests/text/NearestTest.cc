#include "platform/config/text/Nearest.h"

#include <gtest/gtest.h>

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

TEST(Nearest, VeryLongWordsAndListsAreNotSearched) {
  EXPECT_EQ(nearest(std::string(1000, 'a'), std::vector<std::string>{"a"}), "");
  EXPECT_EQ(nearest("abc", std::vector<std::string>(5001, "abd")), "");
}

TEST(Nearest, AlternativesReadLikeASentence) {
  EXPECT_EQ(alternatives(std::vector<std::string>{"a"}), "a");
  EXPECT_EQ(alternatives(std::vector<std::string>{"a", "b"}), "a or b");
  EXPECT_EQ(alternatives(std::vector<std::string>{"a", "b", "c"}), "a, b or c");
}
