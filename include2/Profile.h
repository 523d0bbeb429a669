// The common base of all profiles: type, id, name, actions, and which parts of a message they need.
//
// A handle: copies share one immutable implementation, which the profile factory builds from a
// configuration record. Any number of threads may read it. A configuration change makes a new
// profile; this one does not change.
#pragma once

#include <cstdint>
#include <string>

#include "VexaRefcounted.h"
#include "platform/common/Export.h"

namespace Kestrav {

class ActionContainer;
class ProfileImpl;

extern template class KESTRAV_API RefCounted<ProfileImpl>;
extern template class KESTRAV_API Ref<ProfileImpl>;

// Every accessor throws Exception "Profile", code 1, on a null profile.
class KESTRAV_API Profile : public Ref<ProfileImpl> {
 public:
  // Values of type().
  static constexpr std::uint32_t kAntiSpam = 1;
  static constexpr std::uint32_t kAntiVirus = 2;
  static constexpr std::uint32_t kContent = 3;
  static constexpr std::uint32_t kSessionReceive = 4;
  static constexpr std::uint32_t kSessionDelivery = 5;
  static constexpr std::uint32_t kEncryption = 6;
  static constexpr std::uint32_t kNotification = 7;
  static constexpr std::uint32_t kWebFilter = 8;
  static constexpr std::uint32_t kDlp = 9;

  // The null profile.
  Profile() = default;

  std::uint32_t type() const;

  // The record's id in its table; 0 for a web filter.
  int id() const;
  const std::string& name() const;

  // The actions when the profile matches and no more specific ones are configured.
  const ActionContainer& actions() const;

  // Bit set of the message parts that must be parsed for the profile, 0 for none. Each kind defines
  // its bits.
  std::uint32_t messageParseType() const;

 protected:
  // Adopts a new implementation.
  explicit Profile(ProfileImpl* impl) : Ref(impl) {}
};

}  // namespace Kestrav
