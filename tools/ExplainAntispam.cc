#include <nlohmann/json.hpp>

#include "ProfileAntiSpam.h"
#include "tools/ExplainModel.h"

namespace Kestrav::Tool {
namespace {

using Json = nlohmann::ordered_json;

struct Switch {
  const char* name;
  bool (ProfileAntiSpam::*on)() const;
};

constexpr Switch kScanners[] = {
    {"heuristic", &ProfileAntiSpam::heuristic},
    {"bayesian", &ProfileAntiSpam::bayesian},
    {"cloud", &ProfileAntiSpam::norbexAntiSpam},
    {"rbl", &ProfileAntiSpam::rbl},
    {"surbl", &ProfileAntiSpam::surbl},
    {"deep-header", &ProfileAntiSpam::deepHeader},
    {"banned-words", &ProfileAntiSpam::bannedWord},
    {"white-words", &ProfileAntiSpam::whitelistWord},
    {"dictionary", &ProfileAntiSpam::dictionary},
    {"image-spam", &ProfileAntiSpam::imageSpam},
    {"behavior", &ProfileAntiSpam::behavior},
    {"spam-outbreak", &ProfileAntiSpam::spamOutBreak},
    {"grey-list", &ProfileAntiSpam::greyList},
    {"spf-failure", &ProfileAntiSpam::spfFailureSpam},
    {"newsletter", &ProfileAntiSpam::newsLetter},
    {"suspicious-newsletter", &ProfileAntiSpam::newsLetterSuspicious},
    {"dmarc", &ProfileAntiSpam::dmarc},
    {"system-list", &ProfileAntiSpam::systemList},
    {"user-list", &ProfileAntiSpam::userList},
};

constexpr Switch kOptions[] = {
    {"bypass-scan-on-auth", &ProfileAntiSpam::bypassScanOnAuth},
    {"outgoing", &ProfileAntiSpam::isOutgoing},
    {"default-action-for-all-messages", &ProfileAntiSpam::applyDefaultActionToAllMessages},
    {"quarantine-report", &ProfileAntiSpam::quarantineReport},
    {"quarantine-release-by-email", &ProfileAntiSpam::quarantineEmailRelease},
    {"quarantine-release-by-web", &ProfileAntiSpam::quarantineWebRelease},
    {"quarantine-release-whitelists-sender", &ProfileAntiSpam::quarantineWhitelistSender},
};

struct Classifier {
  const char* name;
  ClassifierType type;
  bool (ProfileAntiSpam::*on)() const;
  bool (*alsoOn)(const ProfileAntiSpam&);  // null: the scanner's switch is all
};

bool extendedCheck(const ProfileAntiSpam& profile) {
  return profile.norbexAntiSpamSettings().extendedCheck;
}
bool uriCheck(const ProfileAntiSpam& profile) {
  return profile.norbexAntiSpamSettings().uriCategoryCheck;
}

constexpr Classifier kClassifiers[] = {
    {"rbl", CLASSIFIER_RBL, &ProfileAntiSpam::rbl, nullptr},
    {"surbl", CLASSIFIER_SURBL, &ProfileAntiSpam::surbl, nullptr},
    {"cloud", CLASSIFIER_NORBEX_ANTISPAM, &ProfileAntiSpam::norbexAntiSpam, nullptr},
    {"bayesian", CLASSIFIER_BAYESIAN, &ProfileAntiSpam::bayesian, nullptr},
    {"heuristic", CLASSIFIER_HEURISTIC, &ProfileAntiSpam::heuristic, nullptr},
    {"dictionary", CLASSIFIER_DICTIONARY, &ProfileAntiSpam::dictionary, nullptr},
    {"banned-words", CLASSIFIER_BANNED_WORD, &ProfileAntiSpam::bannedWord, nullptr},
    {"deep-header", CLASSIFIER_DEEP_HEADER, &ProfileAntiSpam::deepHeader, nullptr},
    {"image-spam", CLASSIFIER_IMAGE_SPAM, &ProfileAntiSpam::imageSpam, nullptr},
    {"spf-failure", CLASSIFIER_SPF_FAILURE, &ProfileAntiSpam::spfFailureSpam, nullptr},
    {"cloud-extended", CLASSIFIER_NORBEX_OPTION, &ProfileAntiSpam::norbexAntiSpam, extendedCheck},
    {"cloud-uri-category", CLASSIFIER_NORBEX_URI_CATEGORY, &ProfileAntiSpam::norbexAntiSpam,
     uriCheck},
    {"suspicious-newsletter", CLASSIFIER_NEWSLETTER_SUSPICIOUS,
     &ProfileAntiSpam::newsLetterSuspicious, nullptr},
    {"behavior", CLASSIFIER_BEHAVIOR, &ProfileAntiSpam::behavior, nullptr},
    {"newsletter", CLASSIFIER_NEWSLETTER, &ProfileAntiSpam::newsLetter, nullptr},
    {"dmarc", CLASSIFIER_DMARC, &ProfileAntiSpam::dmarc, nullptr},
};

template <std::size_t N>
Json switchesOn(const ProfileAntiSpam& profile, const Switch (&switches)[N]) {
  Json list = Json::array();
  for (const Switch& entry : switches) {
    if ((profile.*entry.on)()) list.push_back(entry.name);
  }
  return list;
}

// The settings of what is on, and those that hold always.
Json settingsDocument(const ProfileAntiSpam& profile) {
  Json settings = {{"max-scan-size-bytes", profile.maxScanSize()}};
  if (profile.heuristic()) {
    const HeuristicSettings& values = profile.heuristicSettings();
    settings["heuristic"] = {values.first, values.second, values.third};
  }
  if (profile.bayesian()) {
    settings["bayesian"] = {{"option1", profile.bayesianSettings().option1},
                            {"option2", profile.bayesianSettings().option2}};
  }
  if (profile.norbexAntiSpam()) {
    const NorbexAntiSpamSettings& values = profile.norbexAntiSpamSettings();
    settings["cloud"] = {{"extended-check", values.extendedCheck},
                         {"secondary-check", values.secondaryCheck},
                         {"uri-category-check", values.uriCategoryCheck}};
  }
  if (!profile.profileWebFilter().isNull()) {
    const ProfileWebFilter& filter = profile.profileWebFilter();
    Json categories = Json::array();
    for (int category = 0; category < 256; ++category) {
      if (filter.isSpam(static_cast<unsigned char>(category))) categories.push_back(category);
    }
    settings["web-filter"] = {{"name", filter.name()}, {"spam-categories", categories}};
  }
  if (profile.rbl()) settings["rbl-servers"] = profile.rblServers();
  if (profile.surbl()) settings["surbl-servers"] = profile.surblServers();
  if (profile.deepHeader()) {
    const DeepHeaderSettings& values = profile.deepHeaderSettings();
    settings["deep-header"] = {
        {"level", values.level}, {"confidence", values.confidence}, {"ratio", values.ratio}};
  }
  const auto scanner = [&](const char* name, const Ref<DictionaryScannerImpl>& handle) {
    if (!handle.isNull()) settings[name] = {{"name", handle->name()}, {"items", handle->size()}};
  };
  scanner("banned-word-scanner", profile.bannedWordDictionaryScanner());
  scanner("white-word-scanner", profile.whiteWordDictionaryScanner());
  scanner("dictionary-scanner", profile.dictionaryScanner());
  if (profile.dictionary()) settings["dictionary-min-score"] = profile.minScore();
  if (profile.imageSpam()) settings["image-scan-level"] = profile.imageScanLevel();
  settings["quarantine-auto-delete-days"] = profile.quarantineAutoDeleteDays();
  return settings;
}

}  // namespace

nlohmann::ordered_json antispamDocument(const ProfileAntiSpam& profile, ngid_t domain,
                                        const Names& names) {
  const auto id = static_cast<std::uint32_t>(profile.id());
  const auto found = names.find(GID_ANTISPAM_PROFILE, domain, id);
  const ngid_t recordDomain = found ? found->domain : domain;
  Json document = {{"name", profile.name()},
                   {"record",
                    {{"table", "antispam-profiles"},
                     {"gid", static_cast<unsigned>(GID_ANTISPAM_PROFILE)},
                     {"domain", recordDomain},
                     {"domainName", names.domainName(recordDomain)},
                     {"id", id}}},
                   {"messageParseType", profile.messageParseType()},
                   {"scanners", switchesOn(profile, kScanners)},
                   {"options", switchesOn(profile, kOptions)},
                   {"settings", settingsDocument(profile)}};
  Json verdicts = Json::array();
  for (const Classifier& classifier : kClassifiers) {
    if (!(profile.*classifier.on)() || (classifier.alsoOn && !classifier.alsoOn(profile))) continue;
    const ActionContainer& actions = profile.individualAction(classifier.type);
    const bool isDefault = actions == profile.actions();
    verdicts.push_back({{"classifier", classifier.name},
                        {"number", static_cast<int>(classifier.type)},
                        {"default", isDefault},
                        {"actions", actionsDocument(actions, domain, names)}});
  }
  document["verdicts"] = std::move(verdicts);
  document["defaultActions"] = actionsDocument(profile.actions(), domain, names);
  return document;
}

}  // namespace Kestrav::Tool
