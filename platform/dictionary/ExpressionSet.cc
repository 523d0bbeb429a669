#include "platform/dictionary/ExpressionSet.h"

#include <hs/hs.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

namespace Kestrav::Dictionary {
namespace {

constexpr std::size_t kPerDatabase = 500;

constexpr const char* kAnyCharacter = "(?s:.)";

// Estimated size of an expression with its repeats expanded. Compiling takes up to 0.2 ms for each
// unit.
constexpr std::uint64_t kMostCost = 4'000;
constexpr std::uint64_t kClassCost = 8;

// Replaces the expensive parts of an expression and estimates the cost of the rest. A misread part
// may cost time, but never loses a match.
class Rewriter {
 public:
  explicit Rewriter(const std::string& text) : text_(text) {}

  std::string rewritten() {
    // "(*UCP)" would make every "\\w" as expensive as a property.
    if (text_.compare(0, 2, "(*") == 0) return {};
    const std::uint64_t cost = alternatives(0);
    if (position_ != text_.size() || cost > kMostCost) return {};
    // A "[" in a comment may have been read as the start of a class that ends after the comment.
    if (rewrote_ && text_.find('#') != std::string::npos) return {};
    return result_;
  }

 private:
  static constexpr int kDeepest = 100;

  bool atEnd() const { return position_ >= text_.size(); }
  void copy(std::size_t count) {
    result_.append(text_, position_, count);
    position_ = std::min(text_.size(), position_ + count);
  }

  std::uint64_t alternatives(int depth) {
    std::uint64_t cost = 0;
    while (!atEnd() && text_[position_] != ')' && cost <= kMostCost) {
      cost += repeated(atom(depth));
    }
    return cost;
  }

  std::uint64_t atom(int depth) {
    switch (text_[position_]) {
      case '(': {
        if (depth == kDeepest) return kMostCost + 1;
        copy(1);
        const std::uint64_t cost = alternatives(depth + 1);
        if (atEnd()) return kMostCost + 1;
        copy(1);
        return cost + 1;
      }
      case '[':
        return characterClass();
      case '\\':
        return escape();
      case '.':
        copy(1);
        return kClassCost;
      default:
        copy(1);
        return 1;
    }
  }

  std::uint64_t escape() {
    const char kind = position_ + 1 < text_.size() ? text_[position_ + 1] : '\0';
    if (kind == 'Q') {
      const std::size_t end = std::min(text_.find("\\E", position_), text_.size());
      const std::size_t length = end - position_;
      copy(length);
      return length;
    }
    if (kind == 'p' || kind == 'P' || kind == 'X') {
      skipProperty();
      result_ += kAnyCharacter;
      rewrote_ = true;
      return kClassCost;
    }
    copy(2);
    if (!atEnd() && text_[position_] == '{' && kind != '\0' && std::strchr("xogkN", kind)) {
      copy(std::min(text_.find('}', position_), text_.size() - 1) + 1 - position_);
    }
    return std::isupper(static_cast<unsigned char>(kind)) != 0 ? kClassCost : 1;
  }

  void skipProperty() {
    const bool property = text_[position_ + 1] != 'X';
    position_ += 2;
    if (!property || atEnd()) return;
    if (text_[position_] == '{') {
      position_ = std::min(text_.find('}', position_), text_.size() - 1);
    }
    ++position_;
  }

  std::uint64_t characterClass() {
    const std::size_t start = position_;
    std::size_t end = start + 1;
    if (end < text_.size() && text_[end] == '^') ++end;
    if (end < text_.size() && text_[end] == ']') ++end;
    bool property = false;
    while (end < text_.size() && text_[end] != ']') {
      if (text_[end] == '\\' && end + 1 < text_.size()) {
        const char kind = text_[end + 1];
        property |= kind == 'p' || kind == 'P';
        if (kind == 'Q') return kMostCost + 1;  // not supported
        end += 2;
      } else if (text_.compare(end, 2, "[:") == 0 && text_.find(":]", end) != std::string::npos) {
        end = text_.find(":]", end) + 2;
      } else {
        ++end;
      }
    }
    if (end >= text_.size()) return kMostCost + 1;
    ++end;
    if (property) {
      result_ += kAnyCharacter;
      rewrote_ = true;
      position_ = end;
    } else {
      copy(end - start);
    }
    return kClassCost;
  }

  // Copies a following repeat; the cost of all repetitions.
  std::uint64_t repeated(std::uint64_t cost) {
    if (atEnd() || text_[position_] != '{') return cost;
    std::size_t at = position_ + 1;
    std::uint64_t most = 0;
    bool digits = false;
    std::uint64_t number = 0;
    for (; at < text_.size() && text_[at] != '}'; ++at) {
      if (text_[at] == ',') {
        number = 0;
      } else if (std::isdigit(static_cast<unsigned char>(text_[at])) != 0) {
        number = std::min<std::uint64_t>(number * 10 + static_cast<std::uint64_t>(text_[at] - '0'),
                                         std::numeric_limits<std::uint16_t>::max());
        most = std::max(most, number);
        digits = true;
      } else {
        return cost;
      }
    }
    if (!digits || at >= text_.size()) return cost;
    copy(at + 1 - position_);
    return repeated(std::min(cost * std::max<std::uint64_t>(most, 1), kMostCost + 1));
  }

  const std::string& text_;
  std::size_t position_ = 0;
  std::string result_;
  bool rewrote_ = false;
};

constexpr unsigned int kFlags = HS_FLAG_UTF8 | HS_FLAG_SINGLEMATCH;

// False for an expression that the engine can only approximate, e.g. look-around.
bool isExact(const std::string& text, unsigned int flags) {
  hs_expr_info_t* info = nullptr;
  hs_compile_error_t* error = nullptr;
  const hs_error_t result = hs_expression_info(text.c_str(), flags, &info, &error);
  std::free(info);
  hs_free_compile_error(error);
  return result == HS_SUCCESS;
}

}  // namespace

std::string cheapExpression(const std::string& text) {
  return Rewriter(text).rewritten();
}

ExpressionSet::ExpressionSet(const std::vector<Expression>& expressions) {
  std::vector<Entry> chunk;
  for (const Expression& expression : expressions) {
    std::string cheap = cheapExpression(expression.text);
    // The engine takes texts up to a NUL.
    if (cheap.empty() || cheap.find('\0') != std::string::npos) {
      unsupported_.push_back(expression.item);
      continue;
    }
    const unsigned int flags = kFlags | (expression.ignoreCase ? HS_FLAG_CASELESS : 0u);
    const bool exact = isExact(cheap, flags);
    if (exact && cheap == expression.text) exact_.push_back(expression.item);
    chunk.push_back({std::move(cheap), expression.item, flags | (exact ? 0u : HS_FLAG_PREFILTER)});
    if (chunk.size() == kPerDatabase) build(std::exchange(chunk, {}));
  }
  build(std::move(chunk));
  std::sort(unsupported_.begin(), unsupported_.end());
  std::sort(exact_.begin(), exact_.end());
}

bool ExpressionSet::isProof(std::uint32_t item) const {
  return std::binary_search(exact_.begin(), exact_.end(), item);
}

void ExpressionSet::build(std::vector<Entry> expressions) {
  while (!expressions.empty()) {
    std::vector<const char*> texts;
    std::vector<unsigned int> flags;
    std::vector<unsigned int> numbers;
    for (const Entry& expression : expressions) {
      texts.push_back(expression.text.c_str());
      flags.push_back(expression.flags);
      numbers.push_back(expression.item);
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
      unsupported_.push_back(expressions[index].item);
      expressions.erase(expressions.begin() + static_cast<std::ptrdiff_t>(index));
      continue;
    }
    // Too large for one database.
    const auto middle = expressions.begin() + static_cast<std::ptrdiff_t>(expressions.size() / 2);
    build(std::vector<Entry>(middle, expressions.end()));
    expressions.erase(middle, expressions.end());
  }
}

std::vector<std::uint32_t> ExpressionSet::candidates(std::string_view text) const {
  std::vector<std::uint32_t> items;
  const auto onMatch = [](std::uint32_t item, std::size_t, void* context) {
    static_cast<std::vector<std::uint32_t>*>(context)->push_back(item);
  };
  for (const Database& database : databases_) scanDatabase(database, text, onMatch, &items);
  std::sort(items.begin(), items.end());
  items.erase(std::unique(items.begin(), items.end()), items.end());
  return items;
}

}  // namespace Kestrav::Dictionary
