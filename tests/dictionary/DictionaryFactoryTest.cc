#include "platform/dictionary/DictionaryFactory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "platform/common/LogCodes.h"
#include "platform/config/records/Gid.h"
#include "tests/dictionary/DictionaryItems.h"
#include "tests/support/StoreFixture.h"

namespace Kestrav {
namespace {

using Testing::DictionaryItem;
using ::testing::ElementsAre;
using Testing::Literal;
using Testing::LoggedMessages;

__vexa_dictionary Dictionary(std::uint32_t id, const std::string& name) {
  __vexa_dictionary record{};
  boundedCopy(record.name, name);
  record.id = id;
  return record;
}

__vexa_dictionary_group Group(std::uint32_t id, const std::string& name) {
  __vexa_dictionary_group record{};
  boundedCopy(record.name, name);
  record.id = id;
  return record;
}

class DictionaryFactoryTest : public Testing::StoreFixture {
 protected:
  DictionaryFactoryTest() {
    put(GID_DICTIONARY, 0, Dictionary(1, "money"));
    put(GID_DICTIONARY, 0, Dictionary(2, "health"));
    putItem(Literal("cash").score(5).id(11).in(1));
    putItem(Literal("pills").score(7).id(12).in(2));
    putItem(Literal("loan").score(1).id(13).in(1));
    put(GID_DICTIONARY_GROUP, 0, Group(1, "all"));
    put(GID_DICTIONARY_GROUP, 0, Group(2, "money"));
    putMember(21, 1, 2);
    putMember(22, 1, 1);
    putMember(23, 2, 2);
    DictionaryFactory::instance().clean();
  }
  ~DictionaryFactoryTest() override { DictionaryFactory::instance().clean(); }

  void putItem(const DictionaryItem& item) { put(GID_DICTIONARY_ITEM, 0, item.record()); }
  void putMember(std::uint32_t id, std::uint32_t group, std::uint32_t dictionary) {
    put(GID_DICTIONARY_GROUP_ITEM, 0, __vexa_dictionary_group_item{id, group, dictionary});
  }

  DictionaryFactory& factory_ = DictionaryFactory::instance();
  const std::string text_ = "cash and pills and a loan";
};

TEST_F(DictionaryFactoryTest, ProfileScannerHasTheItemsOfItsDictionary) {
  const auto scanner = factory_.createProfileScanner("money");
  ASSERT_FALSE(scanner.isNull());
  EXPECT_EQ(scanner->name(), "money");
  EXPECT_EQ(scanner->size(), 2u);
  const ScanResult result = scanner->scan(text_);
  EXPECT_EQ(result.score, 6);
  ASSERT_EQ(result.hits.size(), 2u);
  EXPECT_EQ(result.hits[0].pattern, "cash");
  EXPECT_EQ(result.hits[1].pattern, "loan");
}

TEST_F(DictionaryFactoryTest, GroupScannerHasTheItemsOfAllItsDictionaries) {
  const auto all = factory_.createGroupScanner("all");
  ASSERT_FALSE(all.isNull());
  EXPECT_EQ(all->size(), 3u);
  EXPECT_EQ(all->scan(text_).score, 13);
}

TEST_F(DictionaryFactoryTest, DictionaryAndGroupOfOneNameDiffer) {
  EXPECT_EQ(factory_.createProfileScanner("money")->scan(text_).score, 6);
  EXPECT_EQ(factory_.createGroupScanner("money")->scan(text_).score, 7);
}

TEST_F(DictionaryFactoryTest, DictionaryListedTwiceInAGroupCountsOnce) {
  putMember(24, 1, 1);
  EXPECT_EQ(factory_.createGroupScanner("all")->scan(text_).score, 13);
}

TEST_F(DictionaryFactoryTest, MemberThatIsNoDictionaryIsPassedOver) {
  putMember(25, 1, 99);
  EXPECT_EQ(factory_.createGroupScanner("all")->size(), 3u);
}

TEST_F(DictionaryFactoryTest, EmptyDictionariesAndGroupsFindNothing) {
  put(GID_DICTIONARY, 0, Dictionary(3, "empty"));
  put(GID_DICTIONARY_GROUP, 0, Group(3, "nobody"));
  EXPECT_EQ(factory_.createProfileScanner("empty")->scan(text_).score, 0);
  EXPECT_EQ(factory_.createGroupScanner("nobody")->scan(text_).score, 0);
}

TEST_F(DictionaryFactoryTest, UnknownNamesGiveANullHandleAndAreLogged) {
  const LoggedMessages logged;
  EXPECT_TRUE(factory_.createProfileScanner("all").isNull());
  EXPECT_TRUE(factory_.createGroupScanner("health").isNull());
  EXPECT_TRUE(factory_.createProfileScanner("Money").isNull());
  EXPECT_TRUE(factory_.createProfileScanner("").isNull());
  EXPECT_EQ(logged.codes, std::vector<std::uint32_t>(4, LogCode::kDictionaryScanFailed));
  EXPECT_THAT(logged.fields[0], ElementsAre("all", "there is no dictionary of this name"));
  EXPECT_THAT(logged.fields[1], ElementsAre("health", "there is no dictionary group of this name"));
}

TEST_F(DictionaryFactoryTest, UnknownNameIsFoundOnceItExists) {
  const LoggedMessages logged;
  EXPECT_TRUE(factory_.createProfileScanner("new").isNull());
  put(GID_DICTIONARY, 0, Dictionary(4, "new"));
  EXPECT_FALSE(factory_.createProfileScanner("new").isNull());
}

TEST_F(DictionaryFactoryTest, ScannersAreSharedUntilCleaned) {
  const auto first = factory_.createProfileScanner("money");
  EXPECT_TRUE(first == factory_.createProfileScanner("money"));
  putItem(Literal("pills").score(100).id(14).in(1));
  EXPECT_TRUE(first == factory_.createProfileScanner("money"));
  const auto group = factory_.createGroupScanner("all");
  EXPECT_TRUE(group == factory_.createGroupScanner("all"));

  DictionaryFactory::instance()->clean();
  const auto second = factory_.createProfileScanner("money");
  EXPECT_FALSE(first == second);
  EXPECT_FALSE(group == factory_.createGroupScanner("all"));
  EXPECT_EQ(second->scan(text_).score, 106);
  EXPECT_EQ(first->scan(text_).score, 6);  // an existing handle does not change
}

TEST_F(DictionaryFactoryTest, ScannerReadFromBeforeACleanedUpChangeIsNotKept) {
  const auto pinned = store().snapshot();  // this thread keeps reading this revision
  putItem(Literal("pills").score(100).id(14).in(1));
  factory_.clean();
  EXPECT_EQ(factory_.createProfileScanner("money")->scan(text_).score, 6);
  EXPECT_FALSE(factory_.createProfileScanner("money") == factory_.createProfileScanner("money"));
  std::int64_t seenByOthers = 0;
  std::thread([&] {
    seenByOthers = DictionaryFactory::instance().createProfileScanner("money")->scan(text_).score;
  }).join();
  EXPECT_EQ(seenByOthers, 106);
}

TEST_F(DictionaryFactoryTest, BadItemsAreSkippedAndLoggedUnderTheDictionarysName) {
  putItem(Testing::Regex("bad(").id(15).in(2));
  const LoggedMessages logged;
  EXPECT_EQ(factory_.createProfileScanner("health")->size(), 1u);
  ASSERT_THAT(logged.codes, ElementsAre(LogCode::kDictionaryItemSkipped));
  EXPECT_EQ(logged.fields[0][0], "health");
  EXPECT_EQ(logged.fields[0][1], "bad(");
}

TEST(DictionaryFactoryWithoutStore, HasNoDictionaries) {
  const LoggedMessages logged;
  EXPECT_TRUE(DictionaryFactory::instance().createProfileScanner("money").isNull());
  EXPECT_TRUE(DictionaryFactory::instance().createGroupScanner("all").isNull());
}

}  // namespace
}  // namespace Kestrav
