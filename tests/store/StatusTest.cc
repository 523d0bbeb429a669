// The zone that readers see without asking the store, and which one it is.

#include <gtest/gtest.h>

#include <cstring>

#include "StoreRecords.h"
#include "platform/config/store/StatusArea.h"
#include "tests/support/StoreFixture.h"

namespace Kestrav::Config {
namespace {

using Testing::TemporaryFolder;

class Status : public Testing::StoreFixture {};

std::uint32_t wordAt(const char* zone, std::size_t offset) {
  std::uint32_t word;
  std::memcpy(&word, zone + offset, sizeof word);
  return word;
}

TEST_F(Status, ANewStoreInspectsContentAndHasNothingStale) {
  StatusArea& status = store().status();
  EXPECT_TRUE(status.contentInspection());
  EXPECT_EQ(status.dirtyFlags(), 0u);
  EXPECT_FALSE(status.disclaimerReload());
}

TEST_F(Status, SwitchesStandAtTheirOffsets) {
  StatusArea& status = store().status();
  EXPECT_EQ(status.zone(), currentZone());
  EXPECT_EQ(wordAt(currentZone(), 300776), 1u);
  status.contentInspection(false);
  EXPECT_EQ(wordAt(currentZone(), 300776), 0u);
  status.setDirty(Zone::kContentDirty);
  EXPECT_EQ(wordAt(currentZone(), 300400), 2u);
  status.setDirty(Zone::kAntispamDirty);
  EXPECT_EQ(wordAt(currentZone(), 300400), 3u);
  EXPECT_EQ(status.clearDirty(Zone::kAntispamDirty), Zone::kAntispamDirty);
  EXPECT_EQ(status.clearDirty(Zone::kAntispamDirty), 0u);
  EXPECT_EQ(wordAt(currentZone(), 300400), 2u);
  status.disclaimerReload(true);
  EXPECT_EQ(currentZone()[300784], 1);
}

TEST_F(Status, IsKeptWithTheStore) {
  const auto path = folder() / "other";
  {
    const auto other = ConfigStore::open(path);
    other->status().contentInspection(false);
    other->status().setDirty(Zone::kContentDirty);
  }
  const auto other = ConfigStore::open(path);
  EXPECT_FALSE(other->status().contentInspection());
  EXPECT_EQ(other->status().dirtyFlags(), Zone::kContentDirty);
}

TEST_F(Status, TheCurrentZoneIsThatOfTheAttachedStore) {
  EXPECT_EQ(currentZone(), store().status().zone());
  EXPECT_EQ(ConfigStore::attached(), sharedStore());
  ConfigStore::detach();
  EXPECT_EQ(ConfigStore::attached(), nullptr);
  EXPECT_NE(currentZone(), store().status().zone());
  EXPECT_TRUE(StatusArea(currentZone()).contentInspection()) << "without a store";
}

}  // namespace
}  // namespace Kestrav::Config
