#include "platform/common/LogCatalogue.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string_view>

#include "platform/common/LogCodes.h"
#include "platform/common/LogFormat.h"

namespace Kestrav {

namespace {

using Severity = Logger::Severity;

constexpr LogEntry kCatalogue[] = {
    {LogCode::kAttachmentSignatureSkipped, Severity::kError,
     "attachment signature skipped: {1} (in {0})"},
    {LogCode::kAclRuleSkipped, Severity::kError,
     "access control rule skipped: {3} (in {0}, {1}:{2})"},
    {LogCode::kAntivirusBlindCopyFailed, Severity::kWarning,
     "antivirus action without its blind copy: the recipients cannot be read"},
    {LogCode::kContentBlindCopyFailed, Severity::kWarning,
     "content action without its blind copy: the recipients cannot be read"},
    {LogCode::kRecipientPolicyFailed, Severity::kError, "no recipient policy: {0}"},
    {LogCode::kCertBindingSkipped, Severity::kError,
     "certificate binding skipped: {3} (in {0}, {1}:{2})"},
    {LogCode::kCertBindingStatusChanged, Severity::kInfo, "certificate binding {0} is now {1}"},
    {LogCode::kAntispamBlindCopyFailed, Severity::kWarning,
     "antispam action without its blind copy: the recipients cannot be read"},
    // Trace lines: kInfo, so that raising the dispatcher's trace level is enough to see them.
    {LogCode::kAntispamProfileUpdate, Severity::kInfo, "antispam profile {0} \"{1}\" changed"},
    {LogCode::kProfileUpdateFailed, Severity::kError,
     "a changed profile could not be dropped from its cache (in {0})"},
    {LogCode::kContentProfileUpdate, Severity::kInfo, "content profile {0} \"{1}\" changed"},
    {LogCode::kWebFilterOrSessionUpdate, Severity::kInfo,
     "web filter or session profile {0} \"{1}\" changed"},
    {LogCode::kDlpProfileUpdate, Severity::kInfo, "DLP profile {0} \"{1}\" changed"},
    {LogCode::kFilePatternUpdate, Severity::kInfo, "file pattern {0} \"{1}\" changed"},
    {LogCode::kPatternMatchLimit, Severity::kWarning,
     "pattern \"{0}\" gave up on a subject of {1} bytes and counts as not matching"},
    {LogCode::kPatternMatchFailed, Severity::kError, "pattern \"{0}\" failed: {1}"},
    {LogCode::kDictionaryItemSkipped, Severity::kWarning,
     "item \"{1}\" of dictionary \"{0}\" skipped: {2}"},
    {LogCode::kDictionaryScanFailed, Severity::kError, "dictionary scanner \"{0}\" failed: {1}"},
    {LogCode::kStoreFailure, Severity::kError, "configuration store: {0} failed: {1}"},
    {LogCode::kStoreRecordSkipped, Severity::kWarning,
     "configuration store: record {1} of table {0} skipped: {2}"},
    {LogCode::kStoreReaderCleared, Severity::kInfo,
     "configuration store: cleared {0} readers of processes that died"},
    {LogCode::kStoreMigrated, Severity::kInfo,
     "configuration store: migrated {0} from schema {1} to schema {2}"},
    {LogCode::kStoreRecordRecovered, Severity::kError,
     "configuration store: record {1} of table {0} is damaged and read from the journal: {2}"},
    {LogCode::kStoreRecordDamaged, Severity::kError,
     "configuration store: record {1} of table {0} is damaged: {2}"},
    {LogCode::kHandlerFailed, Severity::kError,
     "handler of changes in configuration table {0} failed: {1}"},
    {LogCode::kEventsResynchronised, Severity::kWarning,
     "fell behind the configuration journal at revision {0}; rebuilt from revision {1}"},
    {LogCode::kPolicyRecordSkipped, Severity::kWarning, "policy {0} skipped: {1}"},
    {LogCode::kRewriterUnusable, Severity::kError,
     "rewriting text \"{0}\" does not compile: addresses cannot be rewritten with it"},
};

constexpr bool ascending() {
  return std::is_sorted(std::begin(kCatalogue), std::end(kCatalogue),
                        [](const LogEntry& a, const LogEntry& b) { return a.code <= b.code; });
}
static_assert(ascending(), "the catalogue is searched by code, and a code has one entry");

std::string filledIn(std::string_view text, const std::vector<std::string>& fields) {
  std::string line;
  while (!text.empty()) {
    const bool reference =
        text.size() >= 3 && text[0] == '{' && text[1] >= '0' && text[1] <= '9' && text[2] == '}';
    if (!reference) {
      line += text.front();
      text.remove_prefix(1);
      continue;
    }
    const auto index = static_cast<std::size_t>(text[1] - '0');
    line += index < fields.size() ? escapedForLine(fields[index]) : "?";
    text.remove_prefix(3);
  }
  return line;
}

}  // namespace

std::span<const LogEntry> logCatalogue() {
  return kCatalogue;
}

const LogEntry* findLogEntry(std::uint32_t code) {
  const LogEntry* entry =
      std::lower_bound(std::begin(kCatalogue), std::end(kCatalogue), code,
                       [](const LogEntry& e, std::uint32_t wanted) { return e.code < wanted; });
  return entry != std::end(kCatalogue) && entry->code == code ? entry : nullptr;
}

Logger::Severity logSeverity(std::uint32_t code) {
  const LogEntry* entry = findLogEntry(code);
  return entry != nullptr ? entry->severity : Severity::kWarning;
}

std::string logLine(std::uint32_t code, const std::vector<std::string>& fields) {
  if (const LogEntry* entry = findLogEntry(code)) return filledIn(entry->text, fields);
  char start[32];
  std::snprintf(start, sizeof start, "message 0x%X: ", static_cast<unsigned>(code));
  std::string line = start;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (i != 0) line += ", ";
    line += escapedForLine(fields[i]);
  }
  return line;
}

}  // namespace Kestrav
