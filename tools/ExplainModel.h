// The document that `explain` prints as JSON or as text. Its shape is docs/explain.schema.json.
//
// The library answers for it as it answers a daemon, from one revision of the store.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "platform/config/store/ConfigStore.h"
#include "tools/Verbs.h"

namespace Kestrav::Tool {

nlohmann::ordered_json explainDocument(Config::ConfigStore& store, const ExplainOptions& options);

}  // namespace Kestrav::Tool
