#include "Policy.h"

#include <string>

#include "profile/NullHandle.h"
#include "profile/policy/PolicyImpl.h"

namespace Kestrav {

template class RefCounted<PolicyImpl>;
template class Ref<PolicyImpl>;

PolicyImpl::~PolicyImpl() = default;

void Policy::adopt(PolicyImpl* impl) {
  static_cast<Ref&>(*this) = impl == nullptr ? Ref() : Ref(impl);
}

namespace {

// The message is the accessor's signature, such as "int Kestrav::Policy::id() const".
const PolicyImpl& implOf(const Policy& policy, const char* result, const char* accessor, int line) {
  if (policy.isNull()) {
    const std::string message = std::string(result) + " Kestrav::Policy::" + accessor + "() const";
    throwNullHandle(message.c_str(), "Policy", line);
  }
  return *policy.operator->();
}

}  // namespace

int Policy::id() const { return implOf(*this, "int", "id", 32).id; }
ngid_t Policy::ngid() const { return implOf(*this, "ngid_t", "ngid", 40).ngid; }
const ProfileAntiSpam& Policy::antispamProfile() const {
  return implOf(*this, "const Kestrav::ProfileAntiSpam&", "antispamProfile", 48).antispam;
}
const ProfileAntiVirus& Policy::antivirusProfile() const {
  return implOf(*this, "const Kestrav::ProfileAntiVirus&", "antivirusProfile", 56).antivirus;
}
const ProfileContent& Policy::contentProfile() const {
  return implOf(*this, "const Kestrav::ProfileContent&", "contentProfile", 64).content;
}
const ProfSessionReceive& Policy::receiveProfile() const {
  return implOf(*this, "const Kestrav::ProfSessionReceive&", "receiveProfile", 72).receive;
}
const ProfSessionDelivery& Policy::deliveryProfile() const {
  return implOf(*this, "const Kestrav::ProfSessionDelivery&", "deliveryProfile", 80).delivery;
}
const ProfileDLP& Policy::dlpProfile() const {
  return implOf(*this, "const Kestrav::ProfileDLP&", "dlpProfile", 88).dlp;
}
const AuthenticationAndAccess& Policy::authenticationAndAccess() const {
  return implOf(*this, "const Kestrav::AuthenticationAndAccess&", "authenticationAndAccess", 96)
      .access;
}
const std::string& Policy::name() const {
  return implOf(*this, "const std::string&", "name", 112).name;
}

bool Policy::messageParsingRequired() const {
  const PolicyImpl& policy = implOf(*this, "bool", "messageParsingRequired", 104);
  const std::int32_t known = policy.parsingState.load(std::memory_order_relaxed);
  if (known != PolicyImpl::kUnknown) return known == PolicyImpl::kRequired;

  const bool required = (!policy.antispam.isNull() && policy.antispam.messageParseType() != 0) ||
                        (!policy.content.isNull() && policy.content.messageParseType() != 0);
  // Only a positive answer is stored here. A policy for a further recipient starts with either.
  if (required) policy.parsingState.store(PolicyImpl::kRequired, std::memory_order_relaxed);
  return required;
}

}  // namespace Kestrav
