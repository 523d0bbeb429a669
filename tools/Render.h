// Records and changes of records as JSON, from their field tables.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

#include "platform/config/records/Field.h"
#include "platform/config/text/Text.h"
#include "tools/Names.h"

namespace Kestrav::Tool {

struct RenderOptions {
  bool secrets = false;   // print secrets instead of masking them
  bool defaults = false;  // also print fields that hold their default
  bool numbers = true;    // print the ids of records and domains
};

inline constexpr std::string_view kMasked = Config::Text::kMaskedSecret;

// The record by field name: words for enumerations, names for references, lists as arrays.
nlohmann::ordered_json recordDocument(const Config::RecordType& type, const void* record,
                                      ngid_t domain, const Names& names,
                                      const RenderOptions& options);

// One changed field: its name, `from` and `to`.
nlohmann::ordered_json fieldChange(std::string_view field, nlohmann::ordered_json from,
                                   nlohmann::ordered_json to);

// The fields in which two records differ, in the order of the record.
nlohmann::ordered_json fieldChanges(const Config::RecordType& type, const void* before,
                                    const void* after, ngid_t domain, const Names& names,
                                    const RenderOptions& options);

// A record's name, or "#ID" when its table has none.
std::string recordName(const Config::Table& table, const void* record, std::uint32_t id);

}  // namespace Kestrav::Tool
