// Reading configuration files for a verb.
#pragma once

#include <optional>

#include "platform/config/text/Configuration.h"
#include "tools/Verbs.h"

namespace Kestrav::Tool {

// Prints mistakes and warnings with file, line and column, and then their number. Nothing when
// there are mistakes; `consequence` is appended to the line with their number: "; nothing was
// changed".
std::optional<Config::Text::Configuration> readFiles(const Context& context, const Files& files,
                                                     const char* consequence = "");

}  // namespace Kestrav::Tool
