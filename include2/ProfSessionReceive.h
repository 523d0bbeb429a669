// What a connection may do while the gateway receives mail from it. A profile handle.
#pragma once

#include "Profile.h"
#include "platform/common/Export.h"

namespace Kestrav {

class KESTRAV_API ProfSessionReceive : public Profile {
 public:
  // The null profile.
  ProfSessionReceive() = default;
};

}  // namespace Kestrav
