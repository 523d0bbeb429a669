// Two configurations compared record by record and field by field.
//
// Records are identified by table, domain and name, not by id: the same text loaded into two stores
// compares as equal. Records without a name are equal when all their fields are.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "platform/config/store/ConfigStore.h"
#include "tools/Render.h"

namespace Kestrav::Tool {

// A list of documents for printChange(). "domain" is "the system" or a protected domain's name.
nlohmann::ordered_json compare(const Config::Snapshot& from, const Config::Snapshot& to,
                               const RenderOptions& options);

}  // namespace Kestrav::Tool
