// How IP policies are compiled and found; see PolicyList.h.
#pragma once

#include <unordered_map>
#include <vector>

#include "platform/common/IPAddress.h"
#include "platform/common/IPAddressMask.h"
#include "platform/config/match/NetworkRule.h"
#include "platform/config/match/PolicySelection.h"
#include "platform/config/match/RarerSide.h"
#include "platform/config/records/PolicyRecords.h"
#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Config {

struct ConnectionTraits {
  using Record = __qv_ip_policy;

  struct Subject {
    IPAddress server;
    IPAddress client;
  };

  // The address groups of the system. Each is read once, when a policy names it.
  class Groups {
   public:
    explicit Groups(const Snapshot& snapshot) : snapshot_(snapshot) {}
    // Throws Exception when there is no such group or a member is no mask.
    const IPAddressMask& members(std::uint32_t id);

   private:
    const Snapshot& snapshot_;
    std::unordered_map<std::uint32_t, IPAddressMask> read_;
  };

  class Rules {
   public:
    Rules(const Record& record, Groups& groups);
    Outcome outcome(const Subject& subject) const {
      if (!client_.matches(subject.client)) return Outcome::kClient;
      if (!server_.matches(subject.server)) return Outcome::kServer;
      return Outcome::kWon;
    }

    RarerSide::Keys keys() const;  // the client's first

   private:
    friend struct ConnectionTraits;
    NetworkRule client_;
    NetworkRule server_;
  };

  // A query shows the networks of both addresses, of the lengths by which policies are filed.
  class Probes {
   public:
    void add(const Rules& rules, std::size_t side);
    std::vector<CandidateIndex::Key> keys(const Subject& subject) const;

   private:
    NetworkLengths clients_;
    NetworkLengths servers_;
  };
};

}  // namespace Kestrav::Config
