// What a Snapshot holds.
#pragma once

#include <optional>

#include "config/store/ConfigStore.h"
#include "config/store/StoreCore.h"

namespace Kestrav::Config {

struct Snapshot::Pin {
  std::optional<Reading> reading;  // none: the view of a process without a store
};

}  // namespace Kestrav::Config
