// Text for header values that have to be ASCII.
#pragma once

#include <string>

#include "platform/common/Export.h"

namespace Kestrav {

// An encoded word of RFC 2047 may have this many characters, its delimiters included.
constexpr std::size_t kLongestEncodedWord = 75;

// The UTF-8 text as encoded words of RFC 2047, separated by one blank each, written in `charset`
// (the name appears in the words as given). Of the two encodings the one that gives the shorter
// result, Q when they are equal. Each word can be decoded by itself: no character is split between
// two.
//
// Plain ASCII is encoded too, so that blanks at its edges survive and a text that looks like an
// encoded word stays what it is. The words are good for a phrase as well as for unstructured text.
// An empty text gives an empty result. Characters that would break a line, and the other controls,
// become blanks (tabs stay); ill-formed UTF-8 becomes U+FFFD. A charset that is unknown, cannot
// express the whole text, or has a name too long for an encoded word is replaced by "utf-8".
//
// Any thread may call it.
KESTRAV_API std::string vexa_encode_rfc2047(const std::string& text, const std::string& charset);

// What a header value with encoded words says, in UTF-8: the way back, for showing it to people.
// Words that cannot be decoded, and all text outside of words, stay as they are; controls become
// blanks and ill-formed characters U+FFFD.
//
// Any thread may call it.
KESTRAV_API std::string vexa_decode_rfc2047(const std::string& text);

}  // namespace Kestrav
