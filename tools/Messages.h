// Text for terminals. A message for the administrator is one line on stderr.
#pragma once

#include <exception>
#include <string>
#include <string_view>
#include <vector>

namespace Kestrav::Tool {

// Control characters, except line breaks and tabs, become "\x1b" or "\u009b", and bytes that are
// not UTF-8 "\xff".
std::string escaped(std::string_view text);

// The same, with line breaks as "\n" and tabs as "\x09".
std::string oneLine(std::string_view text);

// Message, parameter and causes of the exception, without its code, source and line.
std::string explainFailure(const std::exception& error);

// `there is no table "foo"; did you mean "food"?`, or the known words when none is similar.
std::string unknown(const std::string& kind, const std::string& word,
                    const std::vector<std::string>& known);

}  // namespace Kestrav::Tool
