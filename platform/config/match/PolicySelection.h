// Which policy applies: to a connection by its addresses, to a recipient by its envelope.
//
// Policies are an ordered list; the first enabled one that matches wins. Incoming policies belong
// to a protected domain's configuration domain, tried first, or to the system; IP policies and
// outgoing policies to the system. The answer comes from an index of one revision. It is dropped
// when its tables change, and the next call compiles a new one. Any thread may call.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/common/Export.h"
#include "platform/common/IPAddress.h"
#include "platform/config/records/Forward.h"

struct __qv_ip_policy;
struct __vexa_recipient_policy;

namespace Kestrav::Config {

// Why a policy was or was not chosen.
enum class Outcome : std::uint8_t {
  kWon,
  kDisabled,
  kInvalid,  // a pattern, mask or kind that does not compile; logged when the index was made
  kClient,   // the client's address is not among its clients
  kServer,
  kSender,
  kRecipient,
  kNotReached,  // an earlier policy was chosen
};

struct KESTRAV_API Considered {
  std::uint32_t id;
  ngid_t domain;
  std::string name;
  Outcome outcome;
};

// Answer as cfg_ip_policy_match, cfg_get_incoming_policy and cfg_get_outgoing_policy. With
// `considered`, append every policy of the list in order with its outcome. `sender` may be null.
KESTRAV_API bool selectIpPolicy(const IPAddress& server, const IPAddress& client,
                                __qv_ip_policy* record,
                                std::vector<Considered>* considered = nullptr);
KESTRAV_API bool selectIncomingPolicy(const char* sender, const char* recipient,
                                      __vexa_recipient_policy* record,
                                      std::vector<Considered>* considered = nullptr);
KESTRAV_API bool selectOutgoingPolicy(const char* sender, const char* recipient,
                                      __vexa_recipient_policy* record,
                                      std::vector<Considered>* considered = nullptr);

}  // namespace Kestrav::Config
