// What a Snapshot holds.
#pragma once

#include <optional>

#include "platform/config/store/ConfigStore.h"
#include "platform/config/store/StoreCore.h"

namespace Kestrav::Config {

struct Snapshot::Pin {
  std::optional<ReadTransaction> reading;  // none: the view of a process without a store
};

}  // namespace Kestrav::Config
