#include "PolicyRecipient.h"

#include "platform/config/store/Fork.h"
#include "profile/NullHandle.h"
#include "profile/policy/PolicyRecipientImpl.h"

namespace Kestrav {

PolicyRecipientMatch::~PolicyRecipientMatch() = default;

PolicyRecipient::PolicyRecipient(const EmailAddress& sender, const EmailAddress& recipient,
                                 const PolicyIPAddress& ipPolicy) {
  if (recipient.isNull() || ipPolicy.isNull()) return;
  Config::refuseParentsStore();
  adopt(PolicyRecipientImpl::create(sender, recipient, ipPolicy));
}

PolicyRecipient::PolicyRecipient(const EmailAddress& sender, const EmailAddress& recipient,
                                 bool noPolicy, bool lookupDirection) {
  if (recipient.isNull()) return;
  Config::refuseParentsStore();
  adopt(noPolicy ? PolicyRecipientImpl::createNoPolicy(sender, recipient, lookupDirection)
                 : PolicyRecipientImpl::create(sender, recipient));
}

PolicyRecipient::PolicyRecipient(const EmailAddress& recipient, const PolicyRecipient& other) {
  if (recipient.isNull() || other.isNull()) return;
  Config::refuseParentsStore();
  adopt(PolicyRecipientImpl::create(recipient, other));
}

namespace {
using Impl = PolicyRecipientImpl;
constexpr const char* kSource = "PolicyRecipient";
}  // namespace

const EmailAddress& PolicyRecipient::sender() const { return of<Impl>(*this, kSource, 80).sender; }
const EmailAddress& PolicyRecipient::recipient() const {
  return of<Impl>(*this, kSource, 90).recipient;
}
int PolicyRecipient::direction() const { return of<Impl>(*this, kSource, 100).direction; }
const std::string& PolicyRecipient::policyDomain() const {
  return of<Impl>(*this, kSource, 110).policyDomain;
}

bool PolicyRecipient::operator==(const PolicyRecipient& other) const {
  if (&other == this) return true;
  if (isNull() || other.isNull()) return isNull() && other.isNull();
  return *holder_ == *other.holder_;
}

}  // namespace Kestrav
