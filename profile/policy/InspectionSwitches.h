// The switch that decides whether policies carry profiles. Read anew for each policy.
#pragma once

#include "platform/config/store/StatusArea.h"

namespace Kestrav {

// While off, policies carry no antispam, antivirus, content or DLP profile, and those of
// connections no session profiles either.
inline bool contentInspectionOn() {
  return Config::StatusArea(Config::currentZone()).contentInspection();
}

}  // namespace Kestrav
