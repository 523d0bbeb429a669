// What the log says for each message code. Constant; any thread may read it.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/common/Logger.h"

namespace Kestrav {

struct LogEntry {
  std::uint32_t code;
  Logger::Severity severity;
  const char* text;  // {0}, {1} ... stand for the message's fields
};

// All entries, ascending by code.
KESTRAV_API std::span<const LogEntry> logCatalogue();

// Null when the code is not in the catalogue.
KESTRAV_API const LogEntry* findLogEntry(std::uint32_t code);

// Severity of the code's entry; a warning for a code without one.
KESTRAV_API Logger::Severity logSeverity(std::uint32_t code);

// The readable line: fields are put into the entry's text, free of line breaks and control
// characters. A field that the message lacks reads "?". Without an entry: "message 0xCODE: field,
// field".
KESTRAV_API std::string logLine(std::uint32_t code, const std::vector<std::string>& fields);

}  // namespace Kestrav
