// A list of addresses and hosts as wildcards (see StringPattern) that ignore letter case: whole
// addresses, "*@example.com", "*@*.example.com", "192.168.1.*". Filled once, then read by any
// number of threads.
//
// Patterns of the forms "TEXT", "TEXT*", "*TEXT" and "*@*TEXT" are indexed: their number does not
// matter for a lookup. The others are tried one after the other.
#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "platform/common/Export.h"
#include "platform/regex/Wildcard.h"

namespace Kestrav {

class KESTRAV_API PatternContainer {
 public:
  // Two exceptions to the syntax of wildcards: a domain literal at the end ("user@[192.0.2.1]") is
  // not a character class, and an entry that does not compile is logged and matches its own text.
  void add(const std::string& pattern);

  // A subject of more than StringPattern::kMaxSubject bytes is logged and matches nothing.
  bool matches(std::string_view subject) const;

  // matches() without the index, for tests and benchmarks.
  bool matchesLinear(std::string_view subject) const;

  // Includes duplicates.
  std::size_t size() const { return patterns_.size(); }
  bool empty() const { return patterns_.empty(); }

  // In the order of add().
  const std::vector<std::string>& patterns() const { return patterns_; }

 private:
  // Texts that match at one end of a subject, by a hash that is extended byte by byte: one pass
  // over the subject looks up all its prefixes or, from the end, all its suffixes. Texts and
  // subjects are case-folded.
  class Edge {
   public:
    explicit Edge(bool backwards) : backwards_(backwards) {}
    // With `afterAt` the text matches only after an "@" in the subject.
    void add(const std::string& text, bool afterAt);
    bool matches(std::string_view subject) const;

   private:
    struct Text {
      std::string text;
      bool afterAt;
    };
    bool contains(std::uint64_t hash, std::string_view part, bool isAfterAt) const;

    bool backwards_;
    std::size_t longest_ = 0;
    std::bitset<256> innermost_;  // the bytes of the texts farthest from the end of the subject
    std::unordered_map<std::uint64_t, std::vector<Text>> texts_;
  };

  // False and logged for a subject that is too long.
  bool accepts(std::string_view subject) const;

  std::vector<std::string> patterns_;
  std::vector<Wildcard> compiled_;  // by index in patterns_
  bool any_ = false;                // contains "*"
  std::unordered_set<std::string> literals_;
  Edge prefixes_{false};
  Edge suffixes_{true};
  std::vector<std::size_t> others_;  // indexes in compiled_
};

}  // namespace Kestrav
