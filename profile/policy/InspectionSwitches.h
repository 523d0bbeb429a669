// The switch that decides whether policies carry profiles; read for each policy.
#pragma once

#include "platform/config/store/StatusArea.h"

namespace Kestrav {

// While it is off, policies carry no antispam, antivirus, content or DLP profile, and policies of
// connections no session profiles.
inline bool contentInspectionOn() {
  return Config::StatusArea(Config::currentZone()).contentInspection();
}

}  // namespace Kestrav
