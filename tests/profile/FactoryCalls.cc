#include "FactoryCalls.h"

#include <mutex>
#include <utility>

#include "ProfileFactory.h"
#include "platform/dictionary/DictionaryFactory.h"

namespace Kestrav::Testing {
namespace {

std::mutex gMutex;
std::vector<std::string> gCalls;  // guarded by gMutex

void noteUpdate(const char* kind, ngid_t domain, int id, const void* record) {
  noteFactoryCall(std::string("update ") + kind + " in " + std::to_string(domain) + ": " +
                  std::to_string(id) + (record == nullptr ? " gone" : ""));
}

}  // namespace

std::vector<std::string> takeFactoryCalls() {
  const std::lock_guard guard(gMutex);
  return std::exchange(gCalls, {});
}

void noteFactoryCall(std::string call) {
  const std::lock_guard guard(gMutex);
  gCalls.push_back(std::move(call));
}

// A member function is called as a function whose first argument is the object.
extern "C" {

void __real__ZN7Kestrav14ProfileFactory21clearAntispamProfilesEv(ProfileFactory*);
void __wrap__ZN7Kestrav14ProfileFactory21clearAntispamProfilesEv(ProfileFactory* self) {
  noteFactoryCall("clear antispam");
  __real__ZN7Kestrav14ProfileFactory21clearAntispamProfilesEv(self);
}

void __real__ZN7Kestrav14ProfileFactory22clearAntivirusProfilesEv(ProfileFactory*);
void __wrap__ZN7Kestrav14ProfileFactory22clearAntivirusProfilesEv(ProfileFactory* self) {
  noteFactoryCall("clear antivirus");
  __real__ZN7Kestrav14ProfileFactory22clearAntivirusProfilesEv(self);
}

void __real__ZN7Kestrav14ProfileFactory20clearContentProfilesEv(ProfileFactory*);
void __wrap__ZN7Kestrav14ProfileFactory20clearContentProfilesEv(ProfileFactory* self) {
  noteFactoryCall("clear content");
  __real__ZN7Kestrav14ProfileFactory20clearContentProfilesEv(self);
}

void __real__ZN7Kestrav14ProfileFactory16clearDLPProfilesEv(ProfileFactory*);
void __wrap__ZN7Kestrav14ProfileFactory16clearDLPProfilesEv(ProfileFactory* self) {
  noteFactoryCall("clear DLP");
  __real__ZN7Kestrav14ProfileFactory16clearDLPProfilesEv(self);
}

void __real__ZN7Kestrav14ProfileFactory24clearFilePatternProfilesEv(ProfileFactory*);
void __wrap__ZN7Kestrav14ProfileFactory24clearFilePatternProfilesEv(ProfileFactory* self) {
  noteFactoryCall("clear file pattern");
  __real__ZN7Kestrav14ProfileFactory24clearFilePatternProfilesEv(self);
}

void __real__ZN7Kestrav14ProfileFactory25clearNotificationProfilesEv(ProfileFactory*);
void __wrap__ZN7Kestrav14ProfileFactory25clearNotificationProfilesEv(ProfileFactory* self) {
  noteFactoryCall("clear notification");
  __real__ZN7Kestrav14ProfileFactory25clearNotificationProfilesEv(self);
}

void __real__ZN7Kestrav14ProfileFactory20clearSessionProfilesEv(ProfileFactory*);
void __wrap__ZN7Kestrav14ProfileFactory20clearSessionProfilesEv(ProfileFactory* self) {
  noteFactoryCall("clear session");
  __real__ZN7Kestrav14ProfileFactory20clearSessionProfilesEv(self);
}

void __real__ZN7Kestrav14ProfileFactory22clearWebFilterProfilesEv(ProfileFactory*);
void __wrap__ZN7Kestrav14ProfileFactory22clearWebFilterProfilesEv(ProfileFactory* self) {
  noteFactoryCall("clear web filter");
  __real__ZN7Kestrav14ProfileFactory22clearWebFilterProfilesEv(self);
}

void __real__ZNK7Kestrav14ProfileFactory6updateEjiPK19__aps_gw_as_profile(
    const ProfileFactory*, ngid_t, int, const __aps_gw_as_profile*);
void __wrap__ZNK7Kestrav14ProfileFactory6updateEjiPK19__aps_gw_as_profile(
    const ProfileFactory* self, ngid_t domain, int id, const __aps_gw_as_profile* record) {
  noteUpdate("antispam", domain, id, record);
  __real__ZNK7Kestrav14ProfileFactory6updateEjiPK19__aps_gw_as_profile(self, domain, id, record);
}

void __real__ZNK7Kestrav14ProfileFactory6updateEjiPK19__aps_gw_av_profile(
    const ProfileFactory*, ngid_t, int, const __aps_gw_av_profile*);
void __wrap__ZNK7Kestrav14ProfileFactory6updateEjiPK19__aps_gw_av_profile(
    const ProfileFactory* self, ngid_t domain, int id, const __aps_gw_av_profile* record) {
  noteUpdate("antivirus", domain, id, record);
  __real__ZNK7Kestrav14ProfileFactory6updateEjiPK19__aps_gw_av_profile(self, domain, id, record);
}

void __real__ZNK7Kestrav14ProfileFactory6updateEjiPK24__aps_gw_content_profile(
    const ProfileFactory*, ngid_t, int, const __aps_gw_content_profile*);
void __wrap__ZNK7Kestrav14ProfileFactory6updateEjiPK24__aps_gw_content_profile(
    const ProfileFactory* self, ngid_t domain, int id, const __aps_gw_content_profile* record) {
  noteUpdate("content", domain, id, record);
  __real__ZNK7Kestrav14ProfileFactory6updateEjiPK24__aps_gw_content_profile(self, domain, id,
                                                                            record);
}

void __real__ZNK7Kestrav14ProfileFactory6updateEjiPK17__aps_dlp_profile(const ProfileFactory*,
                                                                        ngid_t, int,
                                                                        const __aps_dlp_profile*);
void __wrap__ZNK7Kestrav14ProfileFactory6updateEjiPK17__aps_dlp_profile(
    const ProfileFactory* self, ngid_t domain, int id, const __aps_dlp_profile* record) {
  noteUpdate("DLP", domain, id, record);
  __real__ZNK7Kestrav14ProfileFactory6updateEjiPK17__aps_dlp_profile(self, domain, id, record);
}

void __real__ZNK7Kestrav14ProfileFactory6updateEjiPK25__vexa_encryption_profile(
    const ProfileFactory*, ngid_t, int, const __vexa_encryption_profile*);
void __wrap__ZNK7Kestrav14ProfileFactory6updateEjiPK25__vexa_encryption_profile(
    const ProfileFactory* self, ngid_t domain, int id, const __vexa_encryption_profile* record) {
  noteUpdate("encryption", domain, id, record);
  __real__ZNK7Kestrav14ProfileFactory6updateEjiPK25__vexa_encryption_profile(self, domain, id,
                                                                             record);
}

void __real__ZNK7Kestrav14ProfileFactory6updateEjiPK26__aps_profile_notification(
    const ProfileFactory*, ngid_t, int, const __aps_profile_notification*);
void __wrap__ZNK7Kestrav14ProfileFactory6updateEjiPK26__aps_profile_notification(
    const ProfileFactory* self, ngid_t domain, int id, const __aps_profile_notification* record) {
  noteUpdate("notification", domain, id, record);
  __real__ZNK7Kestrav14ProfileFactory6updateEjiPK26__aps_profile_notification(self, domain, id,
                                                                              record);
}

void __real__ZNK7Kestrav14ProfileFactory6updateEjiPK25__attachment_file_pattern(
    const ProfileFactory*, ngid_t, int, const __attachment_file_pattern*);
void __wrap__ZNK7Kestrav14ProfileFactory6updateEjiPK25__attachment_file_pattern(
    const ProfileFactory* self, ngid_t domain, int id, const __attachment_file_pattern* record) {
  noteUpdate("file pattern", domain, id, record);
  __real__ZNK7Kestrav14ProfileFactory6updateEjiPK25__attachment_file_pattern(self, domain, id,
                                                                             record);
}

void __real__ZNK7Kestrav14ProfileFactory6updateEjiPK19__aps_as_wf_profile(
    const ProfileFactory*, ngid_t, int, const __aps_as_wf_profile*);
void __wrap__ZNK7Kestrav14ProfileFactory6updateEjiPK19__aps_as_wf_profile(
    const ProfileFactory* self, ngid_t domain, int id, const __aps_as_wf_profile* record) {
  noteUpdate("web filter", domain, id, record);
  __real__ZNK7Kestrav14ProfileFactory6updateEjiPK19__aps_as_wf_profile(self, domain, id, record);
}

void __real__ZNK7Kestrav14ProfileFactory6updateEjiPK15__qv_ip_profile(const ProfileFactory*, ngid_t,
                                                                      int, const __qv_ip_profile*);
void __wrap__ZNK7Kestrav14ProfileFactory6updateEjiPK15__qv_ip_profile(
    const ProfileFactory* self, ngid_t domain, int id, const __qv_ip_profile* record) {
  noteUpdate("session", domain, id, record);
  __real__ZNK7Kestrav14ProfileFactory6updateEjiPK15__qv_ip_profile(self, domain, id, record);
}

void __real__ZNK7Kestrav14ProfileFactory6updateEjiPK30__aps_systemquarantine_folders(
    const ProfileFactory*, ngid_t, int, const __aps_systemquarantine_folders*);
void __wrap__ZNK7Kestrav14ProfileFactory6updateEjiPK30__aps_systemquarantine_folders(
    const ProfileFactory* self, ngid_t domain, int id,
    const __aps_systemquarantine_folders* record) {
  noteUpdate("quarantine folder", domain, id, record);
  __real__ZNK7Kestrav14ProfileFactory6updateEjiPK30__aps_systemquarantine_folders(self, domain, id,
                                                                                  record);
}

void __real__ZN7Kestrav14ProfileFactory17updateDeferPeriodEPK16__aps_mailserver(
    ProfileFactory*, const __aps_mailserver*);
void __wrap__ZN7Kestrav14ProfileFactory17updateDeferPeriodEPK16__aps_mailserver(
    ProfileFactory* self, const __aps_mailserver* settings) {
  noteFactoryCall(settings == nullptr ? "defer period gone" : "defer period");
  __real__ZN7Kestrav14ProfileFactory17updateDeferPeriodEPK16__aps_mailserver(self, settings);
}

void __real__ZN7Kestrav17DictionaryFactory5cleanEv(DictionaryFactory*);
void __wrap__ZN7Kestrav17DictionaryFactory5cleanEv(DictionaryFactory* self) {
  noteFactoryCall("clean dictionaries");
  __real__ZN7Kestrav17DictionaryFactory5cleanEv(self);
}

}  // extern "C"

}  // namespace Kestrav::Testing
