// Settings that belong to no single profile.
#pragma once

#include "platform/common/Export.h"

namespace Kestrav {

class KESTRAV_API ProfileGlobalSettings {
 public:
  // Non-zero while large messages are to be held back (see DeferPeriod).
  static int deferredPeriod();
};

}  // namespace Kestrav
