// The implementation of ProfileAntiSpam. The constructor computes everything; nothing changes
// later.
#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <string>

#include "ProfileAntiSpam.h"
#include "config/CMF.h"
#include "profile/ProfileImpl.h"

struct __aps_antispam_action;
struct __aps_gw_as_profile;

namespace Kestrav {

class ProfileAntiSpamImpl : public ProfileImpl {
 public:
  ProfileAntiSpamImpl(ngid_t domain, int profileId, const __aps_gw_as_profile* record);
  ~ProfileAntiSpamImpl() override;

  // The actions of the default action are ProfileImpl::actions.
  bool bayesian = false;
  bool norbexAntiSpam = false;
  bool heuristic = false;
  bool rbl = false;
  bool surbl = false;
  bool systemList = false;
  bool userList = false;
  bool deepHeader = false;
  bool bannedWord = false;
  bool dictionary = false;
  bool greyList = false;
  bool bypassScanOnAuth = false;
  bool quarantineReport = false;
  bool quarantineEmailRelease = false;
  bool quarantineWebRelease = false;
  bool quarantineWhitelistSender = false;
  bool imageSpam = false;
  bool whitelistWord = false;
  bool spfFailureSpam = false;
  bool newsLetterSuspicious = false;
  bool behavior = false;
  bool spamOutBreak = false;
  bool newsLetter = false;
  bool dmarc = false;
  NorbexAntiSpamSettings norbexSettings;
  HeuristicSettings heuristicSettings;
  BayesianSettings bayesianSettings;
  std::list<std::string> rblServers;
  std::list<std::string> surblServers;
  Ref<DictionaryScannerImpl> bannedWordScanner;
  Ref<DictionaryScannerImpl> whiteWordScanner;
  Ref<DictionaryScannerImpl> dictionaryScanner;
  std::int64_t minScore = 0;
  std::uint32_t maxScanSize = 0;  // bytes
  std::uint32_t imageScanLevel = 2;
  DeepHeaderSettings deepHeaderSettings;
  bool isOutgoing = false;
  std::map<ClassifierType, ActionContainer> classifierActions;
  std::uint32_t quarantineAutoDeleteDays = 0;
  ProfileWebFilter profileWebFilter;
  bool applyDefaultActionToAllMessages = false;

 private:
  using ActionTable = CMF::TableQuery<__aps_antispam_action, GID_ANTISPAM_ACTION>;
  struct Actions {
    ActionTable& system;
    ActionTable& domain;
  };

  // Each reads one part of the record; the constructor calls them in this order.
  void readDefaultAction(const __aps_gw_as_profile& record, Actions actionTables);
  void readBayesian(const __aps_gw_as_profile& record, Actions actionTables);
  void readNorbex(const __aps_gw_as_profile& record, Actions actionTables);
  void readHeuristicAndBehavior(const __aps_gw_as_profile& record, Actions actionTables);
  void readBlockLists(const __aps_gw_as_profile& record, Actions actionTables);
  void readDeepHeader(const __aps_gw_as_profile& record, Actions actionTables);
  void readWords(const __aps_gw_as_profile& record, Actions actionTables);
  void readDictionary(const __aps_gw_as_profile& record, Actions actionTables);
  void readRemainingClassifiers(const __aps_gw_as_profile& record, Actions actionTables);
  void readLimits(const __aps_gw_as_profile& record);

  // Adds the actions of the record `actionId` to those of the classifier. Without such a record the
  // classifier gets no entry.
  void action_adapter(ClassifierType classifier, unsigned actionId, ActionTable& systemActions,
                      ActionTable& domainActions);
  void action_adapter(ClassifierType classifier, unsigned actionId, Actions actionTables) {
    action_adapter(classifier, actionId, actionTables.system, actionTables.domain);
  }
  // Copies the cloud service's actions to `classifier` when it has no entry.
  void fallBackToNorbex(ClassifierType classifier);
};

}  // namespace Kestrav
