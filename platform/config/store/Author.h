// Who commits.
#pragma once

#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Config {

// A head with the calling process's real user. The name is looked up in the system's directory when
// the user changes, not for each call. Any thread may call it.
RevisionHead currentAuthor();

}  // namespace Kestrav::Config
