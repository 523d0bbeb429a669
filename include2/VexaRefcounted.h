// Handles: small values that share one immutable, reference-counted implementation.
//
// Three layers, each its own heap object: the handle (Ref<T> and the classes built on it) owns a
// holder (RefCounted<T>) exclusively; the holder owns one reference to the implementation T, which
// derives virtually from RefImpl. The implementation dies with the last holder.
//
// Any number of threads may copy and destroy handles to one implementation. One handle object is
// not protected: two threads must not assign to the same handle, nor copy from one being assigned
// to.
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

#include "platform/common/Exception.h"
#include "platform/common/Export.h"

namespace Kestrav {

// An implementation is shared through handles, never duplicated.
class NonCopyable {
 public:
  NonCopyable(const NonCopyable&) = delete;
  NonCopyable& operator=(const NonCopyable&) = delete;

 protected:
  NonCopyable() = default;
  ~NonCopyable() = default;
};

// Base of every implementation. Born with count 1: the reference that its first holder adopts.
class KESTRAV_API RefImpl {
 public:
  RefImpl() : count_(1) {}
  RefImpl(const RefImpl&) = delete;
  RefImpl& operator=(const RefImpl&) = delete;
  virtual ~RefImpl() = default;

  // The references held at this moment; other threads may change the number at any time.
  std::uint32_t referenceCount() const { return count_.load(); }

 private:
  template <class T>
  friend class RefCounted;

  void addReference() const { count_.fetch_add(1); }
  // True when the reference dropped was the last one.
  bool dropReference() const { return count_.fetch_sub(1) == 1; }

  mutable std::atomic<std::uint32_t> count_;
};

// Owns one reference to an implementation, which may be null.
//
// The members of this template, of Ref and RefCountedImplCopy need T complete. They are defined out
// of class so that a public header can declare `extern template` for an incomplete implementation.
template <class T>
class KESTRAV_API RefCounted {
 public:
  // addRef false: adopts the reference that `impl` was born with; use right after `new T`.
  // addRef true: takes a further reference. REQUIRES: addRef implies impl != nullptr, otherwise
  // throws Exception, code 4.
  RefCounted(T* impl, bool addRef);
  RefCounted(const RefCounted&) = delete;
  RefCounted& operator=(const RefCounted&) = delete;
  virtual ~RefCounted();

  T* impl() const { return impl_; }

  // Same implementation, never the same contents.
  bool operator==(const RefCounted& other) const { return impl_ == other.impl_; }

 private:
  T* impl_;
};

// Makes `dst` a new holder of `src`'s implementation; null when `src` is null. Does nothing when
// both are the same holder.
template <class T>
KESTRAV_API void RefCountedImplCopy(RefCounted<T>*& dst, const RefCounted<T>* src);

template <class T>
class KESTRAV_API Ref {
 public:
  Ref() : holder_(nullptr) {}
  // Adopts a new implementation. A null one throws Exception, code 4.
  explicit Ref(T* impl);
  // As above, but takes a further reference when addRef is true.
  Ref(T* impl, bool addRef);
  Ref(const Ref& other);
  Ref(Ref&& other) noexcept : holder_(std::exchange(other.holder_, nullptr)) {}
  Ref& operator=(const Ref& other);
  Ref& operator=(Ref&& other) noexcept;
  virtual ~Ref();

  bool isNull() const { return holder_ == nullptr; }

  // The implementation; null when the holder holds none. On a null handle: Exception "operator->",
  // code 1.
  T* operator->();
  const T* operator->() const;

  // Same implementation. REQUIRES: neither handle is null.
  bool operator==(const Ref& other) const { return *holder_ == *other.holder_; }

 protected:
  RefCounted<T>* holder_;
};

// ---------------------------------------------------------------------------------------------------

template <class T>
RefCounted<T>::RefCounted(T* impl, bool addRef) : impl_(impl) {
  if (!addRef) return;
  if (impl == nullptr) {
    throw Exception("RefCounted constructor for RefImpl failed.", Exception::kFailedConstruction);
  }
  impl->addReference();
}

template <class T>
RefCounted<T>::~RefCounted() {
  if (impl_ != nullptr && impl_->dropReference()) delete impl_;
}

template <class T>
void RefCountedImplCopy(RefCounted<T>*& dst, const RefCounted<T>* src) {
  if (dst == src) return;
  // The reference is taken before the old one is dropped: dropping may destroy what owns `src`.
  RefCounted<T>* copy = nullptr;
  if (src != nullptr) copy = new RefCounted<T>(src->impl(), src->impl() != nullptr);
  delete std::exchange(dst, copy);
}

template <class T>
Ref<T>::Ref(T* impl) : Ref(impl, false) {}

template <class T>
Ref<T>::Ref(T* impl, bool addRef) : holder_(nullptr) {
  if (impl == nullptr) {
    throw Exception("RefCounted constructor for RefImpl failed.", Exception::kFailedConstruction);
  }
  holder_ = new RefCounted<T>(impl, addRef);
}

template <class T>
Ref<T>::Ref(const Ref& other) : holder_(nullptr) {
  RefCountedImplCopy(holder_, static_cast<const RefCounted<T>*>(other.holder_));
}

template <class T>
Ref<T>& Ref<T>::operator=(const Ref& other) {
  if (&other != this) RefCountedImplCopy(holder_, static_cast<const RefCounted<T>*>(other.holder_));
  return *this;
}

template <class T>
Ref<T>& Ref<T>::operator=(Ref&& other) noexcept {
  if (&other != this) delete std::exchange(holder_, std::exchange(other.holder_, nullptr));
  return *this;
}

template <class T>
Ref<T>::~Ref() {
  delete std::exchange(holder_, nullptr);
}

// Inline even where the template is instantiated elsewhere: every accessor uses these.
template <class T>
inline T* Ref<T>::operator->() {
  if (holder_ == nullptr)
    throw Exception("operator->", Exception::kNullHandle, "VexaRefcounted", 359);
  return holder_->impl();
}

template <class T>
inline const T* Ref<T>::operator->() const {
  if (holder_ == nullptr)
    throw Exception("operator->", Exception::kNullHandle, "VexaRefcounted", 368);
  return holder_->impl();
}

}  // namespace Kestrav
