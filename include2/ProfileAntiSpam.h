// Which spam classifiers to run on a message, with which settings, and what to do with a message
// that one of them calls spam.
//
// A profile handle: copies share one immutable implementation, built from its record. Any number of
// threads may read it.
#pragma once

#include <cstdint>
#include <list>
#include <string>

#include "ActionContainer.h"
#include "Profile.h"
#include "ProfileWebFilter.h"
#include "VexaRefcounted.h"
#include "platform/common/Export.h"
#include "platform/dictionary/DictionaryScanner.h"

namespace Kestrav {

class EmailAddress;

// The classifier behind a spam verdict. Other profiles and the daemons use other values.
enum ClassifierType : int {
  CLASSIFIER_RBL = 5,
  CLASSIFIER_SURBL = 6,
  CLASSIFIER_NORBEX_ANTISPAM = 7,
  CLASSIFIER_BAYESIAN = 9,
  CLASSIFIER_HEURISTIC = 10,
  CLASSIFIER_DICTIONARY = 11,
  CLASSIFIER_BANNED_WORD = 12,
  CLASSIFIER_DEEP_HEADER = 13,
  CLASSIFIER_IMAGE_SPAM = 29,
  CLASSIFIER_SPF_FAILURE = 45,
  CLASSIFIER_NORBEX_OPTION = 49,        // the cloud service's extended check
  CLASSIFIER_NORBEX_URI_CATEGORY = 58,  // through the web filter profile
  CLASSIFIER_NEWSLETTER_SUSPICIOUS = 59,
  CLASSIFIER_BEHAVIOR = 64,
  CLASSIFIER_NEWSLETTER = 66,
  CLASSIFIER_DMARC = 67,
};

// The cloud rating service. secondaryCheck is set even while the service is off.
struct KESTRAV_API NorbexAntiSpamSettings {
  bool extendedCheck = false;
  bool secondaryCheck = false;
  bool uriCategoryCheck = false;
};

struct KESTRAV_API HeuristicSettings {
  std::uint32_t first = 0;
  std::uint32_t second = 0;
  std::uint32_t third = 0;
};

struct KESTRAV_API BayesianSettings {
  bool reserved0 = false;
  bool option1 = false;
  bool option2 = false;
  bool reserved3 = false;
};

// The values below also apply while deep header analysis is off.
struct KESTRAV_API DeepHeaderSettings {
  std::uint32_t mode = 1;
  double confidence = 95.0;  // percent
  double secondConfidence = 95.0;
  double ratio = 0.15;
  std::uint32_t enabled = 1;
  std::uint32_t level = 6;
};

// Local parts of the mailboxes through which users control their quarantine. Empty ones are not
// configured.
struct KESTRAV_API QuarantineControlSettings {
  // At least one of them is.
  bool isConfigured() const { return !first.empty() || !second.empty(); }

  std::string first;
  std::string second;
};

// Local parts of the mailboxes through which users train the Bayesian filter. Empty ones are not
// configured.
struct KESTRAV_API BayesianSystemSettings {
  // At least one account is.
  bool isConfigured() const {
    return !account1.empty() || !account2.empty() || !account3.empty() || !account4.empty();
  }

  std::string domain;
  std::string account1;
  std::string account2;
  std::string account3;
  std::string account4;
};

// Every accessor throws Exception "ProfileAntiSpam", code 1, source ProfileAntiSpam, on a null
// profile. Its line identifies the accessor: 40 for the first one below, and 8 more for each that
// follows. New accessors go to the end, so that lines in old logs keep their meaning.
class KESTRAV_API ProfileAntiSpam : public Profile {
 public:
  // Bits of messageParseType().
  static constexpr std::uint32_t kParseForClassifiers = 0x1;  // Bayesian, newsletters, DMARC
  static constexpr std::uint32_t kParseWords = 0x2;
  static constexpr std::uint32_t kParseRequested = 0x4;  // the record asks for it
  static constexpr std::uint32_t kParseImages = 0x8;
  static constexpr std::uint32_t kParseHeuristic = 0x10;
  static constexpr std::uint32_t kParseSurbl = 0x20;
  static constexpr std::uint32_t kParseRbl = 0x40;
  static constexpr std::uint32_t kParseBayesianOption2 = 0x81;
  static constexpr std::uint32_t kParseNorbex = 0x100;
  static constexpr std::uint32_t kParseDeepHeader = 0x200;
  static constexpr std::uint32_t kParseBehavior = 0x400;

  // The null profile.
  ProfileAntiSpam() = default;

  // From a record of table 456; a null one gives a profile with no name and everything off.
  // Throws what the dictionaries, the web filter profile and the store throw.
  ProfileAntiSpam(int domain, int id, const void* record);

  // Which classifiers and options are on.
  bool bayesian() const;
  bool norbexAntiSpam() const;
  bool heuristic() const;
  bool rbl() const;
  bool surbl() const;
  bool systemList() const;  // on for every profile made from a record
  bool userList() const;    // likewise
  bool deepHeader() const;
  bool bannedWord() const;
  bool dictionary() const;
  bool greyList() const;
  bool bypassScanOnAuth() const;
  bool quarantineReport() const;  // this and the next three: options of the default action
  bool quarantineEmailRelease() const;
  bool quarantineWebRelease() const;
  bool quarantineWhitelistSender() const;
  bool imageSpam() const;
  bool whitelistWord() const;
  bool spfFailureSpam() const;
  bool newsLetterSuspicious() const;
  bool behavior() const;
  bool spamOutBreak() const;
  bool newsLetter() const;
  bool dmarc() const;

  const NorbexAntiSpamSettings& norbexAntiSpamSettings() const;
  const HeuristicSettings& heuristicSettings() const;
  const BayesianSettings& bayesianSettings() const;
  const DeepHeaderSettings& deepHeaderSettings() const;

  // Names of block list servers, as configured and in that order.
  const std::list<std::string>& rblServers() const;
  const std::list<std::string>& surblServers() const;

  // Null unless the feature is on.
  const Ref<DictionaryScannerImpl>& bannedWordDictionaryScanner() const;
  const Ref<DictionaryScannerImpl>& whiteWordDictionaryScanner() const;
  const Ref<DictionaryScannerImpl>& dictionaryScanner() const;

  // The lowest dictionary score of a spam message.
  std::int64_t minScore() const;

  // In bytes.
  std::uint32_t maxScanSize() const;

  // 1 or 2; 0 while image spam is off.
  std::uint32_t imageScanLevel() const;

  // The profile is meant for mail that leaves.
  bool isOutgoing() const;

  // How long the quarantine of the default action keeps a message.
  std::uint32_t quarantineAutoDeleteDays() const;

  // Null unless the URI category check is on.
  const ProfileWebFilter& profileWebFilter() const;

  bool applyDefaultActionToAllMessages() const;

  // What to do when `classifier` calls a message spam: its own actions, or the profile's.
  const ActionContainer& individualAction(ClassifierType classifier) const;

  // Process-wide settings, read from the system antispam record by the first call, by each call
  // with `reload`, and by the first call after another store was attached. A reload destroys the
  // settings returned before: no thread may use them then.
  static const QuarantineControlSettings* quarantineControlSettings(bool reload);
  static const BayesianSystemSettings* bayesianSystemSettings(bool reload);

  // 2 for a mailbox that controls a quarantine, 1 for one that trains the Bayesian filter, 0 for
  // any other. Compares the local part and ignores case. An account that is not configured equals
  // an empty local part: the null address gives 2 on a gateway without quarantine control accounts.
  // So check address.isNull() and the settings' isConfigured() first.
  static unsigned int controlAccountType(const EmailAddress& address);
};

}  // namespace Kestrav
