// The policy of a connection, chosen by the addresses of client and server. The only kind of policy
// that carries session profiles.
#pragma once

#include "Policy.h"
#include "platform/common/Export.h"
#include "platform/common/IPAddress.h"

struct __qv_ip_policy;

namespace Kestrav {

class KESTRAV_API PolicyIPAddress : public Policy {
 public:
  // The null policy.
  PolicyIPAddress() = default;

  // The first enabled IP policy that matches. Null when none does, or when either address is null.
  // Throws what building a profile throws.
  PolicyIPAddress(const IPAddress& client, const IPAddress& server);

  // The policy of a record that the caller holds.
  explicit PolicyIPAddress(__qv_ip_policy& record);

  // On a null policy these throw Exception "PolicyIPAddress", code 1.

  // Always null addresses: a policy does not keep the addresses that it was chosen by.
  const IPAddress& ipClient() const;
  const IPAddress& ipServer() const;

  // A flag of the record; the daemons define its meaning.
  bool exclusive() const;
};

}  // namespace Kestrav
