// How to treat a message's structure, its attachments and its words. A profile handle.
#pragma once

#include "Profile.h"
#include "platform/common/Export.h"

namespace Kestrav {

class KESTRAV_API ProfileContent : public Profile {
 public:
  // The null profile.
  ProfileContent() = default;
};

}  // namespace Kestrav
