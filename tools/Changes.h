// Changes of records, as `watch`, `load` and `diff` print them.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <ostream>

#include "platform/config/store/ConfigStore.h"
#include "tools/Render.h"

namespace Kestrav::Tool {

enum class Change { kAdded, kRemoved, kChanged, kMoved };
Change changeOf(const Config::JournalEntry& entry);
const char* changeText(Change change);

// The entry's revision, table, domain and name; of a changed record the fields, from what to what;
// of an added or removed record its contents.
nlohmann::ordered_json changeDocument(const Config::JournalEntry& entry, const Names& names,
                                      const RenderOptions& options);

// A document of changeDocument() or compare() as text.
void printChange(const nlohmann::ordered_json& document, std::ostream& out);

}  // namespace Kestrav::Tool
