// Switches and flags of the status area, by the names that `status` and `set` use.
#pragma once

#include <span>

#include "platform/config/store/StatusArea.h"

namespace Kestrav::Tool {

struct Switch {
  const char* name;
  const char* help;
  bool (*get)(const Config::StatusArea&);
  void (*set)(Config::StatusArea&, bool);
};

std::span<const Switch> switches();

}  // namespace Kestrav::Tool
