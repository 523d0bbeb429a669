// Reading the status zone's address while another thread attaches a store.
#pragma once

#include "platform/config/client/cmf.h"

namespace Kestrav::Config::Client {

// nCfg_debug_zone. A plain read of it races with attach(); this one does not.
inline char* debugZone() {
  return __atomic_load_n(&nCfg_debug_zone, __ATOMIC_ACQUIRE);
}

}  // namespace Kestrav::Config::Client
