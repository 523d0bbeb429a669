// The items of one scanner, compiled for scanning. Immutable; any number of threads may scan.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/dictionary/DictionaryItem.h"
#include "platform/dictionary/DictionaryScanner.h"
#include "platform/dictionary/ExpressionSet.h"
#include "platform/dictionary/LiteralSet.h"

namespace Kestrav::Dictionary {

// What one set may cost: about two seconds.
inline constexpr Cost kMostSetCost = 2'000'000;

class CompiledItems {
 public:
  using Items = std::vector<std::shared_ptr<const Item>>;
  // Receives why an item was left out or given up.
  using Report = std::function<void(const Item& item, const std::string& reason)>;

  // Leaves out, and reports, the items that the engine cannot compile, the costliest ones of a set
  // that costs more than `most`, and expressions that would slow down every scan.
  // `incomplete`: items were left out before.
  CompiledItems(Items items, const Report& leftOut, bool incomplete = false,
                Cost most = kMostSetCost);

  // Of all items, also of those that were left out.
  Cost cost() const { return cost_; }
  // Scans may miss matches.
  bool leavesOut() const { return leavesOut_; }

  // Adds the matches in `text` to `result` and reports searches that were given up. Throws what the
  // engine throws, with `result` unchanged.
  void scan(std::string_view text, ScanArea area, ScanResult& result, const Report& givenUp) const;

 private:
  struct Tally {
    std::uint32_t count = 0;
    std::size_t end = 0;  // of the last counted match
  };
  using Tallies = std::unordered_map<std::uint32_t, Tally>;

  void scanLiterals(const LiteralSet& set, std::string_view text, ScanArea area,
                    Tallies& tallies) const;
  // False when a search was given up.
  bool scanExpressions(std::string_view text, ScanArea area, const ScanResult& before,
                       Tallies& tallies, const Report& givenUp) const;
  void addTo(ScanResult& result, const Tallies& tallies) const;

  Items items_;
  Cost cost_ = 0;
  bool leavesOut_ = false;
  LiteralSet plain_;          // for the text as given
  LiteralSet folded_;         // for the text with case folded and white space normalised
  LiteralSet spaced_;         // for the text with white space normalised
  bool foldsAscii_ = false;   // folded_ has ASCII literals
  bool spacesAscii_ = false;  // spaced_ has ASCII literals
  ExpressionSet expressions_;
  std::vector<std::uint32_t> oneByOne_;  // expressions to search for in every text; ascending
};

}  // namespace Kestrav::Dictionary
