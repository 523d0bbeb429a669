// Which profiles and settings apply to one path of a message.
//
// A handle: copies share one implementation, which is immutable except for one cached answer. Any
// number of threads may read it. PolicyIPAddress and PolicyRecipient choose policies; this is their
// common base. A policy does not change when the configuration does.
//
// Choosing one answers from one revision of the configuration that all caches of the process have
// followed to: the policy and its profiles belong together, however fast the configuration changes.
// It may wait for the event handlers that apply a change, for one second at most.
#pragma once

#include <cstdint>
#include <string>

#include "ProfSessionDelivery.h"
#include "ProfSessionReceive.h"
#include "ProfileAntiSpam.h"
#include "ProfileAntiVirus.h"
#include "ProfileContent.h"
#include "ProfileDLP.h"
#include "VexaRefcounted.h"
#include "platform/common/Export.h"
#include "platform/config/records/Forward.h"

namespace Kestrav {

// Copied from the policy's record for the daemons, which define their meaning.
struct KESTRAV_API AuthenticationAndAccess {
  bool authFlag1 = false;
  bool authFlag2 = false;
  bool authFlag3 = false;
  std::uint32_t authValue = 0;
};

class PolicyImpl;

extern template class KESTRAV_API RefCounted<PolicyImpl>;
extern template class KESTRAV_API Ref<PolicyImpl>;

// Every accessor throws Exception with its full signature as the message, code 1, on a null policy.
// A returned reference is valid as long as any handle to the policy exists. Any of the profiles may
// be null.
class KESTRAV_API Policy : public Ref<PolicyImpl> {
 public:
  // The null policy.
  Policy() = default;

  // The record's id; 0 for a policy that was derived rather than chosen.
  int id() const;

  // The configuration domain of the policy's record.
  ngid_t ngid() const;

  // The record's name, UTF-8; empty for a policy that was derived rather than chosen.
  const std::string& name() const;

  const ProfileAntiSpam& antispamProfile() const;
  const ProfileAntiVirus& antivirusProfile() const;
  const ProfileContent& contentProfile() const;
  const ProfSessionReceive& receiveProfile() const;
  const ProfSessionDelivery& deliveryProfile() const;
  const ProfileDLP& dlpProfile() const;
  const AuthenticationAndAccess& authenticationAndAccess() const;

  // Whether the antispam or the content profile needs the message's parts. All copies of the policy
  // cache a positive answer; only a policy made for a further recipient caches a negative one.
  bool messageParsingRequired() const;

 protected:
  // Adopts a new implementation.
  explicit Policy(PolicyImpl* impl) : Ref(impl) {}

  // Replaces the implementation; null makes a null policy.
  void adopt(PolicyImpl* impl);
};

}  // namespace Kestrav
