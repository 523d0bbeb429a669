// The profile factory's caches, as callers see them: which record a profile is built from, and when
// it is built again. Two handles are equal when they share one implementation.
#include "ProfileFactory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "ProfileGlobalSettings.h"
#include "platform/config/client/cmf.h"
#include "tests/profile/Factory.h"
#include "tests/profile/Gateway.h"
#include "tests/support/AntispamRecords.h"
#include "tests/support/QuarantineRecords.h"
#include "tests/support/SystemRecords.h"
#include "tests/support/WebFilterRecords.h"

using namespace Kestrav;
using namespace Kestrav::Testing;

namespace {

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

using Kinds = std::set<std::string>;

// A record of each kind, all with one id.
std::uint32_t putOfEachKind() {
  const std::uint32_t id = freshId();
  put(AntispamRecord(id), WebFilterRecord(id), QuarantineFolderRecord(id, "Cached"));
  return id;
}

// The cached profiles of those records.
class Cached {
 public:
  explicit Cached(std::uint32_t id) : id_(id) {}

  Kinds dropped() const {
    Kinds kinds;
    if (!(antispam(id_) == antispam_)) kinds.insert("antispam");
    if (!(webFilter(id_) == webFilter_)) kinds.insert("web filter");
    if (!(folder(id_) == folder_)) kinds.insert("folder");
    return kinds;
  }

 private:
  const std::uint32_t id_;
  const ProfileAntiSpam antispam_ = antispam(id_);
  const ProfileWebFilter webFilter_ = webFilter(id_);
  const Ref<ProfileQuarantineFolder> folder_ = folder(id_);
};

}  // namespace

TEST(ProfileFactory, IsOneForTheProcess) {
  const ProfileFactory* const first = &factory();
  EXPECT_EQ(ProfileFactory::instance(), first);
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

// The store has a folder "bulk" at first, and a "Bulk" later.
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

// --- Dropping

TEST(ProfileFactory, UpdateDropsOneProfileAndClearAllOfTheKind) {
  struct Case {
    const char* what;
    void (*operation)(std::uint32_t id);
    Kinds dropped;      // of those with the id
    Kinds othersToo{};  // of those with another id
  };
  const Case cases[] = {
      {"antispam", &drop<__aps_gw_as_profile>, {"antispam"}},
      {"web filter", &drop<__aps_as_wf_profile>, {"web filter"}},
      {"folder", &drop<__aps_systemquarantine_folders>, {"folder"}},
      {"antivirus", &drop<__aps_gw_av_profile>, {}},
      {"content", &drop<__aps_gw_content_profile>, {}},
      {"dlp", &drop<__aps_dlp_profile>, {}},
      {"encryption", &drop<__vexa_encryption_profile>, {}},
      {"notification", &drop<__aps_profile_notification>, {}},
      {"file pattern", &drop<__attachment_file_pattern>, {}},
      {"session", &drop<__qv_ip_profile>, {}},
      {"all antispam",
       [](std::uint32_t) { factory().clearAntispamProfiles(); },
       {"antispam"},
       {"antispam"}},
      {"all antispam, locked",
       [](std::uint32_t) { factory()._clearAntispamProfiles(); },
       {"antispam"},
       {"antispam"}},
      {"all web filter",
       [](std::uint32_t) { factory().clearWebFilterProfiles(); },
       {"web filter"},
       {"web filter"}},
      {"all antivirus", [](std::uint32_t) { factory().clearAntivirusProfiles(); }, {}},
      {"all content", [](std::uint32_t) { factory().clearContentProfiles(); }, {}},
      {"all dlp", [](std::uint32_t) { factory().clearDLPProfiles(); }, {}},
      {"all file pattern", [](std::uint32_t) { factory().clearFilePatternProfiles(); }, {}},
      {"all notification", [](std::uint32_t) { factory().clearNotificationProfiles(); }, {}},
      {"all session", [](std::uint32_t) { factory().clearSessionProfiles(); }, {}},
  };
  const std::uint32_t id = putOfEachKind();
  const std::uint32_t otherId = putOfEachKind();
  for (const Case& row : cases) {
    SCOPED_TRACE(row.what);
    const Cached named(id);
    const Cached other(otherId);
    row.operation(id);
    EXPECT_EQ(named.dropped(), row.dropped);
    EXPECT_EQ(other.dropped(), row.othersToo);
  }
}

TEST(ProfileFactory, UpdateLeavesTheOldProfileToItsHolders) {
  const std::uint32_t id = freshId();
  put(AntispamRecord(id).name("old"));
  const ProfileAntiSpam before = antispam(id);
  EventsHeld held;
  held.put(AntispamRecord(id).name("new"));
  drop<__aps_gw_as_profile>(id);
  EXPECT_EQ(antispam(id).name(), "new");
  EXPECT_EQ(before.name(), "old");
}

TEST(ProfileFactory, UpdateIgnoresTheDomain) {
  const std::uint32_t id = putAntispam();
  const ProfileAntiSpam before = antispam(id);
  const AntispamRecord record(id);
  factory().update(99, static_cast<int>(id), &record.record());
  EXPECT_FALSE(antispam(id) == before);
}

TEST(ProfileFactory, UpdateOfAnUncachedIdDoesNothing) {
  const std::uint32_t id = putAntispam();
  const ProfileAntiSpam kept = antispam(id);
  const LogCapture log;
  drop<__aps_gw_as_profile>(freshId());
  EXPECT_TRUE(antispam(id) == kept);
  EXPECT_TRUE(log.codes().empty());
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

TEST(ProfileFactory, StaleMarkIsSeenByARequestThatFindsNothing) {
  const std::uint32_t id = putAntispam();
  const ProfileAntiSpam before = antispam(id);
  markStale(Config::Zone::kAntispamDirty);
  EXPECT_TRUE(antispam(freshId()).isNull());
  EXPECT_FALSE(isStale(Config::Zone::kAntispamDirty));
  EXPECT_FALSE(antispam(id) == before);
}

TEST(ProfileFactory, StaleMarkOfContentProfilesDoesNotDropAntispam) {
  const std::uint32_t id = putAntispam();
  const ProfileAntiSpam before = antispam(id);
  markStale(Config::Zone::kContentDirty);
  EXPECT_TRUE(antispam(id) == before);
  EXPECT_TRUE(isStale(Config::Zone::kContentDirty));
  store().status().clearDirty(Config::Zone::kContentDirty);
}

TEST(ProfileFactory, StaleMarkDoesNotDropOtherKinds) {
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

TEST(ProfileFactory, StaleMarkIsABitOfTheSharedArea) {
  char* const word = nCfg_debug_zone + 300400;
  antispam(1);
  *reinterpret_cast<volatile std::uint32_t*>(word) = 0xFFFFFFFF;
  antispam(1);
  EXPECT_EQ(*reinterpret_cast<volatile std::uint32_t*>(word), 0xFFFFFFFEu);
  factory().clearContentProfiles();
  EXPECT_EQ(*reinterpret_cast<volatile std::uint32_t*>(word), 0xFFFFFFFCu);
  *reinterpret_cast<volatile std::uint32_t*>(word) = 0;
}

TEST(ProfileFactory, EachClearClearsItsOwnMarkOnly) {
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

TEST(DeferredPeriod, StaysAsItIsWithoutSettings) {
  ASSERT_TRUE(deferred(0, 0, 24, 0));
  factory().updateDeferPeriod(nullptr);
  EXPECT_NE(factory().deferredPeriod(), 0);
}
