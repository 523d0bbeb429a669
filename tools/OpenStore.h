// Opening the store for a verb.
#pragma once

#include <memory>

#include "platform/config/store/ConfigStore.h"
#include "tools/Verbs.h"

namespace Kestrav::Tool {

enum class IfMissing { kCreate, kRefuse };

// Opens the store and makes it the one that this process's library answers from. Throws Exception
// with a message for the administrator.
std::shared_ptr<Config::ConfigStore> openStore(const Context& context, IfMissing ifMissing);

}  // namespace Kestrav::Tool
