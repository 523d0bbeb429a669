// Symbols that the shared libraries export for daemons.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <list>
#include <string>
#include <vector>

#include "Adapters.h"
#include "FactoryHandlers.h"
#include "platform/config/records/SharedRecords.h"
#include "platform/regex/PatternContainer.h"
#include "platform/regex/StringContainer.h"

using namespace Kestrav::CMF::Event;

TEST(Exports, FactorysHandlersCanBeMade) {
  const std::vector<RefHandler> handlers = {
      RefHandler(new ProfileHandler<__aps_gw_as_profile, 456>, false),
      RefHandler(new ProfileHandler<__aps_gw_av_profile, 377>, false),
      RefHandler(new DeepheaderHandler, false),
      RefHandler(new ProfileHandler<__aps_dlp_profile, 1832>, false),
      RefHandler(new ProfileHandler<__vexa_encryption_profile, 948>, false),
      RefHandler(new ProfileHandler<__aps_profile_notification, 1339>, false),
      RefHandler(new ProfileHandler<__aps_gw_content_profile, 512>, false),
      RefHandler(new ProfileHandler<__qv_ip_profile, 199>, false),
      RefHandler(new QV_DICTIONARY_GROUP, false),
      RefHandler(new QV_DICTIONARY_GDEFINE, false),
      RefHandler(new QV_DICTIONARY, false),
      RefHandler(new QV_DICTIONAY_ITEM, false),
      RefHandler(new AntiSpamActionHandler, false),
      RefHandler(new AntiVirusActionHandler, false),
      RefHandler(new ContentActionHandler, false),
      RefHandler(new FilePatternHandler, false),
      RefHandler(new CustomMessageHandler, false),
      RefHandler(new MailSettingHandler, false),
      RefHandler(new SessionAddressMapHandler, false),
      RefHandler(new SessionACLHandler, false),
      RefHandler(new BounceRulesHandler, false),
      RefHandler(new WebFilterHandler, false),
      RefHandler(new AntiSpamTrustedMTAHandler, false),
      RefHandler(new AntiSpamTrustedAntiSpamMTAHandler, false),
      RefHandler(new ProfileHandler<__aps_systemquarantine_folders, 1682>, false),
  };
  std::vector<unsigned int> tables;
  for (const RefHandler& handler : handlers) tables.push_back(handler->gid());
  EXPECT_THAT(tables, testing::ElementsAre(456, 377, 363, 1832, 948, 1339, 512, 199, 871, 898, 862,
                                           864, 901, 1251, 916, 1782, 1229, 617, 1418, 1441, 1511,
                                           1528, 446, 448, 1682));
}

TEST(Exports, AdaptersFillTheirContainers) {
  const __aps_hideheader_list_t header{"X-Mailer"};
  const aps_fqdn_t host{"bl.example"};
  const aps_bounded_string domain{"example.com"};
  Kestrav::StringContainer headers;
  Kestrav::PatternContainer patterns;
  std::list<std::string> hosts;
  Kestrav::adapter(headers, 1, &header);
  Kestrav::adapter(hosts, 1, &host);
  Kestrav::adapter(patterns, 1, &domain);
  EXPECT_TRUE(headers.contains("x-mailer"));
  EXPECT_THAT(hosts, testing::ElementsAre("bl.example"));
  EXPECT_TRUE(patterns.matches("user@mail.example.com"));
}
