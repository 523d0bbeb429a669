// Finds the known word that is closest to a mistyped one.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/common/Export.h"

#include "platform/common/Export.h"

namespace Kestrav::Config::Text {

// The candidate with the fewest changed, missing, extra or swapped characters, the first of equal
// ones; empty when none is close.
KESTRAV_API KESTRAV_API std::string nearest(std::string_view word,
                                            std::span<const std::string> candidates);

// "a, b or c".
KESTRAV_API KESTRAV_API std::string alternatives(std::span<const std::string> words);

}  // namespace Kestrav::Config::Text
