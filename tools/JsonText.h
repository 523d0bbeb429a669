// JSON as text. Stored texts may hold any bytes; what is not UTF-8 is replaced.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace Kestrav::Tool {

// On one line.
std::string compact(const nlohmann::ordered_json& value);

// Indented, with a line break at the end.
std::string indented(const nlohmann::ordered_json& value);

// For people: texts without quotes, escaped(); on and off for booleans, the rest as compact().
std::string plain(const nlohmann::ordered_json& value);

}  // namespace Kestrav::Tool
