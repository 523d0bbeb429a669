// Encoded words of RFC 2047, for header values in ASCII.
#pragma once

#include <string>
#include <string_view>

#include "platform/common/Export.h"

namespace Kestrav {

// In characters, including the delimiters.
constexpr std::size_t kLongestEncodedWord = 75;

// Encodes UTF-8 text in `charset` as words that are separated by one blank each; the words contain
// the charset's name as given. Uses the encoding with the shorter result, Q when both are equal. No
// character is split between two words.
//
// Plain ASCII is encoded, too: it keeps blanks at both ends, and a text that looks like an encoded
// word is not decoded later. The words are valid in a phrase and in unstructured text. An empty
// text gives an empty result. Line breaks and other controls except tabs become blanks; ill-formed
// UTF-8 becomes U+FFFD. "utf-8" replaces a charset that is unknown, cannot express the whole text,
// or has a name too long for an encoded word.
//
// Any thread may call it.
KESTRAV_API std::string vexa_encode_rfc2047(const std::string& text, const std::string& charset);

// Decodes a header value with encoded words to UTF-8, for display. Words that cannot be decoded and
// text outside of words are kept; controls become blanks, ill-formed UTF-8 becomes U+FFFD.
//
// Any thread may call it.
KESTRAV_API std::string vexa_decode_rfc2047(const std::string& text);

// The text with its base64 words in Q, for GMime: it drops the end of a base64 word without
// padding, and what follows padding when it joins words.
std::string wordsInQ(std::string_view text);

}  // namespace Kestrav
