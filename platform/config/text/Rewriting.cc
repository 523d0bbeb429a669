#include "platform/config/text/Rewriting.h"

#include <algorithm>
#include <string_view>

#include "platform/common/Exception.h"
#include "platform/config/records/FieldAccess.h"
#include "platform/parser/EmailAddress.h"
#include "platform/parser/Utf8.h"

namespace Kestrav::Config::Text {
namespace {

constexpr std::string_view kLocal = "%%LOCAL%%";
constexpr std::string_view kDomain = "%%DOMAIN%%";
constexpr std::string_view kNames = "%%LOCAL%% or %%DOMAIN%%";

struct Sample {
  std::string_view local;
  std::string_view domain;
};
// The second one leaves the most room, the third one is no host.
constexpr Sample kSamples[] = {
    {"user", "example.com"}, {"u", "d.example"}, {"user", "[192.0.2.1]"}};

void replaceAll(std::string& text, std::string_view name, std::string_view value) {
  for (std::size_t at = 0; (at = text.find(name, at)) != text.npos; at += value.size()) {
    text.replace(at, name.size(), value);
  }
}

bool isAddress(const std::string& text) {
  try {
    EmailAddress::rfc5321Parse(text, false);
    return true;
  } catch (const Exception&) {
    return false;
  }
}

std::string modified(std::string_view part, const Field& field, const void* record) {
  const void* change = readStruct(field, record);
  const Field& kind = *findField(*field.element, "kind");
  const std::string text(readText(*findField(*field.element, "text"), change));
  for (const Choice& choice : kind.choices) {
    if (choice.value != readNumber(kind, change)) continue;
    if (choice.word == "prefix") return text + std::string(part);
    if (choice.word == "suffix") return std::string(part) + text;
    if (choice.word == "replace") return text;
  }
  return std::string(part);
}

}  // namespace

std::optional<Mistake> checkRewriting(const std::string& pattern) {
  std::size_t from = 0;
  while ((from = pattern.find("%%", from)) != std::string::npos) {
    const std::size_t end = pattern.find("%%", from + 2);
    if (end == std::string::npos) {
      return Mistake{shown(pattern) + " has a '%%' that is not closed", std::string(kNames)};
    }
    const std::string name = pattern.substr(from + 2, end - from - 2);
    if (name != "LOCAL" && name != "DOMAIN") {
      return Mistake{shown(pattern) + " names an unknown value " + shown(name),
                     std::string(kNames)};
    }
    from = end + 2;
  }
  for (std::size_t pos = 0; pos < pattern.size();) {
    const char32_t c = nextCodePoint(pattern, pos);
    if (c == kIllFormed || isControl(c)) {
      return Mistake{shown(pattern) + " cannot stand in an address",
                     "text without control characters"};
    }
  }
  return std::nullopt;
}

std::optional<Mistake> checkRewritten(const std::string& pattern) {
  const bool gives = std::any_of(std::begin(kSamples), std::end(kSamples), [&](const Sample& of) {
    std::string text = pattern;
    replaceAll(text, kLocal, of.local);
    replaceAll(text, kDomain, of.domain);
    return isAddress(text);
  });
  if (gives) return std::nullopt;
  return Mistake{shown(pattern) + " gives no e-mail address", "such as %%LOCAL%%@example.com"};
}

std::optional<std::string> rewritingOf(const RecordType& type, const void* record) {
  const Field* local = findField(type, "rewrite-local");
  const Field* domain = findField(type, "rewrite-domain");
  if (local == nullptr || domain == nullptr) return std::nullopt;
  return modified(kLocal, *local, record) + "@" + modified(kDomain, *domain, record);
}

}  // namespace Kestrav::Config::Text
