// Which known word a mistyped one was meant to be.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/common/Export.h"

#include "platform/common/Export.h"

namespace Kestrav::Config::Text {

// The candidate that takes the fewest changed, missing, superfluous or swapped characters to reach,
// the first of several; empty when none is near.
KESTRAV_API KESTRAV_API std::string nearest(std::string_view word,
                                            std::span<const std::string> candidates);

// "a, b or c".
KESTRAV_API KESTRAV_API std::string alternatives(std::span<const std::string> words);

}  // namespace Kestrav::Config::Text
