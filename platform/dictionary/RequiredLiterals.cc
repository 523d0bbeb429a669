#include "platform/dictionary/RequiredLiterals.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstring>
#include <iterator>
#include <utility>

#include "platform/regex/Characters.h"

namespace Kestrav::Dictionary {
namespace {

constexpr int kDeepest = 100;

// The one form of all cases of a character that expressions take for the same.
char32_t folded(char32_t character) {
  constexpr char32_t kKelvin = 0x212A;
  constexpr char32_t kLongS = 0x17F;
  if (character == kKelvin) return U'k';
  return character == kLongS ? U's' : Characters::fold(character);
}

using Literals = std::vector<std::string>;

std::size_t shortest(const Literals& literals) {
  std::size_t least = literals.empty() ? 0 : literals.front().size();
  for (const std::string& literal : literals) least = std::min(least, literal.size());
  return least;
}

// Longer literals are found less often by chance.
void keepBetter(Literals& best, Literals&& other) {
  const std::size_t was = shortest(best);
  const std::size_t is = shortest(other);
  if (is > was || (is == was && other.size() < best.size())) best = std::move(other);
}

// One item of a sequence.
struct Atom {
  std::string character;   // when it matches just this one
  Literals literals = {};  // that every match of it contains one of
};

// A part that is not understood gives no literals; one that may change how the rest is read ends
// the search for literals.
class Parser {
 public:
  explicit Parser(const std::string& text) : text_(text) {}

  Literals literals() {
    // Verbs, such as "(*ACCEPT)", change what the rest matches; comments hide brackets.
    if (contains("(*") || contains("(?#")) return {};
    Literals all = alternatives(0);
    if (!understood_ || position_ != text_.size() || shortest(all) < kShortestLiteral) return {};
    return all;
  }

 private:
  bool contains(std::string_view part) const { return text_.find(part) != std::string::npos; }
  bool atEnd() const { return position_ >= text_.size(); }
  char peek(std::size_t ahead = 0) const {
    return position_ + ahead < text_.size() ? text_[position_ + ahead] : '\0';
  }
  bool isDigitNext() const { return std::isdigit(static_cast<unsigned char>(peek())) != 0; }
  void skip(std::size_t count) { position_ = std::min(text_.size(), position_ + count); }
  void skipBehind(const char* one) {
    skip(std::min(text_.find_first_of(one, position_), text_.size()) + 1 - position_);
  }
  void giveUp() {
    understood_ = false;
    position_ = text_.size();
  }

  // A group's contents, or the whole expression: the literals of all alternatives, if each has
  // some.
  Literals alternatives(int depth) {
    Literals all;
    bool each = true;
    for (;;) {
      Literals literals = sequence(depth);
      each &= !literals.empty();
      std::move(literals.begin(), literals.end(), std::back_inserter(all));
      if (atEnd() || peek() != '|') break;
      skip(1);
    }
    if (!each) all.clear();
    return all;
  }

  // The best literals of one alternative.
  Literals sequence(int depth) {
    Literals best;
    std::string run;
    const auto endRun = [&] {
      if (!run.empty()) keepBetter(best, {std::exchange(run, {})});
    };
    while (!atEnd() && peek() != ')' && peek() != '|') {
      Atom part = atom(depth);
      const Repeat repeat = repeated();
      if (!repeat.optional) run += part.character;
      if (part.character.empty() || repeat.repeats) endRun();
      if (!repeat.optional) keepBetter(best, std::move(part.literals));
    }
    endRun();
    return best;
  }

  static Atom plain(char32_t character) {
    Atom result;
    if (character < Characters::kStrayByte) Characters::append(result.character, folded(character));
    return result;
  }

  Atom atom(int depth) {
    switch (peek()) {
      case '(':
        return group(depth);
      case '[':
        skipClass();
        return {};
      case '\\':
        return escape();
      case '.':
      case '^':
      case '$':
        skip(1);
        return {};
      default:
        return plain(Characters::next(text_, position_));
    }
  }

  Atom group(int depth) {
    skip(1);
    // Of a group with "?": whether a match contains what the group's contents match.
    bool plainGroup = true;
    if (peek() == '?') {
      const char kind = peek(1);
      const bool name = kind == '\'' || (kind == '<' && std::strchr("=!*", peek(2)) == nullptr) ||
                        (kind == 'P' && peek(2) == '<');
      if (name) {
        skip(kind == 'P' ? 3 : 2);
        skipBehind(kind == '\'' ? "'" : ">");
      } else if (kind == ':' || kind == '>' || kind == '|') {
        skip(2);
      } else if (std::strchr("=!<(", kind) != nullptr) {
        // Look-around or a condition. What follows is read as the contents of a group.
        plainGroup = false;
        skip(kind == '(' ? 1 : 2);
      } else {
        // Options. "x" changes how the rest is read; others are no options.
        const std::size_t end = text_.find_first_not_of("ims-", position_ + 1);
        if (end == std::string::npos || (text_[end] != ':' && text_[end] != ')')) {
          giveUp();
          return {};
        }
        position_ = text_[end] == ':' ? end + 1 : end;
      }
    }
    Atom result;
    if (depth == kDeepest) {
      giveUp();
      return result;
    }
    Literals contents = alternatives(depth + 1);
    if (plainGroup) result.literals = std::move(contents);
    if (atEnd()) understood_ = false;
    skip(1);
    return result;
  }

  Atom escape() {
    const char kind = peek(1);
    skip(2);
    if (std::ispunct(static_cast<unsigned char>(kind)) != 0)
      return plain(static_cast<char32_t>(kind));
    const bool braces = peek() == '{';
    if (kind == 'x' && !braces) return hexadecimal();
    if (std::isdigit(static_cast<unsigned char>(kind)) != 0) {
      while (isDigitNext()) skip(1);  // a reference or an octal number
    } else if (kind == 'p' || kind == 'P' || kind == 'x') {
      if (braces) {
        skipBehind("}");
      } else {
        skip(1);
      }
    } else if (std::strchr("dDwWsSbBAzZhHvVRNKnrtfeaGX", kind) == nullptr ||
               (kind == 'N' && braces)) {
      giveUp();
    }
    return {};
  }

  // "\x41" without its first two characters.
  Atom hexadecimal() {
    std::uint32_t value = 0;
    const char* first = text_.data() + position_;
    const std::size_t most = std::min<std::size_t>(2, text_.size() - position_);
    skip(static_cast<std::size_t>(std::from_chars(first, first + most, value, 16).ptr - first));
    return plain(value);
  }

  void skipClass() {
    std::size_t end = position_ + 1;
    const auto at = [&](std::size_t place) { return place < text_.size() ? text_[place] : '\0'; };
    if (at(end) == '^') ++end;
    if (at(end) == ']') ++end;
    while (end < text_.size() && text_[end] != ']') {
      // "\\Q" quotes brackets, a "]" after a first "\\E" does not end the class, and anything else
      // than a name after "[:" may end it earlier.
      if (text_[end] == '\\' && (at(end + 1) == 'Q' || at(end + 1) == 'E')) return giveUp();
      if (text_.compare(end, 2, "[:") == 0) {
        const std::size_t name = text_.find_first_not_of("^abcdefghijklmnopqrstuvwxyz", end + 2);
        if (name == std::string::npos || text_.compare(name, 2, ":]") != 0) return giveUp();
        end = name + 2;
      } else {
        end += text_[end] == '\\' ? 2 : 1;
      }
    }
    if (end >= text_.size()) return giveUp();
    position_ = end + 1;
  }

  struct Repeat {
    bool optional = false;
    bool repeats = false;
  };

  // Reads the repeats of an atom.
  Repeat repeated() {
    Repeat all;
    bool suffix = false;  // "?" and "+" only say how the repeat before them searches
    for (;;) {
      const char kind = peek();
      if (suffix && (kind == '?' || kind == '+')) {
        suffix = false;
        skip(1);
        continue;
      }
      if (kind == '{') {
        all.optional |= leastCount() == 0;
      } else if (kind == '?' || kind == '*' || kind == '+') {
        all.optional |= kind != '+';
        skip(1);
      } else {
        return all;
      }
      all.repeats = suffix = true;
    }
  }

  // Reads "{2,3}". "{,3}" and the like are characters, but rather no literal than a wrong one.
  std::uint32_t leastCount() {
    std::uint32_t least = 0;
    skip(1);
    const char* first = text_.data() + position_;
    std::from_chars(first, text_.data() + text_.size(), least);
    while (isDigitNext() || peek() == ',') skip(1);
    if (peek() == '}') skip(1);
    return least;
  }

  const std::string& text_;
  std::size_t position_ = 0;
  bool understood_ = true;
};

}  // namespace

std::string foldedText(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t position = 0; position < text.size();) {
    Characters::append(result, folded(Characters::next(text, position)));
  }
  return result;
}

std::vector<std::string> requiredLiterals(const std::string& expression) {
  return Parser(expression).literals();
}

}  // namespace Kestrav::Dictionary
