#include "platform/config/text/Nearest.h"

#include <algorithm>
#include <cstdlib>

#include "platform/common/Strings.h"

namespace Kestrav::Config::Text {
namespace {

constexpr std::size_t kLongest = 64;           // characters of a word that are compared
constexpr std::size_t kMostCandidates = 5000;  // a longer list is not searched

std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> before, last(b.size() + 1), row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) last[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (a[i - 1] != b[j - 1])});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        row[j] = std::min(row[j], before[j - 2] + 1);
      }
    }
    before = last;
    std::swap(last, row);
  }
  return last[b.size()];
}

}  // namespace

std::string nearest(std::string_view word, std::span<const std::string> candidates) {
  if (word.size() > kLongest || candidates.size() > kMostCandidates) return {};
  const std::string lower = stringToLower(word);
  std::size_t best = std::max<std::size_t>(2, word.size() / 3) + 1;
  std::string found;
  for (const std::string& candidate : candidates) {
    if (candidate.size() > kLongest) continue;
    const std::size_t changes = distance(lower, stringToLower(candidate));
    if (changes < best && changes < candidate.size()) {
      best = changes;
      found = candidate;
    }
  }
  return found;
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
