// What every accessor of a null handle throws: the texts and lines are read by people in old logs.
#include <gtest/gtest.h>

#include <concepts>
#include <functional>
#include <ostream>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

#include "Action.h"
#include "EmailAddressRewriter.h"
#include "Policy.h"
#include "PolicyIPAddress.h"
#include "PolicyRecipient.h"
#include "Profile.h"
#include "ProfileAntiSpam.h"
#include "ProfileQuarantineFolder.h"
#include "ProfileWebFilter.h"
#include "platform/common/Exception.h"
#include "profile/ProfileImpl.h"
#include "profile/action/ActionImpl.h"

using namespace Kestrav;

namespace {

// An implementation is shared through handles only, and its count is a virtual base: no cast leads
// back from there.
template <class Impl>
concept Shared = std::derived_from<Impl, RefImpl> && std::derived_from<Impl, NonCopyable> &&
                 std::has_virtual_destructor_v<Impl> && !std::is_copy_constructible_v<Impl> &&
                 !std::is_copy_assignable_v<Impl> && !requires(RefImpl * base) {
  static_cast<Impl*>(base);
};
static_assert(Shared<ProfileImpl>);
static_assert(Shared<ActionImpl>);
static_assert(Shared<ActionContainerImpl>);
static_assert(Shared<ProfileQuarantineFolder>);

// Handles add no data to what they derive from.
static_assert(sizeof(Profile) == sizeof(Ref<ProfileImpl>));
static_assert(sizeof(ProfileAntiSpam) == sizeof(Profile));
static_assert(sizeof(ProfileWebFilter) == sizeof(Profile));
static_assert(sizeof(Action) == sizeof(Ref<ActionImpl>));
static_assert(sizeof(ActionContainer) == sizeof(Ref<ActionContainerImpl>));
static_assert(sizeof(PolicyIPAddress) == sizeof(Policy) &&
              sizeof(PolicyRecipient) == sizeof(Policy));

struct NullUse {
  const char* what;
  std::function<void()> use;
  const char* message;
  const char* file;  // null: whatever the accessor gives
  int line;
};

void PrintTo(const NullUse& use, std::ostream* out) {
  *out << use.what;
}

class NullHandle : public testing::TestWithParam<NullUse> {};

TEST_P(NullHandle, Throws) {
  const NullUse& use = GetParam();
  try {
    use.use();
    FAIL() << "nothing was thrown";
  } catch (const Exception& thrown) {
    EXPECT_EQ(thrown.message(), use.message);
    EXPECT_EQ(thrown.code(), 1);
    if (use.file != nullptr) {
      EXPECT_EQ(thrown.file(), use.file);
      EXPECT_EQ(thrown.line(), use.line);
    }
  }
}

const Profile kProfile;
const ProfileAntiSpam kAntispam;
const ProfileWebFilter kWebFilter;
const Policy kPolicy;
const PolicyIPAddress kIpPolicy;
const PolicyRecipient kRecipientPolicy;
Action gAction;
const Action kAction;

INSTANTIATE_TEST_SUITE_P(
    Profile, NullHandle,
    testing::Values(
        NullUse{"type", [] { kProfile.type(); }, "Profile", "Profile", 31},
        NullUse{"id", [] { kProfile.id(); }, "Profile", "Profile", 39},
        NullUse{"name", [] { kProfile.name(); }, "Profile", "Profile", 47},
        NullUse{"actions", [] { kProfile.actions(); }, "Profile", "Profile", 55},
        NullUse{"messageParseType", [] { kProfile.messageParseType(); }, "Profile", "Profile", 73},
        NullUse{"idOfAntispam", [] { kAntispam.id(); }, "Profile", "Profile", 39},
        NullUse{"nameOfWebFilter", [] { kWebFilter.name(); }, "Profile", "Profile", 47}));

constexpr const char* kNoFile = "";

INSTANTIATE_TEST_SUITE_P(
    ActionGetters, NullHandle,
    testing::Values(NullUse{"type", [] { kAction.type(); }, "type", kNoFile, 0},
                    NullUse{"headerTag", [] { kAction.headerTag(); }, "headerTag", kNoFile, 0},
                    NullUse{"subjectTag", [] { kAction.subjectTag(); }, "subjectTag", kNoFile, 0},
                    NullUse{"alternateHost", [] { kAction.alternateHost(); }, "alternateHost",
                            kNoFile, 0},
                    NullUse{"bcc", [] { kAction.bcc(); }, "bcc", kNoFile, 0},
                    NullUse{"addressRewriter", [] { kAction.addressRewriter(); }, "addressRewriter",
                            kNoFile, 0},
                    NullUse{"systemquarantineFolderId", [] { kAction.systemquarantineFolderId(); },
                            "systemquarantineFolderId", kNoFile, 0},
                    NullUse{"archiveRecipientId", [] { kAction.archiveRecipientId(); },
                            "archiveRecipientId", kNoFile, 0},
                    NullUse{"notificationProfileId", [] { kAction.notificationProfileId(); },
                            "notificationProfileId", kNoFile, 0},
                    NullUse{"encryptionProfileId", [] { kAction.encryptionProfileId(); },
                            "encryptionProfileId", kNoFile, 0}));

INSTANTIATE_TEST_SUITE_P(
    ActionSetters, NullHandle,
    testing::Values(
        NullUse{"headerTag", [] { gAction.headerTag(Header("X-Name", "value")); }, "headerTag",
                kNoFile, 0},
        NullUse{"subjectTag", [] { gAction.subjectTag("tag"); }, "subjectTag", kNoFile, 0},
        NullUse{"alternateHost", [] { gAction.alternateHost("host.example"); }, "alternateHost",
                kNoFile, 0},
        NullUse{"bcc", [] { kAction.bcc(std::set<EmailAddress>()); }, "bcc", kNoFile, 0},
        NullUse{"addressRewriter", [] { gAction.addressRewriter(EmailAddressRewriter()); },
                "addressRewriter", kNoFile, 0},
        NullUse{"systemquarantineFolderId", [] { gAction.systemquarantineFolderId(1); },
                "systemquarantineFolderId", kNoFile, 0},
        NullUse{"archiveRecipientId", [] { gAction.archiveRecipientId(1); }, "archiveRecipientId",
                kNoFile, 0},
        NullUse{"notificationProfileId", [] { gAction.notificationProfileId(1); },
                "notificationProfileId", kNoFile, 0},
        NullUse{"encryptionProfileId", [] { gAction.encryptionProfileId(1); },
                "encryptionProfileId", kNoFile, 0}));

std::vector<NullUse> policyUses(const Policy& policy) {
  return {
      {"id", [&] { policy.id(); }, "int Kestrav::Policy::id() const", "Policy", 32},
      {"ngid", [&] { policy.ngid(); }, "ngid_t Kestrav::Policy::ngid() const", "Policy", 40},
      {"antispamProfile", [&] { policy.antispamProfile(); },
       "const Kestrav::ProfileAntiSpam& Kestrav::Policy::antispamProfile() const", "Policy", 48},
      {"antivirusProfile", [&] { policy.antivirusProfile(); },
       "const Kestrav::ProfileAntiVirus& Kestrav::Policy::antivirusProfile() const", "Policy", 56},
      {"contentProfile", [&] { policy.contentProfile(); },
       "const Kestrav::ProfileContent& Kestrav::Policy::contentProfile() const", "Policy", 64},
      {"receiveProfile", [&] { policy.receiveProfile(); },
       "const Kestrav::ProfSessionReceive& Kestrav::Policy::receiveProfile() const", "Policy", 72},
      {"deliveryProfile", [&] { policy.deliveryProfile(); },
       "const Kestrav::ProfSessionDelivery& Kestrav::Policy::deliveryProfile() const", "Policy",
       80},
      {"dlpProfile", [&] { policy.dlpProfile(); },
       "const Kestrav::ProfileDLP& Kestrav::Policy::dlpProfile() const", "Policy", 88},
      {"authenticationAndAccess", [&] { policy.authenticationAndAccess(); },
       "const Kestrav::AuthenticationAndAccess& Kestrav::Policy::authenticationAndAccess() const",
       "Policy", 96},
      {"messageParsingRequired", [&] { policy.messageParsingRequired(); },
       "bool Kestrav::Policy::messageParsingRequired() const", "Policy", 104},
  };
}

INSTANTIATE_TEST_SUITE_P(Policy, NullHandle, testing::ValuesIn(policyUses(kPolicy)));
INSTANTIATE_TEST_SUITE_P(PolicyOfConnection, NullHandle, testing::ValuesIn(policyUses(kIpPolicy)));
INSTANTIATE_TEST_SUITE_P(PolicyOfRecipient, NullHandle,
                         testing::ValuesIn(policyUses(kRecipientPolicy)));

INSTANTIATE_TEST_SUITE_P(PolicyIPAddress, NullHandle,
                         testing::Values(NullUse{"ipClient", [] { kIpPolicy.ipClient(); },
                                                 "PolicyIPAddress", "PolicyIPAddress", 40},
                                         NullUse{"ipServer", [] { kIpPolicy.ipServer(); },
                                                 "PolicyIPAddress", "PolicyIPAddress", 50},
                                         NullUse{"exclusive", [] { kIpPolicy.exclusive(); },
                                                 "PolicyIPAddress", "PolicyIPAddress", 60}));

INSTANTIATE_TEST_SUITE_P(PolicyRecipient, NullHandle,
                         testing::Values(NullUse{"sender", [] { kRecipientPolicy.sender(); },
                                                 "PolicyRecipient", "PolicyRecipient", 80},
                                         NullUse{"recipient", [] { kRecipientPolicy.recipient(); },
                                                 "PolicyRecipient", "PolicyRecipient", 90},
                                         NullUse{"direction", [] { kRecipientPolicy.direction(); },
                                                 "PolicyRecipient", "PolicyRecipient", 100},
                                         NullUse{"policyDomain",
                                                 [] { kRecipientPolicy.policyDomain(); },
                                                 "PolicyRecipient", "PolicyRecipient", 110}));

// The lines are spaced evenly in the order of the declarations.
std::vector<NullUse> antispamUses() {
  std::vector<NullUse> uses;
  const auto add = [&uses](const char* what, std::function<void()> use) {
    const int line = 40 + 8 * static_cast<int>(uses.size());
    uses.push_back({what, std::move(use), "ProfileAntiSpam", "ProfileAntiSpam", line});
  };
  add("bayesian", [] { kAntispam.bayesian(); });
  add("norbexAntiSpam", [] { kAntispam.norbexAntiSpam(); });
  add("heuristic", [] { kAntispam.heuristic(); });
  add("rbl", [] { kAntispam.rbl(); });
  add("surbl", [] { kAntispam.surbl(); });
  add("systemList", [] { kAntispam.systemList(); });
  add("userList", [] { kAntispam.userList(); });
  add("deepHeader", [] { kAntispam.deepHeader(); });
  add("bannedWord", [] { kAntispam.bannedWord(); });
  add("dictionary", [] { kAntispam.dictionary(); });
  add("greyList", [] { kAntispam.greyList(); });
  add("bypassScanOnAuth", [] { kAntispam.bypassScanOnAuth(); });
  add("quarantineReport", [] { kAntispam.quarantineReport(); });
  add("quarantineEmailRelease", [] { kAntispam.quarantineEmailRelease(); });
  add("quarantineWebRelease", [] { kAntispam.quarantineWebRelease(); });
  add("quarantineWhitelistSender", [] { kAntispam.quarantineWhitelistSender(); });
  add("imageSpam", [] { kAntispam.imageSpam(); });
  add("whitelistWord", [] { kAntispam.whitelistWord(); });
  add("spfFailureSpam", [] { kAntispam.spfFailureSpam(); });
  add("newsLetterSuspicious", [] { kAntispam.newsLetterSuspicious(); });
  add("behavior", [] { kAntispam.behavior(); });
  add("spamOutBreak", [] { kAntispam.spamOutBreak(); });
  add("newsLetter", [] { kAntispam.newsLetter(); });
  add("dmarc", [] { kAntispam.dmarc(); });
  add("norbexAntiSpamSettings", [] { kAntispam.norbexAntiSpamSettings(); });
  add("heuristicSettings", [] { kAntispam.heuristicSettings(); });
  add("bayesianSettings", [] { kAntispam.bayesianSettings(); });
  add("deepHeaderSettings", [] { kAntispam.deepHeaderSettings(); });
  add("rblServers", [] { kAntispam.rblServers(); });
  add("surblServers", [] { kAntispam.surblServers(); });
  add("bannedWordDictionaryScanner", [] { kAntispam.bannedWordDictionaryScanner(); });
  add("whiteWordDictionaryScanner", [] { kAntispam.whiteWordDictionaryScanner(); });
  add("dictionaryScanner", [] { kAntispam.dictionaryScanner(); });
  add("minScore", [] { kAntispam.minScore(); });
  add("maxScanSize", [] { kAntispam.maxScanSize(); });
  add("imageScanLevel", [] { kAntispam.imageScanLevel(); });
  add("isOutgoing", [] { kAntispam.isOutgoing(); });
  add("quarantineAutoDeleteDays", [] { kAntispam.quarantineAutoDeleteDays(); });
  add("profileWebFilter", [] { kAntispam.profileWebFilter(); });
  add("applyDefaultActionToAllMessages", [] { kAntispam.applyDefaultActionToAllMessages(); });
  add("individualAction", [] { kAntispam.individualAction(CLASSIFIER_RBL); });
  return uses;
}

INSTANTIATE_TEST_SUITE_P(ProfileAntiSpam, NullHandle, testing::ValuesIn(antispamUses()));

INSTANTIATE_TEST_SUITE_P(ProfileWebFilter, NullHandle,
                         testing::Values(NullUse{"isSpam", [] { kWebFilter.isSpam(1); },
                                                 "ProfileWebFilter", nullptr, 0}));

// A folder is handed out as the handle itself, whose dereference is the guard.
INSTANTIATE_TEST_SUITE_P(QuarantineFolder, NullHandle,
                         testing::Values(NullUse{"name",
                                                 [] {
                                                   const Ref<ProfileQuarantineFolder> folder;
                                                   folder->name();
                                                 },
                                                 "operator->", "VexaRefcounted", 368}));

TEST(NullHandles, AreNullAndStayNullWhenCopied) {
  EXPECT_TRUE(kProfile.isNull());
  EXPECT_TRUE(kAntispam.isNull());
  EXPECT_TRUE(kWebFilter.isNull());
  EXPECT_TRUE(kPolicy.isNull());
  EXPECT_TRUE(kAction.isNull());
  EXPECT_TRUE(Policy(kIpPolicy).isNull());
  EXPECT_TRUE(PolicyRecipient(kRecipientPolicy).isNull());
  EXPECT_TRUE(ProfileAntiSpam(kAntispam).isNull());
  EXPECT_TRUE(Action(kAction).isNull());
}

}  // namespace
