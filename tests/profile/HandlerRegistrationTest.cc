// Which handlers the factory registers, and in which order.
#include <cxxabi.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <typeinfo>
#include <vector>

#include "FactoryHandlers.h"
#include "tests/profile/Factory.h"
#include "tests/profile/Gateway.h"
#include "tests/profile/Hooks.h"
#include "tests/support/AntispamRecords.h"

using namespace Kestrav;
using namespace Kestrav::Testing;
using testing::ElementsAreArray;

namespace {

struct Registration {
  unsigned int gid;
  std::string type;  // without its namespace
  std::string dispatcher;
  int first;
  int second;
  bool foldersKnown;
};

std::string className(const CMF::Event::Handler& handler) {
  char* const text = abi::__cxa_demangle(typeid(handler).name(), nullptr, nullptr, nullptr);
  std::string name = text;
  std::free(text);
  const std::string space = "Kestrav::CMF::Event::";
  return name.compare(0, space.size(), space) == 0 ? name.substr(space.size()) : name;
}

// The two flags of each request for a dispatcher.
std::vector<bool>& dispatcherFlags() {
  static std::vector<bool> seen;
  return seen;
}

// All registrations while the factory starts. The caches that it uses register handlers too.
const std::vector<Registration>& registrations() {
  static const std::vector<Registration> made = [] {
    std::vector<Registration> seen;
    const Before<&CMF::Event::DispatcherImpl::add> adding(
        [&](CMF::Event::DispatcherImpl& to, const CMF::Event::RefHandler& handler,
            unsigned char first, unsigned char second) {
          seen.push_back({handler->gid(), className(*handler.operator->()), to.name(), first,
                          second, ProfileFactory::virus_folderId != 0});
        });
    const Before<&CMF::Event::Dispatcher::instance> asking(
        [](const std::string&, bool first, bool second) {
          dispatcherFlags().push_back(first);
          dispatcherFlags().push_back(second);
        });
    start();
    return seen;
  }();
  return made;
}

std::vector<Registration> ofTheFactory() {
  std::vector<Registration> own;
  for (const Registration& one : registrations()) {
    if (one.type.find("ApsSysClientSideCacheHandler") == std::string::npos) own.push_back(one);
  }
  return own;
}

}  // namespace

TEST(FactoryHandlers, AreRegisteredInAFixedOrder) {
  std::vector<unsigned int> tables;
  for (const Registration& one : ofTheFactory()) tables.push_back(one.gid);
  EXPECT_THAT(tables, ElementsAreArray({456,  377,  363,  1832, 948,  1339, 512,  199,  871,
                                        898,  862,  864,  901,  1251, 916,  1782, 1229, 617,
                                        1418, 1441, 1511, 1528, 446,  448,  1682}));
}

TEST(FactoryHandlers, HaveTheirNames) {
  std::vector<std::string> types;
  for (const Registration& one : ofTheFactory()) types.push_back(one.type);
  EXPECT_THAT(types, ElementsAreArray({
                         "ProfileHandler<__aps_gw_as_profile, 456u>",
                         "ProfileHandler<__aps_gw_av_profile, 377u>",
                         "DeepheaderHandler",
                         "ProfileHandler<__aps_dlp_profile, 1832u>",
                         "ProfileHandler<__vexa_encryption_profile, 948u>",
                         "ProfileHandler<__aps_profile_notification, 1339u>",
                         "ProfileHandler<__aps_gw_content_profile, 512u>",
                         "ProfileHandler<__qv_ip_profile, 199u>",
                         "QV_DICTIONARY_GROUP",
                         "QV_DICTIONARY_GDEFINE",
                         "QV_DICTIONARY",
                         "QV_DICTIONAY_ITEM",  // this spelling is kept for callers
                         "AntiSpamActionHandler",
                         "AntiVirusActionHandler",
                         "ContentActionHandler",
                         "FilePatternHandler",
                         "CustomMessageHandler",
                         "MailSettingHandler",
                         "SessionAddressMapHandler",
                         "SessionACLHandler",
                         "BounceRulesHandler",
                         "WebFilterHandler",
                         "AntiSpamTrustedMTAHandler",
                         "AntiSpamTrustedAntiSpamMTAHandler",
                         "ProfileHandler<__aps_systemquarantine_folders, 1682u>",
                     }));
}

// The caches' handlers too.
TEST(FactoryHandlers, AreRegisteredWithTheUnnamedDispatcher) {
  EXPECT_GT(registrations().size(), ofTheFactory().size());
  EXPECT_FALSE(dispatcherFlags().empty());
  EXPECT_THAT(dispatcherFlags(), testing::Each(false));
  for (const Registration& one : registrations()) {
    SCOPED_TRACE(one.type);
    EXPECT_EQ(one.dispatcher, "");
    EXPECT_EQ(one.first, 127);
    EXPECT_EQ(one.second, 1);
  }
}

// The cache of the settings registers its handler when it is first used.
TEST(FactoryHandlers, DeferredPeriodIsReadBeforeTheLastOne) {
  const std::vector<Registration>& all = registrations();
  const auto cache = std::find_if(all.begin(), all.end(), [](const Registration& one) {
    return one.gid == 617 && one.type.find("ApsSysClientSideCacheHandler") != std::string::npos;
  });
  ASSERT_NE(cache, all.end());
  ASSERT_NE(cache, all.begin());
  EXPECT_EQ(std::prev(cache)->gid, 448u);
  EXPECT_EQ(std::next(cache)->gid, 1682u);
}

TEST(FactoryHandlers, FoldersAreReadBeforeTheFirstOne) {
  ASSERT_FALSE(registrations().empty());
  EXPECT_TRUE(registrations().front().foldersKnown);
}

TEST(FactoryHandlers, AreRegisteredOnce) {
  registrations();
  int added = 0;
  const Before<&CMF::Event::DispatcherImpl::add> adding([&](auto&&...) { ++added; });
  ProfileFactory::instance();
  EXPECT_EQ(added, 0);
}

TEST(ProfileHandler, DoesNothingWithoutARecord) {
  const std::uint32_t id = freshId();
  registrations();
  put(AntispamRecord(id), AntispamRecord(freshId()));
  const ProfileAntiSpam kept = antispam(id);
  CMF::Event::ProfileHandler<__aps_gw_as_profile, 456> handler;
  const __aps_gw_as_profile* const none = nullptr;
  dispatcher()->trace(3);
  const LogCapture log;
  handler.message(0, none, none);
  EXPECT_TRUE(log.codes().empty());
  EXPECT_TRUE(antispam(id) == kept);

  // The old record's id is used, even when the new one has another.
  const AntispamRecord named = AntispamRecord(id).name("old");
  const AntispamRecord other = AntispamRecord(freshId()).name("other");
  handler.message(0, &named.record(), &other.record());
  EXPECT_THAT(log.fields(0x30001C1),
              testing::ElementsAre(testing::ElementsAre(std::to_string(id), "other")));
  EXPECT_FALSE(antispam(id) == kept);
  dispatcher()->trace(0);
}
