// Antispam profiles of hand-made records, and what their accessors return, in a form that compares
// and prints.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>

#include "ProfileAntiSpam.h"
#include "tests/support/AntispamRecords.h"

namespace Kestrav::Testing {

// The profile of the record, as if the record was found in `domain`.
inline ProfileAntiSpam profileOf(const AntispamRecord& record, int domain = 0) {
  return ProfileAntiSpam(domain, static_cast<int>(record->id), record.data());
}

struct Switch {
  const char* name;
  bool (ProfileAntiSpam::*get)() const;
};

inline constexpr Switch kSwitches[] = {
    {"bayesian", &ProfileAntiSpam::bayesian},
    {"norbexAntiSpam", &ProfileAntiSpam::norbexAntiSpam},
    {"heuristic", &ProfileAntiSpam::heuristic},
    {"rbl", &ProfileAntiSpam::rbl},
    {"surbl", &ProfileAntiSpam::surbl},
    {"systemList", &ProfileAntiSpam::systemList},
    {"userList", &ProfileAntiSpam::userList},
    {"deepHeader", &ProfileAntiSpam::deepHeader},
    {"bannedWord", &ProfileAntiSpam::bannedWord},
    {"dictionary", &ProfileAntiSpam::dictionary},
    {"greyList", &ProfileAntiSpam::greyList},
    {"bypassScanOnAuth", &ProfileAntiSpam::bypassScanOnAuth},
    {"quarantineReport", &ProfileAntiSpam::quarantineReport},
    {"quarantineEmailRelease", &ProfileAntiSpam::quarantineEmailRelease},
    {"quarantineWebRelease", &ProfileAntiSpam::quarantineWebRelease},
    {"quarantineWhitelistSender", &ProfileAntiSpam::quarantineWhitelistSender},
    {"imageSpam", &ProfileAntiSpam::imageSpam},
    {"whitelistWord", &ProfileAntiSpam::whitelistWord},
    {"spfFailureSpam", &ProfileAntiSpam::spfFailureSpam},
    {"newsLetterSuspicious", &ProfileAntiSpam::newsLetterSuspicious},
    {"behavior", &ProfileAntiSpam::behavior},
    {"spamOutBreak", &ProfileAntiSpam::spamOutBreak},
    {"newsLetter", &ProfileAntiSpam::newsLetter},
    {"dmarc", &ProfileAntiSpam::dmarc},
};

inline std::set<std::string> switchedOn(const ProfileAntiSpam& profile) {
  std::set<std::string> on;
  for (const Switch& accessor : kSwitches) {
    if ((profile.*accessor.get)()) on.insert(accessor.name);
  }
  return on;
}

// The offset of the record's id of the action for a classifier's verdict.
struct ActionField {
  ClassifierType classifier;
  std::size_t offset;
};

inline constexpr ActionField kActionFields[] = {
    {CLASSIFIER_RBL, 628},
    {CLASSIFIER_SURBL, 632},
    {CLASSIFIER_NORBEX_ANTISPAM, 636},
    {CLASSIFIER_BAYESIAN, 640},
    {CLASSIFIER_HEURISTIC, 644},
    {CLASSIFIER_DICTIONARY, 648},
    {CLASSIFIER_BANNED_WORD, 652},
    {CLASSIFIER_DEEP_HEADER, 656},
    {CLASSIFIER_BEHAVIOR, 660},
    {CLASSIFIER_IMAGE_SPAM, 668},
    {CLASSIFIER_NORBEX_OPTION, 680},
    {CLASSIFIER_SPF_FAILURE, 684},
    {CLASSIFIER_NORBEX_URI_CATEGORY, 688},
    {CLASSIFIER_NEWSLETTER_SUSPICIOUS, 692},
    {CLASSIFIER_NEWSLETTER, 696},
    {CLASSIFIER_DMARC, 700},
};
inline constexpr std::size_t kDefaultActionField = 676;

// The archive account of the container's first action, 0 for none. Tests mark their actions with
// it.
inline std::uint32_t label(const ActionContainer& actions) {
  return actions.empty() ? 0 : actions.actions().front().archiveRecipientId();
}

// The labels of the classifiers whose actions are not the default ones.
inline std::map<int, std::uint32_t> ownActions(const ProfileAntiSpam& profile) {
  std::map<int, std::uint32_t> own;
  for (const ActionField& field : kActionFields) {
    const ActionContainer& actions = profile.individualAction(field.classifier);
    if (!(actions == profile.actions())) own[field.classifier] = label(actions);
  }
  return own;
}

}  // namespace Kestrav::Testing
