#include "profile/antispam/ProfileAntiSpamImpl.h"

#include "ProfileFactory.h"
#include "platform/common/Strings.h"
#include "platform/config/records/DictionaryRecords.h"
#include "platform/dictionary/DictionaryFactory.h"
#include "platform/dictionary/ProfileDictionaryScanner.h"
#include "profile/action/ActionConverter.h"

namespace Kestrav {

namespace {

// Bits of the record's flag bytes.
namespace Scanner {
constexpr unsigned char kHeuristic = 0x01;
constexpr unsigned char kBayesian = 0x02;
constexpr unsigned char kNorbex = 0x08;
constexpr unsigned char kRbl = 0x10;
constexpr unsigned char kSurbl = 0x20;
constexpr unsigned char kBannedWords = 0x40;
constexpr unsigned char kImageSpam = 0x80;
}  // namespace Scanner
namespace ScanOption {
constexpr unsigned char kImageLevel1 = 0x01;
constexpr unsigned char kBehavior = 0x02;
constexpr unsigned char kSpamOutbreak = 0x04;
}  // namespace ScanOption
namespace SessionOption {
constexpr unsigned char kGreyList = 0x80;
}  // namespace SessionOption
namespace ClassifierOption {
constexpr unsigned char kBypassOnAuthentication = 0x01;
constexpr unsigned char kBayesian1 = 0x08;
constexpr unsigned char kBayesian2 = 0x10;
constexpr unsigned char kSecondaryCheck = 0x20;
constexpr unsigned char kDeepHeader = 0x40;
constexpr unsigned char kExtendedCheck = 0x80;
}  // namespace ClassifierOption

// What deep header analysis works with once it is on.
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

// Where a word is looked for: nowhere in particular, unless an option says where.
constexpr std::uint32_t kScopeSubject = 2;
constexpr std::uint32_t kScopeBody = 5;

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
    item.kind = 2;
    item.score = 1;
    if (words[i].in_subject != 0) item.scope = kScopeSubject;
    if (words[i].in_body != 0) item.scope |= kScopeBody;
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
  if ((record->scan_options & ScanOption::kSpamOutbreak) != 0) flags |= kSpamOutBreak;
  flags |= kSystemList | kUserList;
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
  if (action->quarantine_report != 0) flags |= kQuarantineReport;
  if (action->release_by_email != 0) flags |= kQuarantineEmailRelease;
  if (action->release_by_web != 0) flags |= kQuarantineWebRelease;
  if (action->whitelist_on_release != 0) flags |= kQuarantineWhitelistSender;
  quarantineAutoDeleteDays = action->quarantine_days;
}

void ProfileAntiSpamImpl::readBayesian(const __aps_gw_as_profile& record, Actions actionTables) {
  if ((record.scanners & Scanner::kBayesian) == 0) return;
  flags |= kBayesian;
  bayesianSettings.option1 = (record.classifier_options & ClassifierOption::kBayesian1) != 0;
  bayesianSettings.option2 = (record.classifier_options & ClassifierOption::kBayesian2) != 0;
  action_adapter(CLASSIFIER_BAYESIAN, record.bayesian_action, actionTables);
  messageParseType |= ProfileAntiSpam::kParseForClassifiers;
  if (bayesianSettings.option2) messageParseType |= ProfileAntiSpam::kParseBayesianOption2;
}

void ProfileAntiSpamImpl::readNorbex(const __aps_gw_as_profile& record, Actions actionTables) {
  norbexSettings.secondaryCheck =
      (record.classifier_options & ClassifierOption::kSecondaryCheck) != 0;
  if ((record.scanners & Scanner::kNorbex) == 0) return;

  flags |= kNorbexAntiSpam;
  action_adapter(CLASSIFIER_NORBEX_ANTISPAM, record.cloud_action, actionTables);

  norbexSettings.extendedCheck =
      (record.classifier_options & ClassifierOption::kExtendedCheck) != 0;
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
  if ((record.scanners & Scanner::kHeuristic) != 0) {
    flags |= kHeuristic;
    heuristicSettings.first = record.heuristic_first;
    heuristicSettings.second = record.heuristic_second;
    heuristicSettings.third = record.heuristic_third;
    action_adapter(CLASSIFIER_HEURISTIC, record.heuristic_action, actionTables);
    messageParseType |= ProfileAntiSpam::kParseHeuristic;
  }
  if ((record.scan_options & ScanOption::kBehavior) != 0) {
    flags |= kBehavior;
    action_adapter(CLASSIFIER_BEHAVIOR, record.behavior_action, actionTables);
    messageParseType |= ProfileAntiSpam::kParseBehavior;
  }
}

void ProfileAntiSpamImpl::readBlockLists(const __aps_gw_as_profile& record, Actions actionTables) {
  if ((record.scanners & Scanner::kRbl) != 0) {
    flags |= kRbl;
    appendServers(rblServers, record.rbl_server_count, record.rbl_servers);
    action_adapter(CLASSIFIER_RBL, record.rbl_action, actionTables);
    messageParseType |= ProfileAntiSpam::kParseRbl;
  }
  if ((record.scanners & Scanner::kSurbl) != 0) {
    flags |= kSurbl;
    appendServers(surblServers, record.surbl_server_count, record.surbl_servers);
    action_adapter(CLASSIFIER_SURBL, record.surbl_action, actionTables);
    messageParseType |= ProfileAntiSpam::kParseSurbl;
  }
}

void ProfileAntiSpamImpl::readDeepHeader(const __aps_gw_as_profile& record, Actions actionTables) {
  if ((record.classifier_options & ClassifierOption::kDeepHeader) == 0) return;
  flags |= kDeepHeader;

  const CMF::ObjectQuery<__aps_fasmilter, GID_DEEP_HEADER> query;
  if (const __aps_fasmilter* settings = query.update()) {
    // A value that is no number passes both comparisons, and is kept.
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
  if ((record.scanners & Scanner::kBannedWords) != 0 && record.banned_word_count != 0) {
    bannedWordScanner =
        wordScanner(name + "-bannedwords", record.banned_word_count, record.banned_words);
    messageParseType |= ProfileAntiSpam::kParseWords;
    flags |= kBannedWord;
    action_adapter(CLASSIFIER_BANNED_WORD, record.banned_words_action, actionTables);
  }
  // White words clear a message; there is nothing to do for them.
  if (record.white_words_scan != 0 && record.white_word_count != 0) {
    whiteWordScanner =
        wordScanner(name + "-whitewords", record.white_word_count, record.white_words);
    messageParseType |= ProfileAntiSpam::kParseWords;
    flags |= kWhitelistWord;
  }
}

void ProfileAntiSpamImpl::readDictionary(const __aps_gw_as_profile& record, Actions actionTables) {
  if (record.dictionary_scan == 0) return;
  messageParseType |= ProfileAntiSpam::kParseWords;
  flags |= kDictionary;
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
    flags |= kSpfFailureSpam;
    action_adapter(CLASSIFIER_SPF_FAILURE, record.spf_action, actionTables);
  }
  if ((record.session_options & SessionOption::kGreyList) != 0) flags |= kGreyList;
  if ((record.classifier_options & ClassifierOption::kBypassOnAuthentication) != 0) {
    flags |= kBypassScanOnAuth;
  }
  if ((record.scanners & Scanner::kImageSpam) != 0) {
    flags |= kImageSpam;
    imageScanLevel = (record.scan_options & ScanOption::kImageLevel1) != 0 ? 1 : 2;
    action_adapter(CLASSIFIER_IMAGE_SPAM, record.image_spam_action, actionTables);
    messageParseType |= ProfileAntiSpam::kParseImages;
  }
  if (record.suspicious_newsletter != 0) {
    flags |= kNewsLetterSuspicious;
    action_adapter(CLASSIFIER_NEWSLETTER_SUSPICIOUS, record.suspicious_newsletter_action,
                   actionTables);
    messageParseType |= ProfileAntiSpam::kParseForClassifiers;
  }
  if (record.newsletter != 0) {
    flags |= kNewsLetter;
    action_adapter(CLASSIFIER_NEWSLETTER, record.newsletter_action, actionTables);
    messageParseType |= ProfileAntiSpam::kParseForClassifiers;
  }
  if (record.dmarc != 0) {
    flags |= kDmarc;
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
