#include <utility>

#include "ProfileAntiSpam.h"
#include "tools/ExplainProfile.h"

namespace Kestrav::Tool {
namespace {

using Json = nlohmann::ordered_json;

template <bool (ProfileAntiSpam::*kAccessor)() const>
bool on(const ProfileAntiSpam& profile) {
  return (profile.*kAccessor)();
}

struct Classifier {
  const char* name;
  ClassifierType type;
  bool (*on)(const ProfileAntiSpam&);
};

constexpr Classifier kClassifiers[] = {
    {"rbl", CLASSIFIER_RBL, on<&ProfileAntiSpam::rbl>},
    {"surbl", CLASSIFIER_SURBL, on<&ProfileAntiSpam::surbl>},
    {"cloud", CLASSIFIER_NORBEX_ANTISPAM, on<&ProfileAntiSpam::norbexAntiSpam>},
    {"bayesian", CLASSIFIER_BAYESIAN, on<&ProfileAntiSpam::bayesian>},
    {"heuristic", CLASSIFIER_HEURISTIC, on<&ProfileAntiSpam::heuristic>},
    {"dictionary", CLASSIFIER_DICTIONARY, on<&ProfileAntiSpam::dictionary>},
    {"banned-words", CLASSIFIER_BANNED_WORD, on<&ProfileAntiSpam::bannedWord>},
    {"deep-header", CLASSIFIER_DEEP_HEADER, on<&ProfileAntiSpam::deepHeader>},
    {"image-spam", CLASSIFIER_IMAGE_SPAM, on<&ProfileAntiSpam::imageSpam>},
    {"spf-failure", CLASSIFIER_SPF_FAILURE, on<&ProfileAntiSpam::spfFailureSpam>},
    {"cloud-extended", CLASSIFIER_NORBEX_OPTION,
     [](const ProfileAntiSpam& profile) {
       return profile.norbexAntiSpam() && profile.norbexAntiSpamSettings().extendedCheck;
     }},
    {"cloud-uri-category", CLASSIFIER_NORBEX_URI_CATEGORY,
     [](const ProfileAntiSpam& profile) {
       return profile.norbexAntiSpam() && profile.norbexAntiSpamSettings().uriCategoryCheck;
     }},
    {"suspicious-newsletter", CLASSIFIER_NEWSLETTER_SUSPICIOUS,
     on<&ProfileAntiSpam::newsLetterSuspicious>},
    {"behavior", CLASSIFIER_BEHAVIOR, on<&ProfileAntiSpam::behavior>},
    {"newsletter", CLASSIFIER_NEWSLETTER, on<&ProfileAntiSpam::newsLetter>},
    {"dmarc", CLASSIFIER_DMARC, on<&ProfileAntiSpam::dmarc>},
};

// Scanners without a verdict of their own.
constexpr ProfileSwitch<ProfileAntiSpam> kOtherScanners[] = {
    {"white-words", &ProfileAntiSpam::whitelistWord},
    {"spam-outbreak", &ProfileAntiSpam::spamOutBreak},
    {"grey-list", &ProfileAntiSpam::greyList},
    {"system-list", &ProfileAntiSpam::systemList},
    {"user-list", &ProfileAntiSpam::userList},
};

constexpr ProfileSwitch<ProfileAntiSpam> kOptions[] = {
    {"bypass-scan-on-auth", &ProfileAntiSpam::bypassScanOnAuth},
    {"outgoing", &ProfileAntiSpam::isOutgoing},
    {"default-action-for-all-messages", &ProfileAntiSpam::applyDefaultActionToAllMessages},
    {"quarantine-report", &ProfileAntiSpam::quarantineReport},
    {"quarantine-release-by-email", &ProfileAntiSpam::quarantineEmailRelease},
    {"quarantine-release-by-web", &ProfileAntiSpam::quarantineWebRelease},
    {"quarantine-release-whitelists-sender", &ProfileAntiSpam::quarantineWhitelistSender},
};

// Settings of scanners that are off are left out.
Json settingsOf(const ProfileAntiSpam& profile) {
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

ProfileExplanation explainAntispam(const ProfileAntiSpam& profile, ngid_t domain,
                                   const Names& names) {
  ProfileExplanation explanation;
  Json scanners = Json::array();
  for (const Classifier& classifier : kClassifiers) {
    if (!classifier.on(profile)) continue;
    scanners.push_back(classifier.name);
    const ActionContainer& actions = profile.individualAction(classifier.type);
    explanation.addVerdict(classifier.name, classifier.type,
                           std::string(classifier.name) + " says spam",
                           actions == profile.actions(), actionsDocument(actions, domain, names));
  }
  for (Json& name : switchesOn(profile, kOtherScanners)) scanners.push_back(std::move(name));
  explanation.switches = {{"scanners", std::move(scanners)},
                          {"options", switchesOn(profile, kOptions)}};
  explanation.settings = settingsOf(profile);
  explanation.defaultActions = actionsDocument(profile.actions(), domain, names);
  return explanation;
}

}  // namespace Kestrav::Tool
