// Records as JSON and as lists of changed fields, by their field tables.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "platform/config/records/Field.h"
#include "platform/config/text/Text.h"
#include "tools/Names.h"

namespace Kestrav::Tool {

struct RenderOptions {
  bool secrets = false;   // print secrets instead of masking them
  bool defaults = false;  // print fields that hold their default, too
  bool numbers = true;    // print the numbers that a store gives to records and domains
};

// As the text form writes it.
inline constexpr std::string_view kMasked = Config::Text::kMaskedSecret;

// The record by field name: words for enumerations, names for references, lists as arrays.
nlohmann::ordered_json recordDocument(const Config::RecordType& type, const void* record,
                                      ngid_t domain, const Names& names,
                                      const RenderOptions& options);

struct FieldChange {
  std::string field;
  std::string from;  // JSON text of the value
  std::string to;
};
// The fields in which two records differ, in the order of the record.
std::vector<FieldChange> fieldChanges(const Config::RecordType& type, const void* before,
                                      const void* after, ngid_t domain, const Names& names,
                                      const RenderOptions& options);

// A record's name, or "#ID" when its table has none.
std::string recordName(const Config::Table& table, const void* record, std::uint32_t id);

}  // namespace Kestrav::Tool
