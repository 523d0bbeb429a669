// Two configurations compared record by record and field by field.
//
// Records are told apart by table, domain and name, not by number: the same text loaded into two
// stores compares as equal, whatever numbers the records got. Records without a name are equal when
// all their fields are.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <ostream>
#include <string>
#include <vector>

#include "platform/config/store/ConfigStore.h"
#include "tools/Render.h"

namespace Kestrav::Tool {

struct Difference {
  enum class Kind { kAdded, kRemoved, kChanged, kMoved };
  Kind kind;
  std::string table;
  std::string domain;  // "the system", or the protected domain's name
  std::string name;
  std::vector<FieldChange> fields;  // of kChanged
};

std::vector<Difference> compare(const Config::Snapshot& from, const Config::Snapshot& to,
                                const RenderOptions& options);

void printDifferences(const std::vector<Difference>& differences, std::ostream& out);
nlohmann::ordered_json differencesDocument(const std::vector<Difference>& differences);

}  // namespace Kestrav::Tool
