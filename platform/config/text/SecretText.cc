#include "platform/config/text/SecretText.h"

#include <algorithm>
#include <set>
#include <string>

#include "platform/common/NoDestructor.h"
#include "platform/common/Strings.h"
#include "platform/config/records/Field.h"
#include "platform/config/records/Tables.h"

namespace Kestrav::Config::Text {
namespace {

struct Keys {
  std::set<std::string, std::less<>> known;
  std::vector<std::string> secret;  // lower case, words joined

  Keys() {
    known.insert("configuration");
    for (const Table& table : tables()) {
      known.emplace(table.key);
      if (!table.keyInOwner.empty()) known.emplace(table.keyInOwner);
      add(*table.type);
    }
  }

  void add(const RecordType& type) {
    for (const Criterion& criterion : type.criteria) known.emplace(criterion.name);
    for (const Field& field : type.fields) {
      if (field.kind == Kind::kReserved) continue;
      known.emplace(field.name);
      if (field.secret) {
        std::string name(field.name);
        std::erase(name, '-');
        if (std::find(secret.begin(), secret.end(), name) == secret.end()) secret.push_back(name);
      }
      if (field.element != nullptr) add(*field.element);
    }
  }
};

const Keys& keys() {
  static NoDestructor<Keys> all;
  return *all;
}

bool joinsWords(char c) {
  return c == '-' || c == '_' || c == ' ' || c == '\t';
}

// Where `name` ends when it begins at `from`; npos when it does not.
std::size_t endOf(std::string_view name, std::string_view text, std::size_t from) {
  std::size_t at = from;
  for (std::size_t i = 0; i < name.size(); ++i, ++at) {
    while (i != 0 && at < text.size() && joinsWords(text[at])) ++at;
    if (at >= text.size() || asciiToLower(text[at]) != name[i]) return text.npos;
  }
  return at;
}

bool beginsWithKnownKey(std::string_view line) {
  const std::size_t first = line.find_first_not_of(" \t-?{,\"'");
  if (first == line.npos) return false;
  line.remove_prefix(first);
  std::size_t end = 0;
  while (end < line.size() && (isAsciiLetterOrDigit(line[end]) || line[end] == '-')) ++end;
  const std::size_t colon = line.find_first_not_of(" \t\"'", end);
  return colon != line.npos && line[colon] == ':' && isKnownKey(line.substr(0, end));
}

}  // namespace

bool holdsSecrets(const RecordType& type) {
  return std::any_of(type.fields.begin(), type.fields.end(), [](const Field& field) {
    return field.secret || (field.element != nullptr && holdsSecrets(*field.element));
  });
}

bool isKnownKey(std::string_view key) {
  return keys().known.contains(key);
}

std::size_t secretKeyEnd(std::string_view text) {
  for (std::size_t from = 0; from < text.size(); ++from) {
    for (const std::string& name : keys().secret) {
      const std::size_t end = endOf(name, text, from);
      if (end != text.npos) return end;
    }
  }
  return text.npos;
}

SecretLines::SecretLines(std::string_view content) {
  bool within = false;
  int number = 1;
  for (std::size_t from = 0; from < content.size(); ++number) {
    const std::size_t end = std::min(content.find('\n', from), content.size());
    const std::string_view line = content.substr(from, end - from);
    from = end + 1;
    const bool names = secretKeyEnd(line) != line.npos;
    if (names && !within) ranges_.push_back({number, number});
    within = names || (within && !beginsWithKnownKey(line));
    if (within) ranges_.back().second = number;
  }
}

bool SecretLines::contains(int line) const {
  const auto after = std::upper_bound(
      ranges_.begin(), ranges_.end(), line,
      [](int searched, const std::pair<int, int>& range) { return searched < range.first; });
  return after != ranges_.begin() && std::prev(after)->second >= line;
}

}  // namespace Kestrav::Config::Text
