// Scanners and their factory shared by threads. Also run with the thread sanitizer.
#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <thread>
#include <vector>

#include "platform/config/records/Gid.h"
#include "platform/dictionary/DictionaryFactory.h"
#include "tests/dictionary/DictionaryItems.h"
#include "tests/support/StoreFixture.h"

namespace Kestrav {
namespace {

using Testing::Literal;
using Testing::Regex;
using Testing::Wildcard;

constexpr int kThreads = 4;

// Runs `work(number)` in several threads that start together.
template <class Work>
void inThreads(int count, Work work) {
  std::latch start(count);
  std::vector<std::thread> threads;
  for (int i = 0; i < count; ++i) {
    threads.emplace_back([&, i] {
      start.arrive_and_wait();
      work(i);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(DictionaryThreads, FirstScansCompileOnce) {
  for (int round = 0; round < 20; ++round) {
    const auto scanner =
        Testing::Scanner({Literal("cash").score(5), Regex("m(?=oney)\\w+").score(3),
                          Wildcard("fr?e").score(2), Literal("\xC3\xA9t\xC3\xA9")});
    std::atomic<int> wrong = 0;
    inThreads(kThreads, [&](int) {
      for (int i = 0; i < 10; ++i) {
        if (scanner->scan("free cash, money \xC3\x89t\xC3\xA9").score != 11) ++wrong;
      }
    });
    EXPECT_EQ(wrong, 0);
  }
}

TEST(DictionaryThreads, ItemsMayBeAddedWhileOthersScan) {
  auto* scanner = new ProfileDictionaryScanner("growing");
  const Ref<DictionaryScannerImpl> handle(scanner);
  constexpr int kItems = 30;
  std::atomic<int> backwards = 0;
  inThreads(kThreads, [&](int number) {
    if (number == 0) {
      for (int i = 0; i < kItems; ++i) scanner->add_pattern(Literal("cash").record());
      return;
    }
    const Ref<DictionaryScannerImpl> mine(handle);
    std::int64_t before = 0;
    for (int i = 0; i < 200; ++i) {
      const std::int64_t now = mine->scan("cash").score;
      if (now < before) ++backwards;
      before = now;
    }
  });
  EXPECT_EQ(backwards, 0);
  EXPECT_EQ(handle->scan("cash").score, kItems);
}

class DictionaryFactoryThreads : public Testing::StoreFixture {
 protected:
  DictionaryFactoryThreads() {
    __vexa_dictionary dictionary{};
    boundedCopy(dictionary.name, "money");
    dictionary.id = 1;
    put(GID_DICTIONARY, 0, dictionary);
    __vexa_dictionary_group group{};
    boundedCopy(group.name, "all");
    group.id = 1;
    put(GID_DICTIONARY_GROUP, 0, group);
    put(GID_DICTIONARY_GROUP_ITEM, 0, __vexa_dictionary_group_item{1, 1, 1});
    score(1);
    DictionaryFactory::instance().clean();
  }
  ~DictionaryFactoryThreads() override { DictionaryFactory::instance().clean(); }

  void score(std::uint16_t score) {
    put(GID_DICTIONARY_ITEM, 0, Literal("cash").score(score).id(1).in(1).record());
  }
};

TEST_F(DictionaryFactoryThreads, NothingOlderThanACleanedUpChangeIsServedAfterIt) {
  constexpr std::uint16_t kChanges = 100;
  std::atomic<std::uint16_t> cleaned = 1;  // the score at the latest clean()
  std::atomic<int> stale = 0;
  inThreads(kThreads, [&](int number) {
    if (number == 0) {
      for (std::uint16_t i = 2; i <= kChanges; ++i) {
        score(i);
        DictionaryFactory::instance()->clean();
        cleaned = i;
      }
      return;
    }
    while (cleaned < kChanges) {
      const std::uint16_t least = cleaned;
      auto& factory = DictionaryFactory::instance();
      const auto scanner = number % 2 == 0 ? factory.createProfileScanner("money")
                                           : factory.createGroupScanner("all");
      if (scanner->scan("cash").score < least) ++stale;
    }
  });
  EXPECT_EQ(stale, 0);
  EXPECT_EQ(DictionaryFactory::instance().createProfileScanner("money")->scan("cash").score,
            kChanges);
}

}  // namespace
}  // namespace Kestrav
