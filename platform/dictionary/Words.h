// What a dictionary takes for a character, a word and white space in a text.
//
// Characters are those of regex/Characters.h: a valid UTF-8 sequence, or one byte that belongs to
// none. Letters, digits and combining marks join into words, except in scripts that are written
// without blanks between words (Han, kana, Thai and the like): there every place may start or end a
// word. All functions are pure; any thread may call them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Kestrav::Dictionary {

// True for a character that cannot be told from its word when its neighbour is one as well.
bool joinsWords(char32_t character);

// True when `position` lies within a word: the characters on both its sides join. False at both
// ends of the text. REQUIRES: position <= text.size().
bool splitsWord(std::string_view text, std::size_t position);

// True when [begin, end) starts and ends between characters.
bool isWholeCharacters(std::string_view text, std::size_t begin, std::size_t end);

// True when [begin, end) holds whole characters and splits no word at either side. So
// "$$$" is found next to a letter, but "cash" is not found in "cashew".
bool isWholeWord(std::string_view text, std::size_t begin, std::size_t end);

// Every run of white space made one blank and, when asked for, letter case folded.
std::string normalised(std::string_view text, bool foldCase);

// The same characters, with U+FFFD for every byte that is not part of UTF-8.
std::string asUtf8(std::string_view text);

bool isWhiteSpace(char32_t character);

}  // namespace Kestrav::Dictionary
