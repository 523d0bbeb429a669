// Which data must not leave, and what to do with a message that carries it. A profile handle.
#pragma once

#include "Profile.h"
#include "platform/common/Export.h"

namespace Kestrav {

class KESTRAV_API ProfileDLP : public Profile {
 public:
  // The null profile.
  ProfileDLP() = default;
};

}  // namespace Kestrav
