// Reading configuration files for a verb.
#pragma once

#include <optional>

#include "platform/config/text/Configuration.h"
#include "tools/Verbs.h"

namespace Kestrav::Tool {

// Nothing when there are mistakes; each is printed with file, line and column. `consequence` is
// appended to the line that counts them: "; nothing was changed".
std::optional<Config::Text::Configuration> readFiles(const Context& context, const Files& files,
                                                     const char* consequence = "");

}  // namespace Kestrav::Tool
