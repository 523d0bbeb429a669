// Changes of records as the store's journal keeps them, for `watch` and `load`.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <ostream>

#include "platform/config/store/ConfigStore.h"
#include "tools/Render.h"

namespace Kestrav::Tool {

enum class Change { kAdded, kRemoved, kChanged, kMoved };
Change changeOf(const Config::JournalEntry& entry);
const char* changeText(Change change);

// Revision, table, domain, name, and which fields changed from what to what; of an added or removed
// record what it holds.
nlohmann::ordered_json changeDocument(const Config::JournalEntry& entry, const Names& names,
                                      const RenderOptions& options);

// The document for people.
void printChange(const nlohmann::ordered_json& document, std::ostream& out);

}  // namespace Kestrav::Tool
