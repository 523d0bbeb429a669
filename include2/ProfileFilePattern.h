// A file type, given by file names and MIME types. A profile handle.
#pragma once

#include "Profile.h"
#include "platform/common/Export.h"

namespace Kestrav {

class KESTRAV_API ProfileFilePattern : public Profile {
 public:
  // The null profile.
  ProfileFilePattern() = default;
};

}  // namespace Kestrav
