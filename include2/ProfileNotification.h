// Who is notified of what was done with a message, and how. A profile handle.
#pragma once

#include "Profile.h"
#include "platform/common/Export.h"

namespace Kestrav {

class KESTRAV_API ProfileNotification : public Profile {
 public:
  // The null profile.
  ProfileNotification() = default;
};

}  // namespace Kestrav
