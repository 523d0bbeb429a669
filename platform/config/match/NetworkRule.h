// One side of an IP policy: the clients, or the servers, that it applies to.
//
// Immutable; any number of threads may match with it.
#pragma once

#include <array>
#include <vector>

#include "platform/common/IPAddress.h"
#include "platform/common/IPAddressMask.h"
#include "platform/config/match/CandidateIndex.h"

namespace Kestrav::Config {

// The prefix lengths by which rules of one side are filed. A query probes these.
class NetworkLengths {
 public:
  void add(IPAddress::Family family, int length) {
    of(family)[static_cast<std::size_t>(length)] = true;
  }
  // Appends the keys of the networks of these lengths that hold the address.
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

  // Every matching address shows one of these keys when the query probes the lengths. Empty for a
  // rule of all addresses, of none or of too many networks.
  std::vector<CandidateIndex::Key> keys(char side) const;
  void addLengths(NetworkLengths& lengths) const;

 private:
  struct Network {
    IPAddress::Family family;
    IPAddress::Bytes bytes;
    int length;  // of the family: 0 to 32 or 128
  };
  NetworkRule() = default;

  bool any_ = true;
  IPAddressMask mask_;
  std::vector<Network> networks_;  // which the mask consists of; empty when there are no keys
};

}  // namespace Kestrav::Config
