// The log of the process. A message has a numeric code; LogCatalogue.h gives each code its severity
// and text. Any thread may log at any time; logging never throws. A sink is called with one message
// at a time.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/common/Export.h"

namespace Kestrav {

template <class T>
class NoDestructor;

class KESTRAV_API Logger {
 public:
  enum class Severity { kDebug, kInfo, kWarning, kError };

  struct Message {
    std::uint32_t code;
    Severity severity;
    std::vector<std::string> fields;
    std::string line;  // without line breaks and control characters
  };
  using Sink = std::function<void(const Message&)>;

  // Lives until the process ends. The argument has no effect; existing callers pass it.
  static Logger& instance(bool unused = false);

  // printf-style; the byte 0x01 separates the fields of `format`, e.g. "%d\x01%s". A 0x01 in an
  // argument stays in its field. A null "%s" gives "(null)".
  void log(std::uint32_t code, const char* format, ...) __attribute__((format(printf, 3, 4)));

  // Set the destination. The default is stderr.
  void toStderr();
  void toSyslog(const std::string& ident);
  // Appends. Throws Exception, code kFileFailure, when the file cannot be opened; the destination
  // stays as it was.
  void toFile(const std::string& path);

  // Messages below this severity are dropped. Default: kInfo.
  void threshold(Severity lowest);

  // For tests. While the returned token exists, `sink` receives every message, also those below the
  // threshold, and the destination none. With several tokens the newest one receives. Calls do not
  // overlap, and none is running once the token is destroyed. Exceptions from `sink` are dropped;
  // `sink` may log, but must prevent endless recursion.
  [[nodiscard]] std::shared_ptr<void> capture(Sink sink);

 private:
  friend class NoDestructor<Logger>;
  Logger();
  ~Logger() = delete;
  void deliver(const Message& message);
  struct State;
  State* state_;
};

}  // namespace Kestrav
