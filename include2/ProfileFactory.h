// Makes profiles from configuration records, each once, and keeps them until the configuration
// changes.
//
// One per process, made on first use and never destroyed. Any number of threads may ask for
// profiles; the configuration library's event thread drops what has changed. A profile that a
// caller holds stays as it is; the next request builds a new one.
//
// What is promised: once a change has been applied in this process, no later call returns a profile
// built from the older records, and a load that began before the change does not publish after it.
#pragma once

#include <cstdint>
#include <memory>

#include "ProfileAntiSpam.h"
#include "ProfileQuarantineFolder.h"
#include "ProfileWebFilter.h"
#include "platform/common/Export.h"
#include "platform/config/records/Gid.h"

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
  // Ids of the system quarantine folders named "Bulk", "Virus", "Content" and "Dlp"; 0 for one that
  // did not exist when the factory was made, and before that. Read once: a folder made later does
  // not show.
  static std::uint32_t spam_folderId;
  static std::uint32_t virus_folderId;
  static std::uint32_t content_folderId;
  static std::uint32_t dlp_folderId;

  // The factory. The first call makes it, registers its event handlers and may throw what the store
  // throws; a later call tries again then.
  static ProfileFactory* instance();

  ProfileFactory(const ProfileFactory&) = delete;
  ProfileFactory& operator=(const ProfileFactory&) = delete;

  // The profile `id`, looked for in the system domain first, then in `domain`. Null when neither
  // holds it. Profiles are known by id alone: one found in a domain is served to all domains from
  // then on. Throw what the profile's constructor throws; nothing is kept then.
  ProfileAntiSpam createProfileAntiSpam(int id, unsigned int domain) const;

  // System domain only, whatever `domain` says.
  Ref<ProfileQuarantineFolder> createProfileQuarantineFolder(int id, unsigned int domain) const;

  // System domain only. Null for id 0.
  ProfileWebFilter createProfileWebFilter(int id) const;

  // A record has changed: forget the profile `id` of its kind. `record` is the new one, null when
  // it was deleted; only a trace line reads it. Failures are logged, never thrown.
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

  // Forget every profile of a kind.
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

  // Non-zero while large messages are to be held back (see DeferPeriod).
  int deferredPeriod();

  // Takes the period over from the mail server settings; null leaves it as it is.
  void updateDeferPeriod(const __aps_mailserver* settings);

  // The caches, known inside the library only.
  struct Caches;

 private:
  friend class FactoryEvents;

  ProfileFactory();
  ~ProfileFactory();

  void start();
  static void readFolderIds();

  const std::unique_ptr<Caches> caches_;
  bool handlersRegistered_ = false;  // only the thread that makes the factory looks at it
};

}  // namespace Kestrav
