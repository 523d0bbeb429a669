// The syntax of single values of the text form.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/config/text/Phrase.h"

namespace Kestrav::Config::Text {

// Why a value is refused.
struct Mistake {
  Phrase what;
  std::string wouldBeRight;
};

// Checks a text against the syntax of its field (Field::syntax). Nothing when it is right. The
// empty text is always right, and so is any text of a field without a syntax.
std::optional<Mistake> checkSyntax(std::string_view syntax, const std::string& text);

// The bytes of a base64 text, which may have blanks and line breaks; nothing when it is malformed.
std::optional<std::string> parseBinary(std::string_view text);
// Whole numbers in decimal or, after "0x", hexadecimal form.
std::optional<std::int64_t> parseInteger(std::string_view text);
// Also ".inf", "-.inf" and ".nan".
std::optional<double> parseReal(const std::string& text);
// on, off, true, false, yes, no.
std::optional<bool> parseBoolean(std::string_view text);

}  // namespace Kestrav::Config::Text
