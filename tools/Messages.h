// Messages for the administrator on stderr. Each is one line.
#pragma once

#include <exception>
#include <string>
#include <vector>

namespace Kestrav::Tool {

// Line breaks and other control characters become "\n" or "\x1b".
std::string oneLine(const std::string& text);

// Message, parameter and causes of the exception, without its code, source and line.
std::string explainFailure(const std::exception& error);

// `there is no table "foo"; did you mean "food"?`, or the known words when none is similar.
std::string unknown(const std::string& kind, const std::string& word,
                    const std::vector<std::string>& known);

}  // namespace Kestrav::Tool
