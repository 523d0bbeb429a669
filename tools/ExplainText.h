// The document of `explain`, for people.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "tools/Verbs.h"

namespace Kestrav::Tool {

void printExplanation(const nlohmann::ordered_json& document, const Context& context);

}  // namespace Kestrav::Tool
