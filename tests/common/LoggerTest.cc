#include "platform/common/Logger.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/common/Exception.h"
#include "platform/common/LogCodes.h"

namespace Kestrav {
namespace {

using Severity = Logger::Severity;

class LoggerTest : public testing::Test {
 protected:
  void SetUp() override {
    path_ = std::filesystem::temp_directory_path() /
            ("kestrav-log-" + std::to_string(getpid()) + "-" +
             testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::remove_all(path_);
  }
  void TearDown() override {
    logger_.toStderr();
    logger_.threshold(Severity::kInfo);
    std::filesystem::remove_all(path_);
  }

  std::vector<std::string> fileLines() const {
    std::ifstream file(path_);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
  }

  // Captures into messages_.
  std::shared_ptr<void> capture() {
    return logger_.capture([this](const Logger::Message& m) { messages_.push_back(m); });
  }

  Logger& logger_ = Logger::instance(false);
  std::filesystem::path path_;
  std::vector<Logger::Message> messages_;
};

// Null, hidden from the compiler, which would refuse a constant.
const char* volatile noText = nullptr;

bool endsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

TEST_F(LoggerTest, IsOneWhateverTheArgument) {
  EXPECT_EQ(&Logger::instance(), &Logger::instance(true));
  EXPECT_EQ(&Logger::instance(false), &Logger::instance(true));
}

TEST_F(LoggerTest, CaptureSeesCodeSeverityFieldsAndLine) {
  const auto token = capture();
  logger_.log(LogCode::kAntispamProfileUpdate, "%d\x01%s", 7, "strict");
  ASSERT_EQ(messages_.size(), 1u);
  EXPECT_EQ(messages_[0].code, LogCode::kAntispamProfileUpdate);
  EXPECT_EQ(messages_[0].severity, Severity::kInfo);
  EXPECT_EQ(messages_[0].fields, (std::vector<std::string>{"7", "strict"}));
  EXPECT_EQ(messages_[0].line, "antispam profile 7 \"strict\" changed");
}

TEST_F(LoggerTest, FieldsAreExactWhileTheLineIsEscaped) {
  const auto token = capture();
  logger_.log(LogCode::kAntispamProfileUpdate, "%s\x01%s", noText,
              "a\n\x01"
              "b");
  ASSERT_EQ(messages_.size(), 1u);
  EXPECT_EQ(messages_[0].fields, (std::vector<std::string>{"(null)",
                                                           "a\n\x01"
                                                           "b"}));
  EXPECT_EQ(messages_[0].line,
            "antispam profile (null) \"a\\n\\x01"
            "b\" changed");
}

TEST_F(LoggerTest, AnUnknownCodeIsLoggedAsAWarning) {
  const auto token = capture();
  logger_.log(0x7000001, "%s\x01%d", "a", 2);
  ASSERT_EQ(messages_.size(), 1u);
  EXPECT_EQ(messages_[0].severity, Severity::kWarning);
  EXPECT_EQ(messages_[0].line, "message 0x7000001: a, 2");
}

TEST_F(LoggerTest, ANullFormatIsAnEmptyField) {
  const auto token = capture();
  logger_.log(0x7000001, noText);
  ASSERT_EQ(messages_.size(), 1u);
  EXPECT_EQ(messages_[0].fields, std::vector<std::string>{""});
}

TEST_F(LoggerTest, NestedCapturesRestoreTheFormer) {
  std::vector<std::string> order;
  const auto into = [&order](const char* name) {
    return [&order, name](const Logger::Message& m) { order.push_back(name + m.fields[0]); };
  };
  auto outer = logger_.capture(into("outer"));
  logger_.log(1, "1");
  auto inner = logger_.capture(into("inner"));
  logger_.log(1, "2");
  inner.reset();
  logger_.log(1, "3");
  // Released in the other order: the newest existing token still receives.
  inner = logger_.capture(into("inner"));
  outer.reset();
  logger_.log(1, "4");
  inner.reset();
  EXPECT_EQ(order, (std::vector<std::string>{"outer1", "inner2", "outer3", "inner4"}));
}

TEST_F(LoggerTest, CaptureKeepsMessagesFromTheSinkUntilItsTokenGoes) {
  logger_.toFile(path_);
  auto token = capture();
  logger_.log(1, "captured");
  EXPECT_TRUE(fileLines().empty());
  token.reset();
  logger_.log(1, "written");
  ASSERT_EQ(fileLines().size(), 1u);
  EXPECT_EQ(messages_.size(), 1u);
}

TEST_F(LoggerTest, CaptureSeesWhatTheThresholdDrops) {
  logger_.threshold(Severity::kError);
  const auto token = capture();
  logger_.log(LogCode::kAntispamProfileUpdate, "%d\x01%s", 7, "strict");
  EXPECT_EQ(messages_.size(), 1u);
}

TEST_F(LoggerTest, WhatASinkThrowsIsDropped) {
  int calls = 0;
  const auto token = logger_.capture([&calls](const Logger::Message&) {
    ++calls;
    throw std::runtime_error("sink");
  });
  EXPECT_NO_THROW(logger_.log(1, "a"));
  EXPECT_NO_THROW(logger_.log(1, "b"));
  EXPECT_EQ(calls, 2);
}

TEST_F(LoggerTest, ASinkMayLogAndReleaseItsOwnToken) {
  std::vector<std::string> seen;
  std::shared_ptr<void> token = logger_.capture([&](const Logger::Message& m) {
    seen.push_back(m.fields[0]);
    if (m.fields[0] == "first") {
      logger_.log(1, "second");
      token.reset();
    }
  });
  logger_.toFile(path_);
  logger_.log(1, "first");
  logger_.log(1, "third");
  EXPECT_EQ(seen, (std::vector<std::string>{"first", "second"}));
  EXPECT_EQ(fileLines().size(), 1u);
}

TEST_F(LoggerTest, FileGetsOneLineAMessageAtOnce) {
  logger_.toFile(path_);
  logger_.log(LogCode::kRecipientPolicyFailed, "%s", "a\nb");
  logger_.log(LogCode::kAntispamBlindCopyFailed, "%s", " ");
  const std::vector<std::string> lines = fileLines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_TRUE(endsWith(lines[0], "] error [0x30001BD] no recipient policy: a\\nb")) << lines[0];
  EXPECT_TRUE(endsWith(lines[1],
                       "] warning [0x30001C0] antispam action without its blind copy: "
                       "the recipients cannot be read"))
      << lines[1];
}

TEST_F(LoggerTest, FileIsAppendedTo) {
  logger_.toFile(path_);
  logger_.log(1, "a");
  logger_.toStderr();
  logger_.toFile(path_);
  logger_.log(1, "b");
  EXPECT_EQ(fileLines().size(), 2u);
}

TEST_F(LoggerTest, ThresholdDropsWhatIsBelow) {
  logger_.toFile(path_);
  logger_.log(LogCode::kAntispamProfileUpdate, "%d\x01%s", 1, "info is logged by default");
  logger_.threshold(Severity::kWarning);
  logger_.log(LogCode::kAntispamProfileUpdate, "%d\x01%s", 2, "dropped");
  logger_.log(LogCode::kAntispamBlindCopyFailed, "%s", " ");
  logger_.threshold(Severity::kError);
  logger_.log(LogCode::kAntispamBlindCopyFailed, "%s", " ");
  logger_.log(LogCode::kRecipientPolicyFailed, "%s", "last");
  const std::vector<std::string> lines = fileLines();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_NE(lines[0].find("info is logged by default"), std::string::npos);
  EXPECT_NE(lines[1].find("warning"), std::string::npos);
  EXPECT_NE(lines[2].find("last"), std::string::npos);
}

TEST_F(LoggerTest, AFileThatCannotBeOpenedLeavesTheFormerPlace) {
  logger_.toFile(path_);
  try {
    logger_.toFile("/dev/null/no/log");
    ADD_FAILURE() << "opened";
  } catch (const Exception& e) {
    EXPECT_EQ(e.code(), Exception::kFileFailure);
    EXPECT_EQ(e.stringParameter(), "/dev/null/no/log");
  }
  logger_.log(1, "still here");
  EXPECT_EQ(fileLines().size(), 1u);
}

TEST_F(LoggerTest, AFullDiskLosesMessagesQuietly) {
  logger_.toFile("/dev/full");
  EXPECT_NO_THROW(logger_.log(1, "lost"));
  logger_.toFile(path_);
  logger_.log(1, "kept");
  EXPECT_EQ(fileLines().size(), 1u);
}

TEST_F(LoggerTest, StderrGetsTheLine) {
  logger_.toStderr();
  testing::internal::CaptureStderr();
  logger_.log(LogCode::kRecipientPolicyFailed, "%s", "x");
  EXPECT_TRUE(endsWith(testing::internal::GetCapturedStderr(),
                       "error [0x30001BD] no recipient policy: x\n"));
}

TEST_F(LoggerTest, SyslogTakesOverFromStderrAndGivesBack) {
  testing::internal::CaptureStderr();
  logger_.toSyslog("kestrav-test");
  logger_.log(LogCode::kRecipientPolicyFailed, "%s", "100%s %n");
  logger_.toSyslog("kestrav-test-again");
  logger_.log(LogCode::kRecipientPolicyFailed, "%s", "x");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  testing::internal::CaptureStderr();
  logger_.toStderr();
  logger_.log(1, "back");
  EXPECT_NE(testing::internal::GetCapturedStderr().find("back"), std::string::npos);
}

}  // namespace
}  // namespace Kestrav
