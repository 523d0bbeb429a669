#include "tests/processes/Answers.h"

#include <sstream>

#include "PolicyIPAddress.h"
#include "PolicyRecipient.h"
#include "ProfileFactory.h"
#include "TrustedMTASet.h"
#include "config/ServerCache.h"
#include "platform/common/Strings.h"
#include "platform/config/records/AntispamRecords.h"
#include "platform/config/records/DomainRecords.h"
#include "platform/config/records/SessionRecords.h"
#include "platform/config/records/SystemRecords.h"
#include "platform/config/records/WebFilterRecords.h"
#include "platform/dictionary/DictionaryFactory.h"
#include "tests/processes/Sets.h"
#include "tests/support/Addresses.h"

namespace Kestrav::Testing {
namespace {

const char* yes(bool value) {
  return value ? "yes" : "no";
}

void describe(std::ostream& out, const Ref<DictionaryScannerImpl>& scanner, int set) {
  if (scanner.isNull()) {
    out << " no scanner";
  } else {
    out << " items " << scanner->size() << " score "
        << scanner->scan(wordOf(set) + " is sometimes a word").score;
  }
}

void describe(std::ostream& out, const ProfileAntiSpam& profile, int set) {
  if (profile.isNull()) {
    out << " no antispam profile\n";
    return;
  }
  const HeuristicSettings& heuristic = profile.heuristicSettings();
  out << " antispam " << profile.id() << " '" << profile.name() << "' heuristic " << heuristic.first
      << ' ' << heuristic.second << ' ' << heuristic.third;
  const Action diversion =
      profile.individualAction(CLASSIFIER_RBL).find(ActionTypes::kAlternateHost);
  out << " host " << (diversion.isNull() ? "none" : diversion.alternateHost());
  describe(out, profile.dictionaryScanner(), set);
  out << '\n';
}

void describe(std::ostream& out, const PolicyRecipient& policy, int set) {
  if (policy.isNull()) {
    out << " no policy\n";
    return;
  }
  out << " policy " << policy.id() << " direction " << policy.direction() << " domain '"
      << policy.policyDomain() << "' value " << policy.authenticationAndAccess().authValue;
  describe(out, policy.antispamProfile(), set);
}

void describeRecipient(std::ostream& out, int set, const std::string& sender,
                       const std::string& recipient) {
  out << sender << " to " << recipient << ':';
  describe(out, PolicyRecipient(address(sender), address(recipient), false, false), set);
}

void describeServer(std::ostream& out, const std::string& domain) {
  const CMF::RefApsGwServer server = CMF::RefApsGwServerCache::instance(false).find(domain);
  out << "server " << domain << ':';
  if (server.isNull()) {
    out << " none\n";
    return;
  }
  const __aps_gw_server& record = server->record();
  out << " id " << record.id << " domain " << record.configuration_domain << ' '
      << boundedText(record.disclaimer.first_name) << '\n';
}

void describe(std::ostream& out, const char* name, const TrustedAddresses& addresses) {
  out << name << ':';
  for (const IPAddressMask& mask : addresses.list()) out << ' ' << mask.asString();
  out << '\n';
}

void describeSet(std::ostream& out, int set) {
  const ProfileFactory* factory = ProfileFactory::instance();
  out << "set " << set << '\n';
  describeServer(out, domainOf(set));
  describeServer(out, "extra." + domainOf(set));
  out << "system profile:";
  describe(out, factory->createProfileAntiSpam(static_cast<int>(firstId(set)), 0), set);
  out << "own profile:";
  describe(out, factory->createProfileAntiSpam(static_cast<int>(ownId(set)), kOwnDomain), set);
  describeRecipient(out, set, "someone@elsewhere.example", "user@" + domainOf(set));
  describeRecipient(out, set, "someone@elsewhere.example", "user@extra." + domainOf(set));
  describeRecipient(out, set, "user@" + domainOf(set), "someone@elsewhere.example");
  // Outgoing, to a member of the set's group: mail to protected domains is incoming.
  describeRecipient(out, set, "someone@elsewhere.example", "odd@group." + domainOf(set));
  describeRecipient(out, set, "someone@elsewhere.example", "even@group." + domainOf(set));

  const PolicyIPAddress connection(IPAddress("10." + std::to_string(set) + ".0.1"),
                                   IPAddress("192.0.2.1"));
  out << "connection:";
  if (connection.isNull()) {
    out << " no policy\n";
  } else {
    out << " policy " << connection.id() << " value "
        << connection.authenticationAndAccess().authValue;
    describe(out, connection.antispamProfile(), set);
  }

  const ProfileWebFilter filter = factory->createProfileWebFilter(static_cast<int>(firstId(set)));
  out << "web filter:" << (filter.isNull() ? " none" : "");
  for (unsigned char category = 11; category <= 12 && !filter.isNull(); ++category) {
    out << ' ' << yes(filter.isSpam(category));
  }
  const auto folder = factory->createProfileQuarantineFolder(static_cast<int>(firstId(set)), 0);
  out << "\nfolder: " << (folder.isNull() ? "none" : folder->name() + " " + folder->encodedName());
  out << "\ndictionary:";
  describe(out,
           DictionaryFactory::instance()->createProfileScanner("dictionary-" + std::to_string(set)),
           set);
  out << "\ndictionary group:";
  describe(out, DictionaryFactory::instance()->createGroupScanner("words-" + std::to_string(set)),
           set);
  out << '\n';
}

void describeSettings(std::ostream& out) {
  const auto name = [&out](const char* what, std::string_view text) {
    out << what << ": " << text << '\n';
  };
  name("mail server",
       boundedText(settings<__aps_mailserver, GID_MAIL_SERVER>()->record().host_name));
  name("system", boundedText(settings<__aps_sys_global, GID_SYSTEM_GLOBAL>()->record().host_name));
  name("antispam",
       boundedText(
           settings<__aps_sys_antispam, GID_SYSTEM_ANTISPAM>()->record().quarantine_control_1));
  name("address map", boundedText(settings<__aps_vip_map, GID_ADDRESS_MAP>()->record().name));
  name("rules", boundedText(settings<__aps_acl_ruleset, GID_ACL_RULESET>()->record().name));
  name("bounces",
       boundedText(settings<__vexa_bounce_profile, GID_BOUNCE_PROFILE>()->record().name));
  name("web filter",
       boundedText(settings<__aps_as_wf_profile, GID_WEB_FILTER_PROFILE>()->record().name));
  out << "deferred: " << yes(ProfileFactory::instance()->deferredPeriod() != 0) << '\n';
  out << "servers: " << CMF::RefApsGwServerCache::instance(false)->size() << '\n';
}

}  // namespace

std::string allAnswers() {
  std::ostringstream out;
  for (int set = 0; set < kSets; ++set) describeSet(out, set);
  describe(out, "trusted", TrustedMTASetRef::instance(false)->trustedMTAs());
  describe(out, "trusted for spam", TrustedMTASetRef::instance(false)->trustedAntispamMTAs());
  describeSettings(out);
  return out.str();
}

}  // namespace Kestrav::Testing
