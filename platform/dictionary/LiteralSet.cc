#include "platform/dictionary/LiteralSet.h"

#include <hs/hs.h>

#include <map>
#include <utility>

namespace Kestrav::Dictionary {

LiteralSet::LiteralSet(const std::vector<Literal>& literals, const OnFailure& onFailure) {
  std::map<std::pair<std::string_view, bool>, std::size_t> known;
  std::vector<const Literal*> different;
  for (const Literal& literal : literals) {
    const auto [at, added] = known.try_emplace({literal.text, literal.ignoreCase}, entries_.size());
    if (added) {
      entries_.push_back({{}, static_cast<std::uint32_t>(literal.text.size())});
      different.push_back(&literal);
    }
    entries_[at->second].items.push_back(literal.item);
  }
  build(different, 0, different.size(), onFailure);
}

void LiteralSet::build(const std::vector<const Literal*>& literals, std::size_t first,
                       std::size_t last, const OnFailure& onFailure) {
  if (first == last) return;
  std::vector<const char*> texts;
  std::vector<std::size_t> lengths;
  std::vector<unsigned int> numbers;
  std::vector<unsigned int> flags;
  for (std::size_t i = first; i < last; ++i) {
    texts.push_back(literals[i]->text.data());
    lengths.push_back(literals[i]->text.size());
    numbers.push_back(static_cast<unsigned int>(i));
    flags.push_back(literals[i]->ignoreCase ? HS_FLAG_CASELESS : 0u);
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
    for (const std::uint32_t item : entries_[first].items) onFailure(item, reason);
    return;
  }
  // One bad word, or too many for one database: halving isolates the bad words and keeps the
  // others.
  const std::size_t middle = first + (last - first) / 2;
  build(literals, first, middle, onFailure);
  build(literals, middle, last, onFailure);
}

}  // namespace Kestrav::Dictionary
