#include "PolicyRecipient.h"

#include "profile/NullHandle.h"
#include "profile/policy/PolicyRecipientImpl.h"

namespace Kestrav {

PolicyRecipientMatch::~PolicyRecipientMatch() = default;

PolicyRecipient::PolicyRecipient(const EmailAddress& sender, const EmailAddress& recipient,
                                 const PolicyIPAddress& ipPolicy) {
  if (recipient.isNull() || ipPolicy.isNull()) return;
  adopt(PolicyRecipientImpl::create(sender, recipient, ipPolicy));
}

PolicyRecipient::PolicyRecipient(const EmailAddress& sender, const EmailAddress& recipient,
                                 bool noPolicy, bool lookupDirection) {
  if (recipient.isNull()) return;
  adopt(noPolicy ? PolicyRecipientImpl::createNoPolicy(sender, recipient, lookupDirection)
                 : PolicyRecipientImpl::create(sender, recipient));
}

PolicyRecipient::PolicyRecipient(const EmailAddress& recipient, const PolicyRecipient& other) {
  if (recipient.isNull() || other.isNull()) return;
  adopt(PolicyRecipientImpl::create(recipient, other));
}

const EmailAddress& PolicyRecipient::sender() const {
  if (isNull()) throwNullHandle("PolicyRecipient", "PolicyRecipient", 80);
  return dynamic_cast<const PolicyRecipientImpl&>(*holder_->impl()).sender;
}

const EmailAddress& PolicyRecipient::recipient() const {
  if (isNull()) throwNullHandle("PolicyRecipient", "PolicyRecipient", 90);
  return dynamic_cast<const PolicyRecipientImpl&>(*holder_->impl()).recipient;
}

int PolicyRecipient::direction() const {
  if (isNull()) throwNullHandle("PolicyRecipient", "PolicyRecipient", 100);
  return dynamic_cast<const PolicyRecipientImpl&>(*holder_->impl()).direction;
}

const std::string& PolicyRecipient::policyDomain() const {
  if (isNull()) throwNullHandle("PolicyRecipient", "PolicyRecipient", 110);
  return dynamic_cast<const PolicyRecipientImpl&>(*holder_->impl()).policyDomain;
}

bool PolicyRecipient::operator==(const PolicyRecipient& other) const {
  if (&other == this) return true;
  if (isNull() || other.isNull()) return isNull() && other.isNull();
  return *holder_ == *other.holder_;
}

}  // namespace Kestrav
