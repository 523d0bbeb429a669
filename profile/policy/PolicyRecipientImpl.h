// The implementation of PolicyRecipient.
#pragma once

#include <cstdint>
#include <string>

#include "platform/parser/EmailAddress.h"
#include "profile/policy/PolicyImpl.h"

namespace Kestrav {

class PolicyIPAddress;
class PolicyRecipient;

class PolicyRecipientImpl : public virtual PolicyImpl {
 public:
  PolicyRecipientImpl(const EmailAddress& envelopeSender, const EmailAddress& envelopeRecipient)
      : sender(envelopeSender), recipient(envelopeRecipient) {}
  ~PolicyRecipientImpl() override;

  // Each returns a new implementation, which the caller adopts, or null when there is no policy.
  // All except the last log an Exception and return null.
  static PolicyRecipientImpl* create(const EmailAddress& sender, const EmailAddress& recipient);
  static PolicyRecipientImpl* create(const EmailAddress& sender, const EmailAddress& recipient,
                                     const PolicyIPAddress& ipPolicy);
  static PolicyRecipientImpl* createNoPolicy(const EmailAddress& sender,
                                             const EmailAddress& recipient, bool lookupDirection);
  static PolicyRecipientImpl* create(const EmailAddress& recipient, const PolicyRecipient& other);

  EmailAddress sender;
  EmailAddress recipient;
  std::int32_t direction = 0;
  std::string policyDomain;
};

}  // namespace Kestrav
