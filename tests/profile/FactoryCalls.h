// Watches what event handlers ask of the profile factory. See Interposed.h for how.
#pragma once

#include <string>
#include <vector>

namespace Kestrav::Testing {

// The calls since the last time, in order: "clear antispam", "clean dictionaries", "defer period"
// and "update KIND in DOMAIN: ID", followed by " gone" when there was no new record.
std::vector<std::string> takeFactoryCalls();

void noteFactoryCall(std::string call);

}  // namespace Kestrav::Testing
