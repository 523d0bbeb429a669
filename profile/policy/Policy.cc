#include "Policy.h"

#include "profile/NullHandle.h"
#include "profile/policy/PolicyImpl.h"

namespace Kestrav {

template class RefCounted<PolicyImpl>;
template class Ref<PolicyImpl>;

PolicyImpl::~PolicyImpl() = default;

void Policy::adopt(PolicyImpl* impl) {
  static_cast<Ref&>(*this) = impl == nullptr ? Ref() : Ref(impl);
}

int Policy::id() const {
  if (isNull()) throwNullHandle("int Kestrav::Policy::id() const", "Policy", 32);
  return holder_->impl()->id;
}

ngid_t Policy::ngid() const {
  if (isNull()) throwNullHandle("ngid_t Kestrav::Policy::ngid() const", "Policy", 40);
  return holder_->impl()->ngid;
}

const ProfileAntiSpam& Policy::antispamProfile() const {
  if (isNull()) {
    throwNullHandle("const Kestrav::ProfileAntiSpam& Kestrav::Policy::antispamProfile() const",
                    "Policy", 48);
  }
  return holder_->impl()->antispam;
}

const ProfileAntiVirus& Policy::antivirusProfile() const {
  if (isNull()) {
    throwNullHandle("const Kestrav::ProfileAntiVirus& Kestrav::Policy::antivirusProfile() const",
                    "Policy", 56);
  }
  return holder_->impl()->antivirus;
}

const ProfileContent& Policy::contentProfile() const {
  if (isNull()) {
    throwNullHandle("const Kestrav::ProfileContent& Kestrav::Policy::contentProfile() const",
                    "Policy", 64);
  }
  return holder_->impl()->content;
}

const ProfSessionReceive& Policy::receiveProfile() const {
  if (isNull()) {
    throwNullHandle("const Kestrav::ProfSessionReceive& Kestrav::Policy::receiveProfile() const",
                    "Policy", 72);
  }
  return holder_->impl()->receive;
}

const ProfSessionDelivery& Policy::deliveryProfile() const {
  if (isNull()) {
    throwNullHandle("const Kestrav::ProfSessionDelivery& Kestrav::Policy::deliveryProfile() const",
                    "Policy", 80);
  }
  return holder_->impl()->delivery;
}

const ProfileDLP& Policy::dlpProfile() const {
  if (isNull()) {
    throwNullHandle("const Kestrav::ProfileDLP& Kestrav::Policy::dlpProfile() const", "Policy", 88);
  }
  return holder_->impl()->dlp;
}

const AuthenticationAndAccess& Policy::authenticationAndAccess() const {
  if (isNull()) {
    throwNullHandle(
        "const Kestrav::AuthenticationAndAccess& Kestrav::Policy::authenticationAndAccess() const",
        "Policy", 96);
  }
  return holder_->impl()->access;
}

bool Policy::messageParsingRequired() const {
  if (isNull()) {
    throwNullHandle("bool Kestrav::Policy::messageParsingRequired() const", "Policy", 104);
  }
  const PolicyImpl& policy = *holder_->impl();
  const std::int32_t known = policy.parsingState.load(std::memory_order_relaxed);
  if (known != PolicyImpl::kUnknown) return known == PolicyImpl::kRequired;

  const bool required = (!policy.antispam.isNull() && policy.antispam.messageParseType() != 0) ||
                        (!policy.content.isNull() && policy.content.messageParseType() != 0);
  // A no is not remembered, on purpose: only a policy for a further recipient starts out with one.
  if (required) policy.parsingState.store(PolicyImpl::kRequired, std::memory_order_relaxed);
  return required;
}

}  // namespace Kestrav
