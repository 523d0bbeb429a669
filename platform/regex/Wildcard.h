// A compiled shell wildcard, matched against a whole subject.
//
//   *        any number of characters, none included
//   ?        one character
//   [a-cx]   one of the characters named; [!a-cx] and [^a-cx] one of the others. A "]" that comes
//   first
//            and a "-" that comes first or last stand for themselves
//   \c       the character c itself, in a class too
//
// Everything else stands for itself. The time a match takes grows at most with the product of both
// lengths, whatever the number of stars. Immutable once compiled; any number of threads may match.
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
  // The simple forms that an index can look up instead of trying them; T is literal().
  enum class Shape {
    kGeneral,
    kAny,        // "*"
    kLiteral,    // "T"
    kPrefix,     // "T*"
    kSuffix,     // "*T"
    kAtAndTail,  // "*@*T"
  };

  // Throws Exception (StringPattern::kDoesNotCompile) naming what is wrong and at which byte.
  Wildcard(std::string_view text, bool ignoreCase);

  // The wildcard that matches `text` alone, every character standing for itself.
  static Wildcard literally(std::string_view text, bool ignoreCase);

  bool matches(std::string_view subject) const;

  Shape shape() const { return shape_; }
  // Valid UTF-8 for every shape but kLiteral; case-folded when case is ignored.
  const std::string& literal() const { return literal_; }

 private:
  struct Element {
    enum class Kind : std::uint8_t { kStar, kAnyOne, kOne, kClass };
    Kind kind;
    char32_t value =
        0;  // kOne: the character, folded when case is ignored; kClass: place in classes_
  };
  // The characters of one [...]; closed over letter case when that is ignored.
  struct Class {
    bool negated = false;
    std::bitset<128> ascii;
    std::vector<std::pair<char32_t, char32_t>> others;  // sorted, disjoint, inclusive
    bool holds(char32_t character) const;
  };
  class Parser;

  explicit Wildcard(bool ignoreCase) : ignoreCase_(ignoreCase) {}
  void classify();
  bool matchesOne(const Element& element, char32_t character) const;
  bool matchesElements(std::string_view subject) const;
  bool sameBytes(std::string_view part) const;

  bool ignoreCase_;
  bool bytewise_ = false;  // the shape can be decided on bytes, with ASCII folding at most
  Shape shape_ = Shape::kGeneral;
  std::string literal_;
  std::vector<Element> elements_;  // never two stars in a row
  std::vector<Class> classes_;
};

}  // namespace Kestrav
