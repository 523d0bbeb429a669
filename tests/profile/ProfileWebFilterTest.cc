#include "ProfileWebFilter.h"

#include <gtest/gtest.h>

#include <vector>

#include "profile/antispam/ProfileWebFilterImpl.h"
#include "tests/profile/Gateway.h"
#include "tests/support/WebFilterRecords.h"

using namespace Kestrav;
using namespace Kestrav::Testing;

namespace {

std::vector<int> spamCategories(const ProfileWebFilter& profile) {
  std::vector<int> found;
  for (int category = 0; category < 256; ++category) {
    if (profile.isSpam(static_cast<unsigned char>(category))) found.push_back(category);
  }
  return found;
}

}  // namespace

TEST(ProfileWebFilter, ConfiguredCategoriesAreSpamAndNoOthers) {
  const std::uint32_t zero = freshId();
  const std::uint32_t gambling = freshId();
  const std::uint32_t last = freshId();
  put(WebCategoryRecord(zero, 0), WebCategoryRecord(gambling, 11), WebCategoryRecord(last, 255),
      WebCategoryRecord(freshId(), 12));
  const ProfileWebFilter profile(
      WebFilterRecord(freshId()).name("strict").categories({last, zero, gambling}).data());
  EXPECT_EQ(spamCategories(profile), (std::vector<int>{0, 11, 255}));
  EXPECT_EQ(profile.type(), 8u);
  EXPECT_EQ(profile.id(), 0);
  EXPECT_EQ(profile.name(), "strict");
  EXPECT_EQ(profile.messageParseType(), 0u);
  EXPECT_TRUE(profile.actions().empty());
}

TEST(ProfileWebFilter, ZeroAndUnknownCategoryIdsAreIgnored) {
  const std::uint32_t known = freshId();
  put(WebCategoryRecord(known, 33));
  const ProfileWebFilter profile(
      WebFilterRecord(freshId()).categories({0, freshId(), known, freshId()}).data());
  EXPECT_EQ(spamCategories(profile), std::vector<int>{33});
}

TEST(ProfileWebFilter, TwoIdsOfOneCategoryAreOne) {
  const std::uint32_t first = freshId();
  const std::uint32_t second = freshId();
  put(WebCategoryRecord(first, 44), WebCategoryRecord(second, 44));
  const ProfileWebFilter profile(WebFilterRecord(freshId()).categories({second, first}).data());
  EXPECT_EQ(spamCategories(profile), std::vector<int>{44});
}

TEST(ProfileWebFilter, FirstRecordReadOfACategoryIsKept) {
  const std::uint32_t first = freshId();
  const std::uint32_t second = freshId();
  put(WebCategoryRecord(first, 45), WebCategoryRecord(second, 45));
  const ProfileWebFilter profile(WebFilterRecord(freshId()).categories({second, first}).data());
  const auto* impl = dynamic_cast<const ProfileWebFilterImpl*>(profile.operator->());
  ASSERT_NE(impl, nullptr);
  ASSERT_EQ(impl->categories.count(45), 1u);
  EXPECT_EQ(impl->categories.at(45)->id, second);
}

TEST(ProfileWebFilter, WithoutCategoriesNothingIsSpam) {
  EXPECT_TRUE(spamCategories(ProfileWebFilter(WebFilterRecord(freshId()).data())).empty());
}

TEST(ProfileWebFilter, CountBeyondTheListIsMetWithTheList) {
  const std::uint32_t known = freshId();
  put(WebCategoryRecord(known, 55));
  WebFilterRecord record(freshId());
  record.categories({known});
  record->category_id_count = 1'000'000'000'000ull;
  EXPECT_EQ(spamCategories(ProfileWebFilter(record.data())), std::vector<int>{55});
}

TEST(ProfileWebFilter, ProfileKeepsItsCategoriesWhenTheirRecordsGo) {
  const std::uint32_t category = freshId();
  put(WebCategoryRecord(category, 66));
  const ProfileWebFilter profile(WebFilterRecord(freshId()).categories({category}).data());
  erase(GID_WEB_CATEGORY, category);
  EXPECT_EQ(spamCategories(profile), std::vector<int>{66});
}
