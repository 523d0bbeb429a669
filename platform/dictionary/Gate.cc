#include "platform/dictionary/Gate.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstring>
#include <limits>
#include <utility>

#include "platform/dictionary/Words.h"
#include "platform/regex/Characters.h"

namespace Kestrav::Dictionary {
namespace {

constexpr const char* kAnyCharacter = "(?s:.)";
constexpr int kDeepest = 100;

// Measured for the engine on one core, rounded up. Costs above kUnaffordable are not told apart.
constexpr Cost kUnaffordable = 1'000'000;
constexpr Cost kExpression = 250;
constexpr Cost kAlternative = 50;
constexpr Cost kEscape = 150;     // \d, \s, \w
constexpr Cost kClass = 350;      // [a-z]
constexpr Cost kWide = 350;       // characters of several lengths: ".", [^a], \S
constexpr Cost kWideRun = 1'000;  // ".*"
constexpr Cost kOptional = 150;   // at least, of an optional part
constexpr Cost kCharacter = 20;   // that is repeated
// A counted repeat that costs more becomes "+" or "*".
constexpr Cost kMostRepeat = 1'500;

Cost bounded(Cost cost) {
  return std::min(cost, kUnaffordable);
}

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
  Cost cost = 0;
  bool plain = false;      // one character, `literals.front()`
  bool wide = false;       // matches characters of several lengths
  Literals literals = {};  // that every match of the atom contains one of
};

// Reads an expression that PCRE2 has compiled, writes the gate and collects the literals. A part
// that is misread may cost time, but never loses a match: what is not understood is copied and
// gives no literals.
class Parser {
 public:
  explicit Parser(const std::string& text) : text_(text) {}

  Gate parse() {
    Gate gate;
    // Verbs, such as "(*UCP)", change the meaning of the rest; comments hide brackets.
    if (contains("(*") || contains("(?#")) return gate;
    Atom whole = alternatives(0);
    if (position_ != text_.size()) return gate;
    if (understood_ && !misread_) gate.literals = std::move(whole.literals);
    if (shortest(gate.literals) < kShortestLiteral) gate.literals.clear();
    gate.cost = bounded(kExpression + whole.cost);
    // A "[" in a comment may have been read as the start of a class that ends after the comment.
    const bool unclear = !misread_ && changed_ && contains("#");
    // The engine reads a text up to a NUL.
    gate.separate = entangled_ || gate.literals.empty();
    const Cost most = gate.literals.empty() ? kMostSeparateCost : kMostGateCost;
    if (misread_ || unclear || gate.cost > most || contains(std::string_view("\0", 1))) {
      return gate;
    }
    gate.exact = !changed_;
    gate.expression = std::move(result_);
    return gate;
  }

 private:
  bool contains(std::string_view part) const { return text_.find(part) != std::string::npos; }
  bool atEnd() const { return position_ >= text_.size(); }
  char peek(std::size_t ahead = 0) const {
    return position_ + ahead < text_.size() ? text_[position_ + ahead] : '\0';
  }
  void copy(std::size_t count) {
    result_.append(text_, position_, count);
    position_ = std::min(text_.size(), position_ + count);
  }

  // A group's contents, or the whole expression.
  Atom alternatives(int depth) {
    Atom group;
    Cost rest = 0;
    std::size_t count = 0;
    bool all = true;  // each one has literals
    for (;;) {
      Literals literals;
      group.cost += sequence(depth, literals, rest) + kAlternative;
      all &= !literals.empty();
      ++count;
      std::move(literals.begin(), literals.end(), std::back_inserter(group.literals));
      if (peek() != '|' || atEnd()) break;
      copy(1);
    }
    if (!all) group.literals.clear();
    // The engine expands combinations of alternatives with everything that is not literal.
    if (count > 1) group.cost += rest * count / 2 + kAlternative * count;
    group.cost = bounded(group.cost);
    return group;
  }

  // One alternative. Adds to `rest` what its parts cost that are not literal.
  Cost sequence(int depth, Literals& best, Cost& rest) {
    Cost characters = 0;  // bytes of literal characters
    Cost other = 0;
    int wideRuns = 0;
    std::string run;
    const auto endRun = [&] {
      if (!run.empty()) keepBetter(best, {std::exchange(run, {})});
    };
    while (!atEnd() && peek() != ')' && peek() != '|') {
      const std::size_t start = result_.size();
      Atom part = atom(depth);
      const Repeat repeat = repeated(part, start);
      if (part.plain && repeat.least == 1 && repeat.most == 1) {
        run += part.literals.front();
        characters += part.literals.front().size();
        continue;
      }
      if (part.plain && repeat.least >= 1) run += part.literals.front();
      endRun();
      if (!part.plain && repeat.least >= 1) keepBetter(best, std::move(part.literals));
      if (part.wide && repeat.most == kNoLimit) {
        ++wideRuns;
        part.cost = std::max(part.cost, kWideRun);
      }
      other = bounded(other + (repeat.least == 0 ? std::max(part.cost, kOptional) : part.cost));
    }
    endRun();
    entangled_ = entangled_ || wideRuns > 1;
    rest = bounded(rest + other);
    return bounded(3 * characters + characters * characters / 3 + other);
  }

  static Atom plain(char32_t character) {
    Atom result{.cost = kCharacter};
    if (character >= Characters::kStrayByte || isWhiteSpace(character)) return result;
    result.plain = true;
    Characters::append(result.literals.emplace_back(), folded(character));
    return result;
  }

  Atom atom(int depth) {
    const char first = peek();
    if (first == '(') return group(depth);
    if (first == '[') return characterClass();
    if (first == '\\') return escape();
    Atom result;
    if (first == '.') {
      result = {.cost = kWide, .wide = true};
      copy(1);
    } else if (std::strchr("^$*+?{", first) != nullptr && first != '\0') {
      copy(1);
    } else {
      std::size_t end = position_;
      const char32_t character = Characters::next(text_, end);
      result = plain(character);
      copy(end - position_);
    }
    return result;
  }

  Atom group(int depth) {
    Atom result;
    if (depth == kDeepest) {
      misread_ = true;
      result.cost = kUnaffordable;
      position_ = text_.size();
      return result;
    }
    // Of a "(?" group: whether it consumes what its contents match.
    bool plainGroup = true;
    std::size_t opening = 1;
    if (peek(1) == '?') {
      const char kind = peek(2);
      plainGroup = kind == ':' || kind == '>' || kind == '|' || kind == '\'' ||
                   (kind == '<' && peek(3) != '=' && peek(3) != '!') ||
                   (kind == 'P' && peek(3) == '<');
      if (std::isalpha(static_cast<unsigned char>(kind)) != 0 || kind == '^' || kind == '-') {
        // Options: "x" changes how the rest is read.
        const std::size_t end = text_.find_first_of(":)", position_);
        if (text_.substr(position_ + 2, end - position_ - 2).find_first_not_of("ims-") ==
            std::string::npos) {
          plainGroup = true;
        } else if (!plainGroup) {
          understood_ = false;
        }
      }
      opening = kind == '(' ? 2 : 3;  // a condition is read as a group
    }
    copy(opening);
    if (plainGroup && opening == 3) {
      // The rest of a name or of options.
      const char kind = text_[position_ - 1];
      const char* close = kind == '<' ? ">" : kind == '\'' ? "'" : kind == 'P' ? ">" : nullptr;
      if (close == nullptr &&
          (std::isalpha(static_cast<unsigned char>(kind)) != 0 || kind == '-')) {
        close = ":)";
      }
      if (close != nullptr) {
        const std::size_t end = std::min(text_.find_first_of(close, position_), text_.size());
        copy(end - position_ + (end < text_.size() && text_[end] != ')' ? 1 : 0));
      }
    }
    result = alternatives(depth + 1);
    if (!plainGroup) result.literals.clear();
    if (atEnd()) {
      misread_ = true;  // misread
      return result;
    }
    copy(1);
    return result;
  }

  Atom escape() {
    const char kind = peek(1);
    if (kind == 'Q') {
      const std::size_t end = std::min(text_.find("\\E", position_), text_.size());
      const Cost length = end - position_;
      copy(length);
      if (!atEnd()) copy(2);
      return {.cost = length + length * length / 4};
    }
    if (kind == 'p' || kind == 'P' || kind == 'X') {
      skipProperty();
      result_ += kAnyCharacter;
      changed_ = true;
      return {.cost = kWide, .wide = true};
    }
    if (kind != '\0' && std::ispunct(static_cast<unsigned char>(kind)) != 0) {
      copy(2);
      return plain(static_cast<char32_t>(kind));
    }
    copy(2);
    if (kind == 'x' && peek() != '{') return hexadecimal();
    if (std::strchr("dDwWsSbBAzZhHvVRNKnrtfeaG", kind) == nullptr ||
        (kind == 'N' && peek() == '{')) {
      return argument(kind);
    }
    const bool wide = std::isupper(static_cast<unsigned char>(kind)) != 0;
    return {.cost = wide ? kWide : kEscape, .wide = wide};
  }

  // "\x41" without its first two characters.
  Atom hexadecimal() {
    std::uint32_t value = 0;
    const char* first = text_.data() + position_;
    const std::size_t most = std::min<std::size_t>(2, text_.size() - position_);
    copy(static_cast<std::size_t>(std::from_chars(first, first + most, value, 16).ptr - first));
    return plain(value);
  }

  // The argument of the escape "\kind", which is no text.
  Atom argument(char kind) {
    const bool reference = std::isdigit(static_cast<unsigned char>(kind)) != 0;
    if (kind != 'x' && !reference) understood_ = false;
    if (peek() == '{' && kind != '\0' && std::strchr("xogkN", kind) != nullptr) {
      copy(std::min(text_.find('}', position_), text_.size() - 1) + 1 - position_);
    }
    while (reference && std::isdigit(static_cast<unsigned char>(peek())) != 0) copy(1);
    return {.cost = kCharacter};
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

  Atom characterClass() {
    const std::size_t start = position_;
    std::size_t end = start + 1;
    const bool inverted = end < text_.size() && text_[end] == '^';
    if (inverted) ++end;
    if (end < text_.size() && text_[end] == ']') ++end;
    bool property = false;
    while (end < text_.size() && text_[end] != ']') {
      if (text_[end] == '\\' && end + 1 < text_.size()) {
        const char kind = text_[end + 1];
        property |= kind == 'p' || kind == 'P';
        if (kind == 'Q') misread_ = true;  // not read
        end += 2;
      } else if (text_.compare(end, 2, "[:") == 0 && text_.find(":]", end) != std::string::npos) {
        const std::size_t close = text_.find(":]", end);
        // Anything else than a name may be characters, and the class may end earlier.
        misread_ = misread_ ||
                   text_.substr(end + 2, close - end - 2)
                           .find_first_not_of("^abcdefghijklmnopqrstuvwxyz") != std::string::npos;
        end = close + 2;
      } else {
        ++end;
      }
    }
    if (end >= text_.size()) misread_ = true;
    ++end;
    if (property) {
      result_ += kAnyCharacter;
      changed_ = true;
      position_ = std::min(end, text_.size());
    } else {
      copy(end - start);
    }
    const bool wide = property || inverted;
    return {.cost = wide ? kWide : kClass, .wide = wide};
  }

  static constexpr std::uint64_t kNoLimit = std::numeric_limits<std::uint64_t>::max();
  struct Repeat {
    std::uint64_t least = 1;
    std::uint64_t most = 1;
  };

  // Reads the repeats of an atom whose gate begins at `start`, and multiplies its cost.
  Repeat repeated(Atom& part, std::size_t start) {
    Repeat all;
    for (;;) {
      Repeat one;
      std::size_t length = 1;
      switch (peek()) {
        case '?':
          one.least = 0;
          break;
        case '*':
          one = {0, kNoLimit};
          break;
        case '+':
          one = {1, kNoLimit};
          break;
        case '{':
          length = counted(one);
          if (length == 0) {
            all.least = 0;  // no repeat, but rather no literal than a wrong one
            return all;
          }
          break;
        default:
          return all;
      }
      const Cost cost = one.most == kNoLimit ? part.cost * std::max<Cost>(one.least, 1)
                                             : part.cost * std::max<Cost>(one.most, 1);
      if (length > 1 && cost > kMostRepeat && understood_) {
        result_.insert(start, "(?:");
        result_ += one.least == 0 ? ")*" : ")+";
        position_ += length;
        if (peek() == '+') ++position_;  // would not give back what "+" took too much of
        changed_ = true;
        one.most = kNoLimit;
      } else {
        part.cost = bounded(cost);
        copy(length);
        if (peek() == '+') copy(1);
      }
      if (peek() == '?') copy(1);
      all.least = all.least == 0 || one.least == 0 ? 0 : std::max(all.least, one.least);
      all.most = std::max(all.most, one.most);
    }
  }

  // The length of "{2}", "{2,}" or "{2,3}" at the position; 0 for other texts.
  std::size_t counted(Repeat& repeat) const {
    std::size_t at = position_ + 1;
    const auto number = [&](std::uint64_t& value) {
      const std::size_t first = at;
      value = 0;
      while (at < text_.size() && std::isdigit(static_cast<unsigned char>(text_[at])) != 0) {
        value = std::min<std::uint64_t>(value * 10 + static_cast<std::uint64_t>(text_[at++] - '0'),
                                        std::numeric_limits<std::uint16_t>::max());
      }
      return at > first;
    };
    if (!number(repeat.least)) return 0;
    repeat.most = repeat.least;
    if (at < text_.size() && text_[at] == ',') {
      ++at;
      if (!number(repeat.most)) repeat.most = kNoLimit;
    }
    if (at >= text_.size() || text_[at] != '}') return 0;
    return at + 1 - position_;
  }

  const std::string& text_;
  std::size_t position_ = 0;
  std::string result_;
  bool entangled_ = false;  // has several ".*" in a row
  bool changed_ = false;    // the result differs from the text
  bool understood_ = true;  // literals are literals
  bool misread_ = false;    // there is no gate
};

}  // namespace

std::string foldedForGates(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t position = 0; position < text.size();) {
    Characters::append(result, folded(Characters::next(text, position)));
  }
  return result;
}

Gate makeGate(const std::string& expression) {
  return Parser(expression).parse();
}

}  // namespace Kestrav::Dictionary
