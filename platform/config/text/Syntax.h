// The syntax of single values of the text form.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Kestrav::Config::Text {

// Why a value is refused.
struct Mistake {
  std::string what;
  std::string wouldBeRight;
};

// Checks a text against the syntax of its field (Field::syntax). Nothing when it is right. The
// empty text is always right, and so is any text of a field without a syntax.
std::optional<Mistake> checkSyntax(std::string_view syntax, const std::string& text);

// Whole numbers in decimal or, after "0x", hexadecimal form.
std::optional<std::int64_t> parseInteger(std::string_view text);
// Also ".inf", "-.inf" and ".nan".
std::optional<double> parseReal(const std::string& text);
// on, off, true, false, yes, no.
std::optional<bool> parseBoolean(std::string_view text);

// A text as messages show it: quoted, shortened, on one line.
std::string shown(std::string_view text);

}  // namespace Kestrav::Config::Text
