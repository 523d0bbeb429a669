// One side of a recipient policy: which senders, or which recipients, it is for.
//
// A wildcard is over the whole address, a regular expression is searched for in it, a group's
// members are wildcards of which any may match. Nothing regards letter case. Immutable once made;
// any number of threads may match with it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/config/match/CandidateIndex.h"
#include "platform/config/records/PolicyRecords.h"
#include "platform/regex/PatternContainer.h"
#include "platform/regex/StringPattern.h"

namespace Kestrav::Config {

// An address as rules look at it. Without regard to letter case; the domain is what follows the
// last
// '@'. The null sender is the empty text: "any" and a wildcard "*" match it, a domain does not.
class AddressSubject {
 public:
  explicit AddressSubject(std::string_view address);

  const std::string& address() const { return address_; }
  std::string_view domain() const { return std::string_view(address_).substr(domainAt_); }

  // Appends every key that a rule for this address may be filed under. `side` keeps senders and
  // recipients apart.
  void keys(char side, std::vector<CandidateIndex::Key>& keys) const;

 private:
  std::string address_;   // lower case
  std::size_t domainAt_;  // the end when there is no '@'
};

class AddressRule {
 public:
  // Throws Exception when the pattern does not compile or the kind is unknown. `members` are a
  // group's.
  AddressRule(AddressKind kind, std::string_view text, const std::vector<std::string>& members);

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

  AddressKind kind_;
  std::string text_;  // lower case; of kinds address and domain
  StringPattern pattern_;
  std::unique_ptr<const PatternContainer> group_;  // of kind group
  std::vector<Term> terms_;
  Selectivity selectivity_ = Selectivity::kNone;
};

}  // namespace Kestrav::Config
