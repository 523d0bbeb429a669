#include "VexaRefcounted.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Kestrav {
namespace {

struct Tally {
  int born = 0;
  int died = 0;
};

class Impl : public virtual RefImpl, private NonCopyable {
 public:
  explicit Impl(Tally& tally, int value = 0) : tally_(tally), value_(value) { ++tally_.born; }
  ~Impl() override { ++tally_.died; }
  int value() const { return value_; }
  void value(int v) { value_ = v; }

 private:
  Tally& tally_;
  int value_;
};

// A handle class as in the library, with access to its holder.
class Handle : public Ref<Impl> {
 public:
  using Ref<Impl>::Ref;
  // Takes ownership of `holder`, as a handle built from the copy of another holder.
  static Handle over(RefCounted<Impl>* holder) {
    Handle handle;
    handle.holder_ = holder;
    return handle;
  }
  const RefCounted<Impl>* holder() const { return holder_; }
};

using Holder = RefCounted<Impl>;

template <class Action>
Exception thrownBy(Action action) {
  try {
    action();
  } catch (const Exception& e) {
    return e;
  }
  ADD_FAILURE() << "nothing was thrown";
  return Exception("nothing", 0);
}

void expectFailedConstruction(const Exception& e) {
  EXPECT_EQ(e.message(), "RefCounted constructor for RefImpl failed.");
  EXPECT_EQ(e.code(), 4);
  EXPECT_EQ(e.file(), "");
  EXPECT_EQ(e.line(), 0);
}

// The types of the layers.
static_assert(std::has_virtual_destructor_v<Ref<Impl>>);
static_assert(std::has_virtual_destructor_v<RefCounted<Impl>>);
static_assert(std::has_virtual_destructor_v<RefImpl>);
static_assert(sizeof(Ref<Impl>) == 2 * sizeof(void*), "one data member");
static_assert(sizeof(RefCounted<Impl>) == 2 * sizeof(void*), "one data member");
static_assert(sizeof(Handle) == sizeof(Ref<Impl>), "handle classes add no data");
static_assert(std::is_same_v<decltype(std::declval<RefImpl>().referenceCount()), std::uint32_t>);
static_assert(!std::is_copy_constructible_v<Impl> && !std::is_copy_assignable_v<Impl>);
static_assert(!std::is_copy_constructible_v<Holder> && !std::is_copy_assignable_v<Holder>);
static_assert(!std::is_copy_constructible_v<NonCopyable> &&
              !std::is_copy_assignable_v<NonCopyable>);
static_assert(std::is_nothrow_move_constructible_v<Handle> &&
              std::is_nothrow_move_assignable_v<Handle>);

// --- the implementation's count

TEST(RefImpl, IsBornWithOneReference) {
  Tally tally;
  const Impl impl(tally);
  EXPECT_EQ(impl.referenceCount(), 1u);
}

// --- the holder

TEST(RefCounted, AdoptsTheReferenceOfBirthWithoutAddRef) {
  Tally tally;
  {
    const Holder holder(new Impl(tally), false);
    EXPECT_EQ(holder.impl()->referenceCount(), 1u);
  }
  EXPECT_EQ(tally.died, 1);
}

TEST(RefCounted, TakesAFurtherReferenceWithAddRef) {
  Tally tally;
  const Holder first(new Impl(tally), false);
  {
    const Holder second(first.impl(), true);
    EXPECT_EQ(first.impl()->referenceCount(), 2u);
  }
  EXPECT_EQ(first.impl()->referenceCount(), 1u);
  EXPECT_EQ(tally.died, 0);
}

TEST(RefCounted, AddRefOfANullImplementationThrows) {
  expectFailedConstruction(thrownBy([] { const Holder holder(nullptr, true); }));
}

TEST(RefCounted, HoldsNullWithoutAddRef) {
  const Holder holder(nullptr, false);
  EXPECT_EQ(holder.impl(), nullptr);
}

TEST(RefCounted, EqualityIsTheSameImplementation) {
  Tally tally;
  const Holder first(new Impl(tally, 1), false);
  const Holder same(first.impl(), true);
  const Holder alike(new Impl(tally, 1), false);
  EXPECT_TRUE(first == first);
  EXPECT_TRUE(first == same);
  EXPECT_FALSE(first == alike);
  EXPECT_TRUE(Holder(nullptr, false) == Holder(nullptr, false));
  EXPECT_FALSE(first == Holder(nullptr, false));
}

TEST(RefCounted, IsDestroyedThroughItsBase) {
  struct Derived : Holder {
    Derived(Impl* impl, bool& gone) : Holder(impl, false), gone_(gone) {}
    ~Derived() override { gone_ = true; }
    bool& gone_;
  };
  Tally tally;
  bool gone = false;
  Holder* holder = new Derived(new Impl(tally), gone);
  delete holder;
  EXPECT_TRUE(gone);
  EXPECT_EQ(tally.died, 1);
}

// --- RefCountedImplCopy

TEST(RefCountedImplCopy, DoesNothingForTheSameHolder) {
  Tally tally;
  auto* holder = new Holder(new Impl(tally), false);
  Holder* dst = holder;
  RefCountedImplCopy(dst, static_cast<const Holder*>(holder));
  EXPECT_EQ(dst, holder);
  EXPECT_EQ(dst->impl()->referenceCount(), 1u);
  delete dst;
  EXPECT_EQ(tally.died, 1);
}

TEST(RefCountedImplCopy, DoesNothingForTwoNulls) {
  Holder* dst = nullptr;
  RefCountedImplCopy(dst, static_cast<const Holder*>(nullptr));
  EXPECT_EQ(dst, nullptr);
}

TEST(RefCountedImplCopy, MakesANewHolder) {
  Tally tally;
  const Holder src(new Impl(tally), false);
  Holder* dst = nullptr;
  RefCountedImplCopy(dst, &src);
  ASSERT_NE(dst, nullptr);
  EXPECT_NE(dst, &src);
  EXPECT_EQ(dst->impl(), src.impl());
  EXPECT_EQ(src.impl()->referenceCount(), 2u);
  delete dst;
}

TEST(RefCountedImplCopy, ReleasesWhatWasHeld) {
  Tally old, fresh;
  const Holder src(new Impl(fresh), false);
  Holder* dst = new Holder(new Impl(old), false);
  RefCountedImplCopy(dst, &src);
  EXPECT_EQ(old.died, 1);
  EXPECT_EQ(dst->impl(), src.impl());
  delete dst;
  EXPECT_EQ(fresh.died, 0);
}

TEST(RefCountedImplCopy, OfNullReleasesAndLeavesNull) {
  Tally tally;
  Holder* dst = new Holder(new Impl(tally), false);
  RefCountedImplCopy(dst, static_cast<const Holder*>(nullptr));
  EXPECT_EQ(dst, nullptr);
  EXPECT_EQ(tally.died, 1);
}

TEST(RefCountedImplCopy, OfAHolderOfNullIsAHolderOfNull) {
  const Holder src(nullptr, false);
  Holder* dst = nullptr;
  RefCountedImplCopy(dst, &src);
  ASSERT_NE(dst, nullptr);
  EXPECT_NE(dst, &src);
  EXPECT_EQ(dst->impl(), nullptr);
  delete dst;
}

TEST(RefCountedImplCopy, BetweenTwoHoldersOfOneImplementationKeepsTheCount) {
  Tally tally;
  const Holder src(new Impl(tally), false);
  Holder* dst = new Holder(src.impl(), true);
  RefCountedImplCopy(dst, &src);
  EXPECT_EQ(src.impl()->referenceCount(), 2u);
  EXPECT_EQ(tally.died, 0);
  delete dst;
}

// --- the handle

TEST(Ref, IsNullAtFirst) {
  const Handle handle;
  EXPECT_TRUE(handle.isNull());
  EXPECT_EQ(handle.holder(), nullptr);
}

TEST(Ref, AdoptsAFreshImplementation) {
  Tally tally;
  {
    const Handle handle(new Impl(tally, 7));
    EXPECT_FALSE(handle.isNull());
    EXPECT_EQ(handle->value(), 7);
    EXPECT_EQ(handle->referenceCount(), 1u);
  }
  EXPECT_EQ(tally.died, 1);
}

TEST(Ref, TakesAFurtherReferenceOfASharedImplementation) {
  Tally tally;
  Handle first(new Impl(tally));
  {
    const Handle second(first.operator->(), true);
    EXPECT_EQ(first->referenceCount(), 2u);
    EXPECT_TRUE(first == second);
    EXPECT_NE(first.holder(), second.holder());
  }
  EXPECT_EQ(first->referenceCount(), 1u);
}

TEST(Ref, FromANullImplementationThrows) {
  Impl* none = nullptr;
  expectFailedConstruction(thrownBy([none] { const Handle handle(none); }));
  expectFailedConstruction(thrownBy([none] { const Handle handle(none, false); }));
  expectFailedConstruction(thrownBy([none] { const Handle handle(none, true); }));
}

TEST(Ref, CopyHasItsOwnHolderAndSharesTheImplementation) {
  Tally tally;
  const Handle first(new Impl(tally));
  const Handle second(first);
  EXPECT_NE(first.holder(), second.holder());
  EXPECT_EQ(first.operator->(), second.operator->());
  EXPECT_EQ(first->referenceCount(), 2u);
  EXPECT_EQ(tally.born, 1);
}

TEST(Ref, CopyOfNullIsNull) {
  const Handle null;
  const Handle copy(null);
  EXPECT_TRUE(copy.isNull());
}

TEST(Ref, AssigningNullReleasesAndLeavesNull) {
  Tally tally;
  Handle handle(new Impl(tally));
  const Handle null;
  handle = null;
  EXPECT_TRUE(handle.isNull());
  EXPECT_EQ(tally.died, 1);
}

TEST(Ref, AssigningToNullShares) {
  Tally tally;
  const Handle handle(new Impl(tally));
  Handle target;
  target = handle;
  EXPECT_TRUE(target == handle);
  EXPECT_EQ(handle->referenceCount(), 2u);
}

TEST(Ref, AssigningReleasesTheFormerImplementation) {
  Tally old, fresh;
  Handle target(new Impl(old));
  const Handle source(new Impl(fresh));
  target = source;
  EXPECT_EQ(old.died, 1);
  EXPECT_EQ(source->referenceCount(), 2u);
}

TEST(Ref, SelfAssignmentChangesNothing) {
  Tally tally;
  Handle handle(new Impl(tally));
  const Handle& itself = handle;
  const auto* holder = handle.holder();
  handle = itself;
  EXPECT_EQ(handle.holder(), holder);
  EXPECT_EQ(handle->referenceCount(), 1u);
  EXPECT_EQ(tally.died, 0);

  Handle null;
  const Handle& nullItself = null;
  null = nullItself;
  EXPECT_TRUE(null.isNull());
}

TEST(Ref, AssigningAnotherHandleOfTheSameImplementationReplacesTheHolderAndKeepsTheCount) {
  Tally tally;
  const Handle first(new Impl(tally));
  Handle second(first);
  second = first;
  EXPECT_NE(first.holder(), second.holder());
  EXPECT_TRUE(first == second);
  EXPECT_EQ(first->referenceCount(), 2u);
  EXPECT_EQ(tally.died, 0);
}

TEST(Ref, ImplementationDiesOnceWithTheLastCopy) {
  Tally tally;
  {
    auto first = std::make_unique<Handle>(new Impl(tally));
    std::vector<Handle> copies(10, *first);
    EXPECT_EQ(copies[0]->referenceCount(), 11u);
    first.reset();
    EXPECT_EQ(copies[0]->referenceCount(), 10u);
    copies.erase(copies.begin() + 1, copies.end());
    EXPECT_EQ(copies[0]->referenceCount(), 1u);
    EXPECT_EQ(tally.died, 0);
  }
  EXPECT_EQ(tally.born, 1);
  EXPECT_EQ(tally.died, 1);
}

TEST(Ref, MoveHandsTheHolderOverAndLeavesNull) {
  Tally tally;
  Handle first(new Impl(tally));
  const auto* holder = first.holder();
  Handle second(std::move(first));
  EXPECT_TRUE(first.isNull());
  EXPECT_EQ(second.holder(), holder);
  EXPECT_EQ(second->referenceCount(), 1u);

  Tally other;
  Handle third(new Impl(other));
  third = std::move(second);
  EXPECT_TRUE(second.isNull());
  EXPECT_EQ(third.holder(), holder);
  EXPECT_EQ(other.died, 1);
  EXPECT_EQ(tally.died, 0);

  third = Handle();
  EXPECT_TRUE(third.isNull());
  EXPECT_EQ(tally.died, 1);
}

TEST(Ref, MoveToItselfChangesNothing) {
  Tally tally;
  Handle handle(new Impl(tally, 3));
  Handle& itself = handle;
  handle = std::move(itself);
  ASSERT_FALSE(handle.isNull());
  EXPECT_EQ(handle->value(), 3);
  EXPECT_EQ(tally.died, 0);
}

TEST(Ref, DereferencingNullThrowsAndNamesItsPlace) {
  Handle handle;
  const Exception changing = thrownBy([&handle] { handle->value(1); });
  EXPECT_EQ(changing.message(), "operator->");
  EXPECT_EQ(changing.code(), 1);
  EXPECT_EQ(changing.file(), "VexaRefcounted");
  EXPECT_EQ(changing.line(), 359);

  const Handle& constant = handle;
  const Exception reading = thrownBy([&constant] { static_cast<void>(constant->value()); });
  EXPECT_EQ(reading.message(), "operator->");
  EXPECT_EQ(reading.code(), 1);
  EXPECT_EQ(reading.file(), "VexaRefcounted");
  EXPECT_EQ(reading.line(), 368);

  EXPECT_TRUE(handle.isNull());
}

TEST(Ref, AHandleWhoseHolderHoldsNullIsNotNullAndDereferencesToNull) {
  Handle handle = Handle::over(new Holder(nullptr, false));
  EXPECT_FALSE(handle.isNull());
  EXPECT_EQ(handle.operator->(), nullptr);
  EXPECT_EQ(std::as_const(handle).operator->(), nullptr);

  Handle copy(handle);
  EXPECT_FALSE(copy.isNull());
  EXPECT_NE(copy.holder(), handle.holder());
  EXPECT_EQ(copy.operator->(), nullptr);
  EXPECT_TRUE(copy == handle);

  Tally tally;
  copy = Handle(new Impl(tally));
  copy = handle;
  EXPECT_FALSE(copy.isNull());
  EXPECT_EQ(copy.operator->(), nullptr);
  EXPECT_EQ(tally.died, 1);
}

TEST(Ref, EqualityIsIdentityAndNeverContents) {
  Tally tally;
  const Handle first(new Impl(tally, 1));
  const Handle copy(first);
  const Handle alike(new Impl(tally, 1));
  EXPECT_TRUE(first == first);
  EXPECT_TRUE(first == copy);
  EXPECT_FALSE(first == alike);
  EXPECT_TRUE(first != alike);
}

TEST(Ref, IsDestroyedThroughItsBase) {
  struct Derived : Handle {
    Derived(Impl* impl, bool& gone) : Handle(impl), gone_(gone) {}
    ~Derived() override { gone_ = true; }
    bool& gone_;
  };
  Tally tally;
  bool gone = false;
  Ref<Impl>* handle = new Derived(new Impl(tally), gone);
  delete handle;
  EXPECT_TRUE(gone);
  EXPECT_EQ(tally.died, 1);
}

TEST(Ref, ImplementationDiesThroughItsVirtualDestructor) {
  struct DerivedImpl : Impl {
    DerivedImpl(Tally& tally, bool& gone) : Impl(tally), gone_(gone) {}
    ~DerivedImpl() override { gone_ = true; }
    bool& gone_;
  };
  Tally tally;
  bool gone = false;
  { const Handle handle(new DerivedImpl(tally, gone)); }
  EXPECT_TRUE(gone);
  EXPECT_EQ(tally.died, 1);
}

// An implementation that contains a handle of the same kind.
class Link : public virtual RefImpl, private NonCopyable {
 public:
  Link(Tally& tally, Ref<Link> rest) : next(std::move(rest)), tally_(tally) { ++tally_.born; }
  ~Link() override { ++tally_.died; }
  Ref<Link> next;

 private:
  Tally& tally_;
};

TEST(Ref, AssigningAHandleThatOnlyTheFormerImplementationOwns) {
  Tally tally;
  Ref<Link> chain(new Link(tally, Ref<Link>(new Link(tally, Ref<Link>()))));
  chain = chain->next;
  EXPECT_FALSE(chain.isNull());
  EXPECT_TRUE(chain->next.isNull());
  EXPECT_EQ(chain->referenceCount(), 1u);
  EXPECT_EQ(tally.died, 1);
  chain = chain->next;
  EXPECT_TRUE(chain.isNull());
  EXPECT_EQ(tally.died, 2);
}

// --- implementations that cannot be built

class FailingImpl : public virtual RefImpl, private NonCopyable {
 public:
  explicit FailingImpl(Tally& tally) : part_(tally) {
    throw Exception("no such record", 17, "Source", 3);
  }

 private:
  struct Part {
    explicit Part(Tally& t) : tally(t) { ++tally.born; }
    ~Part() { ++tally.died; }
    Tally& tally;
  } part_;
};

class FailingHandle : public Ref<FailingImpl> {
 public:
  explicit FailingHandle(Tally& tally) : Ref<FailingImpl>(new FailingImpl(tally)) {}
};

TEST(Ref, WhatAnImplementationsConstructorThrowsReachesTheCaller) {
  Tally tally;
  const Exception e = thrownBy([&tally] { const FailingHandle handle(tally); });
  EXPECT_EQ(e.message(), "no such record");
  EXPECT_EQ(e.code(), 17);
  EXPECT_EQ(e.file(), "Source");
  EXPECT_EQ(e.line(), 3);
  EXPECT_EQ(tally.born, 1);
  EXPECT_EQ(tally.died, 1) << "the finished parts are freed";
}

}  // namespace
}  // namespace Kestrav
