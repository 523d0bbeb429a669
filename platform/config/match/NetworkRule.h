// One side of an IP policy: which clients, or which servers, it is for.
//
// Immutable once made; any number of threads may match with it.
#pragma once

#include <array>
#include <vector>

#include "platform/common/IPAddress.h"
#include "platform/common/IPAddressMask.h"
#include "platform/config/match/CandidateIndex.h"

namespace Kestrav::Config {

// The prefix lengths under which rules are filed, one set a side: what a query must probe.
class NetworkLengths {
 public:
  void add(IPAddress::Family family, int length) {
    of(family)[static_cast<std::size_t>(length)] = true;
  }
  // Appends the keys of every network around the address that some rule may be filed under.
  void keys(char side, const IPAddress& address, std::vector<CandidateIndex::Key>& keys) const;

 private:
  using Lengths = std::array<bool, 129>;
  Lengths& of(IPAddress::Family family) { return family == IPAddress::Family::kV4 ? v4_ : v6_; }
  Lengths v4_{};
  Lengths v6_{};
};

class NetworkRule {
 public:
  static NetworkRule any() { return NetworkRule(); }
  explicit NetworkRule(IPAddressMask mask);

  bool matches(const IPAddress& address) const { return any_ || mask_.matches(address); }

  // Length of the shortest network that the mask is made of, counted as an IPv6 prefix; 0 when the
  // rule cannot be filed.
  int selectivity() const { return selectivity_; }
  // Files the rule. REQUIRES: selectivity() is not 0.
  void file(char side, CandidateIndex::Ordinal ordinal, CandidateIndex& index,
            NetworkLengths& lengths) const;

 private:
  struct Network {
    IPAddress::Family family;
    IPAddress::Bytes bytes;
    int length;  // of the family: 0 to 32 or 128
  };
  NetworkRule() = default;

  bool any_ = true;
  IPAddressMask mask_;
  std::vector<Network> networks_;
  int selectivity_ = 0;
};

}  // namespace Kestrav::Config
