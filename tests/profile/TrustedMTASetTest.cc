// The sets of trusted mail transfer agents: filled at start-up, kept up to date by events.
#include "TrustedMTASet.h"

#include <gtest/gtest.h>

#include <string>

#include "Factory.h"
#include "Gateway.h"
#include "tests/support/AntispamRecords.h"

using namespace Kestrav;
using namespace Kestrav::Testing;

namespace {

IPAddressMask mask(const char* text) {
  return IPAddressMask(std::string(text));
}

const TrustedAddresses& mtas() {
  return TrustedMTASetRef::instance(false)->trustedMTAs();
}
const TrustedAddresses& antispamMtas() {
  return TrustedMTASetRef::instance(false)->trustedAntispamMTAs();
}

}  // namespace

TEST(TrustedMTASet, IsOneForTheProcess) {
  EXPECT_TRUE(TrustedMTASetRef::instance(false) == TrustedMTASetRef::instance(true));
}

TEST(TrustedMTASet, EventsChangeTheSetOfTheirTable) {
  factory();
  const std::uint32_t id = freshId();
  put(TrustedMtaRecord(id, "198.51.100.1"));
  EXPECT_TRUE(mtas().contains(mask("198.51.100.1")));
  EXPECT_FALSE(antispamMtas().contains(mask("198.51.100.1")));
  put(TrustedMtaRecord(id, "198.51.100.0/24"));
  EXPECT_FALSE(mtas().contains(mask("198.51.100.1")));
  EXPECT_TRUE(mtas().contains(mask("198.51.100.0/24")));
  EXPECT_TRUE(mtas().matches(IPAddress("198.51.100.200")));
  erase(GID_TRUSTED_MTA, id);
  EXPECT_FALSE(mtas().contains(mask("198.51.100.0/24")));
}

TEST(TrustedMTASet, AntispamEventsChangeTheOtherSet) {
  factory();
  const std::uint32_t id = freshId();
  put(TrustedAntispamMtaRecord(id, "2001:db8::1"));
  EXPECT_TRUE(antispamMtas().contains(mask("2001:db8::1")));
  EXPECT_FALSE(mtas().contains(mask("2001:db8::1")));
  put(TrustedAntispamMtaRecord(id, "2001:db8::2"));
  EXPECT_FALSE(antispamMtas().contains(mask("2001:db8::1")));
  EXPECT_TRUE(antispamMtas().contains(mask("2001:db8::2")));
  erase(GID_TRUSTED_ANTISPAM_MTA, id);
  EXPECT_FALSE(antispamMtas().contains(mask("2001:db8::2")));
}

TEST(TrustedMTASet, TwoFormsOfOneMaskAreOneElement) {
  factory();
  const std::uint32_t first = freshId();
  const std::uint32_t second = freshId();
  const std::size_t before = mtas().size();
  put(TrustedMtaRecord(first, "203.0.113.0/24"), TrustedMtaRecord(second, "203.0.113."));
  EXPECT_EQ(mtas().size(), before + 1);
  // An event erases the address of its record, even if another record has it too.
  erase(GID_TRUSTED_MTA, second);
  EXPECT_EQ(mtas().size(), before);
}

// The old address is erased before the new one is inserted.
TEST(TrustedMTASet, MaskWrittenInAnotherFormStays) {
  factory();
  const std::uint32_t mta = freshId();
  const std::uint32_t antispam = freshId();
  put(TrustedMtaRecord(mta, "203.0.113.0/25"),
      TrustedAntispamMtaRecord(antispam, "203.0.113.0/25"));
  put(TrustedMtaRecord(mta, "203.0.113.0/255.255.255.128"),
      TrustedAntispamMtaRecord(antispam, "203.0.113.0/255.255.255.128"));
  EXPECT_TRUE(mtas().contains(mask("203.0.113.0/25")));
  EXPECT_TRUE(antispamMtas().contains(mask("203.0.113.0/25")));
  erase(GID_TRUSTED_MTA, mta);
  erase(GID_TRUSTED_ANTISPAM_MTA, antispam);
}

TEST(TrustedMTASet, InitialisingKeepsWhatTheTablesDoNotHold) {
  TrustedMTASetRef sets = TrustedMTASetRef::instance(false);
  sets->trustedMTAs().insert(mask("192.0.2.121"));
  sets->trustedAntispamMTAs().insert(mask("192.0.2.122"));
  initializeTrustedMTASet();
  EXPECT_TRUE(mtas().contains(mask("192.0.2.121")));
  EXPECT_TRUE(antispamMtas().contains(mask("192.0.2.122")));
  sets->trustedMTAs().erase(mask("192.0.2.121"));
  sets->trustedAntispamMTAs().erase(mask("192.0.2.122"));
}

TEST(TrustedMTASet, InitialisingAddsBothTables) {
  factory();
  const std::uint32_t mta = freshId();
  const std::uint32_t antispam = freshId();
  {
    EventsHeld held;
    held.put(TrustedMtaRecord(mta, "192.0.2.101"),
             TrustedAntispamMtaRecord(antispam, "192.0.2.102"));
    EXPECT_FALSE(mtas().contains(mask("192.0.2.101")));
    initializeTrustedMTASet();
    EXPECT_TRUE(mtas().contains(mask("192.0.2.101")));
    EXPECT_FALSE(mtas().contains(mask("192.0.2.102")));
    EXPECT_TRUE(antispamMtas().contains(mask("192.0.2.102")));
    const std::size_t size = mtas().size();
    initializeTrustedMTASet();
    EXPECT_EQ(mtas().size(), size);
  }
  erase(GID_TRUSTED_MTA, mta);
  erase(GID_TRUSTED_ANTISPAM_MTA, antispam);
}

TEST(TrustedMTASet, TextThatIsNoAddressIsSkipped) {
  factory();
  const std::uint32_t bad = freshId();
  const std::uint32_t good = freshId();
  const LogCapture log;
  put(TrustedMtaRecord(bad, "no address"), TrustedMtaRecord(good, "192.0.2.111"));
  EXPECT_TRUE(mtas().contains(mask("192.0.2.111")));
  put(TrustedMtaRecord(bad, "192.0.2.112"));
  EXPECT_TRUE(mtas().contains(mask("192.0.2.112")));
  initializeTrustedMTASet();
  EXPECT_TRUE(mtas().contains(mask("192.0.2.111")));
  EXPECT_FALSE(log.codes().empty());
}

TEST(TrustedMTASet, ElementsAreInTheOrderOfMasks) {
  factory();
  put(TrustedMtaRecord(freshId(), "2001:db8::9"), TrustedMtaRecord(freshId(), "192.0.2.9"),
      TrustedMtaRecord(freshId(), "192.0.2.8"));
  const std::list<IPAddressMask> all = mtas().list();
  EXPECT_TRUE(std::is_sorted(all.begin(), all.end()));
  EXPECT_GE(all.size(), 3u);
}
