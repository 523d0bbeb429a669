// The categories of web addresses that count as spam in a message.
//
// A profile handle: copies share one immutable implementation. Any number of threads may read it.
#pragma once

#include "Profile.h"
#include "platform/common/Export.h"

namespace Kestrav {

class KESTRAV_API ProfileWebFilter : public Profile {
 public:
  // The null profile.
  ProfileWebFilter() = default;

  // From a record of table 1528, but id() is 0. Reads its categories from the store and skips
  // unknown ones.
  explicit ProfileWebFilter(const void* record);

  // Throws Exception "ProfileWebFilter", code 1, on a null profile.
  bool isSpam(unsigned char category) const;
};

}  // namespace Kestrav
