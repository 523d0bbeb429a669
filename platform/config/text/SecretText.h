// Finds the parts of a configuration text that may hold a secret.
#pragma once

#include <string_view>
#include <utility>
#include <vector>

#include "platform/config/records/Forward.h"

namespace Kestrav::Config::Text {

// True when a field of the record, or of its entries, is a secret.
bool holdsSecrets(const RecordType& type);

// True for the key of a table, field or criterion of any record.
bool isKnownKey(std::string_view key);

// The offset after the first name of a secret's key in the text; npos when there is none. Ignores
// case and how the words of the name are joined.
std::size_t secretKeyEnd(std::string_view text);

// The lines of a text that name a secret's key, and those after each up to the next known key. A
// secret whose key is mistyped, wrongly indented or without a colon is still in these lines.
class SecretLines {
 public:
  explicit SecretLines(std::string_view content);

  bool contains(int line) const;  // from 1

 private:
  std::vector<std::pair<int, int>> ranges_;  // first and last line, ascending
};

}  // namespace Kestrav::Config::Text
