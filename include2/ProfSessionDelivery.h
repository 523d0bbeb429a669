// How the gateway behaves while it delivers mail over a connection. A profile handle.
#pragma once

#include "Profile.h"
#include "platform/common/Export.h"

namespace Kestrav {

class KESTRAV_API ProfSessionDelivery : public Profile {
 public:
  // The null profile.
  ProfSessionDelivery() = default;
};

}  // namespace Kestrav
