// Flag bits of records by their names.
#include "platform/config/records/Bits.h"

#include <gtest/gtest.h>

#include "platform/config/records/AntispamRecords.h"
#include "platform/config/records/ContentRecords.h"

using Kestrav::Config::isSet;
using Kestrav::Config::setBit;

TEST(Bits, ANameGivesTheByteAndTheBit) {
  __aps_gw_as_profile record{};
  setBit(record, __aps_gw_as_profile::kGreylist);
  EXPECT_EQ(record.session_options, 0x80);
  EXPECT_TRUE(isSet(record, __aps_gw_as_profile::kGreylist));
  EXPECT_FALSE(isSet(record, __aps_gw_as_profile::kImageSpam));  // bit 7 of another byte

  record.scanners = 0xFF;
  setBit(record, __aps_gw_as_profile::kImageSpam, false);
  EXPECT_EQ(record.scanners, 0x7F);
  EXPECT_EQ(record.session_options, 0x80);
}

TEST(Bits, ABitOfAWordMayBeInAnyOfItsBytes) {
  __aps_gw_content_profile record{};
  setBit(record, __aps_gw_content_profile::kRemoveHiddenHtml);
  EXPECT_EQ(record.options, 0x100u);
  EXPECT_TRUE(isSet(record, __aps_gw_content_profile::kRemoveHiddenHtml));
  record.options = 0xFF;
  EXPECT_FALSE(isSet(record, __aps_gw_content_profile::kRemoveHiddenHtml));
}
