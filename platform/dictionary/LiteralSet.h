// Many words, looked for at once in one text. Built once, then read by any number of threads.
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
  // Receives the items that no database can be made for.
  using OnFailure = std::function<void(std::uint32_t item, const std::string& reason)>;

  LiteralSet() = default;
  // REQUIRES: no literal is empty.
  LiteralSet(const std::vector<Literal>& literals, const OnFailure& onFailure);

  bool empty() const { return databases_.empty(); }

  // Calls found(item, begin, end) for each occurrence, overlapping ones included; an item's ends
  // ascend.
  template <class Found>
  void scan(std::string_view text, const Found& found) const {
    struct Context {
      const LiteralSet* set;
      const Found* found;
    } context{this, &found};
    const auto onMatch = [](std::uint32_t index, std::size_t end, void* opaque) {
      auto* of = static_cast<Context*>(opaque);
      const Place& place = of->set->places_[index];
      (*of->found)(place.item, end - place.length, end);
    };
    for (const Database& database : databases_) scanDatabase(database, text, onMatch, &context);
  }

 private:
  struct Place {
    std::uint32_t item;
    std::uint32_t length;
  };
  void build(const std::vector<Literal>& literals, std::size_t first, std::size_t last,
             const OnFailure& onFailure);

  std::vector<Place> places_;  // by the pattern's number in the databases
  std::vector<Database> databases_;
};

}  // namespace Kestrav::Dictionary
