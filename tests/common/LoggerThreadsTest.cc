// Logging from many threads while captures come and go.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"

namespace Kestrav {
namespace {

constexpr int kThreads = 4;
constexpr int kMessages = 500;

void logFromManyThreads() {
  std::vector<std::jthread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t] {
      for (int i = 0; i < kMessages; ++i) {
        Logger::instance(false).log(LogCode::kCertBindingStatusChanged, "%d\x01%s", t, "whole");
      }
    });
  }
}

TEST(LoggerThreads, ACaptureSeesEveryMessageOneAtATime) {
  int seen = 0;  // not atomic on purpose: calls must not overlap
  {
    const auto token = Logger::instance().capture([&seen](const Logger::Message& m) {
      ++seen;
      EXPECT_EQ(m.fields.size(), 2u);
    });
    logFromManyThreads();
  }
  EXPECT_EQ(seen, kThreads * kMessages);
}

TEST(LoggerThreads, LinesOfAFileDoNotMix) {
  const auto path =
      std::filesystem::temp_directory_path() / ("kestrav-log-threads-" + std::to_string(getpid()));
  Logger::instance().toFile(path);
  logFromManyThreads();
  Logger::instance().toStderr();

  std::ifstream file(path);
  int lines = 0;
  for (std::string line; std::getline(file, line); ++lines) {
    ASSERT_EQ(line.substr(line.size() - 12), "is now whole");
    ASSERT_EQ(line.find("is now whole"), line.size() - 12);
  }
  EXPECT_EQ(lines, kThreads * kMessages);
  std::filesystem::remove(path);
}

TEST(LoggerThreads, NoMessageReachesACaptureWhoseTokenIsGone) {
  const auto everything = Logger::instance().capture([](const Logger::Message&) {});
  std::atomic<bool> stop{false};
  std::jthread logging([&stop] {
    while (!stop) Logger::instance().log(LogCode::kCertBindingStatusChanged, "%d\x01%s", 1, "x");
  });
  for (int i = 0; i < 300; ++i) {
    // Destroyed before the next round: a late call would use destroyed objects.
    std::vector<std::uint32_t> codes;
    const auto token =
        Logger::instance().capture([&codes](const Logger::Message& m) { codes.push_back(m.code); });
    Logger::instance().log(LogCode::kCertBindingStatusChanged, "%d\x01%s", 2, "y");
  }
  stop = true;
}

TEST(LoggerThreads, PlacesAndThresholdChangeWhileOthersLog) {
  const auto path =
      std::filesystem::temp_directory_path() / ("kestrav-log-places-" + std::to_string(getpid()));
  Logger& logger = Logger::instance();
  logger.toFile(path);
  {
    std::jthread logging(logFromManyThreads);
    for (int i = 0; i < 20; ++i) {
      logger.threshold(i % 2 == 0 ? Logger::Severity::kError : Logger::Severity::kInfo);
      logger.toFile(path);
    }
    logger.threshold(Logger::Severity::kInfo);
  }
  logger.log(LogCode::kCertBindingStatusChanged, "%d\x01%s", 3, "last");
  logger.toStderr();
  std::ifstream file(path);
  std::string last;
  for (std::string line; std::getline(file, line);) last = line;
  EXPECT_NE(last.find("certificate binding 3 is now last"), std::string::npos);
  std::filesystem::remove(path);
}

}  // namespace
}  // namespace Kestrav
