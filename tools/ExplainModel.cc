#include "tools/ExplainModel.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>
#include <utility>

#include "PolicyIPAddress.h"
#include "PolicyRecipient.h"
#include "ProfileFactory.h"
#include "config/ServerCache.h"
#include "platform/common/IPAddress.h"
#include "platform/config/match/PolicySelection.h"
#include "platform/config/records/FieldAccess.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/PolicyRecords.h"
#include "platform/config/records/Tables.h"
#include "platform/config/store/StatusArea.h"
#include "platform/parser/EmailAddress.h"
#include "tools/ExplainProfile.h"

namespace Kestrav::Tool {
namespace {

using Json = nlohmann::ordered_json;
using Config::Considered;
using Config::Outcome;

// The code is for programs; it stays when the sentence changes.
constexpr struct {
  Outcome outcome;
  const char* code;
  const char* sentence;
} kOutcomes[] = {
    {Outcome::kWon, "chosen", "chosen"},
    {Outcome::kDisabled, "disabled", "disabled"},
    {Outcome::kInvalid, "invalid", "its rules do not compile"},
    {Outcome::kClient, "client-mismatch", "the client's address does not match"},
    {Outcome::kServer, "server-mismatch", "the server's address does not match"},
    {Outcome::kSender, "sender-mismatch", "the sender does not match"},
    {Outcome::kRecipient, "recipient-mismatch", "the recipient does not match"},
    {Outcome::kNotReached, "not-reached", "not reached because an earlier policy was chosen"},
};

Json consideredDocument(const std::vector<Considered>& considered, const Names& names) {
  Json list = Json::array();
  for (const Considered& policy : considered) {
    const auto words =
        std::find_if(std::begin(kOutcomes), std::end(kOutcomes),
                     [&](const auto& entry) { return entry.outcome == policy.outcome; });
    list.push_back({{"name", policy.name},
                    {"id", policy.id},
                    {"domain", policy.domain},
                    {"domainName", names.domainName(policy.domain)},
                    {"outcome", words->code},
                    {"outcomeText", words->sentence}});
  }
  return list;
}

// The profiles that a policy's record names; a policy need not carry them.
Json namedProfiles(const Config::RecordType& type, const void* record, const Json& carried,
                   ngid_t domain, const Names& names) {
  Json list = Json::array();
  for (const Config::Field& field : type.fields) {
    // References that belong to a criterion name groups.
    if (field.kind != Config::Kind::kReference || !field.part.empty()) continue;
    const auto id = static_cast<std::uint32_t>(Config::readNumber(field, record));
    if (id == 0) continue;
    const auto found = names.find(field.target, domain, id);
    const bool isCarried = std::any_of(carried.begin(), carried.end(), [&](const Json& profile) {
      return profile["record"]["gid"] == static_cast<unsigned>(field.target);
    });
    list.push_back({{"kind", std::string(field.name)},
                    {"id", id},
                    {"found", found.has_value()},
                    {"carried", isCarried}});
    if (found) list.back().update({{"name", found->name}, {"domain", found->domain}});
  }
  return list;
}

// `own`: what only this kind of policy has. `record` is of table `gid`; null for a policy that was
// derived from another one. `domain` is where profiles are looked for.
Json policyDocument(const Policy& policy, const Json& own, G_CLI_GID gid, const void* record,
                    ngid_t domain, const Names& names) {
  const auto id = static_cast<std::uint32_t>(policy.id());
  Json document = {{"id", policy.id()},
                   {"name", record == nullptr ? "" : names.nameOf(gid, policy.ngid(), id)},
                   {"ngid", policy.ngid()}};
  document.update(own);
  const AuthenticationAndAccess& access = policy.authenticationAndAccess();
  document["access"] = {{"authFlag1", access.authFlag1},
                        {"authFlag2", access.authFlag2},
                        {"authFlag3", access.authFlag3},
                        {"authValue", access.authValue}};
  document["messageParsingRequired"] = policy.messageParsingRequired();
  Json profiles = profilesDocument(policy, domain, names);
  document["named"] = record == nullptr ? Json::array()
                                        : namedProfiles(*Config::findTable(gid)->type, record,
                                                        profiles, domain, names);
  document["profiles"] = std::move(profiles);
  return document;
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
    document["policy"] = policyDocument(policy, {{"exclusive", policy.exclusive()}}, GID_IP_POLICY,
                                        &record, 0, names);
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

// Names the option in the message when its value cannot be parsed.
template <class Parse>
auto parsed(const char* option, const Parse& parse) {
  try {
    return parse();
  } catch (const Exception& error) {
    throw Exception(option, error.code()).cause(error);
  }
}

Json recipientDocument(const EmailAddress& sender, const std::string& text,
                       const PolicyIPAddress& connection, const Names& names) {
  const EmailAddress recipient =
      parsed("--rcpt", [&] { return EmailAddress::rfc5321Parse(text, false); });
  const Direction direction = directionOf(recipient, names);
  Json document = {{"recipient", recipient.address()},
                   {"direction", direction.incoming ? "incoming" : "outgoing"},
                   {"directionWhy", direction.why}};

  // As a daemon does: with an exclusive IP policy no recipient policy is chosen.
  if (!connection.isNull() && connection.exclusive()) {
    const PolicyRecipient policy(sender, recipient, connection);
    document["from"] = "ip-policy";
    document["policy"] = policyDocument(policy, Json::object(), GID_IP_POLICY, nullptr, 0, names);
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
    document["policy"] = policyDocument(
        policy,
        {{"domainName", names.domainName(policy.ngid())}, {"policyDomain", policy.policyDomain()}},
        table, &record, direction.domain, names);
  }
  document["considered"] = consideredDocument(considered, names);
  return document;
}

}  // namespace

nlohmann::ordered_json explainDocument(Config::ConfigStore& store, const ExplainOptions& options) {
  const Config::Snapshot snapshot = store.snapshot();  // pins the revision of all answers
  const Names names(snapshot);
  ProfileFactory::instance();

  const IPAddress client = parsed("--client", [&] { return IPAddress(options.client); });
  const IPAddress server = parsed("--server", [&] { return IPAddress(options.server); });
  const EmailAddress sender =
      parsed("--from", [&] { return EmailAddress::rfc5321Parse(options.sender, true); });
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
