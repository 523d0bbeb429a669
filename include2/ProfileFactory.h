// Builds profiles from configuration records and caches them until the configuration changes.
//
// One per process, made on first use and never destroyed. Any number of threads may request
// profiles; the configuration library's event thread drops those that have changed. A profile that
// a caller holds does not change; the next request builds a new one.
//
// Once a change is applied in this process, no later call returns a profile built from the older
// records, and a load that began before the change does not publish after it.
#pragma once

#include <cstdint>
#include <memory>

#include "ProfileAntiSpam.h"
#include "ProfileQuarantineFolder.h"
#include "ProfileWebFilter.h"
#include "platform/common/Export.h"
#include "platform/config/records/Forward.h"

struct __aps_as_wf_profile;
struct __aps_dlp_profile;
struct __aps_gw_as_profile;
struct __aps_gw_av_profile;
struct __aps_gw_content_profile;
struct __aps_mailserver;
struct __aps_profile_notification;
struct __aps_systemquarantine_folders;
struct __attachment_file_pattern;
struct __qv_ip_profile;
struct __vexa_encryption_profile;

namespace Kestrav {

class KESTRAV_API ProfileFactory {
 public:
  // Ids of the system quarantine folders named "Bulk", "Virus", "Content" and "Dlp". Read once,
  // when the factory is made; 0 before that, and for a folder that did not exist then.
  static std::uint32_t spam_folderId;
  static std::uint32_t virus_folderId;
  static std::uint32_t content_folderId;
  static std::uint32_t dlp_folderId;

  // The factory. The first call makes it and registers its event handlers. When the store throws,
  // the next call tries again.
  static ProfileFactory* instance();

  ProfileFactory(const ProfileFactory&) = delete;
  ProfileFactory& operator=(const ProfileFactory&) = delete;

  // The profile `id` of the system domain, or else of `domain`; null when neither has it. Profiles
  // are cached by id alone: one found in a domain is returned to callers of all domains. Throw what
  // the profile's constructor throws; nothing is cached then.
  ProfileAntiSpam createProfileAntiSpam(int id, unsigned int domain) const;

  // System domain only; `domain` is ignored.
  Ref<ProfileQuarantineFolder> createProfileQuarantineFolder(int id, unsigned int domain) const;

  // System domain only. Null for id 0.
  ProfileWebFilter createProfileWebFilter(int id) const;

  // A record has changed: drop the profile `id` of its kind. `record` is the new one, null when it
  // was deleted; only a trace line reads it. Failures are logged, never thrown.
  void update(ngid_t domain, int id, const __aps_gw_as_profile* record) const;
  void update(ngid_t domain, int id, const __aps_gw_av_profile* record) const;
  void update(ngid_t domain, int id, const __aps_gw_content_profile* record) const;
  void update(ngid_t domain, int id, const __aps_dlp_profile* record) const;
  void update(ngid_t domain, int id, const __vexa_encryption_profile* record) const;
  void update(ngid_t domain, int id, const __aps_profile_notification* record) const;
  void update(ngid_t domain, int id, const __attachment_file_pattern* record) const;
  void update(ngid_t domain, int id, const __aps_as_wf_profile* record) const;
  void update(ngid_t domain, int id, const __qv_ip_profile* record) const;
  void update(ngid_t domain, int id, const __aps_systemquarantine_folders* record) const;

  // Drop every profile of a kind.
  void clearAntispamProfiles();
  void clearAntivirusProfiles();
  void clearContentProfiles();
  void clearDLPProfiles();
  void clearFilePatternProfiles();
  void clearNotificationProfiles();
  void clearSessionProfiles();
  void clearWebFilterProfiles();

  // The same without taking the kind's lock: the caller holds it, shared or exclusive.
  void _clearAntispamProfiles() const;
  void _clearContentProfiles() const;
  void _clearDLPProfiles() const;
  void _clearFilePatternProfiles() const;

  // Non-zero while large messages are held back (see DeferPeriod).
  int deferredPeriod();

  // Sets the period from the mail server settings; does nothing for null.
  void updateDeferPeriod(const __aps_mailserver* settings);

  // Defined inside the library only.
  struct Caches;

 private:
  friend class FactoryEvents;

  ProfileFactory();
  ~ProfileFactory();

  void start();
  void forgetEarlierRevisions();
  void readFolderIds();

  const std::unique_ptr<Caches> caches_;
  std::uint64_t folderIdsReadAt_ = 0;  // number of the attachment
  bool handlersRegistered_ = false;    // used only by the thread that makes the factory
};

}  // namespace Kestrav
