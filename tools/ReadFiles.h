// Reading configuration files for a verb.
#pragma once

#include <optional>

#include "platform/config/text/Configuration.h"
#include "tools/Verbs.h"

namespace Kestrav::Tool {

// Empty when there are mistakes; each has been printed then, with file, line and column.
// `consequence` follows their number: "; nothing was changed".
std::optional<Config::Text::Configuration> readFiles(const Context& context, const Files& files,
                                                     const char* consequence = "");

}  // namespace Kestrav::Tool
