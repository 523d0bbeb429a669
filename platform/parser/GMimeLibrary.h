// The initialisation of GMime; call it before every use.
#pragma once

#include "platform/common/Export.h"

namespace Kestrav {

// Initialises GMime once per process; any thread may call it. GMime is never shut down: parsed
// objects may exist until the process ends.
KESTRAV_API void ensureGMime();

}  // namespace Kestrav
