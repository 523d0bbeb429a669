// What all profiles share: type, id, name, actions, and how much of a message they need parsed.
//
// A handle: copies share one immutable implementation, built from a configuration record by the
// profile factory. Any number of threads may read it; a configuration change makes a new profile
// and leaves this one as it is.
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

  // The record's id in its table.
  int id() const;
  const std::string& name() const;

  // What to do when the profile matches and no more specific action is configured.
  const ActionContainer& actions() const;

  // Bit set of the message parts that have to be parsed before the profile can be applied; 0 for
  // none. The bits belong to each kind.
  std::uint32_t messageParseType() const;

 protected:
  // Adopts `impl`, which was just made.
  explicit Profile(ProfileImpl* impl) : Ref(impl) {}
};

}  // namespace Kestrav
