// Severity and text of each message code. Constant; any thread may read it.
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
  const char* text;  // {0}, {1} ... are replaced by the message's fields
};

// All entries, ascending by code.
KESTRAV_API std::span<const LogEntry> logCatalogue();

// Null when the code is not in the catalogue.
KESTRAV_API const LogEntry* findLogEntry(std::uint32_t code);

// A warning for a code without an entry.
KESTRAV_API Logger::Severity logSeverity(std::uint32_t code);

// The readable line: the entry's text with the fields, escaped for one line. A missing field gives
// "?". Without an entry: "message 0xCODE: field, field".
KESTRAV_API std::string logLine(std::uint32_t code, const std::vector<std::string>& fields);

}  // namespace Kestrav
