// Compiling a dictionary takes seconds at worst. It holds up those who scan with it, nobody else.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <semaphore>
#include <string>
#include <thread>

#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "tests/profile/Factory.h"
#include "tests/profile/Gateway.h"
#include "tests/support/AntispamRecords.h"
#include "tests/support/DictionaryRecords.h"

using namespace Kestrav;
using namespace Kestrav::Testing;

namespace {

// How long a thread that nothing holds up may take before the test fails.
constexpr std::chrono::seconds kPatience{20};

// Stops the compilation of a dictionary at an item that cannot be compiled, which is logged.
class StoppedCompilation {
 public:
  StoppedCompilation()
      : token_(Logger::instance(false).capture([this](const Logger::Message& message) {
          if (message.code != LogCode::kDictionaryItemSkipped) return;
          ++compilations_;
          started_.release();
          continued_.acquire();
        })) {}
  ~StoppedCompilation() { goOn(); }

  bool waitUntilStarted() { return started_.try_acquire_for(kPatience); }
  void goOn() { continued_.release(); }
  int compilations() const { return compilations_; }

 private:
  std::atomic<int> compilations_{0};
  std::counting_semaphore<> started_{0};
  std::counting_semaphore<> continued_{0};
  std::shared_ptr<void> token_;
};

class DictionaryCompile : public testing::Test {
 protected:
  DictionaryCompile() {
    const std::string name = "words" + std::to_string(slow_);
    DictionaryItemRecord bad(freshId(), dictionary_, "bad(");
    bad.record().kind = static_cast<std::uint16_t>(DictionaryPatternKind::kRegex);
    put(DictionaryRecord(dictionary_, name), bad,
        DictionaryItemRecord(freshId(), dictionary_, "cash").score(5),
        AntispamRecord(slow_).dictionary(name), AntispamRecord(other_).name("other"));
  }

  const std::uint32_t dictionary_ = freshId();
  const std::uint32_t slow_ = freshId();
  const std::uint32_t other_ = freshId();
};

TEST_F(DictionaryCompile, HoldsUpOnlyThoseWhoScan) {
  StoppedCompilation stopped;
  std::promise<Ref<DictionaryScannerImpl>> made;
  auto first = std::async(std::launch::async, [&] {
    const auto scanner = antispam(slow_).dictionaryScanner();
    made.set_value(scanner);
    return scanner->scan("cash").score;
  });
  ASSERT_TRUE(stopped.waitUntilStarted());

  auto other = std::async(std::launch::async, [&] { return antispam(other_).name(); });
  const bool answered = other.wait_for(kPatience) == std::future_status::ready;
  EXPECT_TRUE(answered);

  // A second user of the dictionary gets the same scanner at once, and waits for its first scan.
  std::atomic<bool> scanned = false;
  std::promise<Ref<DictionaryScannerImpl>> found;
  auto second = std::async(std::launch::async, [&] {
    const auto scanner = antispam(slow_).dictionaryScanner();
    found.set_value(scanner);
    const std::int64_t score = scanner->scan("cash").score;
    scanned = true;
    return score;
  });
  auto handle = found.get_future();
  EXPECT_EQ(handle.wait_for(kPatience), std::future_status::ready);
  EXPECT_FALSE(scanned);

  stopped.goOn();
  EXPECT_EQ(first.get(), 5);
  EXPECT_EQ(second.get(), 5);
  EXPECT_EQ(stopped.compilations(), 1);
  EXPECT_TRUE(made.get_future().get() == handle.get());
  EXPECT_EQ(other.get(), "other");
}

}  // namespace
