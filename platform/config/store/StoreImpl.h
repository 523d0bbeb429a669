// What a ConfigStore holds.
#pragma once

#include <memory>

#include "platform/config/store/StoreCore.h"

namespace Kestrav::Config {

struct ConfigStore::Impl {
  std::shared_ptr<StoreCore> core;
};

}  // namespace Kestrav::Config
