#include "ProfileAntiSpam.h"

#include "platform/common/Strings.h"
#include "profile/NullHandle.h"
#include "profile/antispam/ProfileAntiSpamImpl.h"

namespace Kestrav {

ProfileAntiSpam::ProfileAntiSpam(int domain, int id, const void* record)
    : Profile(new ProfileAntiSpamImpl(static_cast<ngid_t>(domain), id,
                                      static_cast<const __aps_gw_as_profile*>(record))) {}

const ProfileAntiSpamImpl& ProfileAntiSpam::impl(int line) const {
  if (isNull()) throwNullHandle("ProfileAntiSpam", "ProfileAntiSpam", line);
  return static_cast<const ProfileAntiSpamImpl&>(*holder_->impl());
}

bool ProfileAntiSpam::bayesian() const {
  return impl(40).has(ProfileAntiSpamImpl::kBayesian);
}

bool ProfileAntiSpam::norbexAntiSpam() const {
  return impl(48).has(ProfileAntiSpamImpl::kNorbexAntiSpam);
}

bool ProfileAntiSpam::heuristic() const {
  return impl(56).has(ProfileAntiSpamImpl::kHeuristic);
}

bool ProfileAntiSpam::rbl() const {
  return impl(64).has(ProfileAntiSpamImpl::kRbl);
}

bool ProfileAntiSpam::surbl() const {
  return impl(72).has(ProfileAntiSpamImpl::kSurbl);
}

bool ProfileAntiSpam::systemList() const {
  return impl(80).has(ProfileAntiSpamImpl::kSystemList);
}

bool ProfileAntiSpam::userList() const {
  return impl(88).has(ProfileAntiSpamImpl::kUserList);
}

bool ProfileAntiSpam::deepHeader() const {
  return impl(96).has(ProfileAntiSpamImpl::kDeepHeader);
}

bool ProfileAntiSpam::bannedWord() const {
  return impl(104).has(ProfileAntiSpamImpl::kBannedWord);
}

bool ProfileAntiSpam::dictionary() const {
  return impl(112).has(ProfileAntiSpamImpl::kDictionary);
}

bool ProfileAntiSpam::greyList() const {
  return impl(120).has(ProfileAntiSpamImpl::kGreyList);
}

bool ProfileAntiSpam::bypassScanOnAuth() const {
  return impl(128).has(ProfileAntiSpamImpl::kBypassScanOnAuth);
}

bool ProfileAntiSpam::quarantineReport() const {
  return impl(136).has(ProfileAntiSpamImpl::kQuarantineReport);
}

bool ProfileAntiSpam::quarantineEmailRelease() const {
  return impl(144).has(ProfileAntiSpamImpl::kQuarantineEmailRelease);
}

bool ProfileAntiSpam::quarantineWebRelease() const {
  return impl(152).has(ProfileAntiSpamImpl::kQuarantineWebRelease);
}

bool ProfileAntiSpam::quarantineWhitelistSender() const {
  return impl(160).has(ProfileAntiSpamImpl::kQuarantineWhitelistSender);
}

bool ProfileAntiSpam::imageSpam() const {
  return impl(168).has(ProfileAntiSpamImpl::kImageSpam);
}

bool ProfileAntiSpam::whitelistWord() const {
  return impl(176).has(ProfileAntiSpamImpl::kWhitelistWord);
}

bool ProfileAntiSpam::spfFailureSpam() const {
  return impl(184).has(ProfileAntiSpamImpl::kSpfFailureSpam);
}

bool ProfileAntiSpam::newsLetterSuspicious() const {
  return impl(192).has(ProfileAntiSpamImpl::kNewsLetterSuspicious);
}

bool ProfileAntiSpam::behavior() const {
  return impl(200).has(ProfileAntiSpamImpl::kBehavior);
}

bool ProfileAntiSpam::spamOutBreak() const {
  return impl(208).has(ProfileAntiSpamImpl::kSpamOutBreak);
}

bool ProfileAntiSpam::newsLetter() const {
  return impl(216).has(ProfileAntiSpamImpl::kNewsLetter);
}

bool ProfileAntiSpam::dmarc() const {
  return impl(224).has(ProfileAntiSpamImpl::kDmarc);
}

const NorbexAntiSpamSettings& ProfileAntiSpam::norbexAntiSpamSettings() const {
  return impl(232).norbexSettings;
}

const HeuristicSettings& ProfileAntiSpam::heuristicSettings() const {
  return impl(240).heuristicSettings;
}

const BayesianSettings& ProfileAntiSpam::bayesianSettings() const {
  return impl(248).bayesianSettings;
}

const DeepHeaderSettings& ProfileAntiSpam::deepHeaderSettings() const {
  return impl(256).deepHeaderSettings;
}

const std::list<std::string>& ProfileAntiSpam::rblServers() const {
  return impl(264).rblServers;
}

const std::list<std::string>& ProfileAntiSpam::surblServers() const {
  return impl(272).surblServers;
}

const Ref<DictionaryScannerImpl>& ProfileAntiSpam::bannedWordDictionaryScanner() const {
  return impl(280).bannedWordScanner;
}

const Ref<DictionaryScannerImpl>& ProfileAntiSpam::whiteWordDictionaryScanner() const {
  return impl(288).whiteWordScanner;
}

const Ref<DictionaryScannerImpl>& ProfileAntiSpam::dictionaryScanner() const {
  return impl(296).dictionaryScanner;
}

std::int64_t ProfileAntiSpam::minScore() const {
  return impl(304).minScore;
}

std::uint32_t ProfileAntiSpam::maxScanSize() const {
  return impl(312).maxScanSize;
}

std::uint32_t ProfileAntiSpam::imageScanLevel() const {
  const ProfileAntiSpamImpl& profile = impl(320);
  return profile.has(ProfileAntiSpamImpl::kImageSpam) ? profile.imageScanLevel : 0;
}

bool ProfileAntiSpam::isOutgoing() const {
  return impl(328).isOutgoing;
}

std::uint32_t ProfileAntiSpam::quarantineAutoDeleteDays() const {
  return impl(336).quarantineAutoDeleteDays;
}

const ProfileWebFilter& ProfileAntiSpam::profileWebFilter() const {
  return impl(344).profileWebFilter;
}

bool ProfileAntiSpam::applyDefaultActionToAllMessages() const {
  return impl(352).applyDefaultActionToAllMessages;
}

const ActionContainer& ProfileAntiSpam::individualAction(ClassifierType classifier) const {
  const ProfileAntiSpamImpl& profile = impl(360);
  const auto own = profile.classifierActions.find(classifier);
  return own != profile.classifierActions.end() ? own->second : profile.actions;
}

}  // namespace Kestrav
