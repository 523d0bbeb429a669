// Which scans a message gets, and what to do with an infected one. A profile handle.
#pragma once

#include "Profile.h"
#include "platform/common/Export.h"

namespace Kestrav {

class KESTRAV_API ProfileAntiVirus : public Profile {
 public:
  // The null profile.
  ProfileAntiVirus() = default;
};

}  // namespace Kestrav
