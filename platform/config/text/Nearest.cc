#include "platform/config/text/Nearest.h"

#include <algorithm>
#include <array>
#include <bit>

#include "platform/common/Strings.h"

namespace Kestrav::Config::Text {
namespace {

constexpr std::size_t kMostWords = 5000;

// One bit for each character that occurs; some characters share a bit.
std::uint64_t lettersOf(std::string_view text) {
  std::uint64_t letters = 0;
  for (const char c : text) letters |= std::uint64_t{1} << (static_cast<unsigned char>(c) & 63);
  return letters;
}

}  // namespace

// Fills only the cells of the table that are at most `most` away from its diagonal. Cells at the
// edges of that band count as `most + 1`.
std::size_t changesBetween(std::string_view a, std::string_view b, std::size_t most) {
  const std::size_t far = most + 1;
  if (a.size() > b.size()) std::swap(a, b);
  if (b.size() - a.size() > most) return far;
  using Row = std::array<std::size_t, kLongestWord + 1>;
  std::array<Row, 3> rows;
  rows[0].fill(far);
  rows[1].fill(far);
  rows[2].fill(far);
  for (std::size_t j = 0; j <= std::min(most, b.size()); ++j) rows[0][j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    Row& row = rows[i % 3];
    const Row& last = rows[(i + 2) % 3];
    const Row& before = rows[(i + 1) % 3];
    const std::size_t from = i > most ? i - most : 0;
    const std::size_t to = std::min(i + most, b.size());
    std::size_t least = far;
    if (from > 0) row[from - 1] = far;
    for (std::size_t j = from; j <= to; ++j) {
      if (j == 0) {
        row[0] = i;
      } else {
        row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (a[i - 1] != b[j - 1]), far});
        if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
          row[j] = std::min(row[j], before[j - 2] + 1);
        }
      }
      least = std::min(least, row[j]);
    }
    if (to < b.size()) row[to + 1] = far;
    // Later rows cannot become smaller: a swap that reaches back costs as much as a changed
    // character.
    if (least > most) return far;
  }
  return std::min(rows[a.size() % 3][b.size()], far);
}

WordList::WordList(std::span<const std::string> words) {
  words_.reserve(words.size());
  for (const std::string& word : words) {
    std::string lower = stringToLower(word);
    const std::uint64_t letters = lettersOf(lower);
    words_.push_back({word, std::move(lower), letters});
  }
}

void WordList::addTo(std::vector<std::string>& list, std::size_t most) const {
  for (std::size_t i = 0; i < words_.size() && list.size() < most; ++i) {
    list.push_back(words_[i].text);
  }
}

std::string nearest(std::string_view word, std::span<const WordList* const> lists) {
  std::size_t words = 0;
  for (const WordList* list : lists) words += list->words_.size();
  if (word.size() > kLongestWord || words > kMostWords) return {};
  const std::string lower = stringToLower(word);
  const std::uint64_t letters = lettersOf(lower);
  std::size_t most = std::max<std::size_t>(2, word.size() / 3);
  const std::string* found = nullptr;
  for (const WordList* list : lists) {
    for (const WordList::Word& candidate : list->words_) {
      const std::size_t size = candidate.lower.size();
      if (size == 0 || size > kLongestWord) continue;
      const std::size_t limit = std::min(most, size - 1);
      // One change takes at most one letter away and brings at most one.
      if (std::popcount(letters & ~candidate.letters) > static_cast<int>(limit)) continue;
      if (std::popcount(candidate.letters & ~letters) > static_cast<int>(limit)) continue;
      const std::size_t changes = changesBetween(lower, candidate.lower, limit);
      if (changes > limit) continue;
      found = &candidate.text;
      if (changes == 0) return *found;
      most = changes - 1;
    }
  }
  return found == nullptr ? std::string() : *found;
}

std::string nearest(std::string_view word, std::span<const std::string> candidates) {
  const WordList list(candidates);
  const WordList* const lists[] = {&list};
  return nearest(word, lists);
}

std::string alternatives(std::span<const std::string> words) {
  std::string text;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (i != 0) text += i + 1 == words.size() ? " or " : ", ";
    text += words[i];
  }
  return text;
}

}  // namespace Kestrav::Config::Text
