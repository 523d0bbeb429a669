// Uses a handle of an incomplete implementation type: all its operations compile, link and work.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/common/ForwardHandle.h"

namespace Kestrav {
namespace {

template <class T, class = void>
struct IsComplete : std::false_type {};
template <class T>
struct IsComplete<T, decltype(void(sizeof(T)))> : std::true_type {};

static_assert(!IsComplete<ForwardImpl>::value);

TEST(ForwardHandle, IsCopiedMovedAssignedComparedAndDestroyed) {
  {
    const ForwardHandle first("one");
    ForwardHandle second(first);
    EXPECT_EQ(second.name(), "one");
    EXPECT_TRUE(first == second);

    ForwardHandle third;
    EXPECT_TRUE(third.isNull());
    third = first;
    ForwardHandle fourth(std::move(third));
    EXPECT_TRUE(third.isNull());
    third = std::move(fourth);
    EXPECT_TRUE(third == first);
    EXPECT_EQ(ForwardHandle::living(), 1);

    second = ForwardHandle("two");
    EXPECT_FALSE(first == second);
    EXPECT_EQ(ForwardHandle::living(), 2);
  }
  EXPECT_EQ(ForwardHandle::living(), 0);
}

TEST(ForwardHandle, LivesInContainersAndBehindItsBase) {
  {
    std::map<int, ForwardHandle> cache{{1, ForwardHandle("one")}, {2, ForwardHandle()}};
    std::vector<ForwardHandle> list(5, cache[1]);
    const std::unique_ptr<Ref<ForwardImpl>> base = std::make_unique<ForwardHandle>(cache[1]);
    cache.clear();
    EXPECT_EQ(list.back().name(), "one");
    EXPECT_TRUE(*base == list[0]);
    EXPECT_EQ(ForwardHandle::living(), 1);
  }
  EXPECT_EQ(ForwardHandle::living(), 0);
}

TEST(ForwardHandle, ANullOneThrowsFromOperatorArrow) {
  const ForwardHandle null;
  try {
    null.name();
    ADD_FAILURE();
  } catch (const Exception& e) {
    EXPECT_EQ(e.message(), "operator->");
    EXPECT_EQ(e.line(), 368);
  }
}

}  // namespace
}  // namespace Kestrav
