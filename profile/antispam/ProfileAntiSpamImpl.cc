#include "profile/antispam/ProfileAntiSpamImpl.h"

#include "ProfileFactory.h"
#include "platform/common/Strings.h"
#include "platform/config/records/AntispamRecords.h"
#include "platform/config/records/Bits.h"
#include "platform/config/records/DictionaryRecords.h"
#include "platform/config/store/Fork.h"
#include "platform/dictionary/DictionaryFactory.h"
#include "platform/dictionary/ProfileDictionaryScanner.h"
#include "profile/action/ActionConverter.h"

namespace Kestrav {

namespace {

using Bit = __aps_gw_as_profile::Bit;
using Config::isSet;

// Settings of the deep header analysis.
constexpr double kDefaultConfidence = 95.0;
constexpr double kHighestConfidence = 100.0;
constexpr double kDeepHeaderRatio = 0.5;
constexpr std::uint32_t kDefaultLevel = 7;
constexpr std::uint32_t kHighestLevel = 9;

void appendServers(std::list<std::string>& out, std::uint64_t count, const aps_fqdn_t* servers) {
  if (servers == nullptr) return;
  for (std::uint64_t i = 0; i < count; ++i) {
    const std::string_view name = boundedText(servers[i].name);
    if (!name.empty()) out.emplace_back(name);
  }
}

Ref<DictionaryScannerImpl> wordScanner(const std::string& name, std::uint64_t count,
                                       const __aps_as_word_entry* words) {
  auto* scanner = new ProfileDictionaryScanner(name);
  Ref<DictionaryScannerImpl> handle(scanner);
  if (words == nullptr) return handle;
  for (std::uint64_t i = 0; i < count; ++i) {
    const std::string_view text = boundedText(words[i].text);
    if (text.empty()) continue;
    __vexa_dictionary_item item{};
    boundedCopy(item.text, text);
    item.kind = static_cast<std::uint16_t>(DictionaryPatternKind::kLiteral);
    item.score = 1;
    if (words[i].in_subject != 0) item.scope |= kDictionaryScopeSubject;
    if (words[i].in_body != 0) item.scope |= kDictionaryScopeBodyText | kDictionaryScopeBodyHtml;
    item.enabled = 1;
    item.case_sensitive = 0;
    item.whole_words = 1;
    item.max_count = 0;
    scanner->add_pattern(item);
  }
  return handle;
}

}  // namespace

ProfileAntiSpamImpl::ProfileAntiSpamImpl(ngid_t domain, int profileId,
                                         const __aps_gw_as_profile* record)
    : ProfileImpl(Profile::kAntiSpam) {
  Config::refuseParentsStore();  // actions, scanners and the web filter come from the store
  if (record == nullptr) return;
  id = profileId;
  name = boundedText(record->name);

  ActionTable systemActions(0);
  ActionTable domainActions(domain);
  const Actions actionTables{systemActions, domainActions};
  readDefaultAction(*record, actionTables);
  readBayesian(*record, actionTables);
  readNorbex(*record, actionTables);
  readHeuristicAndBehavior(*record, actionTables);
  readBlockLists(*record, actionTables);
  spamOutBreak = isSet(*record, Bit::kSpamOutbreak);
  systemList = true;
  userList = true;
  readDeepHeader(*record, actionTables);
  readWords(*record, actionTables);
  readDictionary(*record, actionTables);
  readRemainingClassifiers(*record, actionTables);
  readLimits(*record);
}

ProfileAntiSpamImpl::~ProfileAntiSpamImpl() = default;

void ProfileAntiSpamImpl::action_adapter(ClassifierType classifier, unsigned actionId,
                                         ActionTable& systemActions, ActionTable& domainActions) {
  const __aps_antispam_action* action = findAction(domainActions, systemActions, actionId);
  if (action == nullptr) return;
  convertAction(action, kAntispamActionLayout, classifierActions[classifier]);
}

void ProfileAntiSpamImpl::fallBackToNorbex(ClassifierType classifier) {
  const auto norbex = classifierActions.find(CLASSIFIER_NORBEX_ANTISPAM);
  if (norbex != classifierActions.end()) classifierActions.emplace(classifier, norbex->second);
}

void ProfileAntiSpamImpl::readDefaultAction(const __aps_gw_as_profile& record,
                                            Actions actionTables) {
  const __aps_antispam_action* action =
      findAction(actionTables.domain, actionTables.system, record.default_action);
  if (action == nullptr) return;
  convertAction(action, kAntispamActionLayout, actions);
  quarantineReport = action->quarantine_report != 0;
  quarantineEmailRelease = action->release_by_email != 0;
  quarantineWebRelease = action->release_by_web != 0;
  quarantineWhitelistSender = action->whitelist_on_release != 0;
  quarantineAutoDeleteDays = action->quarantine_days;
}

void ProfileAntiSpamImpl::readBayesian(const __aps_gw_as_profile& record, Actions actionTables) {
  if (!isSet(record, Bit::kBayesian)) return;
  bayesian = true;
  bayesianSettings.option1 = isSet(record, Bit::kBayesianOption1);
  bayesianSettings.option2 = isSet(record, Bit::kBayesianOption2);
  action_adapter(CLASSIFIER_BAYESIAN, record.bayesian_action, actionTables);
  messageParseType |= ProfileAntiSpam::kParseForClassifiers;
  if (bayesianSettings.option2) messageParseType |= ProfileAntiSpam::kParseBayesianOption2;
}

void ProfileAntiSpamImpl::readNorbex(const __aps_gw_as_profile& record, Actions actionTables) {
  norbexSettings.secondaryCheck = isSet(record, Bit::kCloudSecondaryCheck);
  if (!isSet(record, Bit::kCloud)) return;

  norbexAntiSpam = true;
  action_adapter(CLASSIFIER_NORBEX_ANTISPAM, record.cloud_action, actionTables);

  norbexSettings.extendedCheck = isSet(record, Bit::kCloudExtendedCheck);
  if (norbexSettings.extendedCheck) {
    action_adapter(CLASSIFIER_NORBEX_OPTION, record.cloud_extended_action, actionTables);
    fallBackToNorbex(CLASSIFIER_NORBEX_OPTION);
  }

  norbexSettings.uriCategoryCheck = record.uri_category_check != 0;
  if (norbexSettings.uriCategoryCheck) {
    profileWebFilter =
        ProfileFactory::instance()->createProfileWebFilter(static_cast<int>(record.web_filter));
    action_adapter(CLASSIFIER_NORBEX_URI_CATEGORY, record.uri_category_action, actionTables);
    fallBackToNorbex(CLASSIFIER_NORBEX_URI_CATEGORY);
  }
  messageParseType |= ProfileAntiSpam::kParseNorbex;
}

void ProfileAntiSpamImpl::readHeuristicAndBehavior(const __aps_gw_as_profile& record,
                                                   Actions actionTables) {
  if (isSet(record, Bit::kHeuristic)) {
    heuristic = true;
    heuristicSettings.first = record.heuristic_first;
    heuristicSettings.second = record.heuristic_second;
    heuristicSettings.third = record.heuristic_third;
    action_adapter(CLASSIFIER_HEURISTIC, record.heuristic_action, actionTables);
    messageParseType |= ProfileAntiSpam::kParseHeuristic;
  }
  if (isSet(record, Bit::kBehavior)) {
    behavior = true;
    action_adapter(CLASSIFIER_BEHAVIOR, record.behavior_action, actionTables);
    messageParseType |= ProfileAntiSpam::kParseBehavior;
  }
}

void ProfileAntiSpamImpl::readBlockLists(const __aps_gw_as_profile& record, Actions actionTables) {
  if (isSet(record, Bit::kRbl)) {
    rbl = true;
    appendServers(rblServers, record.rbl_server_count, record.rbl_servers);
    action_adapter(CLASSIFIER_RBL, record.rbl_action, actionTables);
    messageParseType |= ProfileAntiSpam::kParseRbl;
  }
  if (isSet(record, Bit::kSurbl)) {
    surbl = true;
    appendServers(surblServers, record.surbl_server_count, record.surbl_servers);
    action_adapter(CLASSIFIER_SURBL, record.surbl_action, actionTables);
    messageParseType |= ProfileAntiSpam::kParseSurbl;
  }
}

void ProfileAntiSpamImpl::readDeepHeader(const __aps_gw_as_profile& record, Actions actionTables) {
  if (!isSet(record, Bit::kDeepHeader)) return;
  deepHeader = true;

  const CMF::ObjectQuery<__aps_fasmilter, GID_DEEP_HEADER> query;
  if (const __aps_fasmilter* settings = query.update()) {
    // NaN fails both comparisons and is kept.
    deepHeaderSettings.confidence = static_cast<double>(settings->confidence);
    if (deepHeaderSettings.confidence <= 0 || deepHeaderSettings.confidence > kHighestConfidence) {
      deepHeaderSettings.confidence = kDefaultConfidence;
    }
    deepHeaderSettings.level = settings->level;
    if (settings->level < 1 || settings->level > kHighestLevel) {
      deepHeaderSettings.level = kDefaultLevel;
    }
  } else {
    deepHeaderSettings.level = kDefaultLevel;
  }
  deepHeaderSettings.ratio = kDeepHeaderRatio;
  action_adapter(CLASSIFIER_DEEP_HEADER, record.deep_header_action, actionTables);
  messageParseType |= ProfileAntiSpam::kParseDeepHeader;
}

void ProfileAntiSpamImpl::readWords(const __aps_gw_as_profile& record, Actions actionTables) {
  if (isSet(record, Bit::kBannedWords) && record.banned_word_count != 0) {
    bannedWordScanner =
        wordScanner(name + "-bannedwords", record.banned_word_count, record.banned_words);
    messageParseType |= ProfileAntiSpam::kParseWords;
    bannedWord = true;
    action_adapter(CLASSIFIER_BANNED_WORD, record.banned_words_action, actionTables);
  }
  // White words clear a message; there is nothing to do for them.
  if (record.white_words_scan != 0 && record.white_word_count != 0) {
    whiteWordScanner =
        wordScanner(name + "-whitewords", record.white_word_count, record.white_words);
    messageParseType |= ProfileAntiSpam::kParseWords;
    whitelistWord = true;
  }
}

void ProfileAntiSpamImpl::readDictionary(const __aps_gw_as_profile& record, Actions actionTables) {
  if (record.dictionary_scan == 0) return;
  messageParseType |= ProfileAntiSpam::kParseWords;
  dictionary = true;
  minScore = record.dictionary_min_score;
  const std::string dictionaryName(boundedText(record.dictionary));
  DictionaryFactory& factory = DictionaryFactory::instance();
  dictionaryScanner = record.dictionary_kind != 0 ? factory.createProfileScanner(dictionaryName)
                                                  : factory.createGroupScanner(dictionaryName);
  action_adapter(CLASSIFIER_DICTIONARY, record.dictionary_action, actionTables);
}

void ProfileAntiSpamImpl::readRemainingClassifiers(const __aps_gw_as_profile& record,
                                                   Actions actionTables) {
  if (record.spf_failure_is_spam != 0) {
    spfFailureSpam = true;
    action_adapter(CLASSIFIER_SPF_FAILURE, record.spf_action, actionTables);
  }
  greyList = isSet(record, Bit::kGreylist);
  bypassScanOnAuth = isSet(record, Bit::kBypassOnAuthentication);
  if (isSet(record, Bit::kImageSpam)) {
    imageSpam = true;
    imageScanLevel = isSet(record, Bit::kFastImageScan) ? 1 : 2;
    action_adapter(CLASSIFIER_IMAGE_SPAM, record.image_spam_action, actionTables);
    messageParseType |= ProfileAntiSpam::kParseImages;
  }
  if (record.suspicious_newsletter != 0) {
    newsLetterSuspicious = true;
    action_adapter(CLASSIFIER_NEWSLETTER_SUSPICIOUS, record.suspicious_newsletter_action,
                   actionTables);
    messageParseType |= ProfileAntiSpam::kParseForClassifiers;
  }
  if (record.newsletter != 0) {
    newsLetter = true;
    action_adapter(CLASSIFIER_NEWSLETTER, record.newsletter_action, actionTables);
    messageParseType |= ProfileAntiSpam::kParseForClassifiers;
  }
  if (record.dmarc != 0) {
    dmarc = true;
    action_adapter(CLASSIFIER_DMARC, record.dmarc_action, actionTables);
    messageParseType |= ProfileAntiSpam::kParseForClassifiers;
  }
}

void ProfileAntiSpamImpl::readLimits(const __aps_gw_as_profile& record) {
  maxScanSize = record.max_scan_size << 10;
  isOutgoing = record.outgoing != 0;
  if (record.scan_attachments != 0) messageParseType |= ProfileAntiSpam::kParseRequested;
  applyDefaultActionToAllMessages = record.default_action_for_all != 0;
}

}  // namespace Kestrav
