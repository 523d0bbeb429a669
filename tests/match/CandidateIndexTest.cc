#include "platform/config/match/CandidateIndex.h"

#include <algorithm>
#include <random>
#include <set>

#include <gtest/gtest.h>

namespace Kestrav::Config {
namespace {

using Key = CandidateIndex::Key;
using Ordinal = CandidateIndex::Ordinal;

std::vector<Ordinal> offered(const CandidateIndex& index, const std::vector<Key>& keys) {
  std::vector<Ordinal> ordinals;
  index.first(keys, [&](Ordinal ordinal) {
    ordinals.push_back(ordinal);
    return false;
  });
  return ordinals;
}

TEST(CandidateIndex, OffersNothingWhenEmpty) {
  CandidateIndex index;
  index.seal();
  EXPECT_TRUE(offered(index, {1, 2, 3}).empty());
}

TEST(CandidateIndex, OffersRulesWithoutAKeyToEveryQueryInListOrder) {
  CandidateIndex index;
  index.add(7, 0);
  index.addUnderNoKey(1);
  index.add(7, 2);
  index.addUnderNoKey(3);
  index.seal();
  EXPECT_EQ(offered(index, {}), (std::vector<Ordinal>{1, 3}));
  EXPECT_EQ(offered(index, {7}), (std::vector<Ordinal>{0, 1, 2, 3}));
}

TEST(CandidateIndex, OffersARuleFiledUnderSeveralKeysOnce) {
  CandidateIndex index;
  index.add(1, 0);
  index.add(2, 0);
  index.add(2, 0);
  index.seal();
  EXPECT_EQ(offered(index, {1, 2, 2}), (std::vector<Ordinal>{0}));
}

TEST(CandidateIndex, StopsAtTheFirstRuleThatMatches) {
  CandidateIndex index;
  for (Ordinal i = 0; i < 10; ++i) index.add(i % 2, i);
  index.seal();
  const std::vector<Key> keys{0, 1};
  EXPECT_EQ(index.first(keys, [](Ordinal ordinal) { return ordinal >= 3; }), 3u);
  EXPECT_EQ(index.first(keys, [](Ordinal) { return false; }), CandidateIndex::kNone);
}

TEST(CandidateIndex, AgreesWithAnOrderedSetOnRandomRules) {
  std::mt19937 random(1);
  for (int round = 0; round < 200; ++round) {
    CandidateIndex index;
    std::vector<std::set<Key>> rules(random() % 60);
    for (Ordinal i = 0; i < rules.size(); ++i) {
      for (int keys = static_cast<int>(random() % 4); keys > 0; --keys) {
        const Key key = random() % 20;
        rules[i].insert(key);
        index.add(key, i);
      }
      if (rules[i].empty()) index.addUnderNoKey(i);
    }
    index.seal();
    std::vector<Key> query(random() % 6);
    for (Key& key : query) key = random() % 25;
    std::vector<Ordinal> expected;
    for (Ordinal i = 0; i < rules.size(); ++i) {
      const bool shown =
          std::any_of(query.begin(), query.end(), [&](Key key) { return rules[i].contains(key); });
      if (rules[i].empty() || shown) expected.push_back(i);
    }
    EXPECT_EQ(offered(index, query), expected);
  }
}

}  // namespace
}  // namespace Kestrav::Config
