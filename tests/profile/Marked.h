// Policies and their profile with a mark that each commit changes, so that a decision shows which
// revision its policy and its profile come from.
#pragma once

#include <cstdint>
#include <string>

#include "PolicyIPAddress.h"
#include "PolicyRecipient.h"
#include "tests/profile/Gateway.h"
#include "tests/support/Addresses.h"
#include "tests/support/AntispamRecords.h"
#include "tests/support/PolicyRecords.h"

namespace Kestrav::Testing {

// Even and odd marks have profiles of different ids, and only the present one exists: the policy of
// one revision and the profiles of the next give no profile.
class Marked {
 public:
  // Policies match `kClient` and mail to `kDomain`.
  static constexpr const char* kClient = "192.0.2.77";
  static constexpr const char* kDomain = "marked.example";

  IpPolicyRecord connectionPolicy(int mark) const {
    return IpPolicyRecord(number_).name(std::to_string(mark)).client(kClient).antispam(id(mark));
  }
  OutgoingPolicyRecord outgoingPolicy(int mark) const {
    return OutgoingPolicyRecord(number_)
        .name(std::to_string(mark))
        .recipient(AddressKind::kWildcard, std::string("*@") + kDomain)
        .antispam(id(mark));
  }
  IncomingPolicyRecord incomingPolicy(int mark) const {
    return IncomingPolicyRecord(number_).name(std::to_string(mark)).antispam(id(mark));
  }
  AntispamRecord profile(int mark) const {
    return AntispamRecord(id(mark)).name(std::to_string(mark));
  }
  std::uint32_t id(int mark) const { return ids_[mark % 2]; }

  void put(Config::ChangeSet& changes, int mark) const {
    // Delivered in this order: the profile is dropped before the policies that name it.
    changes.erase(GID_ANTISPAM_PROFILE, 0, id(mark + 1));
    profile(mark).put(changes);
    connectionPolicy(mark).put(changes);
    outgoingPolicy(mark).put(changes);
  }
  void put(int mark) const {
    Config::ChangeSet changes;
    put(changes, mark);
    commit(std::move(changes));
  }
  // Leaves no policy behind that matches.
  void erase() const {
    Config::ChangeSet changes;
    changes.erase(GID_IP_POLICY, 0, static_cast<std::uint32_t>(number_));
    changes.erase(GID_OUTGOING_POLICY, 0, static_cast<std::uint32_t>(number_));
    changes.erase(GID_INCOMING_POLICY, 0, static_cast<std::uint32_t>(number_));
    commit(std::move(changes));
  }

  // "POLICY'S MARK PROFILE'S MARK" of a decision, "none" in place of what is null.
  static std::string connection() {
    return marks(PolicyIPAddress(IPAddress(kClient), IPAddress("2001:db8::25")));
  }
  static std::string recipient() { return recipient(address(std::string("user@") + kDomain)); }
  static std::string recipient(const EmailAddress& recipient) {
    return marks(PolicyRecipient(EmailAddress(), recipient, false, false));
  }

 private:
  static std::string marks(const Policy& policy) {
    if (policy.isNull()) return "none";
    const ProfileAntiSpam& profile = policy.antispamProfile();
    return policy.name() + " " + (profile.isNull() ? "none" : profile.name());
  }

  const std::uint32_t ids_[2] = {freshId(), freshId()};
  const std::int32_t number_ = static_cast<std::int32_t>(freshId());
};

}  // namespace Kestrav::Testing
