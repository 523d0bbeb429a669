#include "platform/common/Logger.h"

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/sinks/syslog_sink.h>
#include <syslog.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <list>
#include <mutex>
#include <utility>

#include "platform/common/Exception.h"
#include "platform/common/LogCatalogue.h"
#include "platform/common/LogFormat.h"
#include "platform/common/NoDestructor.h"

namespace Kestrav {

namespace {

using SinkPtr = std::shared_ptr<spdlog::sinks::sink>;

// For stderr and files: local time, process, severity. Syslog adds its own.
constexpr const char* kPattern = "%Y-%m-%dT%H:%M:%S.%e%z [%P] %l %v";

SinkPtr withPattern(SinkPtr sink) {
  sink->set_pattern(kPattern);
  return sink;
}

SinkPtr stderrSink() {
  return withPattern(std::make_shared<spdlog::sinks::stderr_sink_st>());
}

spdlog::level::level_enum levelOf(Logger::Severity severity) {
  switch (severity) {
    case Logger::Severity::kDebug:
      return spdlog::level::debug;
    case Logger::Severity::kInfo:
      return spdlog::level::info;
    case Logger::Severity::kWarning:
      return spdlog::level::warn;
    case Logger::Severity::kError:
      break;
  }
  return spdlog::level::err;
}

}  // namespace

struct Logger::State {
  // Guards `sink` and `captures`; held while a message is delivered. Recursive: a capturing sink
  // may log.
  std::recursive_mutex mutex;
  SinkPtr sink = stderrSink();
  std::list<Sink> captures;  // the newest last

  std::atomic<Severity> threshold{Severity::kInfo};
  // Changed under `mutex`, read without it to drop messages early.
  std::atomic<int> captureCount{0};
};

Logger::Logger() : state_(new State) {}

Logger& Logger::instance(bool) {
  static NoDestructor<Logger> logger;
  return *logger;
}

void Logger::log(std::uint32_t code, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  try {
    const Severity severity = logSeverity(code);
    if (severity >= state_->threshold || state_->captureCount != 0) {
      Message message{code, severity, formatFields(format == nullptr ? "" : format, arguments), {}};
      message.line = logLine(code, message.fields);
      deliver(message);
    }
  } catch (...) {
    // The message is lost; the caller continues.
  }
  va_end(arguments);
}

void Logger::deliver(const Message& message) {
  const std::lock_guard guard(state_->mutex);
  if (!state_->captures.empty()) {
    const Sink sink = state_->captures.back();  // a copy: the sink may destroy its token
    sink(message);
    return;
  }
  if (message.severity < state_->threshold) return;
  char code[16];
  std::snprintf(code, sizeof code, "[0x%X] ", static_cast<unsigned>(message.code));
  const std::string text = code + message.line;
  state_->sink->log(spdlog::details::log_msg("", levelOf(message.severity), text));
  state_->sink->flush();
}

void Logger::toStderr() {
  SinkPtr sink = stderrSink();
  const std::lock_guard guard(state_->mutex);
  state_->sink = std::move(sink);
}

void Logger::toSyslog(const std::string& ident) {
  const std::lock_guard guard(state_->mutex);
  // The destructor of a syslog sink closes the connection of the process: destroy the former first.
  state_->sink = stderrSink();
  state_->sink = std::make_shared<spdlog::sinks::syslog_sink_st>(ident, LOG_PID, LOG_MAIL, false);
}

void Logger::toFile(const std::string& path) {
  SinkPtr sink;
  try {
    sink = withPattern(std::make_shared<spdlog::sinks::basic_file_sink_st>(path));
  } catch (const spdlog::spdlog_ex& e) {
    throw Exception(std::string("log file: ") + e.what(), Exception::kFileFailure)
        .stringParameter(path);
  }
  const std::lock_guard guard(state_->mutex);
  state_->sink = std::move(sink);
}

void Logger::threshold(Severity lowest) {
  state_->threshold = lowest;
}

std::shared_ptr<void> Logger::capture(Sink sink) {
  State* const state = state_;
  const std::lock_guard guard(state->mutex);
  const auto entry = state->captures.insert(state->captures.end(), std::move(sink));
  ++state->captureCount;
  const auto release = [state, entry](void*) {
    const std::lock_guard releaseGuard(state->mutex);
    state->captures.erase(entry);
    --state->captureCount;
  };
  return std::shared_ptr<void>(static_cast<void*>(state), release);
}

}  // namespace Kestrav
