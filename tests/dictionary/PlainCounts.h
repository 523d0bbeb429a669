// The plainest implementation of the rules for counting matches, to compare scanners with.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/config/records/DictionaryRecords.h"
#include "platform/dictionary/Words.h"
#include "platform/regex/Pcre.h"

namespace Kestrav::Testing {

inline std::uint32_t atMostOf(const __vexa_dictionary_item& item, std::uint32_t count) {
  return item.max_count != 0 ? std::min<std::uint32_t>(count, item.max_count) : count;
}

// Of a literal.
inline std::uint32_t plainCount(const __vexa_dictionary_item& item, const std::string& text) {
  const bool fold = item.case_sensitive == 0;
  const std::string in = Dictionary::normalised(text, fold);
  std::string word = Dictionary::normalised(item.text, fold);
  if (!word.empty() && word.back() == ' ') word.pop_back();
  if (!word.empty() && word.front() == ' ') word.erase(0, 1);
  std::uint32_t count = 0;
  for (std::size_t from = 0; (from = in.find(word, from)) != std::string::npos;) {
    const std::size_t end = from + word.size();
    const bool whole = item.whole_words ? Dictionary::isWholeWord(in, from, end)
                                        : Dictionary::isWholeCharacters(in, from, end);
    count += whole ? 1 : 0;
    from = whole ? end : from + 1;
  }
  return atMostOf(item, count);
}

// Of an expression that may match parts of words, without bounding the work as a whole; nothing
// when a search was given up. REQUIRES: the text is UTF-8.
inline std::optional<std::uint32_t> plainExpressionCount(const __vexa_dictionary_item& item,
                                                         const std::string& text) {
  const Pcre::Program program(item.text, {.ignoreCase = item.case_sensitive == 0, .utf8 = true});
  std::uint32_t count = 0;
  for (std::size_t from = 0; program.compiled() && from < text.size(); ++count) {
    const Pcre::Result result = program.next(text, from);
    if (result.status == Pcre::Status::kNotFound) break;
    if (result.status != Pcre::Status::kFound) return std::nullopt;
    // A look-behind that contains \K can end a match before its start.
    if (result.end <= from) return atMostOf(item, count + 1);
    from = result.end;
  }
  return atMostOf(item, count);
}

}  // namespace Kestrav::Testing
