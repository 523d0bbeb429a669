// One side of a recipient policy: the senders, or the recipients, that it applies to.
//
// A wildcard must match the whole address; a regular expression is searched for in it; a group's
// members are wildcards, any of which may match. Letter case does not count. Immutable; any number
// of threads may match with it.
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

// An address in the form that rules compare: in lower case, its domain after the last '@'. The null
// sender is the empty text: "any" and the wildcard "*" match it, a domain does not.
class AddressSubject {
 public:
  explicit AddressSubject(std::string_view address);

  const std::string& address() const { return address_; }
  std::string_view domain() const { return std::string_view(address_).substr(domainAt_); }

  // Appends every key by which a rule for this address may be filed. `side` separates senders from
  // recipients.
  void keys(char side, std::vector<CandidateIndex::Key>& keys) const;

 private:
  std::string address_;   // lower case
  std::size_t domainAt_;  // the end when there is no '@'
};

class AddressRule {
 public:
  // Throws Exception when the pattern does not compile or the kind is unknown. `members` are those
  // of a group.
  AddressRule(AddressKind kind, std::string_view text, const std::vector<std::string>& members);

  bool matches(const AddressSubject& subject) const;

  // Every matching address shows one of these keys. Empty for a rule that no key describes.
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
  std::vector<Term> terms_;                        // what keys are made of
};

}  // namespace Kestrav::Config
