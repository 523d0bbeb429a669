#include "profile/policy/PolicyRecipientImpl.h"

#include <memory>

#include "PolicyIPAddress.h"
#include "PolicyRecipient.h"
#include "ProfileFactory.h"
#include "config/ServerCache.h"
#include "platform/common/Exception.h"
#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/common/Strings.h"
#include "platform/config/client/OneRevision.h"
#include "platform/config/client/cmf.h"
#include "platform/config/records/Bits.h"
#include "platform/config/records/DomainRecords.h"
#include "platform/config/records/PolicyRecords.h"
#include "profile/policy/InspectionSwitches.h"

namespace Kestrav {

namespace {

constexpr ngid_t kSystemDomain = 0;

CMF::RefApsGwServer protectedDomain(const EmailAddress& recipient) {
  return CMF::RefApsGwServerCache::instance(false).find(recipient.domain());
}

int directionTo(const EmailAddress& recipient) {
  bool incoming = false;
  Config::Client::atOneRevision([&] { incoming = !protectedDomain(recipient).isNull(); });
  return incoming ? PolicyRecipient::kIncoming : PolicyRecipient::kOutgoing;
}

void logFailure(const Exception& failure) {
  Logger::instance(false).log(LogCode::kRecipientPolicyFailed, "%s", failure.asString().c_str());
}

// Sets the profiles that `record` names; the others stay null.
void fillProfiles(PolicyRecipientImpl& policy, const __vexa_recipient_policy& record,
                  ngid_t domain) {
  const ProfileFactory* factory = ProfileFactory::instance();
  if (record.antispam_profile != 0) {
    policy.antispam =
        factory->createProfileAntiSpam(static_cast<int>(record.antispam_profile), domain);
  }
}

void fillAccess(AuthenticationAndAccess& access, const __vexa_recipient_policy& record) {
  access.authFlag1 = Config::isSet(record, __vexa_recipient_policy::kAuthFlag1);
  access.authFlag2 = record.auth_flag_2 != 0;
  access.authFlag3 = record.auth_flag_3 != 0;
  access.authValue = record.auth_value;
}

// Null when there is no policy.
std::unique_ptr<PolicyRecipientImpl> choose(const EmailAddress& sender,
                                            const EmailAddress& recipient) {
  const CMF::RefApsGwServer domain = protectedDomain(recipient);
  const bool incoming = !domain.isNull();

  const char* senderText = sender.isNull() ? nullptr : sender.address().c_str();
  const char* recipientText = recipient.address().c_str();
  __vexa_recipient_policy record{};
  const int result = incoming ? cfg_get_incoming_policy(senderText, recipientText, &record)
                              : cfg_get_outgoing_policy(senderText, recipientText, &record);
  if (result != 0) return nullptr;

  auto policy = std::make_unique<PolicyRecipientImpl>(sender, recipient);
  policy->id = record.id;
  policy->ngid = record.ngid;
  policy->name = boundedText(record.name);
  policy->direction = incoming ? PolicyRecipient::kIncoming : PolicyRecipient::kOutgoing;
  if (incoming) policy->policyDomain = recipient.domain();
  if (contentInspectionOn()) {
    fillProfiles(*policy, record, incoming ? domain->configurationDomain() : kSystemDomain);
  }
  fillAccess(policy->access, record);
  return policy;
}

}  // namespace

PolicyRecipientImpl::~PolicyRecipientImpl() = default;

PolicyRecipientImpl* PolicyRecipientImpl::create(const EmailAddress& sender,
                                                 const EmailAddress& recipient) try {
  ProfileFactory::instance();
  std::unique_ptr<PolicyRecipientImpl> policy;
  Config::Client::atOneRevision([&] { policy = choose(sender, recipient); });
  return policy.release();
} catch (const Exception& failure) {
  logFailure(failure);
  return nullptr;
}

PolicyRecipientImpl* PolicyRecipientImpl::create(const EmailAddress& sender,
                                                 const EmailAddress& recipient,
                                                 const PolicyIPAddress& ipPolicy) try {
  auto policy = std::make_unique<PolicyRecipientImpl>(sender, recipient);
  if (contentInspectionOn()) {
    policy->antispam = ipPolicy.antispamProfile();
    policy->antivirus = ipPolicy.antivirusProfile();
    policy->content = ipPolicy.contentProfile();
    policy->dlp = ipPolicy.dlpProfile();
  }
  policy->access = ipPolicy.authenticationAndAccess();
  // Ids, name, session profiles and the policy domain stay unset, on purpose, even for incoming
  // mail.
  policy->direction = directionTo(recipient);
  return policy.release();
} catch (const Exception& failure) {
  logFailure(failure);
  return nullptr;
}

PolicyRecipientImpl* PolicyRecipientImpl::createNoPolicy(const EmailAddress& sender,
                                                         const EmailAddress& recipient,
                                                         bool lookupDirection) try {
  auto policy = std::make_unique<PolicyRecipientImpl>(sender, recipient);
  policy->direction = lookupDirection ? directionTo(recipient) : PolicyRecipient::kOutgoing;
  return policy.release();
} catch (const Exception& failure) {
  logFailure(failure);
  return nullptr;
}

PolicyRecipientImpl* PolicyRecipientImpl::create(const EmailAddress& recipient,
                                                 const PolicyRecipient& other) {
  auto policy = std::make_unique<PolicyRecipientImpl>(other.sender(), recipient);
  policy->direction = other.direction();
  policy->antispam = other.antispamProfile();
  policy->antivirus = other.antivirusProfile();
  policy->content = other.contentProfile();
  policy->dlp = other.dlpProfile();
  policy->receive = other.receiveProfile();
  policy->delivery = other.deliveryProfile();
  policy->access = other.authenticationAndAccess();
  policy->parsingState = other.messageParsingRequired() ? kRequired : kNotRequired;
  return policy.release();
}

}  // namespace Kestrav
