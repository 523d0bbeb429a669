// How a message is to be encrypted. A profile handle.
#pragma once

#include "Profile.h"
#include "platform/common/Export.h"

namespace Kestrav {

class KESTRAV_API ProfileEncryption : public Profile {
 public:
  // The null profile.
  ProfileEncryption() = default;
};

}  // namespace Kestrav
