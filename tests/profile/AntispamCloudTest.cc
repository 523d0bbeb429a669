// The cloud rating service: its checks, and the actions of their verdicts.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/profile/AntispamProfile.h"
#include "tests/profile/Gateway.h"
#include "tests/support/AntispamRecords.h"
#include "tests/support/WebFilterRecords.h"

using namespace Kestrav;
using namespace Kestrav::Testing;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

constexpr std::uint32_t kNoRecord = 999'999'999;

// The id of a new action of the system, marked with `label`.
std::uint32_t action(std::uint32_t label) {
  const std::uint32_t id = freshId();
  put(AntispamActionRecord(id).archive(label));
  return id;
}

// The service is on. Its actions are labelled 7, 49 and 58.
AntispamRecord cloudRecord() {
  return AntispamRecord(freshId())
      .cloud()
      .action(CLASSIFIER_NORBEX_ANTISPAM, action(7))
      .action(CLASSIFIER_NORBEX_OPTION, action(49))
      .action(CLASSIFIER_NORBEX_URI_CATEGORY, action(58))
      .defaultAction(action(1));
}

}  // namespace

TEST(AntispamCloud, ServiceAloneHasOnlyItsOwnAction) {
  const ProfileAntiSpam profile = profileOf(cloudRecord());
  EXPECT_THAT(ownActions(profile), ElementsAre(Pair(7, 7)));
  EXPECT_FALSE(profile.norbexAntiSpamSettings().extendedCheck);
  EXPECT_FALSE(profile.norbexAntiSpamSettings().secondaryCheck);
  EXPECT_FALSE(profile.norbexAntiSpamSettings().uriCategoryCheck);
}

TEST(AntispamCloud, ChecksHaveTheirOwnActions) {
  const ProfileAntiSpam profile =
      profileOf(cloudRecord().cloudExtendedCheck().uriCategoryCheck(kNoRecord));
  EXPECT_THAT(ownActions(profile), ElementsAre(Pair(7, 7), Pair(49, 49), Pair(58, 58)));
  EXPECT_TRUE(profile.norbexAntiSpamSettings().extendedCheck);
  EXPECT_TRUE(profile.norbexAntiSpamSettings().uriCategoryCheck);
  EXPECT_EQ(profile.messageParseType(), 0x100u);
}

TEST(AntispamCloud, ChecksWithoutAnActionTakeTheServices) {
  const ProfileAntiSpam profile = profileOf(cloudRecord()
                                                .cloudExtendedCheck()
                                                .uriCategoryCheck(kNoRecord)
                                                .action(CLASSIFIER_NORBEX_OPTION, kNoRecord)
                                                .action(CLASSIFIER_NORBEX_URI_CATEGORY, 0));
  EXPECT_THAT(ownActions(profile), ElementsAre(Pair(7, 7), Pair(49, 7), Pair(58, 7)));
  EXPECT_TRUE(profile.individualAction(CLASSIFIER_NORBEX_OPTION) ==
              profile.individualAction(CLASSIFIER_NORBEX_ANTISPAM));
}

TEST(AntispamCloud, ChecksOfAServiceWithoutAnActionTakeTheDefault) {
  const ProfileAntiSpam profile = profileOf(cloudRecord()
                                                .cloudExtendedCheck()
                                                .uriCategoryCheck(kNoRecord)
                                                .action(CLASSIFIER_NORBEX_ANTISPAM, kNoRecord)
                                                .action(CLASSIFIER_NORBEX_OPTION, kNoRecord)
                                                .action(CLASSIFIER_NORBEX_URI_CATEGORY, kNoRecord));
  EXPECT_THAT(ownActions(profile), IsEmpty());
  EXPECT_EQ(label(profile.individualAction(CLASSIFIER_NORBEX_OPTION)), 1u);
}

TEST(AntispamCloud, EachCheckFallsBackByItself) {
  const ProfileAntiSpam extended =
      profileOf(cloudRecord().cloudExtendedCheck().action(CLASSIFIER_NORBEX_OPTION, kNoRecord));
  EXPECT_THAT(ownActions(extended), ElementsAre(Pair(7, 7), Pair(49, 7)));
  const ProfileAntiSpam uri = profileOf(
      cloudRecord().uriCategoryCheck(kNoRecord).action(CLASSIFIER_NORBEX_URI_CATEGORY, kNoRecord));
  EXPECT_THAT(ownActions(uri), ElementsAre(Pair(7, 7), Pair(58, 7)));
}

TEST(AntispamCloud, ServiceThatIsOffHasNoActionsAndNoChecksButTheSecondary) {
  const std::uint32_t webFilter = freshId();
  put(WebFilterRecord(webFilter));
  const ProfileAntiSpam profile = profileOf(
      cloudRecord().cloud(false).cloudExtendedCheck().cloudSecondaryCheck().uriCategoryCheck(
          webFilter));
  EXPECT_THAT(ownActions(profile), IsEmpty());
  EXPECT_FALSE(profile.norbexAntiSpamSettings().extendedCheck);
  EXPECT_TRUE(profile.norbexAntiSpamSettings().secondaryCheck);
  EXPECT_FALSE(profile.norbexAntiSpamSettings().uriCategoryCheck);
  EXPECT_TRUE(profile.profileWebFilter().isNull());
  EXPECT_EQ(profile.messageParseType(), 0u);
}

TEST(AntispamCloud, SecondaryCheckIsTakenOverWithTheServiceOnToo) {
  EXPECT_TRUE(
      profileOf(cloudRecord().cloudSecondaryCheck()).norbexAntiSpamSettings().secondaryCheck);
}

TEST(AntispamCloud, WebFilterBelongsToTheUriCategoryCheck) {
  const std::uint32_t category = freshId();
  const std::uint32_t webFilter = freshId();
  put(WebCategoryRecord(category, 26), WebFilterRecord(webFilter).categories({category}));
  AntispamRecord record = cloudRecord().uriCategoryCheck(webFilter);
  const ProfileAntiSpam checked = profileOf(record);
  ASSERT_FALSE(checked.profileWebFilter().isNull());
  EXPECT_TRUE(checked.profileWebFilter().isSpam(26));
  record->uri_category_check = 0;
  EXPECT_TRUE(profileOf(record).profileWebFilter().isNull());
}

TEST(AntispamCloud, UnknownWebFilterIsNull) {
  const ProfileAntiSpam profile = profileOf(cloudRecord().uriCategoryCheck(kNoRecord));
  EXPECT_TRUE(profile.profileWebFilter().isNull());
  EXPECT_TRUE(profile.norbexAntiSpamSettings().uriCategoryCheck);
}
