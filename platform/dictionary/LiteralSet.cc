#include "platform/dictionary/LiteralSet.h"

#include <hs/hs.h>

namespace Kestrav::Dictionary {

LiteralSet::LiteralSet(const std::vector<Literal>& literals, const OnFailure& onFailure) {
  entries_.reserve(literals.size());
  for (const Literal& literal : literals) {
    entries_.push_back({literal.item, static_cast<std::uint32_t>(literal.text.size())});
  }
  build(literals, 0, literals.size(), onFailure);
}

void LiteralSet::build(const std::vector<Literal>& literals, std::size_t first, std::size_t last,
                       const OnFailure& onFailure) {
  if (first == last) return;
  std::vector<const char*> texts;
  std::vector<std::size_t> lengths;
  std::vector<unsigned int> numbers;
  std::vector<unsigned int> flags;
  for (std::size_t i = first; i < last; ++i) {
    texts.push_back(literals[i].text.data());
    lengths.push_back(literals[i].text.size());
    numbers.push_back(static_cast<unsigned int>(i));
    flags.push_back(literals[i].ignoreCase ? HS_FLAG_CASELESS : 0u);
  }

  hs_database_t* database = nullptr;
  hs_compile_error_t* error = nullptr;
  const hs_error_t result = hs_compile_lit_multi(
      texts.data(), flags.data(), numbers.data(), lengths.data(),
      static_cast<unsigned int>(texts.size()), HS_MODE_BLOCK, nullptr, &database, &error);
  if (result == HS_SUCCESS) {
    databases_.emplace_back(database);
    return;
  }
  const std::string reason = error ? error->message : "error " + std::to_string(result);
  hs_free_compile_error(error);
  if (last - first == 1) {
    onFailure(literals[first].item, reason);
    return;
  }
  // One bad word, or too many for one database: halving isolates the bad words and keeps the
  // others.
  const std::size_t middle = first + (last - first) / 2;
  build(literals, first, middle, onFailure);
  build(literals, middle, last, onFailure);
}

}  // namespace Kestrav::Dictionary
