#include "platform/dictionary/WildcardTranslation.h"

#include <gtest/gtest.h>

#include "platform/common/Exception.h"
#include "tests/dictionary/DictionaryItems.h"

namespace Kestrav::Dictionary {
namespace {

using Testing::Matches;
using Testing::Wildcard;

TEST(DictionaryWildcard, WholeWords) {
  const struct {
    const char* wildcard;
    std::string text;
    unsigned matches;
  } cases[] = {
      {"v?agra", "viagra v1agra vagra", 2},
      {"v?agra", "v agra", 0},
      {"v?agra", "xviagra viagrax", 0},
      {"v?agra",
       "v\xC3\xAF"
       "agra",
       1},
      {"via*", "viagra viable via x-via-y", 4},
      {"via*", "trivia", 0},
      {"*agra", "viagra agra agrax", 2},
      {"*ana", "banana", 1},
      {"*a*", "banana split", 1},
      {"free*money", "free-easy-money", 1},
      {"free*money", "free easy money", 0},
      {"free*money", "freemoney freemoneys", 1},
      {"free*money", "freemoneymoney", 1},
      {"free * money", "free easy money", 1},
      {"free * money", "free\r\n easy\n\nmoney", 1},
      {"a*b*c", "axbyc abc acb", 2},
      {"FREE*money", "Free_MONEY", 1},
      {"100%*", "100%off", 1},
      {"a\\*b", "a*b axb", 1},
      {"a\\?b", "a?b axb", 1},
      {"back\\", "back\\ backx", 1},
      {"[ab]", "[ab] a b", 1},
      {"(?x)#*", "(?x)#1", 1},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(std::string(row.wildcard) + " in " + row.text);
    EXPECT_EQ(Matches(Wildcard(row.wildcard), row.text), row.matches);
  }
}

TEST(DictionaryWildcard, PartsOfWords) {
  EXPECT_EQ(Matches(Wildcard("v?agra").partsOfWords(), "xviagrax"), 1u);
  EXPECT_EQ(Matches(Wildcard("a?").partsOfWords(), "abacad"), 3u);
}

TEST(DictionaryWildcard, CaseSensitive) {
  EXPECT_EQ(Matches(Wildcard("V?agra").caseSensitive(), "Viagra viagra"), 1u);
}

TEST(DictionaryWildcard, StarReachesItsLimitAndNoFurther) {
  const std::string most(kLongestStar, '-');
  EXPECT_EQ(Matches(Wildcard("free*money"), "free" + most + "money"), 1u);
  EXPECT_EQ(Matches(Wildcard("free*money"), "free-" + most + "money"), 0u);
}

TEST(DictionaryWildcard, WithoutAnyCharacterOfItsOwnIsRefused) {
  for (const char* wildcard : {"*", "**", "?", "*?*", "* *"}) {
    EXPECT_THROW(translateWildcard(wildcard), Exception) << wildcard;
  }
  EXPECT_THROW(translateWildcard("caf\xE9*"), Exception);
}

TEST(DictionaryWildcard, TextMadeToBacktrackIsDecidedQuickly) {
  std::string text;
  for (int i = 0; i < 20'000; ++i) text += "a-b-";
  const ScanResult result = Testing::Scanner({Wildcard("a*b*a*b*a*b*z")})->scan(text);
  EXPECT_TRUE(result.complete);
  EXPECT_EQ(result.score, 0);
}

}  // namespace
}  // namespace Kestrav::Dictionary
