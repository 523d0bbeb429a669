#include "platform/config/match/AddressRule.h"

#include <algorithm>

#include "platform/common/Exception.h"
#include "platform/common/Strings.h"

namespace Kestrav::Config {
namespace {

constexpr char kAddressTag = 0;
constexpr char kDomainTag = 1;
constexpr char kSubdomainTag = 2;

CandidateIndex::Key keyOf(char side, char tag, std::string_view text) {
  return candidateKey(static_cast<char>(side * 4 + tag), std::span(text.data(), text.size()));
}

bool isDomainOrBelow(std::string_view domain, std::string_view parent) {
  if (!domain.ends_with(parent)) return false;
  return domain.size() == parent.size() || domain[domain.size() - parent.size() - 1] == '.';
}

// ASCII without wildcards. Only in ASCII do keys and patterns fold case alike.
bool isPlain(std::string_view text) {
  return text.find_first_of("*?[]\\@") == text.npos &&
         std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

}  // namespace

AddressSubject::AddressSubject(std::string_view address) : address_(stringToLower(address)) {
  const std::size_t at = address_.rfind('@');
  domainAt_ = at == std::string::npos ? address_.size() : at + 1;
}

void AddressSubject::keys(char side, std::vector<CandidateIndex::Key>& keys) const {
  keys.push_back(keyOf(side, kAddressTag, address_));
  if (domain().empty()) return;
  keys.push_back(keyOf(side, kDomainTag, domain()));
  for (std::string_view suffix = domain();;) {
    keys.push_back(keyOf(side, kSubdomainTag, suffix));
    const std::size_t dot = suffix.find('.');
    if (dot == suffix.npos) return;
    suffix.remove_prefix(dot + 1);
  }
}

AddressRule::AddressRule(AddressKind kind, std::string_view text,
                         const std::vector<std::string>& members)
    : kind_(kind), text_(stringToLower(text)) {
  switch (kind) {
    case AddressKind::kAny:
      break;
    case AddressKind::kAddress:
      terms_.push_back({kAddressTag, text_});
      break;
    case AddressKind::kDomain:
      terms_.push_back({kDomainTag, text_});
      break;
    case AddressKind::kDomainWithSubdomains:
      terms_.push_back({kSubdomainTag, text_});
      break;
    case AddressKind::kWildcard:
      pattern_ = StringPattern(std::string(text), true, false);
      addTerm(text_);
      break;
    case AddressKind::kRegex:
      pattern_ = StringPattern(std::string(text), true, true);
      break;
    case AddressKind::kGroup: {
      auto group = std::make_unique<PatternContainer>();
      for (const std::string& member : members) {
        group->add(member);
        addTerm(stringToLower(member));
      }
      group_ = std::move(group);
      // A member without a key may match an address that shows none of the other keys.
      if (terms_.size() != members.size()) terms_.clear();
      break;
    }
    default:
      throw Exception("unknown kind of address rule " + std::to_string(static_cast<int>(kind)),
                      Exception::kWrongEntity);
  }
}

// Adds a term for a wildcard whose form allows it.
void AddressRule::addTerm(std::string_view pattern) {
  constexpr std::string_view kInDomain = "*@";
  constexpr std::string_view kBelowDomain = "*@*.";
  if (pattern.starts_with(kBelowDomain) && isPlain(pattern.substr(kBelowDomain.size()))) {
    terms_.push_back({kSubdomainTag, std::string(pattern.substr(kBelowDomain.size()))});
  } else if (pattern == kInDomain) {
    // Matches addresses without a domain, which show no key of one.
  } else if (pattern.starts_with(kInDomain) && isPlain(pattern.substr(kInDomain.size()))) {
    terms_.push_back({kDomainTag, std::string(pattern.substr(kInDomain.size()))});
  } else if (const std::size_t at = pattern.rfind('@');
             at == pattern.npos
                 ? isPlain(pattern)
                 : isPlain(pattern.substr(0, at)) && isPlain(pattern.substr(at + 1))) {
    terms_.push_back({kAddressTag, std::string(pattern)});
  }
}

bool AddressRule::matches(const AddressSubject& subject) const {
  switch (kind_) {
    case AddressKind::kAny:
      return true;
    case AddressKind::kAddress:
      return subject.address() == text_;
    case AddressKind::kDomain:
      return !text_.empty() && subject.domain() == text_;
    case AddressKind::kDomainWithSubdomains:
      return !text_.empty() && isDomainOrBelow(subject.domain(), text_);
    case AddressKind::kWildcard:
    case AddressKind::kRegex:
      return pattern_.matches(subject.address());
    case AddressKind::kGroup:
      return group_->matches(subject.address());
  }
  return false;
}

std::vector<CandidateIndex::Key> AddressRule::keys(char side) const {
  std::vector<CandidateIndex::Key> keys;
  keys.reserve(terms_.size());
  for (const Term& term : terms_) keys.push_back(keyOf(side, term.tag, term.text));
  return keys;
}

}  // namespace Kestrav::Config
