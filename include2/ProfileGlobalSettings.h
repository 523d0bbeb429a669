// Settings of all profiles together.
#pragma once

#include "platform/common/Export.h"

namespace Kestrav {

class KESTRAV_API ProfileGlobalSettings {
 public:
  // Non-zero while large messages are held back (see DeferPeriod).
  static int deferredPeriod();
};

}  // namespace Kestrav
