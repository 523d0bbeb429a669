// Hooks on functions of the library. The functions stay the real ones; a test may watch a call,
// delay it or make it fail.
//
//   const Before<&ProfileFactory::clearDLPProfiles> counting([&](auto&&...) { ++clears; });
//
// A source given to kestrav_interposer (KestravRooms.cmake) lists the functions in an
// Interposition. Only calls from one source file to another pass a hook. Inline and virtual
// functions have none.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <utility>

namespace Kestrav::Testing {

// Replaces kFunction in the whole program, except in the source that holds the Interposition.
template <auto kFunction, class Result, class... Args>
class InterposedCall {
 public:
  using Hook = std::function<void(Args...)>;

  static void set(Hook hook) {
    auto next = std::make_shared<const Hook>(std::move(hook));
    const std::lock_guard guard(mutex_);
    hook_.swap(next);
  }
  static void reset() {
    const std::lock_guard guard(mutex_);
    hook_.reset();
  }

  static Result call(Args... args) {
    if (const auto hook = current()) (*hook)(args...);
    return std::invoke(kFunction, std::forward<Args>(args)...);
  }

 private:
  static std::shared_ptr<const Hook> current() {
    const std::lock_guard guard(mutex_);
    return hook_;
  }

  static inline std::mutex mutex_;
  static inline std::shared_ptr<const Hook> hook_;  // guarded by mutex_
};

// A member function is called as a function whose first argument is the object.
template <auto kFunction, class Function = decltype(kFunction)>
class Interposed;
template <auto kFunction, class Result, class... Args>
class Interposed<kFunction, Result (*)(Args...)>
    : public InterposedCall<kFunction, Result, Args...> {};
template <auto kFunction, class Result, class Class, class... Args>
class Interposed<kFunction, Result (Class::*)(Args...)>
    : public InterposedCall<kFunction, Result, Class&, Args...> {};
template <auto kFunction, class Result, class Class, class... Args>
class Interposed<kFunction, Result (Class::*)(Args...) const>
    : public InterposedCall<kFunction, Result, const Class&, Args...> {};

// While it lives, `hook` is called before each call of kFunction, on the calling thread and with
// the same arguments. One at a time for a function.
template <auto kFunction>
class Before {
 public:
  explicit Before(typename Interposed<kFunction>::Hook hook) {
    Interposed<kFunction>::set(std::move(hook));
  }
  ~Before() { Interposed<kFunction>::reset(); }
  Before(const Before&) = delete;
  Before& operator=(const Before&) = delete;
};

template <auto kFunction>
struct InterposedPair {
  decltype(kFunction) function = kFunction;
  decltype(&Interposed<kFunction>::call) replacement = &Interposed<kFunction>::call;
};

// The functions, as the build step reads them: a constant in the section .interposed.
template <auto... kFunctions>
struct Interposition : InterposedPair<kFunctions>... {};

}  // namespace Kestrav::Testing
