#include "platform/regex/PatternContainer.h"

#include <algorithm>
#include <utility>

#include "platform/common/Exception.h"
#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/regex/Characters.h"
#include "platform/regex/StringPattern.h"

namespace Kestrav {
namespace {

constexpr std::uint64_t kHashStart = 14695981039346656037u;  // FNV-1a
constexpr std::uint64_t kHashPrime = 1099511628211u;

std::uint64_t extended(std::uint64_t hash, char c) {
  return (hash ^ static_cast<unsigned char>(c)) * kHashPrime;
}

// "user@[192.0.2.1]": the brackets are part of the address.
std::string withDomainLiteralEscaped(const std::string& pattern) {
  const std::size_t open = pattern.find("@[");
  if (open == std::string::npos || pattern.find(']', open) != pattern.size() - 1) return pattern;
  std::string escaped = pattern;
  escaped.insert(escaped.size() - 1, "\\");
  escaped.insert(open + 1, "\\");
  return escaped;
}

Wildcard compile(const std::string& pattern) {
  constexpr bool kIgnoreCase = true;
  try {
    return Wildcard(withDomainLiteralEscaped(pattern), kIgnoreCase);
  } catch (const Exception& e) {
    Logger::instance().log(LogCode::kPatternMatchFailed, "%s\x01%s", pattern.c_str(),
                           e.message().c_str());
    return Wildcard::literally(pattern, kIgnoreCase);
  }
}

}  // namespace

void PatternContainer::Edge::add(const std::string& text, bool afterAt) {
  std::uint64_t hash = kHashStart;
  if (backwards_) {
    for (auto c = text.rbegin(); c != text.rend(); ++c) hash = extended(hash, *c);
  } else {
    for (const char c : text) hash = extended(hash, c);
  }
  longest_ = std::max(longest_, text.size());
  innermost_.set(static_cast<unsigned char>(backwards_ ? text.front() : text.back()));
  texts_[hash].push_back({text, afterAt});
}

bool PatternContainer::Edge::contains(std::uint64_t hash, std::string_view part,
                                      bool isAfterAt) const {
  const auto entry = texts_.find(hash);
  if (entry == texts_.end()) return false;
  return std::any_of(entry->second.begin(), entry->second.end(), [&](const Text& text) {
    return (isAfterAt || !text.afterAt) && text.text == part;
  });
}

bool PatternContainer::Edge::matches(std::string_view subject) const {
  if (texts_.empty()) return false;
  const std::size_t firstAt = subject.find('@');
  const std::size_t most = std::min(longest_, subject.size());
  std::uint64_t hash = kHashStart;
  for (std::size_t length = 1; length <= most; ++length) {
    const std::size_t start = backwards_ ? subject.size() - length : 0;
    const char c = backwards_ ? subject[start] : subject[length - 1];
    hash = extended(hash, c);
    if (innermost_[static_cast<unsigned char>(c)] &&
        contains(hash, subject.substr(start, length), firstAt < start)) {
      return true;
    }
  }
  return false;
}

void PatternContainer::add(const std::string& pattern) {
  Wildcard wildcard = compile(pattern);
  const std::string& literal = wildcard.literal();
  switch (wildcard.shape()) {
    case Wildcard::Shape::kAny:
      any_ = true;
      break;
    case Wildcard::Shape::kLiteral:
      literals_.insert(literal);
      break;
    case Wildcard::Shape::kPrefix:
      prefixes_.add(literal, false);
      break;
    case Wildcard::Shape::kSuffix:
      suffixes_.add(literal, false);
      break;
    case Wildcard::Shape::kAtAndTail:
      suffixes_.add(literal, true);
      break;
    case Wildcard::Shape::kGeneral:
      others_.push_back(compiled_.size());
      break;
  }
  compiled_.push_back(std::move(wildcard));
  patterns_.push_back(pattern);
}

bool PatternContainer::accepts(std::string_view subject) const {
  if (subject.size() <= StringPattern::kMaxSubject) return true;
  Logger::instance().log(LogCode::kPatternMatchLimit, "%s\x01%zu", patterns_.front().c_str(),
                         subject.size());
  return false;
}

bool PatternContainer::matches(std::string_view subject) const {
  if (empty() || !accepts(subject)) return false;
  if (any_) return true;
  const std::string folded = Characters::fold(subject);
  if (literals_.count(folded) != 0 || prefixes_.matches(folded) || suffixes_.matches(folded)) {
    return true;
  }
  // The unfolded subject: a class may contain a letter without containing its folded form.
  return std::any_of(others_.begin(), others_.end(),
                     [&](std::size_t index) { return compiled_[index].matches(subject); });
}

bool PatternContainer::matchesLinear(std::string_view subject) const {
  if (empty() || !accepts(subject)) return false;
  return std::any_of(compiled_.begin(), compiled_.end(),
                     [&](const Wildcard& wildcard) { return wildcard.matches(subject); });
}

}  // namespace Kestrav
