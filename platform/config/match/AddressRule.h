// One side of a recipient policy: which senders, or which recipients, it is for.
//
// Immutable once made; any number of threads may match with it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "config/match/CandidateIndex.h"
#include "regex/PatternContainer.h"
#include "regex/StringPattern.h"

namespace Kestrav::Config {

// Values as records hold them.
enum class AddressRuleKind : std::uint8_t {
  kAny = 0,
  kAddress = 1,               // user@example.com
  kDomain = 2,                // every address in example.com
  kDomainWithSubdomains = 3,  // and in every domain below it
  kWildcard = 4,              // over the whole address
  kRegularExpression = 5,     // searched for in the address
  kGroup = 6,                 // any member of an address group; members are wildcards
};

// An address as rules look at it. Without regard to letter case; the domain is what follows the last
// '@'. The null sender is the empty text: "any" and a wildcard "*" match it, a domain does not.
class AddressSubject {
 public:
  explicit AddressSubject(std::string_view address);

  const std::string& address() const { return address_; }
  std::string_view domain() const { return domain_; }

  // Appends every key that a rule for this address may be filed under. `side` keeps senders and
  // recipients apart.
  void keys(char side, std::vector<CandidateIndex::Key>& keys) const;

 private:
  std::string address_;  // lower case
  std::string_view domain_;
};

class AddressRule {
 public:
  // Throws Exception when the pattern does not compile or the kind is unknown. `members` are a group's.
  AddressRule(AddressRuleKind kind, std::string_view text, const std::vector<std::string>& members);

  bool matches(const AddressSubject& subject) const;

  // How well keys tell this rule from others: the lower, the fewer addresses show its keys.
  enum class Selectivity { kAddress, kDomain, kSubdomains, kNone };
  Selectivity selectivity() const { return selectivity_; }
  // The keys of which every matching address shows one. REQUIRES: selectivity() is not kNone.
  std::vector<CandidateIndex::Key> keys(char side) const;

 private:
  struct Term {
    char tag;
    std::string text;
  };
  void addTerm(std::string_view pattern);

  AddressRuleKind kind_;
  std::string text_;  // lower case; of kinds address and domain
  StringPattern pattern_;
  PatternContainer group_;
  std::vector<Term> terms_;
  Selectivity selectivity_ = Selectivity::kNone;
};

}  // namespace Kestrav::Config
