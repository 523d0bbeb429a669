// The two switches that decide which profiles policies carry. Read anew for each policy.
#pragma once

#include "config/client/RootEntities.h"
#include "config/store/StatusArea.h"

namespace Kestrav {

// While off, policies carry no antispam, antivirus, content or DLP profile.
inline bool contentInspectionOn() {
  return Config::StatusArea(Config::Client::debugZone()).contentInspection();
}

}  // namespace Kestrav
