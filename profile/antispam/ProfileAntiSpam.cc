#include "ProfileAntiSpam.h"

#include "platform/common/Strings.h"
#include "profile/NullHandle.h"
#include "profile/antispam/ProfileAntiSpamImpl.h"

namespace Kestrav {

ProfileAntiSpam::ProfileAntiSpam(int domain, int id, const void* record)
    : Profile(new ProfileAntiSpamImpl(static_cast<ngid_t>(domain), id,
                                      static_cast<const __aps_gw_as_profile*>(record))) {}

namespace {
using Impl = ProfileAntiSpamImpl;
constexpr const char* kSource = "ProfileAntiSpam";
}  // namespace

bool ProfileAntiSpam::bayesian() const { return of<Impl>(*this, kSource, 40).has(Impl::kBayesian); }
bool ProfileAntiSpam::norbexAntiSpam() const {
  return of<Impl>(*this, kSource, 48).has(Impl::kNorbexAntiSpam);
}
bool ProfileAntiSpam::heuristic() const {
  return of<Impl>(*this, kSource, 56).has(Impl::kHeuristic);
}
bool ProfileAntiSpam::rbl() const { return of<Impl>(*this, kSource, 64).has(Impl::kRbl); }
bool ProfileAntiSpam::surbl() const { return of<Impl>(*this, kSource, 72).has(Impl::kSurbl); }
bool ProfileAntiSpam::systemList() const {
  return of<Impl>(*this, kSource, 80).has(Impl::kSystemList);
}
bool ProfileAntiSpam::userList() const { return of<Impl>(*this, kSource, 88).has(Impl::kUserList); }
bool ProfileAntiSpam::deepHeader() const {
  return of<Impl>(*this, kSource, 96).has(Impl::kDeepHeader);
}
bool ProfileAntiSpam::bannedWord() const {
  return of<Impl>(*this, kSource, 104).has(Impl::kBannedWord);
}
bool ProfileAntiSpam::dictionary() const {
  return of<Impl>(*this, kSource, 112).has(Impl::kDictionary);
}
bool ProfileAntiSpam::greyList() const {
  return of<Impl>(*this, kSource, 120).has(Impl::kGreyList);
}
bool ProfileAntiSpam::bypassScanOnAuth() const {
  return of<Impl>(*this, kSource, 128).has(Impl::kBypassScanOnAuth);
}
bool ProfileAntiSpam::quarantineReport() const {
  return of<Impl>(*this, kSource, 136).has(Impl::kQuarantineReport);
}
bool ProfileAntiSpam::quarantineEmailRelease() const {
  return of<Impl>(*this, kSource, 144).has(Impl::kQuarantineEmailRelease);
}
bool ProfileAntiSpam::quarantineWebRelease() const {
  return of<Impl>(*this, kSource, 152).has(Impl::kQuarantineWebRelease);
}
bool ProfileAntiSpam::quarantineWhitelistSender() const {
  return of<Impl>(*this, kSource, 160).has(Impl::kQuarantineWhitelistSender);
}
bool ProfileAntiSpam::imageSpam() const {
  return of<Impl>(*this, kSource, 168).has(Impl::kImageSpam);
}
bool ProfileAntiSpam::whitelistWord() const {
  return of<Impl>(*this, kSource, 176).has(Impl::kWhitelistWord);
}
bool ProfileAntiSpam::spfFailureSpam() const {
  return of<Impl>(*this, kSource, 184).has(Impl::kSpfFailureSpam);
}
bool ProfileAntiSpam::newsLetterSuspicious() const {
  return of<Impl>(*this, kSource, 192).has(Impl::kNewsLetterSuspicious);
}
bool ProfileAntiSpam::behavior() const {
  return of<Impl>(*this, kSource, 200).has(Impl::kBehavior);
}
bool ProfileAntiSpam::spamOutBreak() const {
  return of<Impl>(*this, kSource, 208).has(Impl::kSpamOutBreak);
}
bool ProfileAntiSpam::newsLetter() const {
  return of<Impl>(*this, kSource, 216).has(Impl::kNewsLetter);
}
bool ProfileAntiSpam::dmarc() const { return of<Impl>(*this, kSource, 224).has(Impl::kDmarc); }
const NorbexAntiSpamSettings& ProfileAntiSpam::norbexAntiSpamSettings() const {
  return of<Impl>(*this, kSource, 232).norbexSettings;
}
const HeuristicSettings& ProfileAntiSpam::heuristicSettings() const {
  return of<Impl>(*this, kSource, 240).heuristicSettings;
}
const BayesianSettings& ProfileAntiSpam::bayesianSettings() const {
  return of<Impl>(*this, kSource, 248).bayesianSettings;
}
const DeepHeaderSettings& ProfileAntiSpam::deepHeaderSettings() const {
  return of<Impl>(*this, kSource, 256).deepHeaderSettings;
}
const std::list<std::string>& ProfileAntiSpam::rblServers() const {
  return of<Impl>(*this, kSource, 264).rblServers;
}
const std::list<std::string>& ProfileAntiSpam::surblServers() const {
  return of<Impl>(*this, kSource, 272).surblServers;
}
const Ref<DictionaryScannerImpl>& ProfileAntiSpam::bannedWordDictionaryScanner() const {
  return of<Impl>(*this, kSource, 280).bannedWordScanner;
}
const Ref<DictionaryScannerImpl>& ProfileAntiSpam::whiteWordDictionaryScanner() const {
  return of<Impl>(*this, kSource, 288).whiteWordScanner;
}
const Ref<DictionaryScannerImpl>& ProfileAntiSpam::dictionaryScanner() const {
  return of<Impl>(*this, kSource, 296).dictionaryScanner;
}
std::int64_t ProfileAntiSpam::minScore() const { return of<Impl>(*this, kSource, 304).minScore; }
std::uint32_t ProfileAntiSpam::maxScanSize() const {
  return of<Impl>(*this, kSource, 312).maxScanSize;
}
std::uint32_t ProfileAntiSpam::imageScanLevel() const {
  const Impl& profile = of<Impl>(*this, kSource, 320);
  return profile.has(Impl::kImageSpam) ? profile.imageScanLevel : 0;
}
bool ProfileAntiSpam::isOutgoing() const { return of<Impl>(*this, kSource, 328).isOutgoing; }
std::uint32_t ProfileAntiSpam::quarantineAutoDeleteDays() const {
  return of<Impl>(*this, kSource, 336).quarantineAutoDeleteDays;
}
const ProfileWebFilter& ProfileAntiSpam::profileWebFilter() const {
  return of<Impl>(*this, kSource, 344).profileWebFilter;
}
bool ProfileAntiSpam::applyDefaultActionToAllMessages() const {
  return of<Impl>(*this, kSource, 352).applyDefaultActionToAllMessages;
}
const ActionContainer& ProfileAntiSpam::individualAction(ClassifierType classifier) const {
  const Impl& profile = of<Impl>(*this, kSource, 360);
  const auto own = profile.classifierActions.find(classifier);
  return own != profile.classifierActions.end() ? own->second : profile.actions;
}

}  // namespace Kestrav
