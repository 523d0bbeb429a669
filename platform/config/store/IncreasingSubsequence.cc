#include "platform/config/store/IncreasingSubsequence.h"

#include <cstddef>

namespace Kestrav::Config {

std::vector<bool> heaviestIncreasing(const std::vector<std::uint32_t>& sequence,
                                     const std::vector<std::uint64_t>& weights) {
  // A Fenwick tree of prefix maxima over the numbers of the sequence: the weight of the best
  // subsequence that ends with such a number, and where it ends.
  const std::size_t n = sequence.size();
  struct Best {
    std::uint64_t weight = 0;
    std::size_t end = 0;
  };
  std::vector<Best> tree(n + 1);
  std::vector<std::size_t> previous(n);
  Best best;
  for (std::size_t i = 0; i < n; ++i) {
    Best below;
    for (std::size_t v = sequence[i]; v > 0; v &= v - 1) {
      if (tree[v].weight > below.weight) below = tree[v];
    }
    previous[i] = below.weight > 0 ? below.end : n;
    const Best here{below.weight + weights[i], i};
    for (std::size_t v = sequence[i] + std::size_t{1}; v <= n; v += v & (~v + 1)) {
      if (here.weight > tree[v].weight) tree[v] = here;
    }
    if (here.weight > best.weight) best = here;
  }
  std::vector<bool> member(n, false);
  if (best.weight == 0) return member;
  for (std::size_t i = best.end; i != n; i = previous[i]) member[i] = true;
  return member;
}

}  // namespace Kestrav::Config
