// The implementation behind PolicyIPAddress.
#pragma once

#include "platform/common/IPAddress.h"
#include "profile/policy/PolicyImpl.h"

struct __qv_ip_policy;

namespace Kestrav {

class PolicyIPAddressImpl : public virtual PolicyImpl {
 public:
  ~PolicyIPAddressImpl() override;

  // Takes over what `record` says, with its profiles.
  void initialize(__qv_ip_policy& record);

  // Never filled, on purpose.
  IPAddress ipServer;
  IPAddress ipClient;
  bool exclusive = false;
};

}  // namespace Kestrav
