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

bool ProfileAntiSpam::bayesian() const { return of<Impl>(*this, kSource, 40).bayesian; }
bool ProfileAntiSpam::norbexAntiSpam() const { return of<Impl>(*this, kSource, 48).norbexAntiSpam; }
bool ProfileAntiSpam::heuristic() const { return of<Impl>(*this, kSource, 56).heuristic; }
bool ProfileAntiSpam::rbl() const { return of<Impl>(*this, kSource, 64).rbl; }
bool ProfileAntiSpam::surbl() const { return of<Impl>(*this, kSource, 72).surbl; }
bool ProfileAntiSpam::systemList() const { return of<Impl>(*this, kSource, 80).systemList; }
bool ProfileAntiSpam::userList() const { return of<Impl>(*this, kSource, 88).userList; }
bool ProfileAntiSpam::deepHeader() const { return of<Impl>(*this, kSource, 96).deepHeader; }
bool ProfileAntiSpam::bannedWord() const { return of<Impl>(*this, kSource, 104).bannedWord; }
bool ProfileAntiSpam::dictionary() const { return of<Impl>(*this, kSource, 112).dictionary; }
bool ProfileAntiSpam::greyList() const { return of<Impl>(*this, kSource, 120).greyList; }
bool ProfileAntiSpam::bypassScanOnAuth() const {
  return of<Impl>(*this, kSource, 128).bypassScanOnAuth;
}
bool ProfileAntiSpam::quarantineReport() const {
  return of<Impl>(*this, kSource, 136).quarantineReport;
}
bool ProfileAntiSpam::quarantineEmailRelease() const {
  return of<Impl>(*this, kSource, 144).quarantineEmailRelease;
}
bool ProfileAntiSpam::quarantineWebRelease() const {
  return of<Impl>(*this, kSource, 152).quarantineWebRelease;
}
bool ProfileAntiSpam::quarantineWhitelistSender() const {
  return of<Impl>(*this, kSource, 160).quarantineWhitelistSender;
}
bool ProfileAntiSpam::imageSpam() const { return of<Impl>(*this, kSource, 168).imageSpam; }
bool ProfileAntiSpam::whitelistWord() const { return of<Impl>(*this, kSource, 176).whitelistWord; }
bool ProfileAntiSpam::spfFailureSpam() const {
  return of<Impl>(*this, kSource, 184).spfFailureSpam;
}
bool ProfileAntiSpam::newsLetterSuspicious() const {
  return of<Impl>(*this, kSource, 192).newsLetterSuspicious;
}
bool ProfileAntiSpam::behavior() const { return of<Impl>(*this, kSource, 200).behavior; }
bool ProfileAntiSpam::spamOutBreak() const { return of<Impl>(*this, kSource, 208).spamOutBreak; }
bool ProfileAntiSpam::newsLetter() const { return of<Impl>(*this, kSource, 216).newsLetter; }
bool ProfileAntiSpam::dmarc() const { return of<Impl>(*this, kSource, 224).dmarc; }
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
  return profile.imageSpam ? profile.imageScanLevel : 0;
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
