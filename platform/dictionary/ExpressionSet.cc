#include "platform/dictionary/ExpressionSet.h"

#include <hs/hs.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "platform/common/Strings.h"

namespace Kestrav::Dictionary {
namespace {

// Each database is one more pass over every text. The second number is that of separate gates.
constexpr std::size_t kPerDatabase = 500;
constexpr std::size_t kSeparatePerDatabase = 4;

constexpr unsigned int kFlags = HS_FLAG_UTF8 | HS_FLAG_SINGLEMATCH;

struct Properties {
  bool supported = false;   // otherwise the engine can only approximate it, e.g. look-around
  bool neverEmpty = false;  // empty matches do not count
};

Properties propertiesOf(const std::string& text, unsigned int flags) {
  hs_expr_info_t* info = nullptr;
  hs_compile_error_t* error = nullptr;
  Properties properties;
  properties.supported = hs_expression_info(text.c_str(), flags, &info, &error) == HS_SUCCESS;
  properties.neverEmpty = info != nullptr && info->min_width > 0;
  std::free(info);
  hs_free_compile_error(error);
  return properties;
}

}  // namespace

ExpressionSet::ExpressionSet(const std::vector<Expression>& expressions) {
  std::vector<Entry> shared;
  std::vector<Entry> separate;
  std::vector<const Expression*> refused;
  for (const Expression& expression : expressions) {
    if (expression.byLiterals || expression.gate->expression.empty()) {
      refused.push_back(&expression);
      continue;
    }
    const unsigned int flags = kFlags | (expression.ignoreCase ? HS_FLAG_CASELESS : 0u);
    const Properties properties = propertiesOf(expression.gate->expression, flags);
    if (properties.supported && properties.neverEmpty && expression.gate->exact) {
      exact_.push_back(expression.item);
    }
    const bool apart = expression.gate->separate;
    std::vector<Entry>& chunk = apart ? separate : shared;
    chunk.push_back({&expression, flags | (properties.supported ? 0u : HS_FLAG_PREFILTER)});
    if (chunk.size() == (apart ? kSeparatePerDatabase : kPerDatabase)) {
      build(std::exchange(chunk, {}), refused);
    }
  }
  build(std::move(shared), refused);
  build(std::move(separate), refused);

  std::vector<LiteralSet::Literal> literals;
  for (const Expression* expression : refused) {
    for (const std::string& literal : expression->gate->literals) {
      literals.push_back({literal, expression->item, true});
    }
    if (expression->gate->literals.empty()) ungated_.push_back(expression->item);
  }
  literals_ = LiteralSet(
      literals, [this](std::uint32_t item, const std::string&) { ungated_.push_back(item); },
      LiteralSet::Report::kFirst);
  std::sort(ungated_.begin(), ungated_.end());
  ungated_.erase(std::unique(ungated_.begin(), ungated_.end()), ungated_.end());
  std::sort(exact_.begin(), exact_.end());
}

bool ExpressionSet::isProof(std::uint32_t item) const {
  return std::binary_search(exact_.begin(), exact_.end(), item);
}

void ExpressionSet::build(std::vector<Entry> expressions, std::vector<const Expression*>& refused) {
  while (!expressions.empty()) {
    std::vector<const char*> texts;
    std::vector<unsigned int> flags;
    std::vector<unsigned int> numbers;
    for (const Entry& entry : expressions) {
      texts.push_back(entry.expression->gate->expression.c_str());
      flags.push_back(entry.flags);
      numbers.push_back(entry.expression->item);
    }
    hs_database_t* database = nullptr;
    hs_compile_error_t* error = nullptr;
    const hs_error_t result = hs_compile_multi(texts.data(), flags.data(), numbers.data(),
                                               static_cast<unsigned int>(texts.size()),
                                               HS_MODE_BLOCK, nullptr, &database, &error);
    if (result == HS_SUCCESS) {
      databases_.emplace_back(database);
      return;
    }
    const int culprit = error ? error->expression : -1;
    hs_free_compile_error(error);
    if (expressions.size() == 1 ||
        (culprit >= 0 && static_cast<std::size_t>(culprit) < expressions.size())) {
      const std::size_t index = expressions.size() == 1 ? 0 : static_cast<std::size_t>(culprit);
      refused.push_back(expressions[index].expression);
      expressions.erase(expressions.begin() + static_cast<std::ptrdiff_t>(index));
      continue;
    }
    // Too large for one database.
    const auto middle = expressions.begin() + static_cast<std::ptrdiff_t>(expressions.size() / 2);
    build(std::vector<Entry>(middle, expressions.end()), refused);
    expressions.erase(middle, expressions.end());
  }
}

std::vector<std::uint32_t> ExpressionSet::candidates(std::string_view text) const {
  std::vector<std::uint32_t> items;
  const auto onMatch = [](std::uint32_t item, std::size_t, void* context) {
    static_cast<std::vector<std::uint32_t>*>(context)->push_back(item);
  };
  for (const Database& database : databases_) scanDatabase(database, text, onMatch, &items);
  if (!literals_.empty()) {
    const auto onLiteral = [&](std::uint32_t item, std::size_t, std::size_t) {
      items.push_back(item);
    };
    if (isAscii(text)) {
      literals_.scan(text, onLiteral);
    } else {
      literals_.scan(foldedForGates(text), onLiteral);
    }
  }
  std::sort(items.begin(), items.end());
  items.erase(std::unique(items.begin(), items.end()), items.end());
  return items;
}

}  // namespace Kestrav::Dictionary
