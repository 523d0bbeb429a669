#include "platform/regex/Wildcard.h"

#include <unicode/uset.h>

#include <algorithm>
#include <memory>

#include "platform/common/Exception.h"
#include "platform/common/Strings.h"
#include "platform/regex/Characters.h"
#include "platform/regex/StringPattern.h"

namespace Kestrav {
namespace {

constexpr char32_t kAsciiEnd = 0x80;

using Ranges = std::vector<std::pair<char32_t, char32_t>>;

[[noreturn]] void fail(std::string_view text, const std::string& what, std::size_t offset) {
  throw Exception("wildcard does not compile: " + what + " at offset " + std::to_string(offset),
                  StringPattern::kDoesNotCompile, "Wildcard")
      .stringParameter(std::string(text));
}

// Sorted and merged, with all cases of every letter for `ignoreCase`.
Ranges normalised(const Ranges& ranges, bool ignoreCase) {
  const std::unique_ptr<USet, decltype(&uset_close)> set(uset_openEmpty(), &uset_close);
  Ranges result;
  for (const auto& [first, last] : ranges) {
    if (first < Characters::kStrayByte) {
      const char32_t lastCharacter = std::min<char32_t>(last, Characters::kStrayByte - 1);
      uset_addRange(set.get(), static_cast<UChar32>(first), static_cast<UChar32>(lastCharacter));
    }
  }
  if (ignoreCase) uset_closeOver(set.get(), USET_CASE_INSENSITIVE);
  uset_removeRange(set.get(), 0, kAsciiEnd - 1);
  for (std::int32_t i = 0, n = uset_getRangeCount(set.get()); i < n; ++i) {
    UChar32 first = 0;
    UChar32 last = 0;
    UErrorCode status = U_ZERO_ERROR;
    // A positive length is a string; strings come after the ranges.
    if (uset_getItem(set.get(), i, &first, &last, nullptr, 0, &status) == 0) {
      result.emplace_back(static_cast<char32_t>(first), static_cast<char32_t>(last));
    }
  }

  std::bitset<256> stray;
  for (const auto& [first, last] : ranges) {
    for (char32_t c = std::max(first, Characters::kStrayByte); c <= last; ++c) {
      stray.set(c - Characters::kStrayByte);
    }
  }
  for (char32_t byte = 0; byte < stray.size(); ++byte) {
    const char32_t c = Characters::kStrayByte + byte;
    if (stray[byte]) result.emplace_back(c, c);
  }
  return result;
}

}  // namespace

class Wildcard::Parser {
 public:
  Parser(std::string_view text, Wildcard& out) : text_(text), out_(out) {}

  void run() {
    while (position_ < text_.size()) {
      const std::size_t start = position_;
      const char32_t c = Characters::next(text_, position_);
      switch (c) {
        case U'*':
          if (out_.elements_.empty() || out_.elements_.back().kind != Element::Kind::kStar) {
            out_.elements_.push_back({Element::Kind::kStar});
          }
          break;
        case U'?':
          out_.elements_.push_back({Element::Kind::kAnyOne});
          break;
        case U'[':
          readClass(start);
          break;
        case U'\\':
          one(escaped(start));
          break;
        default:
          one(c);
      }
    }
  }

 private:
  void one(char32_t c) {
    out_.elements_.push_back({Element::Kind::kOne, out_.ignoreCase_ ? Characters::fold(c) : c});
  }

  char32_t escaped(std::size_t start) {
    if (position_ == text_.size()) fail(text_, "nothing follows the backslash", start);
    return Characters::next(text_, position_);
  }

  char32_t member(std::size_t open) {
    if (position_ == text_.size()) fail(text_, "no \"]\" closes the class that starts", open);
    const std::size_t start = position_;
    const char32_t c = Characters::next(text_, position_);
    return c == U'\\' ? escaped(start) : c;
  }

  bool at(char c) const { return position_ < text_.size() && text_[position_] == c; }

  // At a "-" that is not the last character of the class.
  bool atRange() const {
    return at('-') && position_ + 1 < text_.size() && text_[position_ + 1] != ']';
  }

  void readClass(std::size_t open) {
    Class result;
    if (at('!') || at('^')) {
      result.negated = true;
      ++position_;
    }
    Ranges ranges;
    do {
      const std::size_t start = position_;
      const char32_t first = member(open);
      char32_t last = first;
      if (atRange()) {
        ++position_;
        last = member(open);
        if (last < first) fail(text_, "the range runs backwards", start);
      }
      ranges.emplace_back(first, last);
    } while (!at(']'));
    ++position_;

    for (const auto& [first, last] : ranges) {
      for (char32_t c = first; c <= last && c < kAsciiEnd; ++c) {
        result.ascii.set(c);
        if (out_.ignoreCase_ && c >= U'a' && c <= U'z') result.ascii.set(c - U'a' + U'A');
        if (out_.ignoreCase_ && c >= U'A' && c <= U'Z') result.ascii.set(c - U'A' + U'a');
      }
    }
    // Folded apart from ASCII: neither folds into the other.
    Ranges others;
    for (const auto& [first, last] : ranges) {
      if (last >= kAsciiEnd) others.emplace_back(std::max(first, kAsciiEnd), last);
    }
    if (!others.empty()) result.others = normalised(others, out_.ignoreCase_);
    out_.elements_.push_back({Element::Kind::kClass, static_cast<char32_t>(out_.classes_.size())});
    out_.classes_.push_back(std::move(result));
  }

  std::string_view text_;
  std::size_t position_ = 0;
  Wildcard& out_;
};

Wildcard::Wildcard(std::string_view text, bool ignoreCase) : ignoreCase_(ignoreCase) {
  Parser(text, *this).run();
  classify();
}

Wildcard Wildcard::literally(std::string_view text, bool ignoreCase) {
  Wildcard result(ignoreCase);
  for (std::size_t position = 0; position < text.size();) {
    const char32_t c = Characters::next(text, position);
    result.elements_.push_back({Element::Kind::kOne, ignoreCase ? Characters::fold(c) : c});
  }
  result.classify();
  return result;
}

void Wildcard::classify() {
  using Kind = Element::Kind;
  const auto isStar = [this](std::size_t i) {
    return i < elements_.size() && elements_[i].kind == Kind::kStar;
  };
  // Makes the characters from `first` to `end` the literal; false unless all elements are
  // characters.
  const auto take = [this](std::size_t first, std::size_t end) {
    literal_.clear();
    for (std::size_t i = first; i < end; ++i) {
      if (elements_[i].kind != Kind::kOne) return false;
      Characters::append(literal_, elements_[i].value);
    }
    return true;
  };
  const std::size_t size = elements_.size();
  const bool afterAt = isStar(0) && isStar(2) && size > 3 && elements_[1].kind == Kind::kOne &&
                       elements_[1].value == U'@';
  if (size == 1 && isStar(0)) {
    shape_ = Shape::kAny;
  } else if (take(0, size)) {
    shape_ = Shape::kLiteral;
  } else if (isStar(size - 1) && take(0, size - 1)) {
    shape_ = Shape::kPrefix;
  } else if (isStar(0) && take(1, size)) {
    shape_ = Shape::kSuffix;
  } else if (afterAt && take(3, size)) {
    shape_ = Shape::kAtAndTail;
  }
  // A comparison of bytes could find a stray byte inside of a character.
  const bool split = shape_ != Shape::kLiteral && !Characters::isUtf8(literal_);
  if (split) shape_ = Shape::kGeneral;
  if (shape_ == Shape::kGeneral) literal_.clear();
  bytewise_ = shape_ != Shape::kGeneral && (!ignoreCase_ || isAscii(literal_));
}

bool Wildcard::Class::contains(char32_t character) const {
  bool listed = false;
  if (character < kAsciiEnd) {
    listed = ascii[character];
  } else {
    const auto after = std::upper_bound(
        others.begin(), others.end(), character,
        [](char32_t c, const std::pair<char32_t, char32_t>& range) { return c < range.first; });
    listed = after != others.begin() && character <= std::prev(after)->second;
  }
  return listed != negated;
}

bool Wildcard::matchesOne(const Element& element, char32_t character) const {
  switch (element.kind) {
    case Element::Kind::kAnyOne:
      return true;
    case Element::Kind::kOne:
      return element.value == (ignoreCase_ ? Characters::fold(character) : character);
    case Element::Kind::kClass:
      return classes_[element.value].contains(character);
    case Element::Kind::kStar:
      break;
  }
  return false;
}

// Backtracks to the latest star only: the elements before it have matched as early as possible, so
// a later match of them cannot help the rest.
bool Wildcard::matchesElements(std::string_view subject) const {
  constexpr std::size_t kNone = static_cast<std::size_t>(-1);
  std::size_t element = 0;
  std::size_t position = 0;
  std::size_t afterStar = kNone;
  std::size_t retryFrom = 0;
  while (position < subject.size()) {
    if (element < elements_.size() && elements_[element].kind == Element::Kind::kStar) {
      afterStar = ++element;
      if (element == elements_.size()) return true;
      retryFrom = position;
      continue;
    }
    std::size_t next = position;
    const char32_t character = Characters::next(subject, next);
    if (element < elements_.size() && matchesOne(elements_[element], character)) {
      ++element;
      position = next;
    } else if (afterStar != kNone) {
      Characters::next(subject, retryFrom);
      element = afterStar;
      position = retryFrom;
    } else {
      return false;
    }
  }
  return element == elements_.size() ||
         (element + 1 == elements_.size() && elements_[element].kind == Element::Kind::kStar);
}

bool Wildcard::isLiteral(std::string_view part) const {
  if (!ignoreCase_) return part == literal_;
  return std::equal(part.begin(), part.end(), literal_.begin(), literal_.end(),
                    [](char a, char b) { return asciiToLower(a) == b; });
}

bool Wildcard::matches(std::string_view subject) const {
  if (!bytewise_) return matchesElements(subject);
  if (subject.size() < literal_.size()) return false;
  const std::size_t rest = subject.size() - literal_.size();
  switch (shape_) {
    case Shape::kAny:
      return true;
    case Shape::kLiteral:
      return rest == 0 && isLiteral(subject);
    case Shape::kPrefix:
      return isLiteral(subject.substr(0, literal_.size()));
    case Shape::kSuffix:
      return isLiteral(subject.substr(rest));
    case Shape::kAtAndTail:
      return isLiteral(subject.substr(rest)) &&
             subject.substr(0, rest).find('@') != std::string_view::npos;
    case Shape::kGeneral:
      break;
  }
  return matchesElements(subject);
}

}  // namespace Kestrav
