// Finds the known word that is closest to a mistyped one.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/common/Export.h"

namespace Kestrav::Config::Text {

// Words prepared for many searches.
class KESTRAV_API WordList {
 public:
  WordList() = default;
  explicit WordList(std::span<const std::string> words);

  // Appends the first words until `list` has `most` entries.
  void addTo(std::vector<std::string>& list, std::size_t most) const;

 private:
  friend KESTRAV_API std::string nearest(std::string_view word,
                                         std::span<const WordList* const> lists);
  struct Word {
    std::string text;
    std::string lower;
    std::uint64_t letters;
  };
  std::vector<Word> words_;
};

// The word with the fewest changed, missing, extra or swapped characters, the first of equal ones;
// empty when none is close, or when the lists together have more than 5,000 words.
KESTRAV_API std::string nearest(std::string_view word, std::span<const WordList* const> lists);
KESTRAV_API std::string nearest(std::string_view word, std::span<const std::string> candidates);

// The number of such changes between two words; `most + 1` for more than `most`. REQUIRES: neither
// is longer than kLongestWord.
inline constexpr std::size_t kLongestWord = 64;
KESTRAV_API std::size_t changesBetween(std::string_view a, std::string_view b, std::size_t most);

// "a, b or c".
KESTRAV_API std::string alternatives(std::span<const std::string> words);

}  // namespace Kestrav::Config::Text
