// Opening the store for a verb.
#pragma once

#include <memory>

#include "platform/config/store/ConfigStore.h"
#include "tools/Verbs.h"

namespace Kestrav::Tool {

enum class IfMissing { kCreate, kRefuse };

// Opens the store and attaches it to the library in this process. Throws Exception with a message
// for the administrator.
std::shared_ptr<Config::ConfigStore> openStore(const Context& context, IfMissing ifMissing);

}  // namespace Kestrav::Tool
