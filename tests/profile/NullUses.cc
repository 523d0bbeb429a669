#include "NullUses.h"

#include <set>

#include "Action.h"
#include "EmailAddressRewriter.h"
#include "Policy.h"
#include "PolicyIPAddress.h"
#include "PolicyRecipient.h"
#include "Profile.h"
#include "ProfileAntiSpam.h"
#include "ProfileQuarantineFolder.h"
#include "ProfileWebFilter.h"
#include "profile/ProfileImpl.h"

namespace Kestrav::Testing {
namespace {

using Rows = std::vector<NullUse>;

// An accessor without arguments, on a null `Handle`.
template <class Handle, class Class, class Result>
NullUse row(const char* accessor, Result (Class::*get)() const, const char* message,
            const char* source, int line) {
  return {"", accessor, message, source, line, [get] { static_cast<void>((Handle().*get)()); }};
}

// One whose message is the name of the source.
template <class Handle, class Class, class Result>
NullUse row(const char* accessor, Result (Class::*get)() const, const char* source, int line) {
  return row<Handle>(accessor, get, source, source, line);
}

Rows of(const char* owner, Rows rows) {
  for (NullUse& row : rows) row.owner = owner;
  return rows;
}

Rows handleRows() {
  const char* const kFailed = "RefCounted constructor for RefImpl failed.";
  constexpr int kFailedConstruction = 4;
  using Folder = Ref<ProfileQuarantineFolder>;
  return {
      {"Ref<T>", "operator->", "operator->", "VexaRefcounted", 359, [] { Folder().operator->(); }},
      {"Ref<T>", "operator-> const", "operator->", "VexaRefcounted", 368,
       [] {
         const Folder none;
         none.operator->();
       }},
      {"Ref<T>", "constructor from a null implementation", kFailed, "", 0,
       [] { Folder handle(static_cast<ProfileQuarantineFolder*>(nullptr)); }, kFailedConstruction},
      {"RefCounted<T>", "constructor, a further reference to null", kFailed, "", 0,
       [] { RefCounted<ProfileQuarantineFolder> holder(nullptr, true); }, kFailedConstruction},
  };
}

template <class Handle>
Rows policyRows() {
  const char* const kSource = "Policy";
  return {
      row<Handle>("id", &Policy::id, "int Kestrav::Policy::id() const", kSource, 32),
      row<Handle>("ngid", &Policy::ngid, "ngid_t Kestrav::Policy::ngid() const", kSource, 40),
      row<Handle>("antispamProfile", &Policy::antispamProfile,
                  "const Kestrav::ProfileAntiSpam& Kestrav::Policy::antispamProfile() const",
                  kSource, 48),
      row<Handle>("antivirusProfile", &Policy::antivirusProfile,
                  "const Kestrav::ProfileAntiVirus& Kestrav::Policy::antivirusProfile() const",
                  kSource, 56),
      row<Handle>("contentProfile", &Policy::contentProfile,
                  "const Kestrav::ProfileContent& Kestrav::Policy::contentProfile() const", kSource,
                  64),
      row<Handle>("receiveProfile", &Policy::receiveProfile,
                  "const Kestrav::ProfSessionReceive& Kestrav::Policy::receiveProfile() const",
                  kSource, 72),
      row<Handle>("deliveryProfile", &Policy::deliveryProfile,
                  "const Kestrav::ProfSessionDelivery& Kestrav::Policy::deliveryProfile() const",
                  kSource, 80),
      row<Handle>("dlpProfile", &Policy::dlpProfile,
                  "const Kestrav::ProfileDLP& Kestrav::Policy::dlpProfile() const", kSource, 88),
      row<Handle>("authenticationAndAccess", &Policy::authenticationAndAccess,
                  "const Kestrav::AuthenticationAndAccess& "
                  "Kestrav::Policy::authenticationAndAccess() const",
                  kSource, 96),
      row<Handle>("messageParsingRequired", &Policy::messageParsingRequired,
                  "bool Kestrav::Policy::messageParsingRequired() const", kSource, 104),
      row<Handle>("name", &Policy::name, "const std::string& Kestrav::Policy::name() const",
                  kSource, 112),
  };
}

Rows ipPolicyRows() {
  const char* const kSource = "PolicyIPAddress";
  return {
      row<PolicyIPAddress>("ipClient", &PolicyIPAddress::ipClient, kSource, 40),
      row<PolicyIPAddress>("ipServer", &PolicyIPAddress::ipServer, kSource, 50),
      row<PolicyIPAddress>("exclusive", &PolicyIPAddress::exclusive, kSource, 60),
  };
}

Rows recipientPolicyRows() {
  const char* const kSource = "PolicyRecipient";
  return {
      row<PolicyRecipient>("sender", &PolicyRecipient::sender, kSource, 80),
      row<PolicyRecipient>("recipient", &PolicyRecipient::recipient, kSource, 90),
      row<PolicyRecipient>("direction", &PolicyRecipient::direction, kSource, 100),
      row<PolicyRecipient>("policyDomain", &PolicyRecipient::policyDomain, kSource, 110),
  };
}

template <class Handle>
Rows profileRows() {
  const char* const kSource = "Profile";
  return {
      row<Handle>("type", &Profile::type, kSource, 31),
      row<Handle>("id", &Profile::id, kSource, 39),
      row<Handle>("name", &Profile::name, kSource, 47),
      row<Handle>("actions", &Profile::actions, kSource, 55),
      row<Handle>("messageParseType", &Profile::messageParseType, kSource, 73),
  };
}

Rows antispamRows() {
  const char* const kSource = "ProfileAntiSpam";
  return {
      row<ProfileAntiSpam>("bayesian", &ProfileAntiSpam::bayesian, kSource, 40),
      row<ProfileAntiSpam>("norbexAntiSpam", &ProfileAntiSpam::norbexAntiSpam, kSource, 48),
      row<ProfileAntiSpam>("heuristic", &ProfileAntiSpam::heuristic, kSource, 56),
      row<ProfileAntiSpam>("rbl", &ProfileAntiSpam::rbl, kSource, 64),
      row<ProfileAntiSpam>("surbl", &ProfileAntiSpam::surbl, kSource, 72),
      row<ProfileAntiSpam>("systemList", &ProfileAntiSpam::systemList, kSource, 80),
      row<ProfileAntiSpam>("userList", &ProfileAntiSpam::userList, kSource, 88),
      row<ProfileAntiSpam>("deepHeader", &ProfileAntiSpam::deepHeader, kSource, 96),
      row<ProfileAntiSpam>("bannedWord", &ProfileAntiSpam::bannedWord, kSource, 104),
      row<ProfileAntiSpam>("dictionary", &ProfileAntiSpam::dictionary, kSource, 112),
      row<ProfileAntiSpam>("greyList", &ProfileAntiSpam::greyList, kSource, 120),
      row<ProfileAntiSpam>("bypassScanOnAuth", &ProfileAntiSpam::bypassScanOnAuth, kSource, 128),
      row<ProfileAntiSpam>("quarantineReport", &ProfileAntiSpam::quarantineReport, kSource, 136),
      row<ProfileAntiSpam>("quarantineEmailRelease", &ProfileAntiSpam::quarantineEmailRelease,
                           kSource, 144),
      row<ProfileAntiSpam>("quarantineWebRelease", &ProfileAntiSpam::quarantineWebRelease, kSource,
                           152),
      row<ProfileAntiSpam>("quarantineWhitelistSender", &ProfileAntiSpam::quarantineWhitelistSender,
                           kSource, 160),
      row<ProfileAntiSpam>("imageSpam", &ProfileAntiSpam::imageSpam, kSource, 168),
      row<ProfileAntiSpam>("whitelistWord", &ProfileAntiSpam::whitelistWord, kSource, 176),
      row<ProfileAntiSpam>("spfFailureSpam", &ProfileAntiSpam::spfFailureSpam, kSource, 184),
      row<ProfileAntiSpam>("newsLetterSuspicious", &ProfileAntiSpam::newsLetterSuspicious, kSource,
                           192),
      row<ProfileAntiSpam>("behavior", &ProfileAntiSpam::behavior, kSource, 200),
      row<ProfileAntiSpam>("spamOutBreak", &ProfileAntiSpam::spamOutBreak, kSource, 208),
      row<ProfileAntiSpam>("newsLetter", &ProfileAntiSpam::newsLetter, kSource, 216),
      row<ProfileAntiSpam>("dmarc", &ProfileAntiSpam::dmarc, kSource, 224),
      row<ProfileAntiSpam>("norbexAntiSpamSettings", &ProfileAntiSpam::norbexAntiSpamSettings,
                           kSource, 232),
      row<ProfileAntiSpam>("heuristicSettings", &ProfileAntiSpam::heuristicSettings, kSource, 240),
      row<ProfileAntiSpam>("bayesianSettings", &ProfileAntiSpam::bayesianSettings, kSource, 248),
      row<ProfileAntiSpam>("deepHeaderSettings", &ProfileAntiSpam::deepHeaderSettings, kSource,
                           256),
      row<ProfileAntiSpam>("rblServers", &ProfileAntiSpam::rblServers, kSource, 264),
      row<ProfileAntiSpam>("surblServers", &ProfileAntiSpam::surblServers, kSource, 272),
      row<ProfileAntiSpam>("bannedWordDictionaryScanner",
                           &ProfileAntiSpam::bannedWordDictionaryScanner, kSource, 280),
      row<ProfileAntiSpam>("whiteWordDictionaryScanner",
                           &ProfileAntiSpam::whiteWordDictionaryScanner, kSource, 288),
      row<ProfileAntiSpam>("dictionaryScanner", &ProfileAntiSpam::dictionaryScanner, kSource, 296),
      row<ProfileAntiSpam>("minScore", &ProfileAntiSpam::minScore, kSource, 304),
      row<ProfileAntiSpam>("maxScanSize", &ProfileAntiSpam::maxScanSize, kSource, 312),
      row<ProfileAntiSpam>("imageScanLevel", &ProfileAntiSpam::imageScanLevel, kSource, 320),
      row<ProfileAntiSpam>("isOutgoing", &ProfileAntiSpam::isOutgoing, kSource, 328),
      row<ProfileAntiSpam>("quarantineAutoDeleteDays", &ProfileAntiSpam::quarantineAutoDeleteDays,
                           kSource, 336),
      row<ProfileAntiSpam>("profileWebFilter", &ProfileAntiSpam::profileWebFilter, kSource, 344),
      row<ProfileAntiSpam>("applyDefaultActionToAllMessages",
                           &ProfileAntiSpam::applyDefaultActionToAllMessages, kSource, 352),
      {"", "individualAction", kSource, kSource, 360,
       [] { ProfileAntiSpam().individualAction(CLASSIFIER_RBL); }},
  };
}

// Getters and setters throw their name; they name no place.
NullUse action(const char* name, void (*use)(Action&), bool setter = false) {
  return {"Action", name + std::string(setter ? " (setter)" : ""), name, "", 0, [use] {
            Action none;
            use(none);
          }};
}

Rows actionRows() {
  return {
      action("type", [](Action& action) { action.type(); }),
      action("headerTag", [](Action& action) { action.headerTag(); }),
      action(
          "headerTag", [](Action& action) { action.headerTag(Header("X-Name", "value")); }, true),
      action("subjectTag", [](Action& action) { action.subjectTag(); }),
      action(
          "subjectTag", [](Action& action) { action.subjectTag("tag"); }, true),
      action("alternateHost", [](Action& action) { action.alternateHost(); }),
      action(
          "alternateHost", [](Action& action) { action.alternateHost("host.example"); }, true),
      action("bcc", [](Action& action) { action.bcc(); }),
      action(
          "bcc", [](Action& action) { action.bcc(std::set<EmailAddress>()); }, true),
      action("addressRewriter", [](Action& action) { action.addressRewriter(); }),
      action(
          "addressRewriter", [](Action& action) { action.addressRewriter(EmailAddressRewriter()); },
          true),
      action("systemquarantineFolderId", [](Action& action) { action.systemquarantineFolderId(); }),
      action(
          "systemquarantineFolderId", [](Action& action) { action.systemquarantineFolderId(1); },
          true),
      action("archiveRecipientId", [](Action& action) { action.archiveRecipientId(); }),
      action(
          "archiveRecipientId", [](Action& action) { action.archiveRecipientId(1); }, true),
      action("notificationProfileId", [](Action& action) { action.notificationProfileId(); }),
      action(
          "notificationProfileId", [](Action& action) { action.notificationProfileId(1); }, true),
      action("encryptionProfileId", [](Action& action) { action.encryptionProfileId(); }),
      action(
          "encryptionProfileId", [](Action& action) { action.encryptionProfileId(1); }, true),
  };
}

Rows otherRows() {
  return {
      {"ProfileWebFilter", "isSpam", "ProfileWebFilter", "", 0,
       [] { ProfileWebFilter().isSpam(1); }},
      {"EmailAddressRewriter", "call with an address that is not null", "EmailAddressRewriter", "",
       0, [] { EmailAddressRewriter()(EmailAddress::rfc5321Parse("a@example.com", false)); }},
  };
}

Rows joined(std::initializer_list<Rows> parts) {
  Rows all;
  for (const Rows& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

}  // namespace

Rows nullUses() {
  return joined(
      {handleRows(), of("Policy", policyRows<Policy>()), of("PolicyIPAddress", ipPolicyRows()),
       of("PolicyRecipient", recipientPolicyRows()), of("Profile", profileRows<Profile>()),
       of("ProfileAntiSpam", antispamRows()), actionRows(), otherRows()});
}

Rows inheritedNullUses() {
  return joined({of("PolicyIPAddress", policyRows<PolicyIPAddress>()),
                 of("PolicyRecipient", policyRows<PolicyRecipient>()),
                 of("ProfileAntiSpam", profileRows<ProfileAntiSpam>()),
                 of("ProfileWebFilter", profileRows<ProfileWebFilter>())});
}

}  // namespace Kestrav::Testing
