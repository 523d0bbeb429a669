// A compiled shell wildcard, matched against a whole subject.
//
//   *        any number of characters, or none
//   ?        one character
//   [a-cx]   one of these characters; [!a-cx] and [^a-cx]: one of all others. A "]" at the start
//            and a "-" at the start or the end are literal
//   \c       the character c, also in a class
//
// Everything else, the dot included, is literal. A character is that of Characters.h. The time of a
// match is at most proportional to the product of both lengths, for any number of stars. Immutable;
// any number of threads may match.
#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Kestrav {

class Wildcard {
 public:
  // Simple forms that can be indexed; T is literal().
  enum class Shape {
    kGeneral,
    kAny,        // "*"
    kLiteral,    // "T"
    kPrefix,     // "T*"
    kSuffix,     // "*T"
    kAtAndTail,  // "*@*T"
  };

  // Throws Exception (StringPattern::kDoesNotCompile) with the reason and the byte offset.
  Wildcard(std::string_view text, bool ignoreCase);

  // Matches `text` only: no character is special.
  static Wildcard literally(std::string_view text, bool ignoreCase);

  bool matches(std::string_view subject) const;

  Shape shape() const { return shape_; }
  // Valid UTF-8 for every shape but kLiteral; case-folded when case is ignored.
  const std::string& literal() const { return literal_; }

 private:
  struct Element {
    enum class Kind : std::uint8_t { kStar, kAnyOne, kOne, kClass };
    Kind kind;
    // kOne: the character, folded when case is ignored. kClass: index in classes_.
    char32_t value = 0;
  };
  // The characters of one [...], with both cases of each letter when case is ignored.
  struct Class {
    bool negated = false;
    std::bitset<128> ascii;
    std::vector<std::pair<char32_t, char32_t>> others;  // sorted, disjoint, inclusive
    bool contains(char32_t character) const;
  };
  class Parser;

  explicit Wildcard(bool ignoreCase) : ignoreCase_(ignoreCase) {}
  void classify();
  bool matchesOne(const Element& element, char32_t character) const;
  bool matchesElements(std::string_view subject) const;
  bool isLiteral(std::string_view part) const;

  bool ignoreCase_;
  bool bytewise_ = false;  // matches by bytes, with ASCII folding at most
  Shape shape_ = Shape::kGeneral;
  std::string literal_;
  std::vector<Element> elements_;  // never two stars in a row
  std::vector<Class> classes_;
};

}  // namespace Kestrav
