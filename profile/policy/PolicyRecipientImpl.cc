#include "profile/policy/PolicyRecipientImpl.h"

#include <memory>

#include "PolicyIPAddress.h"
#include "PolicyRecipient.h"
#include "ProfileFactory.h"
#include "config/Event.h"
#include "config/ServerCache.h"
#include "platform/common/Exception.h"
#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/common/NoDestructor.h"
#include "platform/common/Strings.h"
#include "platform/config/client/cmf.h"
#include "platform/config/records/Bits.h"
#include "platform/config/records/DomainRecords.h"
#include "platform/config/records/PolicyRecords.h"
#include "platform/config/store/ConfigStore.h"
#include "profile/policy/InspectionSwitches.h"

namespace Kestrav {

namespace {

constexpr ngid_t kSystemDomain = 0;

CMF::RefApsGwServer protectedDomain(const EmailAddress& recipient) {
  return CMF::RefApsGwServerCache::instance(false).find(recipient.domain());
}

int directionTo(const EmailAddress& recipient) {
  return protectedDomain(recipient).isNull() ? PolicyRecipient::kOutgoing
                                             : PolicyRecipient::kIncoming;
}

void logFailure(const Exception& failure) {
  Logger::instance(false).log(LogCode::kRecipientPolicyFailed, "%s", failure.asString().c_str());
}

// Sets the profiles that `record` names; the others stay null. False when a profile that it names
// does not exist.
bool fillProfiles(PolicyRecipientImpl& policy, const __vexa_recipient_policy& record,
                  ngid_t domain) {
  const ProfileFactory* factory = ProfileFactory::instance();
  bool complete = true;
  if (record.antispam_profile != 0) {
    policy.antispam =
        factory->createProfileAntiSpam(static_cast<int>(record.antispam_profile), domain);
    complete = complete && !policy.antispam.isNull();
  }
  return complete;
}

void fillAccess(AuthenticationAndAccess& access, const __vexa_recipient_policy& record) {
  access.authFlag1 = Config::isSet(record, __vexa_recipient_policy::kAuthFlag1);
  access.authFlag2 = record.auth_flag_2 != 0;
  access.authFlag3 = record.auth_flag_3 != 0;
  access.authValue = record.auth_value;
}

// Sets `complete` when there is a policy and every profile that it names exists.
std::unique_ptr<PolicyRecipientImpl> choose(const EmailAddress& sender,
                                            const EmailAddress& recipient, bool& complete) {
  complete = false;
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
  complete = true;
  if (contentInspectionOn()) {
    complete =
        fillProfiles(*policy, record, incoming ? domain->configurationDomain() : kSystemDomain);
  }
  fillAccess(policy->access, record);
  return policy;
}

// The revision that was applied when a choice began. A choice asks several caches. While a change
// of several tables is being applied, they may answer from different revisions: the policy may name
// a profile that does not exist yet or no longer, although it does so at no revision.
class AppliedRevision {
 public:
  AppliedRevision() : applied_(dispatcher()->applied()) {}

  // Whether the store has a newer revision. Waits until it is applied, within a limit.
  bool isOutdated() const {
    constexpr int kTimeout = 200;  // ms; reached only when the event thread does not run
    const std::shared_ptr<Config::ConfigStore> store = Config::ConfigStore::attached();
    if (store == nullptr) return false;
    const Config::Revision newest = store->revision();
    if (newest <= applied_) return false;
    dispatcher()->waitApplied(newest, kTimeout);
    return true;
  }

 private:
  static CMF::Event::Dispatcher& dispatcher() {
    static NoDestructor<CMF::Event::Dispatcher> instance(
        CMF::Event::Dispatcher::instance("", false, false));
    return *instance;
  }

  const Config::Revision applied_;
};

}  // namespace

PolicyRecipientImpl::~PolicyRecipientImpl() = default;

PolicyRecipientImpl* PolicyRecipientImpl::create(const EmailAddress& sender,
                                                 const EmailAddress& recipient) try {
  constexpr int kMaxChoices = 4;
  ProfileFactory::instance();
  for (int choices = 1;; ++choices) {
    const AppliedRevision applied;
    bool complete = false;
    auto policy = choose(sender, recipient, complete);
    if (complete || choices == kMaxChoices || !applied.isOutdated()) return policy.release();
  }
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
