// The process's log. Messages are identified by a numeric code; a catalogue gives each code its
// severity and a readable line. Any thread may log at any time; logging never throws.
//
// Messages reach a sink one at a time, in the order in which their calls got there.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/common/Export.h"

namespace Kestrav {

class KESTRAV_API Logger {
 public:
  enum class Severity { kDebug, kInfo, kWarning, kError };

  // One logged message, as a sink sees it.
  struct Message {
    std::uint32_t code;
    Severity severity;
    std::vector<std::string>
        fields;        // the format's fields, in order, separated by 0x01 in the format
    std::string line;  // the readable line: no line breaks, no control characters
  };
  using Sink = std::function<void(const Message&)>;

  // The one logger; lives until the process ends. The argument is accepted for the callers' sake
  // and makes no difference.
  static Logger& instance(bool unused = false);

  // printf-style; fields of `format` are separated by the byte 0x01, e.g. "%d\x01%s". A 0x01 inside
  // an argument stays in its field. A null argument of "%s" is logged as "(null)".
  void log(std::uint32_t code, const char* format, ...) __attribute__((format(printf, 3, 4)));

  // Where messages go. The default is stderr. Each call replaces what was set before.
  void toStderr();
  void toSyslog(const std::string& ident);
  // Appends. Throws Exception, code kFileFailure, when the file cannot be opened; the former place
  // stays.
  void toFile(const std::string& path);

  // Messages below this severity are dropped. Default: kInfo.
  void threshold(Severity lowest);

  // Receives every message, whatever the threshold, in place of the sinks for as long as the
  // returned token lives. Of several living tokens the newest receives. Calls never overlap, and
  // none is under way any more once the token is gone. What `sink` throws is dropped; `sink` may
  // log, but guards itself against endless recursion. For tests.
  [[nodiscard]] std::shared_ptr<void> capture(Sink sink);

 private:
  Logger();
  ~Logger() = delete;
  void deliver(const Message& message);
  struct State;
  State* state_;
};

}  // namespace Kestrav
