// Access to the implementation behind a handle, for accessors: on a null handle they throw
// Exception with code 1 and a text and place of their own.
//
//   int Profile::id() const { return of(*this, kSource, 39).id; }
//
// Accessors of a derived handle name their own implementation class: of<ProfileAntiSpamImpl>(...).
#pragma once

#include <type_traits>

#include "platform/common/Exception.h"

namespace Kestrav {

[[noreturn]] inline void throwNullHandle(const char* message, const char* source = nullptr,
                                         int line = 0) {
  throw Exception(message, Exception::kNullHandle, source, line);
}

// `Own` is the implementation's class when it is not the handle's. It is const as the handle is.
// `source` is null, and `line` 0, for a failure that names no place.
template <class Own = void, class Handle>
auto& of(Handle& handle, const char* message, const char* source = nullptr, int line = 0) {
  if (handle.isNull()) throwNullHandle(message, source, line);
  auto& impl = *handle.operator->();
  if constexpr (std::is_void_v<Own>) {
    return impl;
  } else if constexpr (requires { static_cast<const Own&>(impl); }) {
    return static_cast<const Own&>(impl);
  } else {
    return dynamic_cast<const Own&>(impl);  // from a virtual base
  }
}

// The same for a message that is the name of the source.
template <class Own = void, class Handle>
auto& of(Handle& handle, const char* source, int line) {
  return of<Own>(handle, source, source, line);
}

}  // namespace Kestrav
