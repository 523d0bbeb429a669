// How recipient policies are compiled and filed; see PolicyList.h.
#pragma once

#include <algorithm>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/config/match/AddressRule.h"
#include "platform/config/match/PolicySelection.h"
#include "platform/config/records/PolicyRecords.h"
#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Config {

struct RecipientTraits {
  using Record = __vexa_recipient_policy;

  struct Subject {
    AddressSubject sender;
    AddressSubject recipient;
  };

  // The address groups of the system, each read once, when a policy names one.
  class Groups {
   public:
    explicit Groups(const Snapshot& snapshot) : snapshot_(snapshot) {}
    // Throws Exception when there is no such group.
    const std::vector<std::string>& members(std::uint32_t id);

   private:
    const Snapshot& snapshot_;
    std::unordered_map<std::uint32_t, std::vector<std::string>> read_;
  };

  class Rules {
   public:
    Rules(const Record& record, Groups& groups);
    Outcome outcome(const Subject& subject) const {
      if (!sender_.matches(subject.sender)) return Outcome::kSender;
      if (!recipient_.matches(subject.recipient)) return Outcome::kRecipient;
      return Outcome::kWon;
    }

   private:
    friend struct RecipientTraits;
    AddressRule sender_;
    AddressRule recipient_;
  };

  // Filed by whichever side shares its keys with fewer policies, by the recipient when they are
  // equal.
  class Filing {
   public:
    void count(const Rules& rules);
    void done() { policies_ = {}; }
    void file(const Rules& rules, CandidateIndex::Ordinal ordinal, CandidateIndex& index);
    std::vector<CandidateIndex::Key> keys(const Subject& subject) const;

   private:
    // How many policies must be looked at by who shows a key of the rule.
    std::size_t cost(const AddressRule& rule, char side) const;

    std::unordered_map<CandidateIndex::Key, std::size_t> policies_;  // by key, until done
  };
};

}  // namespace Kestrav::Config
