// An object that lives until the process ends, for function-local statics.
//
// Its destructor never runs: the event thread, and threads that the daemon did not join, may use it
// while the static objects of the process are destroyed. It stays reachable, so leak checkers do
// not report it.
#pragma once

#include <new>
#include <utility>

namespace Kestrav {

//   static NoDestructor<Registry> registry(arguments...);
//   return *registry;
template <class T>
class NoDestructor {
 public:
  template <class... Arguments>
  explicit NoDestructor(Arguments&&... arguments) {
    ::new (static_cast<void*>(storage_)) T(std::forward<Arguments>(arguments)...);
  }
  NoDestructor(const NoDestructor&) = delete;
  NoDestructor& operator=(const NoDestructor&) = delete;
  ~NoDestructor() = default;

  T& operator*() { return *get(); }
  T* operator->() { return get(); }
  T* get() { return std::launder(reinterpret_cast<T*>(storage_)); }

 private:
  alignas(T) unsigned char storage_[sizeof(T)];
};

}  // namespace Kestrav
