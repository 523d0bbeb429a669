// GMime needs one call before its first use; whoever uses it in this process calls this first.
#pragma once

#include "platform/common/Export.h"

namespace Kestrav {

// Starts GMime once per process, whichever thread comes first. Never shut down again: parsed
// objects may outlive any scope that we could name.
KESTRAV_API void ensureGMime();

}  // namespace Kestrav
