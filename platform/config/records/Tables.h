// All tables that the store knows. Constant; any thread may read them.
#pragma once

#include <span>
#include <string_view>

#include "platform/common/Export.h"
#include "platform/config/records/Forward.h"

namespace Kestrav::Config {

// In the order in which the text form writes them. Tables that are written inside another one
// follow it.
KESTRAV_API std::span<const Table> tables();

// Null when there is no such table.
KESTRAV_API const Table* findTable(G_CLI_GID gid);
KESTRAV_API const Table* findTableByKey(std::string_view key);

// The table whose records are written inside those of `owner` under `key`; null when there is none.
KESTRAV_API const Table* findNestedTable(G_CLI_GID owner, std::string_view key);

}  // namespace Kestrav::Config
