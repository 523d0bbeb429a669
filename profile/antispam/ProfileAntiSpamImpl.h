// The implementation behind ProfileAntiSpam: everything is computed by the constructor.
#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <string>

#include "ProfileAntiSpam.h"
#include "config/CMF.h"
#include "platform/config/records/AntispamRecords.h"
#include "profile/ProfileImpl.h"

namespace Kestrav {

class ProfileAntiSpamImpl : public ProfileImpl {
 public:
  // Bits of flags.
  enum Flag : std::uint64_t {
    kBayesian = 1u << 0,
    kNorbexAntiSpam = 1u << 1,
    kHeuristic = 1u << 2,
    kRbl = 1u << 3,
    kSurbl = 1u << 4,
    kSystemList = 1u << 5,
    kUserList = 1u << 6,
    kDeepHeader = 1u << 7,
    kBannedWord = 1u << 8,
    kDictionary = 1u << 9,
    kGreyList = 1u << 10,
    kBypassScanOnAuth = 1u << 11,
    kQuarantineReport = 1u << 12,
    kQuarantineEmailRelease = 1u << 13,
    kQuarantineWebRelease = 1u << 14,
    kQuarantineWhitelistSender = 1u << 15,
    kImageSpam = 1u << 16,
    kWhitelistWord = 1u << 17,
    kSpfFailureSpam = 1u << 18,
    kNewsLetterSuspicious = 1u << 19,
    kBehavior = 1u << 20,
    kSpamOutBreak = 1u << 21,
    kNewsLetter = 1u << 22,
    kDmarc = 1u << 23,
  };

  ProfileAntiSpamImpl(ngid_t domain, int profileId, const __aps_gw_as_profile* record);
  ~ProfileAntiSpamImpl() override;

  bool has(Flag flag) const { return (flags & flag) != 0; }

  // The actions of the default action are ProfileImpl::actions.
  std::uint64_t flags = 0;
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

  // Each reads one part of the record; called in this order.
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

  // Adds what the action record `actionId` asks for to the classifier's actions; nothing when there
  // is no such record, in which case the classifier gets no entry either.
  void action_adapter(ClassifierType classifier, unsigned actionId, ActionTable& systemActions,
                      ActionTable& domainActions);
  void action_adapter(ClassifierType classifier, unsigned actionId, Actions actionTables) {
    action_adapter(classifier, actionId, actionTables.system, actionTables.domain);
  }
  // Gives `classifier` the cloud service's actions when it has none of its own.
  void fallBackToNorbex(ClassifierType classifier);
};

}  // namespace Kestrav
