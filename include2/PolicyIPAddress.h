// The policy for a connection, chosen by its client's and its server's address. The only kind of
// policy that carries session profiles.
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

  // The policy of a record that the caller holds already.
  explicit PolicyIPAddress(__qv_ip_policy& record);

  // On a null policy these throw Exception "PolicyIPAddress", code 1.

  // Always null addresses: a policy does not keep what it was chosen by.
  const IPAddress& ipClient() const;
  const IPAddress& ipServer() const;

  // Set in the record; what it means is up to the daemons.
  bool exclusive() const;
};

}  // namespace Kestrav
