// Words and white space in the texts that dictionaries scan.
//
// Characters are those of regex/Characters.h. Letters, digits and combining marks form words. In
// scripts without blanks between words (Han, kana, Thai and others) a word may start or end between
// any two characters. Any thread may call these functions.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Kestrav::Dictionary {

// True for a character that forms a word with a neighbour of the same kind.
bool joinsWords(char32_t character);

// True when the characters before and after `position` both join words. False at both ends of the
// text. REQUIRES: position <= text.size().
bool splitsWord(std::string_view text, std::size_t position);

// [begin, end) starts and ends between characters.
bool isWholeCharacters(std::string_view text, std::size_t begin, std::size_t end);

// [begin, end) consists of whole characters and splits no word: "$$$" matches next to a letter, but
// "cash" does not match in "cashew".
bool isWholeWord(std::string_view text, std::size_t begin, std::size_t end);

// Every run of white space becomes one blank; optionally folds letter case.
std::string normalised(std::string_view text, bool foldCase);

// U+FFFD replaces every byte that is not part of a UTF-8 sequence.
std::string asUtf8(std::string_view text);

bool isWhiteSpace(char32_t character);

}  // namespace Kestrav::Dictionary
