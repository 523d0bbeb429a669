#include "platform/regex/StringContainer.h"

#include <gmock/gmock.h>

namespace Kestrav {
namespace {

TEST(StringContainer, StartsEmpty) {
  const StringContainer container;
  EXPECT_TRUE(container.empty());
  EXPECT_EQ(container.size(), 0u);
  EXPECT_FALSE(container.contains(""));
}

TEST(StringContainer, FindsWithoutRegardToCase) {
  StringContainer container;
  container.add("X-Spam-Flag");
  container.add("received");
  EXPECT_TRUE(container.contains("x-spam-flag"));
  EXPECT_TRUE(container.contains("X-SPAM-FLAG"));
  EXPECT_TRUE(container.contains("Received"));
  EXPECT_FALSE(container.contains("X-Spam"));
  EXPECT_FALSE(container.contains("X-Spam-Flags"));
  EXPECT_FALSE(container.contains(""));
}

TEST(StringContainer, WildcardsMeanNothingHere) {
  StringContainer container;
  container.add("X-*");
  EXPECT_FALSE(container.contains("X-Spam"));
  EXPECT_TRUE(container.contains("x-*"));
}

TEST(StringContainer, KeepsStringsAsAddedInThatOrder) {
  StringContainer container;
  for (const char* string : {"B", "a", "b", "A"}) container.add(string);
  EXPECT_THAT(container.strings(), testing::ElementsAre("B", "a", "b", "A"));
  EXPECT_EQ(container.size(), 4u);
}

}  // namespace
}  // namespace Kestrav
