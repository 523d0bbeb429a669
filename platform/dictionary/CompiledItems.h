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

class CompiledItems {
 public:
  using Items = std::vector<std::shared_ptr<const Item>>;
  // Receives what has to be said about an item.
  using Report = std::function<void(const Item& item, const std::string& reason)>;

  // Items that turn out to be too much for the engine are reported and left out.
  CompiledItems(Items items, const Report& skipped);

  // Adds what `text` holds to `result`; searches that were given up are reported. Throws what the
  // engine throws; `result` is untouched then.
  void scan(std::string_view text, ScanArea area, ScanResult& result, const Report& givenUp) const;

 private:
  struct Tally {
    std::uint32_t count = 0;
    std::size_t end = 0;  // of the last match counted, in the text scanned
  };
  using Tallies = std::unordered_map<std::uint32_t, Tally>;

  void scanLiterals(const LiteralSet& set, std::string_view text, ScanArea area,
                    Tallies& tallies) const;
  // Returns false when a search was given up.
  bool scanExpressions(std::string_view text, ScanArea area, const ScanResult& before,
                       Tallies& tallies, const Report& givenUp) const;
  void addTo(ScanResult& result, const Tallies& tallies) const;

  Items items_;
  LiteralSet plain_;          // looked for in the text as it is
  LiteralSet folded_;         // in the text with case folded and white space normalised
  LiteralSet spaced_;         // in the text with white space normalised
  bool foldsAscii_ = false;   // some literal of folded_ is ASCII
  bool spacesAscii_ = false;  // some literal of spaced_ is ASCII
  ExpressionSet expressions_;
  std::vector<std::uint32_t> unguarded_;  // expressions that every text is searched for; ascending
};

}  // namespace Kestrav::Dictionary
