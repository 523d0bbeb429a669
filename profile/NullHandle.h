// The failure of an accessor that was called on a null handle.
#pragma once

#include "platform/common/Exception.h"

namespace Kestrav {

// `source` is null, and `line` 0, for the classes whose failures name no place.
[[noreturn]] inline void throwNullHandle(const char* message, const char* source = nullptr,
                                         int line = 0) {
  throw Exception(message, Exception::kNullHandle, source, line);
}

}  // namespace Kestrav
