// Which rules of an ordered list may match, found by exact keys.
//
// A rule is filed under keys (an address, a domain, a network) such that everything it matches
// shows one of them, or under no key when there are none. A query names the keys that it shows. The
// index then offers the rules in list order, each once: those filed under one of the keys and those
// under no key. The caller decides which of them match. Immutable after seal(); any number of
// threads may query it.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace Kestrav::Config {

class CandidateIndex {
 public:
  using Key = std::uint64_t;  // a hash; a collision costs time and never gives a wrong answer
  using Ordinal = std::uint32_t;
  static constexpr Ordinal kNone = 0xffffffff;
  // Enough for two e-mail addresses of 127 labels, or two IP addresses.
  static constexpr std::size_t kMostKeys = 320;

  // REQUIRES: ordinals are added in ascending order.
  void add(Key key, Ordinal ordinal) { filed_.emplace_back(key, ordinal); }
  void addUnderNoKey(Ordinal ordinal) { always_.push_back(ordinal); }
  void seal();

  // The first rule in list order for which `matches(ordinal)` is true; kNone when there is none.
  // REQUIRES: no more than kMostKeys keys.
  template <class Matches>
  Ordinal first(std::span<const Key> keys, Matches&& matches) const {
    std::array<Run, kMostKeys + 1> runs;
    std::size_t count = 0;
    if (!always_.empty()) runs[count++] = Run(always_);
    for (const Key key : keys.first(std::min(keys.size(), kMostKeys))) {
      const Run run = find(key);
      if (!run.empty()) runs[count++] = run;
    }
    for (;;) {
      Ordinal next = kNone;
      for (std::size_t i = 0; i < count; ++i) next = std::min(next, runs[i].front());
      if (next == kNone || matches(next)) return next;
      for (std::size_t i = 0; i < count;) {
        if (runs[i].front() == next) runs[i] = runs[i].subspan(1);
        if (runs[i].empty()) {
          runs[i] = runs[--count];
        } else {
          ++i;
        }
      }
      if (count == 0) return kNone;
    }
  }

 private:
  using Run = std::span<const Ordinal>;
  struct Slot {
    Key key = 0;
    std::uint32_t begin = 0;
    std::uint32_t length = 0;  // 0: the slot is free
  };

  Run find(Key key) const;

  std::vector<std::pair<Key, Ordinal>> filed_;  // until sealed
  std::vector<Ordinal> always_;
  std::vector<Ordinal> ordinals_;  // the runs of all keys, one after the other
  std::vector<Slot> slots_;        // open addressing, a power of two
};

// FNV-1a with a leading tag, so that a domain and an address of the same text have different keys.
constexpr CandidateIndex::Key candidateKey(char tag, std::span<const char> text) {
  std::uint64_t hash = 14695981039346656037ull;
  hash = (hash ^ static_cast<unsigned char>(tag)) * 1099511628211ull;
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ull;
  return hash ^ (hash >> 29);
}

}  // namespace Kestrav::Config
