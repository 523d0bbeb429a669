// Actions of a profile, as `explain` prints them.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "ActionContainer.h"
#include "tools/Names.h"

namespace Kestrav::Tool {

// The actions in order, each with its value, its parameters and a sentence. `domain` is where the
// policy looked for the profile.
nlohmann::ordered_json actionsDocument(const ActionContainer& actions, ngid_t domain,
                                       const Names& names);

}  // namespace Kestrav::Tool
