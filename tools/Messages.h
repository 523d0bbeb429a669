// What is said to the administrator on stderr: always one line, whatever came in.
#pragma once

#include <exception>
#include <span>
#include <string>
#include <vector>

namespace Kestrav::Tool {

// Line breaks and other controls written as "\n" or "\x1b".
std::string oneLine(const std::string& text);

// What went wrong, without the numbers that only a programmer knows.
std::string explainFailure(const std::exception& error);

// `there is no table "foo"; do you mean "food"?`, or all there are when none is near.
std::string unknown(const std::string& kind, const std::string& word,
                    const std::vector<std::string>& known);

}  // namespace Kestrav::Tool
