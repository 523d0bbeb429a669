// What a profile cache keeps, and what it refuses.
#include "profile/factory/ProfileCache.h"

#include <gtest/gtest.h>

#include "ActionContainer.h"
#include "tests/support/AntispamRecords.h"
#include "tests/support/StoreFixture.h"

namespace Kestrav {
namespace {

// Action containers serve as profiles here: each has an implementation of its own.
using Handle = ActionContainer;
using Cache = ProfileCache<Handle>;

TEST(ProfileCache, AnswersWithWhatWasPublished) {
  Cache cache;
  const Handle made;
  EXPECT_EQ(cache.publish(cache.ticket(), 0, 7, made), made);
  Handle found;
  ASSERT_TRUE(cache.find(7, found));
  EXPECT_EQ(found, made);
  EXPECT_FALSE(cache.find(8, found));
}

TEST(ProfileCache, KeepsTheFirstOfTwo) {
  Cache cache;
  const Handle first;
  const Handle second;
  cache.publish(cache.ticket(), 0, 7, first);
  EXPECT_EQ(cache.publish(cache.ticket(), 0, 7, second), first);
}

TEST(ProfileCache, KeepsOutALoadThatBeganBeforeADrop) {
  const struct {
    const char* what;
    void (*drop)(Cache&);
  } cases[] = {
      {"of the same profile", [](Cache& cache) { static_cast<void>(cache.erase(7)); }},
      {"of another profile", [](Cache& cache) { static_cast<void>(cache.erase(8)); }},
      {"of all", [](Cache& cache) { static_cast<void>(cache.clear()); }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Cache cache;
    const std::uint64_t ticket = cache.ticket();
    c.drop(cache);
    const Handle made;
    EXPECT_EQ(cache.publish(ticket, 0, 7, made), made);
    Handle found;
    EXPECT_FALSE(cache.find(7, found));

    cache.publish(cache.ticket(), 0, 7, made);
    EXPECT_TRUE(cache.find(7, found));
  }
}

TEST(ProfileCache, DropsOneOrAll) {
  Cache cache;
  const Handle made;
  for (const int id : {1, 2, 3}) cache.publish(cache.ticket(), 0, id, made);
  EXPECT_FALSE(cache.erase(2).empty());
  EXPECT_TRUE(cache.erase(2).empty());
  Handle found;
  EXPECT_FALSE(cache.find(2, found));
  EXPECT_TRUE(cache.find(3, found));
  EXPECT_EQ(cache.clear().size(), 2u);
  EXPECT_FALSE(cache.find(3, found));
}

class ProfileCacheOverAStore : public Testing::StoreFixture {
 protected:
  void change() {
    Config::ChangeSet changes;
    Testing::AntispamRecord(++id_).put(changes);
    store().commit(std::move(changes));
  }

 private:
  std::uint32_t id_ = 0;
};

TEST_F(ProfileCacheOverAStore, KeepsOutWhatWasReadBeforeTheRevisionOfTheLastDrop) {
  Cache cache;
  change();
  const Config::Revision before = newestRevision();
  change();
  static_cast<void>(cache.clear());

  const Handle made;
  Handle found;
  cache.publish(cache.ticket(), before, 7, made);
  EXPECT_FALSE(cache.find(7, found));
  cache.publish(cache.ticket(), newestRevision(), 7, made);
  EXPECT_TRUE(cache.find(7, found));
}

}  // namespace
}  // namespace Kestrav
