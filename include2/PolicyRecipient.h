// The policy of one recipient of a message, chosen by envelope sender and recipient.
#pragma once

#include <cstdint>
#include <string>

#include "Policy.h"
#include "PolicyIPAddress.h"
#include "platform/common/Export.h"
#include "platform/parser/EmailAddress.h"

namespace Kestrav {

// A caller's note of how a recipient matched. The library does not use it.
class KESTRAV_API PolicyRecipientMatch {
 public:
  PolicyRecipientMatch() = default;
  PolicyRecipientMatch(const PolicyRecipientMatch&) = default;
  PolicyRecipientMatch& operator=(const PolicyRecipientMatch&) = default;
  virtual ~PolicyRecipientMatch();

  std::string text;
  std::uint32_t value1 = 0;
  std::uint32_t value2 = 0;
  std::uint32_t value3 = 0;
};

class KESTRAV_API PolicyRecipient : public Policy {
 public:
  // Values of direction().
  static constexpr int kIncoming = 1;
  static constexpr int kOutgoing = 2;

  // The null policy.
  PolicyRecipient() = default;

  // The profiles and access settings of the connection's policy, for this recipient. Null when the
  // recipient or the policy is null.
  PolicyRecipient(const EmailAddress& sender, const EmailAddress& recipient,
                  const PolicyIPAddress& ipPolicy);

  // The first enabled recipient policy that matches: an incoming one when the recipient's domain is
  // protected, otherwise an outgoing one. Null when none matches or the recipient is null. With
  // `noPolicy` nothing is matched, and the result has only a direction: outgoing, or with
  // `lookupDirection` that of the recipient.
  PolicyRecipient(const EmailAddress& sender, const EmailAddress& recipient, bool noPolicy,
                  bool lookupDirection);

  // The policy of another recipient of the same message, for a further recipient. Null when either
  // argument is.
  PolicyRecipient(const EmailAddress& recipient, const PolicyRecipient& other);

  // On a null policy these throw Exception "PolicyRecipient", code 1.

  // May be the null address.
  const EmailAddress& sender() const;
  const EmailAddress& recipient() const;
  int direction() const;

  // The recipient's domain when an incoming policy was chosen; otherwise empty.
  const std::string& policyDomain() const;

  // Both null, or both with the same implementation.
  bool operator==(const PolicyRecipient& other) const;
};

}  // namespace Kestrav
