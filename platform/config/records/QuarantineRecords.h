// Folders of the system quarantine.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/common/Export.h"
#include "platform/config/records/Forward.h"

// A folder of the system quarantine.
struct __aps_systemquarantine_folders {
  char name[256];    // 0
  std::uint32_t id;  // 256
};
typedef struct __aps_systemquarantine_folders aps_systemquarantine_folders;
static_assert(sizeof(__aps_systemquarantine_folders) == 260);
static_assert(offsetof(__aps_systemquarantine_folders, name) == 0);
static_assert(offsetof(__aps_systemquarantine_folders, id) == 256);

namespace Kestrav::Config {

KESTRAV_API extern const RecordType kQuarantineFolderType;  // __aps_systemquarantine_folders

}  // namespace Kestrav::Config
