// Dictionary items for tests: by default a valid literal, in any case, whole words, everywhere,
// score 1, any number of matches.
#pragma once

#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/common/Logger.h"
#include "platform/common/Strings.h"
#include "platform/config/records/DictionaryRecords.h"
#include "platform/dictionary/ProfileDictionaryScanner.h"

namespace Kestrav::Testing {

class DictionaryItem {
 public:
  explicit DictionaryItem(const std::string& text) {
    boundedCopy(record_.text, text);
    record_.kind = static_cast<std::uint16_t>(DictionaryPatternKind::kLiteral);
    record_.score = 1;
    record_.enabled = 1;
    record_.whole_words = 1;
  }

  DictionaryItem& kind(DictionaryPatternKind kind) {
    record_.kind = static_cast<std::uint16_t>(kind);
    return *this;
  }
  DictionaryItem& wildcard() { return kind(DictionaryPatternKind::kWildcard); }
  DictionaryItem& regex() { return kind(DictionaryPatternKind::kRegex); }
  DictionaryItem& score(std::uint16_t score) { return record_.score = score, *this; }
  DictionaryItem& scope(std::uint32_t scope) { return record_.scope = scope, *this; }
  DictionaryItem& caseSensitive() { return record_.case_sensitive = 1, *this; }
  DictionaryItem& partsOfWords() { return record_.whole_words = 0, *this; }
  DictionaryItem& atMost(unsigned char count) { return record_.max_count = count, *this; }
  DictionaryItem& disabled() { return record_.enabled = 0, *this; }
  DictionaryItem& id(std::uint32_t id) { return record_.id = id, *this; }
  DictionaryItem& in(std::uint32_t dictionary) { return record_.dictionary_id = dictionary, *this; }

  const __vexa_dictionary_item& record() const { return record_; }

 private:
  __vexa_dictionary_item record_{};
};

inline DictionaryItem Literal(const std::string& text) {
  return DictionaryItem(text);
}
inline DictionaryItem Wildcard(const std::string& text) {
  return DictionaryItem(text).wildcard();
}
inline DictionaryItem Regex(const std::string& text) {
  return DictionaryItem(text).regex();
}

inline Ref<DictionaryScannerImpl> Scanner(const std::vector<DictionaryItem>& items) {
  auto* scanner = new ProfileDictionaryScanner("test");
  Ref<DictionaryScannerImpl> handle(scanner);
  for (const DictionaryItem& item : items) scanner->add_pattern(item.record());
  return handle;
}

// Number of matches of one item.
inline std::uint32_t Matches(const DictionaryItem& item, std::string_view text) {
  const ScanResult result = Scanner({item})->scan(text);
  return result.hits.empty() ? 0 : result.hits.front().count;
}

// Captures every logged message.
class LoggedMessages {
 public:
  LoggedMessages()
      : token_(Logger::instance(false).capture([this](const Logger::Message& message) {
          codes.push_back(message.code);
          fields.push_back(message.fields);
        })) {}

  std::vector<std::uint32_t> codes;
  std::vector<std::vector<std::string>> fields;

 private:
  std::shared_ptr<void> token_;
};

}  // namespace Kestrav::Testing
