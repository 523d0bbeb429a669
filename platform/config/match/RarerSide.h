// Chooses under which of its two sides each policy of a list is filed: the one whose keys fewer
// policies share, so that a query looks at as few policies as possible.
//
// Used while a list is compiled: count() the keys of every policy, then ask of() for each.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/config/match/CandidateIndex.h"

namespace Kestrav::Config {

class RarerSide {
 public:
  // The keys of each side, empty for a side that no key describes.
  using Keys = std::array<std::vector<CandidateIndex::Key>, 2>;

  void count(const Keys& keys) {
    for (const auto& side : keys) {
      for (const CandidateIndex::Key key : side) ++policies_[key];
    }
  }
  // 0 or 1. Of equal sides the one with fewer keys, then the first.
  std::size_t of(const Keys& keys) const { return cost(keys[1]) < cost(keys[0]) ? 1 : 0; }

 private:
  // The number of policies that share the most common key, then the number of keys.
  std::pair<std::size_t, std::size_t> cost(const std::vector<CandidateIndex::Key>& side) const {
    if (side.empty()) return {static_cast<std::size_t>(-1), 0};
    std::size_t most = 0;
    for (const CandidateIndex::Key key : side) most = std::max(most, policies_.at(key));
    return {most, side.size()};
  }

  std::unordered_map<CandidateIndex::Key, std::size_t> policies_;  // how many have the key
};

}  // namespace Kestrav::Config
