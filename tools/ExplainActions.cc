#include <cstdio>
#include <nlohmann/json.hpp>

#include "Action.h"
#include "platform/config/records/Gid.h"
#include "platform/parser/Rfc2047.h"
#include "tools/ExplainProfile.h"

namespace Kestrav::Tool {
namespace {

using Json = nlohmann::ordered_json;
namespace Types = ActionTypes;

std::string quoted(const std::string& text) {
  return "\"" + text + "\"";
}

// What the rewriter makes of an example address.
std::string rewritten(const EmailAddressRewriter& rewriter) {
  const EmailAddress example = EmailAddress::rfc5321Parse("local@domain.example", false);
  try {
    const EmailAddress result = rewriter(example);
    return result.isNull() ? "no address, because the text does not compile" : result.address();
  } catch (const Exception& error) {
    return error.message();
  }
}

// The name of a record, quoted.
std::string named(const Names& names, G_CLI_GID gid, ngid_t domain, std::uint32_t id) {
  const auto found = names.find(gid, domain, id);
  return found ? quoted(found->name) : "#" + std::to_string(id) + ", which does not exist";
}

// One action: its kind and parameters for programs, a sentence for people.
Json actionDocument(const Action& action, ngid_t domain, const Names& names) {
  Json document = {{"type", action.type()}};
  const auto entry = [&](const char* kind, const std::string& sentence,
                         const Json& parameters = Json::object()) {
    document["kind"] = kind;
    document.update(parameters);
    document["text"] = sentence;
    return document;
  };
  switch (action.type()) {
    case Types::kHeaderTag:
      return entry("header", "insert the header " + quoted(action.headerTag().asString()),
                   {{"name", action.headerTag().name()}, {"value", action.headerTag().value()}});
    case Types::kSubjectTag: {
      const std::string decoded = vexa_decode_rfc2047(action.subjectTag());
      return entry("subject",
                   "tag the subject with " + quoted(decoded) + ", sent as " + action.subjectTag(),
                   {{"tag", action.subjectTag()}, {"decoded", decoded}});
    }
    case Types::kRewriteAddress: {
      const std::string example = rewritten(action.addressRewriter());
      return entry("rewrite-recipient",
                   "rewrite the recipient: local@domain.example becomes " + example,
                   {{"example", example}});
    }
    case Types::kSystemQuarantine: {
      const std::uint32_t id = action.systemquarantineFolderId();
      return entry("system-quarantine",
                   "quarantine it in the folder " + named(names, GID_QUARANTINE_FOLDER, 0, id),
                   {{"folder", id}});
    }
    case Types::kEncrypt: {
      const std::uint32_t id = action.encryptionProfileId();
      return entry(
          "encrypt",
          "encrypt it with the profile " + named(names, GID_ENCRYPTION_PROFILE, domain, id),
          {{"profile", id}});
    }
    case Types::kAlternateHost:
      return entry("alternate-host", "deliver it to the host " + quoted(action.alternateHost()),
                   {{"host", action.alternateHost()}});
    case Types::kBlindCopy: {
      Json recipients = Json::array();
      std::string list;
      for (const EmailAddress& address : action.bcc()) {
        recipients.push_back(address.address());
        list += (list.empty() ? "" : ", ") + address.address();
      }
      return entry("blind-copy", "send a blind copy to " + list, {{"recipients", recipients}});
    }
    case Types::kArchive:
      return entry("archive",
                   "archive it for the account #" + std::to_string(action.archiveRecipientId()),
                   {{"recipient", action.archiveRecipientId()}});
    case Types::kNotify: {
      const std::uint32_t id = action.notificationProfileId();
      return entry("notify",
                   "send the notification " + named(names, GID_NOTIFICATION_PROFILE, domain, id),
                   {{"profile", id}});
    }
    case Types::kDiscard:
      return entry("discard", "discard it");
    case Types::kReject:
      return entry("reject", "reject it");
    case Types::kPersonalQuarantine:
      return entry("personal-quarantine", "quarantine it for the recipient");
    default: {
      char value[16];
      std::snprintf(value, sizeof value, "0x%x", action.type());
      return entry("other", std::string("do what the daemons do for action ") + value);
    }
  }
}

}  // namespace

nlohmann::ordered_json actionsDocument(const ActionContainer& actions, ngid_t domain,
                                       const Names& names) {
  Json list = Json::array();
  for (const Action& action : actions.actions()) {
    list.push_back(actionDocument(action, domain, names));
  }
  return list;
}

}  // namespace Kestrav::Tool
