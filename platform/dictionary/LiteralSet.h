// Finds many words in a text at once. Immutable; any number of threads may search.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/dictionary/Hyperscan.h"

namespace Kestrav::Dictionary {

class LiteralSet {
 public:
  struct Literal {
    std::string text;
    std::uint32_t item;
    bool ignoreCase;  // of ASCII letters
  };
  // Receives the items that the engine cannot compile.
  using OnFailure = std::function<void(std::uint32_t item, const std::string& reason)>;

  LiteralSet() = default;
  // REQUIRES: no literal is empty.
  LiteralSet(const std::vector<Literal>& literals, const OnFailure& onFailure);

  bool empty() const { return databases_.empty(); }

  // Calls found(item, begin, end) for each occurrence, also overlapping ones; the ends of an item
  // ascend.
  template <class Found>
  void scan(std::string_view text, const Found& found) const {
    struct Context {
      const LiteralSet* set;
      const Found* found;
    } context{this, &found};
    const auto onMatch = [](std::uint32_t index, std::size_t end, void* opaque) {
      auto* of = static_cast<Context*>(opaque);
      const Entry& entry = of->set->entries_[index];
      for (const std::uint32_t item : entry.items) (*of->found)(item, end - entry.length, end);
    };
    for (const Database& database : databases_) scanDatabase(database, text, onMatch, &context);
  }

 private:
  struct Entry {
    std::vector<std::uint32_t> items;  // with this literal: equal patterns cost the engine much
    std::uint32_t length;
  };
  void build(const std::vector<const Literal*>& literals, std::size_t first, std::size_t last,
             const OnFailure& onFailure);

  std::vector<Entry> entries_;  // by the pattern's number in the databases
  std::vector<Database> databases_;
};

}  // namespace Kestrav::Dictionary
