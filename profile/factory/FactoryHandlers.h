// What keeps the profile factory's caches, and the sets of trusted MTAs, true to the configuration:
// one handler for each table that profiles are made from, directly or not.
//
// Called on the configuration library's event thread. Handlers that drop single profiles forget the
// whole kind when changes were missed; the others forget all of it anyway.
#pragma once

#include "ProfileFactory.h"
#include "config/Event.h"
#include "platform/common/Export.h"

struct __aps_acl_ruleset;
struct __aps_antispam_action;
struct __aps_cmsg_type;
struct __aps_content_action;
struct __aps_fasmilter;
struct __aps_ip_mask_string;
struct __aps_vip_map;
struct __vexa_bounce_profile;
struct __vexa_dictionary;
struct __vexa_dictionary_group;
struct __vexa_dictionary_group_item;
struct __vexa_dictionary_item;
struct aps_antivirus_action;

namespace Kestrav {

// The way of event handlers into the factory.
class FactoryEvents {
 public:
  // The factory, also while it is still registering its handlers.
  static ProfileFactory& factory();
  static ProfileFactory::Caches& caches(ProfileFactory& factory);

  // Kinds that callers have no reason to clear.
  static void clearEncryptionProfiles(ProfileFactory& factory);
  static void clearQuarantineFolders(ProfileFactory& factory);
};

// Register the factory's handlers with the dispatcher: all but the one for quarantine folders, and
// that one, which comes last.
void registerFactoryHandlers();
void registerQuarantineFolderHandler();

}  // namespace Kestrav

namespace Kestrav::CMF::Event {

// Drops the one profile whose record changed.
template <class Rec, unsigned int GID>
class KESTRAV_API ProfileHandler : public HandlerTemplate<Rec, GID> {
 public:
  using HandlerTemplate<Rec, GID>::message;
  void message(unsigned int domain, const Rec* oldRecord, const Rec* newRecord) override;
  void resync() override;
};

extern template class KESTRAV_API ProfileHandler<__aps_gw_as_profile, GID_ANTISPAM_PROFILE>;
extern template class KESTRAV_API ProfileHandler<__aps_gw_av_profile, GID_ANTIVIRUS_PROFILE>;
extern template class KESTRAV_API ProfileHandler<__aps_dlp_profile, GID_DLP_PROFILE>;
extern template class KESTRAV_API ProfileHandler<__vexa_encryption_profile, GID_ENCRYPTION_PROFILE>;
extern template class KESTRAV_API
    ProfileHandler<__aps_profile_notification, GID_NOTIFICATION_PROFILE>;
extern template class KESTRAV_API ProfileHandler<__aps_gw_content_profile, GID_CONTENT_PROFILE>;
extern template class KESTRAV_API ProfileHandler<__qv_ip_profile, GID_SESSION_PROFILE>;
extern template class KESTRAV_API
    ProfileHandler<__aps_systemquarantine_folders, GID_QUARANTINE_FOLDER>;

class KESTRAV_API DeepheaderHandler : public HandlerTemplate<__aps_fasmilter, GID_DEEP_HEADER> {
 public:
  using HandlerTemplate::message;
  void message(unsigned int, const __aps_fasmilter*, const __aps_fasmilter*) override;
};

class KESTRAV_API QV_DICTIONARY_GROUP
    : public HandlerTemplate<__vexa_dictionary_group, GID_DICTIONARY_GROUP> {
 public:
  using HandlerTemplate::message;
  void message(unsigned int, const __vexa_dictionary_group*,
               const __vexa_dictionary_group*) override;
};

class KESTRAV_API QV_DICTIONARY_GDEFINE
    : public HandlerTemplate<__vexa_dictionary_group_item, GID_DICTIONARY_GROUP_ITEM> {
 public:
  using HandlerTemplate::message;
  void message(unsigned int, const __vexa_dictionary_group_item*,
               const __vexa_dictionary_group_item*) override;
};

class KESTRAV_API QV_DICTIONARY : public HandlerTemplate<__vexa_dictionary, GID_DICTIONARY> {
 public:
  using HandlerTemplate::message;
  void message(unsigned int, const __vexa_dictionary*, const __vexa_dictionary*) override;
};

// Spelled so on purpose: the name is known outside.
class KESTRAV_API QV_DICTIONAY_ITEM
    : public HandlerTemplate<__vexa_dictionary_item, GID_DICTIONARY_ITEM> {
 public:
  using HandlerTemplate::message;
  void message(unsigned int, const __vexa_dictionary_item*, const __vexa_dictionary_item*) override;
};

class KESTRAV_API AntiSpamActionHandler
    : public HandlerTemplate<__aps_antispam_action, GID_ANTISPAM_ACTION> {
 public:
  using HandlerTemplate::message;
  void message(unsigned int, const __aps_antispam_action*, const __aps_antispam_action*) override;
};

class KESTRAV_API AntiVirusActionHandler
    : public HandlerTemplate<aps_antivirus_action, GID_ANTIVIRUS_ACTION> {
 public:
  using HandlerTemplate::message;
  void message(unsigned int, const aps_antivirus_action*, const aps_antivirus_action*) override;
};

class KESTRAV_API ContentActionHandler
    : public HandlerTemplate<__aps_content_action, GID_CONTENT_ACTION> {
 public:
  using HandlerTemplate::message;
  void message(unsigned int, const __aps_content_action*, const __aps_content_action*) override;
};

class KESTRAV_API FilePatternHandler
    : public HandlerTemplate<__attachment_file_pattern, GID_FILE_PATTERN> {
 public:
  using HandlerTemplate::message;
  void message(unsigned int, const __attachment_file_pattern*,
               const __attachment_file_pattern*) override;
};

class KESTRAV_API CustomMessageHandler
    : public HandlerTemplate<__aps_cmsg_type, GID_CUSTOM_MESSAGE> {
 public:
  using HandlerTemplate::message;
  void message(unsigned int, const __aps_cmsg_type*, const __aps_cmsg_type*) override;
};

class KESTRAV_API MailSettingHandler : public HandlerTemplate<__aps_mailserver, GID_MAIL_SERVER> {
 public:
  using HandlerTemplate::message;
  void message(unsigned int, const __aps_mailserver*, const __aps_mailserver* newRecord) override;
  void resync() override;
};

class KESTRAV_API SessionAddressMapHandler
    : public HandlerTemplate<__aps_vip_map, GID_ADDRESS_MAP> {
 public:
  using HandlerTemplate::message;
  void message(unsigned int, const __aps_vip_map*, const __aps_vip_map*) override;
};

class KESTRAV_API SessionACLHandler : public HandlerTemplate<__aps_acl_ruleset, GID_ACL_RULESET> {
 public:
  using HandlerTemplate::message;
  void message(unsigned int, const __aps_acl_ruleset*, const __aps_acl_ruleset*) override;
};

class KESTRAV_API BounceRulesHandler
    : public HandlerTemplate<__vexa_bounce_profile, GID_BOUNCE_PROFILE> {
 public:
  using HandlerTemplate::message;
  void message(unsigned int, const __vexa_bounce_profile*, const __vexa_bounce_profile*) override;
};

class KESTRAV_API WebFilterHandler
    : public HandlerTemplate<__aps_as_wf_profile, GID_WEB_FILTER_PROFILE> {
 public:
  // Web filters hold copies of their categories.
  WebFilterHandler() { other(GID_WEB_CATEGORY); }
  using HandlerTemplate::message;
  void message(unsigned int, const __aps_as_wf_profile*, const __aps_as_wf_profile*) override;
};

class KESTRAV_API AntiSpamTrustedMTAHandler
    : public HandlerTemplate<__aps_ip_mask_string, GID_TRUSTED_MTA> {
 public:
  using HandlerTemplate::message;
  void message(unsigned int, const __aps_ip_mask_string* oldRecord,
               const __aps_ip_mask_string* newRecord) override;
  void resync() override;
};

class KESTRAV_API AntiSpamTrustedAntiSpamMTAHandler
    : public HandlerTemplate<__aps_ip_mask_string, GID_TRUSTED_ANTISPAM_MTA> {
 public:
  using HandlerTemplate::message;
  void message(unsigned int, const __aps_ip_mask_string* oldRecord,
               const __aps_ip_mask_string* newRecord) override;
  void resync() override;
};

}  // namespace Kestrav::CMF::Event
