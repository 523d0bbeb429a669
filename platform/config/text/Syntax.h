// What single values of the text form must look like.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Kestrav::Config::Text {

// Why a value will not do.
struct Mistake {
  std::string what;
  std::string wouldBeRight;
};

// Holds a text against the form that its field demands (Field::syntax). Nothing when it is right;
// the empty text always is, and so is any text of a field without a form.
std::optional<Mistake> checkSyntax(std::string_view syntax, const std::string& text);

// Whole numbers in decimal or, after "0x", hexadecimal form.
std::optional<std::int64_t> parseInteger(std::string_view text);
// Also ".inf", "-.inf" and ".nan".
std::optional<double> parseReal(const std::string& text);
// on, off, true, false, yes, no.
std::optional<bool> parseBoolean(std::string_view text);

// A text as messages show it: quoted, cut to a reasonable length, on one line.
std::string shown(std::string_view text);

}  // namespace Kestrav::Config::Text
