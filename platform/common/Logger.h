// The process's log. Messages are identified by a numeric code; a catalogue gives each code its severity
// and a readable line. Any thread may log at any time; logging never throws.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "common/Export.h"

namespace Kestrav {

class KESTRAV_API Logger {
 public:
  enum class Severity { kDebug, kInfo, kWarning, kError };

  // One logged message, as a sink sees it.
  struct Message {
    std::uint32_t code;
    Severity severity;
    std::vector<std::string> fields;  // the format's fields, in order, separated by 0x01 in the format
    std::string line;                 // the readable line
  };
  using Sink = std::function<void(const Message&)>;

  // The one logger. The argument is accepted for the callers' sake and makes no difference.
  static Logger& instance(bool unused = false);

  // printf-style; fields of `format` are separated by the byte 0x01, e.g. "%d\x01%s".
  // A null argument of "%s" is logged as "(null)".
  void log(std::uint32_t code, const char* format, ...) __attribute__((format(printf, 3, 4)));

  // Where messages go. The default is stderr. Each call replaces what was set before.
  void toStderr();
  void toSyslog(const std::string& ident);
  void toFile(const std::string& path);  // throws Exception when the file cannot be opened

  // Messages below this severity are dropped. Default: kInfo.
  void threshold(Severity lowest);

  // Receives every message in place of the sinks for as long as the returned token lives. For tests.
  [[nodiscard]] std::shared_ptr<void> capture(Sink sink);

 private:
  Logger();
  ~Logger() = delete;
  struct State;
  State* state_;
};

}  // namespace Kestrav
