// The profile factory's caches, as callers see them: which record a profile is made from, and when
// it is made anew. Identity of the implementation tells a cached profile from one made again.
#include "ProfileFactory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "DeferPeriod.h"
#include "Factory.h"
#include "Gateway.h"
#include "ProfileGlobalSettings.h"
#include "platform/common/Exception.h"
#include "platform/config/client/cmf.h"

using namespace Kestrav;
using namespace Kestrav::Testing;

namespace {

ProfileAntiSpam antispam(std::uint32_t id, ngid_t domain = 0) {
  return factory().createProfileAntiSpam(static_cast<int>(id), domain);
}
ProfileWebFilter webFilter(std::uint32_t id) {
  return factory().createProfileWebFilter(static_cast<int>(id));
}
Ref<ProfileQuarantineFolder> folder(std::uint32_t id, ngid_t domain = 0) {
  return factory().createProfileQuarantineFolder(static_cast<int>(id), domain);
}

std::uint32_t putAntispam() {
  const std::uint32_t id = freshId();
  put(AntispamRecord(id));
  return id;
}

void markStale(std::uint32_t bits) {
  store().status().setDirty(bits);
}
bool isStale(std::uint32_t bits) {
  return (store().status().dirtyFlags() & bits) == bits;
}

}  // namespace

TEST(ProfileFactory, IsOneForTheProcess) {
  EXPECT_EQ(&factory(), ProfileFactory::instance());
}

TEST(ProfileFactory, WellKnownFoldersAreZeroBeforeItIsMade) {
  EXPECT_EQ(start().folderIdsBefore, (std::vector<std::uint32_t>{0, 0, 0, 0}));
}

TEST(ProfileFactory, FindsTheWellKnownFoldersByName) {
  start();
  EXPECT_EQ(ProfileFactory::virus_folderId, start().virusFolder);
  EXPECT_EQ(ProfileFactory::content_folderId, start().contentFolder);
  EXPECT_EQ(ProfileFactory::dlp_folderId, start().dlpFolder);
}

// There is a folder "bulk", and soon a "Bulk": the case counts, and so does the moment.
TEST(ProfileFactory, MissingFolderLeavesItsIdAtZero) {
  start();
  EXPECT_EQ(ProfileFactory::spam_folderId, 0u);
  put(QuarantineFolderRecord(freshId(), "Bulk"));
  EXPECT_EQ(ProfileFactory::spam_folderId, 0u);
}

TEST(ProfileFactory, TakesTheDeferredPeriodFromTheSettingsAtItsStart) {
  EXPECT_TRUE(start().deferredAtStart);
}

// --- Which record

TEST(ProfileFactory, SystemsRecordComesBeforeTheDomains) {
  const std::uint32_t id = freshId();
  const ngid_t domain = freshId();
  put(AntispamRecord(id).name("system"));
  putInto(domain, AntispamRecord(id).name("domain"));
  EXPECT_EQ(antispam(id, domain).name(), "system");
}

TEST(ProfileFactory, ProfileOfADomainIsServedToEveryDomainOnceItIsCached) {
  const std::uint32_t id = freshId();
  const ngid_t domain = freshId();
  putInto(domain, AntispamRecord(id).name("domain"));
  const ngid_t stranger = freshId();
  EXPECT_TRUE(antispam(id, stranger).isNull());
  EXPECT_TRUE(antispam(id, 0).isNull());
  const ProfileAntiSpam own = antispam(id, domain);
  ASSERT_FALSE(own.isNull());
  EXPECT_EQ(own.name(), "domain");
  EXPECT_TRUE(antispam(id, stranger) == own);
  EXPECT_TRUE(antispam(id, 0) == own);
}

TEST(ProfileFactory, ProfileIsMadeForTheDomainItsRecordWasFoundIn) {
  const std::uint32_t action = freshId();
  const ngid_t domain = freshId();
  put(AntispamActionRecord(action).archive(1));
  putInto(domain, AntispamActionRecord(action).archive(2));
  const std::uint32_t systems = freshId();
  const std::uint32_t domains = freshId();
  put(AntispamRecord(systems).defaultAction(action));
  putInto(domain, AntispamRecord(domains).defaultAction(action));
  EXPECT_EQ(antispam(systems, domain).actions().find(0x100000).archiveRecipientId(), 1u);
  EXPECT_EQ(antispam(domains, domain).actions().find(0x100000).archiveRecipientId(), 2u);
}

TEST(ProfileFactory, ProfileHasTheIdThatWasAskedFor) {
  const std::uint32_t id = putAntispam();
  EXPECT_EQ(antispam(id).id(), static_cast<int>(id));
}

TEST(ProfileFactory, FoldersAreLookedForInTheSystemOnly) {
  const std::uint32_t id = freshId();
  put(QuarantineFolderRecord(id, "Mine"));
  const ngid_t domain = freshId();
  ASSERT_FALSE(folder(id, domain).isNull());
  EXPECT_EQ(folder(id, domain)->name(), "Mine");
  EXPECT_TRUE(folder(id, 0) == folder(id, domain));
}

// --- Caching

TEST(ProfileFactory, MakesEachProfileOnce) {
  const std::uint32_t spam = putAntispam();
  const std::uint32_t web = freshId();
  const std::uint32_t box = freshId();
  put(WebFilterRecord(web), QuarantineFolderRecord(box, "Once"));
  EXPECT_TRUE(antispam(spam) == antispam(spam));
  EXPECT_TRUE(webFilter(web) == webFilter(web));
  EXPECT_TRUE(folder(box) == folder(box));
}

TEST(ProfileFactory, MissingRecordIsANullProfileThatIsNotRemembered) {
  const std::uint32_t spam = freshId();
  const std::uint32_t web = freshId();
  const std::uint32_t box = freshId();
  factory();
  EventsHeld held;
  EXPECT_TRUE(antispam(spam, 3).isNull());
  EXPECT_TRUE(webFilter(web).isNull());
  EXPECT_TRUE(folder(box).isNull());
  held.put(AntispamRecord(spam), WebFilterRecord(web), QuarantineFolderRecord(box, "Late"));
  EXPECT_FALSE(antispam(spam, 3).isNull());
  EXPECT_FALSE(webFilter(web).isNull());
  EXPECT_FALSE(folder(box).isNull());
}

TEST(ProfileFactory, CachedProfileIsServedUntilItIsDropped) {
  const std::uint32_t id = putAntispam();
  const ProfileAntiSpam cached = antispam(id);
  EventsHeld held;
  held.put(AntispamRecord(id).name("changed"));
  EXPECT_TRUE(antispam(id) == cached);
}

TEST(ProfileFactory, IdZeroNamesNoProfile) {
  EXPECT_TRUE(antispam(0).isNull());
  EXPECT_TRUE(webFilter(0).isNull());
  EXPECT_TRUE(folder(0).isNull());
  EXPECT_TRUE(antispam(static_cast<std::uint32_t>(-1)).isNull());
  EXPECT_TRUE(webFilter(static_cast<std::uint32_t>(-1)).isNull());
}

TEST(ProfileFactory, FailureOfAProfileIsTheCallersAndLeavesNothingBehind) {
  const std::uint32_t action = freshId();
  const std::uint32_t id = freshId();
  put(AntispamActionRecord(action).rewrite(3, "%%LOCAL", 0, ""),
      AntispamRecord(id).defaultAction(action));
  EXPECT_THROW(antispam(id), Exception);
  EXPECT_THROW(antispam(id), Exception);  // the lock is free again
  EventsHeld held;
  held.put(AntispamActionRecord(action).rewrite(3, "%%LOCAL%%", 0, ""));
  EXPECT_FALSE(antispam(id).isNull());
}

// --- Dropping one

TEST(ProfileFactory, UpdateDropsExactlyOneProfileOfItsKind) {
  const std::uint32_t first = putAntispam();
  const std::uint32_t second = putAntispam();
  put(WebFilterRecord(first), QuarantineFolderRecord(first, "Same id"));
  const ProfileAntiSpam oldFirst = antispam(first);
  const ProfileAntiSpam oldSecond = antispam(second);
  const ProfileWebFilter web = webFilter(first);
  const Ref<ProfileQuarantineFolder> box = folder(first);
  EventsHeld held;
  held.put(AntispamRecord(first).name("new"), AntispamRecord(second).name("new"));
  factory().update(0, static_cast<int>(first), static_cast<const __aps_gw_as_profile*>(nullptr));
  EXPECT_EQ(antispam(first).name(), "new");
  EXPECT_TRUE(antispam(second) == oldSecond);
  EXPECT_TRUE(webFilter(first) == web);
  EXPECT_TRUE(folder(first) == box);
  EXPECT_NE(oldFirst.name(), "new");  // whoever holds a profile keeps it
}

TEST(ProfileFactory, UpdateGoesByTheIdWhateverTheDomain) {
  const std::uint32_t id = putAntispam();
  const ProfileAntiSpam before = antispam(id);
  const AntispamRecord record(id);
  factory().update(99, static_cast<int>(id), &record.record());
  EXPECT_FALSE(antispam(id) == before);
}

TEST(ProfileFactory, UpdateOfAWebFilterDropsItAlone) {
  const std::uint32_t first = freshId();
  const std::uint32_t second = freshId();
  put(WebFilterRecord(first), WebFilterRecord(second));
  const std::uint32_t spam = putAntispam();
  const ProfileWebFilter oldFirst = webFilter(first);
  const ProfileWebFilter oldSecond = webFilter(second);
  const ProfileAntiSpam kept = antispam(spam);
  factory().update(0, static_cast<int>(first), static_cast<const __aps_as_wf_profile*>(nullptr));
  EXPECT_FALSE(webFilter(first) == oldFirst);
  EXPECT_TRUE(webFilter(second) == oldSecond);
  EXPECT_TRUE(antispam(spam) == kept);
}

TEST(ProfileFactory, UpdateOfAFolderDropsItAlone) {
  const std::uint32_t first = freshId();
  const std::uint32_t second = freshId();
  put(QuarantineFolderRecord(first, "One"), QuarantineFolderRecord(second, "Two"));
  const auto oldFirst = folder(first);
  const auto oldSecond = folder(second);
  factory().update(0, static_cast<int>(first),
                   static_cast<const __aps_systemquarantine_folders*>(nullptr));
  EXPECT_FALSE(folder(first) == oldFirst);
  EXPECT_TRUE(folder(second) == oldSecond);
}

TEST(ProfileFactory, UpdateOfAnUncachedIdDoesNothing) {
  const std::uint32_t id = putAntispam();
  const ProfileAntiSpam kept = antispam(id);
  const LogCapture log;
  factory().update(0, static_cast<int>(freshId()),
                   static_cast<const __aps_gw_as_profile*>(nullptr));
  EXPECT_TRUE(antispam(id) == kept);
  EXPECT_TRUE(log.codes().empty());
}

TEST(ProfileFactory, UpdatesOfOtherKindsLeaveAProfileAlone) {
  const std::uint32_t id = putAntispam();
  put(WebFilterRecord(id), QuarantineFolderRecord(id, "Kept"));
  const ProfileAntiSpam spam = antispam(id);
  const ProfileWebFilter web = webFilter(id);
  const auto box = folder(id);
  const int number = static_cast<int>(id);
  factory().update(0, number, static_cast<const __aps_gw_av_profile*>(nullptr));
  factory().update(0, number, static_cast<const __aps_gw_content_profile*>(nullptr));
  factory().update(0, number, static_cast<const __aps_dlp_profile*>(nullptr));
  factory().update(0, number, static_cast<const __vexa_encryption_profile*>(nullptr));
  factory().update(0, number, static_cast<const __aps_profile_notification*>(nullptr));
  factory().update(0, number, static_cast<const __attachment_file_pattern*>(nullptr));
  factory().update(0, number, static_cast<const __qv_ip_profile*>(nullptr));
  EXPECT_TRUE(antispam(id) == spam);
  EXPECT_TRUE(webFilter(id) == web);
  EXPECT_TRUE(folder(id) == box);
}

// --- Dropping all

TEST(ProfileFactory, ClearDropsEveryProfileOfItsKindAndNoOther) {
  const std::uint32_t first = putAntispam();
  const std::uint32_t second = putAntispam();
  put(WebFilterRecord(first), QuarantineFolderRecord(first, "Kept"));
  const ProfileAntiSpam oldFirst = antispam(first);
  const ProfileAntiSpam oldSecond = antispam(second);
  const ProfileWebFilter web = webFilter(first);
  const auto box = folder(first);
  factory().clearAntispamProfiles();
  const ProfileAntiSpam newFirst = antispam(first);
  EXPECT_FALSE(newFirst == oldFirst);
  EXPECT_FALSE(antispam(second) == oldSecond);
  EXPECT_TRUE(webFilter(first) == web);
  EXPECT_TRUE(folder(first) == box);

  factory().clearWebFilterProfiles();
  EXPECT_FALSE(webFilter(first) == web);
  EXPECT_TRUE(antispam(first) == newFirst);
}

TEST(ProfileFactory, ClearsOfOtherKindsLeaveAProfileAlone) {
  const std::uint32_t id = putAntispam();
  put(WebFilterRecord(id), QuarantineFolderRecord(id, "Kept"));
  const ProfileAntiSpam spam = antispam(id);
  const ProfileWebFilter web = webFilter(id);
  const auto box = folder(id);
  factory().clearAntivirusProfiles();
  factory().clearContentProfiles();
  factory().clearDLPProfiles();
  factory().clearFilePatternProfiles();
  factory().clearNotificationProfiles();
  factory().clearSessionProfiles();
  EXPECT_TRUE(antispam(id) == spam);
  EXPECT_TRUE(webFilter(id) == web);
  EXPECT_TRUE(folder(id) == box);
}

// --- The stale marks

TEST(ProfileFactory, StaleMarkDropsTheAntispamProfilesAtTheNextRequest) {
  const std::uint32_t first = putAntispam();
  const std::uint32_t second = putAntispam();
  const ProfileAntiSpam oldFirst = antispam(first);
  const ProfileAntiSpam oldSecond = antispam(second);
  markStale(Config::Zone::kAntispamDirty);
  const ProfileAntiSpam newFirst = antispam(first);
  EXPECT_FALSE(newFirst == oldFirst);
  EXPECT_FALSE(isStale(Config::Zone::kAntispamDirty));
  EXPECT_FALSE(antispam(second) == oldSecond);
  EXPECT_TRUE(antispam(first) == newFirst);  // once only
}

TEST(ProfileFactory, StaleMarkCountsForARequestThatFindsNothing) {
  const std::uint32_t id = putAntispam();
  const ProfileAntiSpam before = antispam(id);
  markStale(Config::Zone::kAntispamDirty);
  EXPECT_TRUE(antispam(freshId()).isNull());
  EXPECT_FALSE(isStale(Config::Zone::kAntispamDirty));
  EXPECT_FALSE(antispam(id) == before);
}

TEST(ProfileFactory, StaleMarkOfContentProfilesIsNotForAntispam) {
  const std::uint32_t id = putAntispam();
  const ProfileAntiSpam before = antispam(id);
  markStale(Config::Zone::kContentDirty);
  EXPECT_TRUE(antispam(id) == before);
  EXPECT_TRUE(isStale(Config::Zone::kContentDirty));
  store().status().clearDirty(Config::Zone::kContentDirty);
}

TEST(ProfileFactory, StaleMarkIsNotForOtherKinds) {
  const std::uint32_t id = freshId();
  put(WebFilterRecord(id), QuarantineFolderRecord(id, "Kept"));
  const ProfileWebFilter web = webFilter(id);
  const auto box = folder(id);
  markStale(Config::Zone::kAntispamDirty | Config::Zone::kContentDirty);
  EXPECT_TRUE(webFilter(id) == web);
  EXPECT_TRUE(folder(id) == box);
  EXPECT_TRUE(isStale(Config::Zone::kAntispamDirty | Config::Zone::kContentDirty));
  store().status().clearDirty(Config::Zone::kAntispamDirty | Config::Zone::kContentDirty);
}

TEST(ProfileFactory, StaleMarkStandsInTheSharedArea) {
  char* const word = nCfg_debug_zone + 300400;
  antispam(1);
  *reinterpret_cast<volatile std::uint32_t*>(word) = 0xFFFFFFFF;
  antispam(1);
  EXPECT_EQ(*reinterpret_cast<volatile std::uint32_t*>(word), 0xFFFFFFFEu);
  factory().clearContentProfiles();
  EXPECT_EQ(*reinterpret_cast<volatile std::uint32_t*>(word), 0xFFFFFFFCu);
  *reinterpret_cast<volatile std::uint32_t*>(word) = 0;
}

TEST(ProfileFactory, EachClearTakesOffItsOwnMarkOnly) {
  constexpr std::uint32_t kSpam = Config::Zone::kAntispamDirty;
  constexpr std::uint32_t kContent = Config::Zone::kContentDirty;
  struct Case {
    const char* what;
    void (*clear)();
    std::uint32_t left;
  };
  const Case cases[] = {
      {"antispam", [] { factory().clearAntispamProfiles(); }, kContent},
      {"antispam, locked", [] { factory()._clearAntispamProfiles(); }, kContent},
      {"content", [] { factory().clearContentProfiles(); }, kSpam},
      {"content, locked", [] { factory()._clearContentProfiles(); }, kSpam},
      {"antivirus", [] { factory().clearAntivirusProfiles(); }, kSpam | kContent},
      {"dlp", [] { factory().clearDLPProfiles(); }, kSpam | kContent},
      {"dlp, locked", [] { factory()._clearDLPProfiles(); }, kSpam | kContent},
      {"file pattern", [] { factory().clearFilePatternProfiles(); }, kSpam | kContent},
      {"file pattern, locked", [] { factory()._clearFilePatternProfiles(); }, kSpam | kContent},
      {"notification", [] { factory().clearNotificationProfiles(); }, kSpam | kContent},
      {"session", [] { factory().clearSessionProfiles(); }, kSpam | kContent},
      {"web filter", [] { factory().clearWebFilterProfiles(); }, kSpam | kContent},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.what);
    markStale(kSpam | kContent);
    row.clear();
    EXPECT_EQ(store().status().dirtyFlags(), row.left);
    store().status().clearDirty(kSpam | kContent);
  }
}

TEST(ProfileFactory, LockedClearDropsTheProfiles) {
  const std::uint32_t id = putAntispam();
  const ProfileAntiSpam before = antispam(id);
  factory()._clearAntispamProfiles();
  EXPECT_FALSE(antispam(id) == before);
}

// --- The deferred period

namespace {

bool deferred(std::uint32_t startHour, std::uint32_t startMinute, std::uint32_t endHour,
              std::uint32_t endMinute) {
  const MailServerRecord settings =
      MailServerRecord().deferredPeriod(startHour, startMinute, endHour, endMinute);
  factory().updateDeferPeriod(&settings.record());
  EXPECT_EQ(ProfileGlobalSettings::deferredPeriod(), factory().deferredPeriod());
  return factory().deferredPeriod() != 0;
}

}  // namespace

// All of these hold at any time of day.
TEST(DeferredPeriod, IsMadeOfHoursAndMinutes) {
  EXPECT_TRUE(deferred(0, 0, 24, 0));
  EXPECT_TRUE(deferred(0, 0, 0, 1440));
  EXPECT_FALSE(deferred(24, 0, 24, 0));
  EXPECT_FALSE(deferred(0, 1440, 24, 0));
  EXPECT_FALSE(deferred(24, 0, 0, 0));
  EXPECT_FALSE(deferred(0, 0, 0, 0));
}

TEST(DeferredPeriod, StaysWithoutSettings) {
  ASSERT_TRUE(deferred(0, 0, 24, 0));
  factory().updateDeferPeriod(nullptr);
  EXPECT_NE(factory().deferredPeriod(), 0);
}

TEST(DeferredPeriod, HoldsFromItsStartToBeforeItsEnd) {
  struct Case {
    std::int64_t start, end, at;
    bool within;
  };
  for (const Case& row : {
           Case{60, 120, 59, false},
           Case{60, 120, 60, true},
           Case{60, 120, 119, true},
           Case{60, 120, 120, false},
           Case{1320, 60, 1320, true},  // over midnight
           Case{1320, 60, 1439, true},
           Case{1320, 60, 0, true},
           Case{1320, 60, 59, true},
           Case{1320, 60, 60, false},
           Case{1320, 60, 1319, false},
           Case{60, 60, 60, false},
           Case{0, 1440, 0, true},
           Case{0, 1440, 1439, true},
       }) {
    SCOPED_TRACE(std::to_string(row.start) + "-" + std::to_string(row.end) + " at " +
                 std::to_string(row.at));
    DeferPeriod period;
    period.start = row.start;
    period.end = row.end;
    EXPECT_EQ(period.contains(row.at), row.within);
  }
}
