// How recipient policies are compiled and found; see PolicyList.h.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "platform/config/match/AddressRule.h"
#include "platform/config/match/PolicySelection.h"
#include "platform/config/match/RarerSide.h"
#include "platform/config/records/PolicyRecords.h"
#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Config {

struct RecipientTraits {
  using Record = __vexa_recipient_policy;

  struct Subject {
    AddressSubject sender;
    AddressSubject recipient;
  };

  // The address groups of the system. Each is read once, when a policy names it.
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

    RarerSide::Keys keys() const;  // the recipient's first

   private:
    AddressRule sender_;
    AddressRule recipient_;
  };

  // A query always shows the keys of both addresses.
  struct Probes {
    void add(const Rules&, std::size_t) {}
    std::vector<CandidateIndex::Key> keys(const Subject& subject) const;
  };
};

}  // namespace Kestrav::Config
