// What `explain` knows, as one document; text and JSON are two ways to print it.
//
// Everything in it comes from the library's own objects, made as a daemon makes them, and all of it
// from one revision of the store. The document's shape is docs/explain.schema.json.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "ActionContainer.h"
#include "ProfileAntiSpam.h"
#include "platform/config/store/ConfigStore.h"
#include "tools/Names.h"
#include "tools/Verbs.h"

namespace Kestrav::Tool {

nlohmann::ordered_json explainDocument(Config::ConfigStore& store, const ExplainOptions& options);

// A profile's scanners, settings and actions. `domain` is where the policy looked for it.
nlohmann::ordered_json antispamDocument(const ProfileAntiSpam& profile, ngid_t domain,
                                        const Names& names);

// The actions in order, each with its value, its parameters and a sentence.
nlohmann::ordered_json actionsDocument(const ActionContainer& actions, ngid_t domain,
                                       const Names& names);

}  // namespace Kestrav::Tool
