// The implementation of PolicyIPAddress.
#pragma once

#include "platform/common/IPAddress.h"
#include "profile/policy/PolicyImpl.h"

struct __qv_ip_policy;

namespace Kestrav {

class PolicyIPAddressImpl : public virtual PolicyImpl {
 public:
  ~PolicyIPAddressImpl() override;

  // Fills the policy from `record` and gets its profiles.
  void initialize(__qv_ip_policy& record);

  // Never filled, on purpose.
  IPAddress ipServer;
  IPAddress ipClient;
  bool exclusive = false;
};

}  // namespace Kestrav
