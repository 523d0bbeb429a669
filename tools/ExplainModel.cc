#include "tools/ExplainModel.h"

#include <nlohmann/json.hpp>

#include "PolicyIPAddress.h"
#include "PolicyRecipient.h"
#include "ProfileFactory.h"
#include "config/ServerCache.h"
#include "platform/common/IPAddress.h"
#include "platform/config/match/PolicySelection.h"
#include "platform/config/records/PolicyRecords.h"
#include "platform/config/store/StatusArea.h"
#include "platform/parser/EmailAddress.h"

namespace Kestrav::Tool {
namespace {

using Json = nlohmann::ordered_json;
using Config::Considered;
using Config::Outcome;

const char* outcomeText(Outcome outcome) {
  switch (outcome) {
    case Outcome::kWon:
      return "chosen";
    case Outcome::kDisabled:
      return "disabled";
    case Outcome::kInvalid:
      return "its rules do not compile";
    case Outcome::kClient:
      return "the client's address does not match";
    case Outcome::kServer:
      return "the server's address does not match";
    case Outcome::kSender:
      return "the sender does not match";
    case Outcome::kRecipient:
      return "the recipient does not match";
    case Outcome::kNotReached:
      return "stands behind the chosen one";
  }
  return "";
}

Json consideredDocument(const std::vector<Considered>& considered, const Names& names) {
  Json list = Json::array();
  for (const Considered& policy : considered) {
    list.push_back({{"name", policy.name},
                    {"id", policy.id},
                    {"domain", policy.domain},
                    {"domainName", names.domainName(policy.domain)},
                    {"outcome", outcomeText(policy.outcome)}});
  }
  return list;
}

Json accessDocument(const AuthenticationAndAccess& access) {
  return {{"authFlag1", access.authFlag1},
          {"authFlag2", access.authFlag2},
          {"authFlag3", access.authFlag3},
          {"authValue", access.authValue}};
}

// A kind that a record names but a policy does not carry yet.
struct NamedProfile {
  const char* kind;
  G_CLI_GID gid;
  std::uint32_t id;
};

Json namedProfiles(std::initializer_list<NamedProfile> profiles, ngid_t domain,
                   const Names& names) {
  Json list = Json::array();
  for (const NamedProfile& profile : profiles) {
    if (profile.id == 0) continue;
    const auto found = names.find(profile.gid, domain, profile.id);
    Json entry = {{"kind", profile.kind}, {"id", profile.id}, {"found", found.has_value()}};
    if (found) entry.update({{"name", found->name}, {"domain", found->domain}});
    list.push_back(std::move(entry));
  }
  return list;
}

Json profilesDocument(const Policy& policy, ngid_t domain, const Names& names) {
  Json profiles = Json::object();
  if (!policy.antispamProfile().isNull()) {
    profiles["antispam"] = antispamDocument(policy.antispamProfile(), domain, names);
  }
  return profiles;
}

Json connectionDocument(const IPAddress& client, const IPAddress& server,
                        const PolicyIPAddress& policy, const Names& names) {
  Json document = {{"client", client.asString()}, {"server", server.asString()}};
  std::vector<Considered> considered;
  __qv_ip_policy record{};
  const bool matched = Config::selectIpPolicy(server, client, &record, &considered);
  if (policy.isNull() || !matched) {
    document["policy"] = nullptr;
  } else {
    document["policy"] = {
        {"id", policy.id()},
        {"name", names.nameOf(GID_IP_POLICY, 0, static_cast<std::uint32_t>(policy.id()))},
        {"ngid", policy.ngid()},
        {"exclusive", policy.exclusive()},
        {"access", accessDocument(policy.authenticationAndAccess())},
        {"messageParsingRequired", policy.messageParsingRequired()},
        {"named", namedProfiles({{"antispam", GID_ANTISPAM_PROFILE, record.antispam_profile},
                                 {"antivirus", GID_ANTIVIRUS_PROFILE, record.antivirus_profile},
                                 {"content", GID_CONTENT_PROFILE, record.content_profile},
                                 {"dlp", GID_DLP_PROFILE, record.dlp_profile},
                                 {"session", GID_SESSION_PROFILE,
                                  static_cast<std::uint32_t>(record.session_profile)}},
                                0, names)},
        {"profiles", profilesDocument(policy, 0, names)}};
  }
  document["considered"] = consideredDocument(considered, names);
  return document;
}

struct Direction {
  bool incoming;
  ngid_t domain;  // where profiles are looked for
  std::string why;
};

Direction directionOf(const EmailAddress& recipient, const Names& names) {
  const auto server = CMF::RefApsGwServerCache::instance(false)->find(recipient.domain());
  if (server.isNull())
    return {false, 0, "\"" + recipient.domain() + "\" is not a protected domain"};
  std::string why = "\"" + recipient.domain() + "\" is a protected domain";
  if (!server->aliasKey().empty()) why += ", an alias of \"" + server->aliasKey() + "\"";
  const ngid_t domain = server->configurationDomain();
  why += domain == 0 ? ", without a configuration of its own"
                     : "; its configuration is that of " + names.domainName(domain);
  return {true, domain, why};
}

Json recipientDocument(const EmailAddress& sender, const std::string& text,
                       const PolicyIPAddress& connection, const Names& names) {
  const EmailAddress recipient = EmailAddress::rfc5321Parse(text, false);
  const Direction direction = directionOf(recipient, names);
  Json document = {{"recipient", recipient.address()},
                   {"direction", direction.incoming ? "incoming" : "outgoing"},
                   {"directionWhy", direction.why}};

  // As a daemon does: an exclusive IP policy leaves no room for recipient policies.
  if (!connection.isNull() && connection.exclusive()) {
    const PolicyRecipient policy(sender, recipient, connection);
    document["from"] = "ip-policy";
    document["policy"] = {{"id", policy.id()},
                          {"name", ""},
                          {"ngid", policy.ngid()},
                          {"access", accessDocument(policy.authenticationAndAccess())},
                          {"messageParsingRequired", policy.messageParsingRequired()},
                          {"named", Json::array()},
                          {"profiles", profilesDocument(policy, 0, names)}};
    document["considered"] = Json::array();
    return document;
  }

  std::vector<Considered> considered;
  __vexa_recipient_policy record{};
  const char* senderText = sender.isNull() ? nullptr : sender.address().c_str();
  const auto select =
      direction.incoming ? Config::selectIncomingPolicy : Config::selectOutgoingPolicy;
  const bool matched = select(senderText, recipient.address().c_str(), &record, &considered);
  const PolicyRecipient policy(sender, recipient, false, false);
  document["from"] = "recipient-policy";
  if (policy.isNull() || !matched) {
    document["policy"] = nullptr;
  } else {
    const G_CLI_GID table = direction.incoming ? GID_INCOMING_POLICY : GID_OUTGOING_POLICY;
    document["policy"] = {
        {"id", policy.id()},
        {"name", names.nameOf(table, policy.ngid(), static_cast<std::uint32_t>(policy.id()))},
        {"ngid", policy.ngid()},
        {"domainName", names.domainName(policy.ngid())},
        {"policyDomain", policy.policyDomain()},
        {"access", accessDocument(policy.authenticationAndAccess())},
        {"messageParsingRequired", policy.messageParsingRequired()},
        {"named", namedProfiles({{"antispam", GID_ANTISPAM_PROFILE, record.antispam_profile},
                                 {"antivirus", GID_ANTIVIRUS_PROFILE, record.antivirus_profile},
                                 {"content", GID_CONTENT_PROFILE, record.content_profile},
                                 {"dlp", GID_DLP_PROFILE, record.dlp_profile}},
                                direction.domain, names)},
        {"profiles", profilesDocument(policy, direction.domain, names)}};
  }
  document["considered"] = consideredDocument(considered, names);
  return document;
}

}  // namespace

nlohmann::ordered_json explainDocument(Config::ConfigStore& store, const ExplainOptions& options) {
  const Config::Snapshot snapshot = store.snapshot();  // all that follows is of this revision
  const Names names(snapshot);
  ProfileFactory::instance();

  const IPAddress client(options.client);
  const IPAddress server(options.server);
  const EmailAddress sender = EmailAddress::rfc5321Parse(options.sender, true);
  const PolicyIPAddress connection(client, server);

  Json document = {{"revision", snapshot.revision()},
                   {"contentInspection", store.status().contentInspection()},
                   {"sender", sender.isNull() ? Json(nullptr) : Json(sender.address())},
                   {"connection", connectionDocument(client, server, connection, names)},
                   {"recipients", Json::array()}};
  for (const std::string& recipient : options.recipients) {
    document["recipients"].push_back(recipientDocument(sender, recipient, connection, names));
  }
  return document;
}

}  // namespace Kestrav::Tool
