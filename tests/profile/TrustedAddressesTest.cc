#include "TrustedMTASet.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Kestrav {
namespace {

using testing::ElementsAre;

std::vector<std::string> texts(const TrustedAddresses& set) {
  std::vector<std::string> result;
  for (const IPAddressMask& mask : set.list()) result.push_back(mask.asString());
  return result;
}

TEST(TrustedAddresses, AreOrderedAndWithoutDuplicates) {
  TrustedAddresses set;
  set.insert(IPAddressMask("192.0.2.9"));
  set.insert(IPAddressMask("10.0.0.0/8"));
  set.insert(IPAddressMask("10.0.0.0/255.0.0.0"));
  EXPECT_THAT(texts(set), ElementsAre("10.0.0.0/8", "192.0.2.9"));
  EXPECT_EQ(set.size(), 2u);
}

TEST(TrustedAddresses, DistinguishElementsFromCoveredAddresses) {
  TrustedAddresses set;
  set.insert(IPAddressMask("10.0.0.0/8"));
  EXPECT_TRUE(set.contains(IPAddressMask("10.0.0.0/8")));
  EXPECT_FALSE(set.contains(IPAddressMask("10.1.0.0/16")));
  EXPECT_TRUE(set.matches(IPAddress("10.1.2.3")));
  EXPECT_FALSE(set.matches(IPAddress("11.1.2.3")));
  EXPECT_FALSE(set.matches(IPAddress()));
}

TEST(TrustedAddresses, EraseOnlyElementsOfTheSet) {
  TrustedAddresses set;
  set.insert(IPAddressMask("192.0.2.9"));
  set.erase(IPAddressMask("192.0.2.8"));
  EXPECT_EQ(set.size(), 1u);
  set.erase(IPAddressMask("192.0.2.9"));
  EXPECT_EQ(set.size(), 0u);
}

TEST(TrustedAddresses, RejectASetThatWasReadBeforeAChange) {
  const std::set<IPAddressMask> read{IPAddressMask("192.0.2.1")};
  TrustedAddresses set;
  const std::uint64_t before = set.changes();
  set.erase(IPAddressMask("192.0.2.1"));
  EXPECT_FALSE(set.add(read, before));
  EXPECT_FALSE(set.assign(read, before));
  EXPECT_EQ(set.size(), 0u);
  EXPECT_TRUE(set.add(read, set.changes()));
  EXPECT_TRUE(set.assign({IPAddressMask("192.0.2.2")}, set.changes()));
  EXPECT_THAT(texts(set), ElementsAre("192.0.2.2"));
}

TEST(TrustedMTASet, IsOneForTheProcess) {
  EXPECT_EQ(TrustedMTASetRef::instance(false), TrustedMTASetRef::instance(true));
}

TEST(TrustedAddresses, AddOfATableThatWasReadBeforeAnAssignmentIsRefused) {
  TrustedAddresses set;
  const std::uint64_t read = set.changes();
  ASSERT_TRUE(set.assign({IPAddressMask("192.0.2.1")}, read));
  EXPECT_FALSE(set.add({IPAddressMask("192.0.2.2")}, read));
  EXPECT_THAT(texts(set), ElementsAre("192.0.2.1"));
}

}  // namespace
}  // namespace Kestrav
