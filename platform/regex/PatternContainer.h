// The addresses and hosts that a list names, as wildcards without regard to letter case: whole
// addresses,
// "*@example.com", "*@*.example.com", "192.168.1.*" and anything else that StringPattern takes as a
// wildcard. Filled once, then read by any number of threads.
//
// How long a lookup takes depends on the subject, not on the number of patterns, as long as they
// are of the forms "TEXT", "TEXT*", "*TEXT" and "*@*TEXT"; the others are tried one after the
// other.
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
  // Two entries get a meaning that they do not have as a wildcard: one that ends in a domain
  // literal
  // ("user@[192.0.2.1]") means that literal, not a class of characters; and one that does not
  // compile is logged and stands for its own text, so that one bad entry does not take the list
  // away.
  void add(const std::string& pattern);

  // A subject of more than StringPattern::kMaxSubject bytes is logged and matches nothing.
  bool matches(std::string_view subject) const;

  // The same answer, by trying every pattern in turn. For tests and measurements.
  bool matchesLinear(std::string_view subject) const;

  // Counts every pattern added, the repeated ones too.
  std::size_t size() const { return patterns_.size(); }
  bool empty() const { return patterns_.empty(); }

  // As added, in that order.
  const std::vector<std::string>& patterns() const { return patterns_; }

 private:
  // Texts under a hash that grows by one byte at a time, so that every prefix (or, read backwards,
  // every suffix) of a subject is looked up in one pass over it. Texts and subjects are
  // case-folded.
  class Edge {
   public:
    explicit Edge(bool backwards) : backwards_(backwards) {}
    // A text added with `behindAt` counts only where an "@" comes before it in the subject.
    void add(const std::string& text, bool behindAt);
    bool matches(std::string_view subject) const;

   private:
    struct Text {
      std::string text;
      bool behindAt;
    };
    bool found(std::uint64_t hash, std::string_view part, bool at) const;

    bool backwards_;
    std::size_t longest_ = 0;
    std::bitset<256> outermost_;  // the bytes that texts end with on the inner side of the subject
    std::unordered_map<std::uint64_t, std::vector<Text>> texts_;
  };

  bool examinable(std::string_view subject) const;

  std::vector<std::string> patterns_;
  std::vector<Wildcard> compiled_;  // by place in patterns_
  bool any_ = false;                // "*" is among them
  std::unordered_set<std::string> literals_;
  Edge prefixes_{false};
  Edge suffixes_{true};
  std::vector<std::size_t> others_;  // places in compiled_
};

}  // namespace Kestrav
