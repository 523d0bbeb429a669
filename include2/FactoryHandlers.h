// The handlers that keep the profile factory's caches and the sets of trusted MTAs up to date: one
// for each table that profiles are made from, directly or indirectly.
//
// The factory makes and registers them itself. A daemon that registers another one, or calls
// message(), only drops what would be made again. message() and resync() run on the event thread.
#pragma once

#include "config/Event.h"
#include "platform/common/Export.h"
#include "platform/config/records/Gid.h"

struct __aps_acl_ruleset;
struct __aps_antispam_action;
struct __aps_as_wf_profile;
struct __aps_cmsg_type;
struct __aps_content_action;
struct __aps_dlp_profile;
struct __aps_fasmilter;
struct __aps_gw_as_profile;
struct __aps_gw_av_profile;
struct __aps_gw_content_profile;
struct __aps_ip_mask_string;
struct __aps_mailserver;
struct __aps_profile_notification;
struct __aps_systemquarantine_folders;
struct __aps_vip_map;
struct __attachment_file_pattern;
struct __qv_ip_profile;
struct __vexa_bounce_profile;
struct __vexa_dictionary;
struct __vexa_dictionary_group;
struct __vexa_dictionary_group_item;
struct __vexa_dictionary_item;
struct __vexa_encryption_profile;
struct aps_antivirus_action;

namespace Kestrav {

// Clears every cache of the factory that depends on `table`: what a handler that clears does.
KESTRAV_API void clearProfilesOfTable(unsigned int table);

}  // namespace Kestrav

namespace Kestrav::CMF::Event {

// Drops the one profile whose record changed, or the whole kind when changes were missed.
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

// Clears whole kinds of profiles on any change of the table.
template <class Rec, unsigned int GID>
class KESTRAV_API ClearingHandler : public HandlerTemplate<Rec, GID> {
 public:
  using HandlerTemplate<Rec, GID>::message;
  void message(unsigned int, const Rec*, const Rec*) override { clearProfilesOfTable(GID); }
};

class KESTRAV_API DeepheaderHandler : public ClearingHandler<__aps_fasmilter, GID_DEEP_HEADER> {};
class KESTRAV_API QV_DICTIONARY_GROUP
    : public ClearingHandler<__vexa_dictionary_group, GID_DICTIONARY_GROUP> {};
class KESTRAV_API QV_DICTIONARY_GDEFINE
    : public ClearingHandler<__vexa_dictionary_group_item, GID_DICTIONARY_GROUP_ITEM> {};
class KESTRAV_API QV_DICTIONARY : public ClearingHandler<__vexa_dictionary, GID_DICTIONARY> {};
// Spelled so on purpose: the name is known outside.
class KESTRAV_API QV_DICTIONAY_ITEM
    : public ClearingHandler<__vexa_dictionary_item, GID_DICTIONARY_ITEM> {};
class KESTRAV_API AntiSpamActionHandler
    : public ClearingHandler<__aps_antispam_action, GID_ANTISPAM_ACTION> {};
class KESTRAV_API AntiVirusActionHandler
    : public ClearingHandler<aps_antivirus_action, GID_ANTIVIRUS_ACTION> {};
class KESTRAV_API ContentActionHandler
    : public ClearingHandler<__aps_content_action, GID_CONTENT_ACTION> {};
class KESTRAV_API FilePatternHandler
    : public ClearingHandler<__attachment_file_pattern, GID_FILE_PATTERN> {};
class KESTRAV_API CustomMessageHandler
    : public ClearingHandler<__aps_cmsg_type, GID_CUSTOM_MESSAGE> {};
class KESTRAV_API SessionAddressMapHandler
    : public ClearingHandler<__aps_vip_map, GID_ADDRESS_MAP> {};
class KESTRAV_API SessionACLHandler : public ClearingHandler<__aps_acl_ruleset, GID_ACL_RULESET> {};
class KESTRAV_API BounceRulesHandler
    : public ClearingHandler<__vexa_bounce_profile, GID_BOUNCE_PROFILE> {};

class KESTRAV_API WebFilterHandler
    : public ClearingHandler<__aps_as_wf_profile, GID_WEB_FILTER_PROFILE> {
 public:
  // Web filter profiles hold copies of their categories.
  WebFilterHandler() { other(GID_WEB_CATEGORY); }
};

// Also takes over the deferred period.
class KESTRAV_API MailSettingHandler : public ClearingHandler<__aps_mailserver, GID_MAIL_SERVER> {
 public:
  using ClearingHandler::message;
  void message(unsigned int, const __aps_mailserver*, const __aps_mailserver* newRecord) override;
  void resync() override;
};

// Applies the change of one address, or reads the whole table when changes were missed.
template <unsigned int GID>
class KESTRAV_API TrustedAddressHandler : public HandlerTemplate<__aps_ip_mask_string, GID> {
 public:
  using HandlerTemplate<__aps_ip_mask_string, GID>::message;
  void message(unsigned int, const __aps_ip_mask_string* oldRecord,
               const __aps_ip_mask_string* newRecord) override;
  void resync() override;
};

extern template class KESTRAV_API TrustedAddressHandler<GID_TRUSTED_MTA>;
extern template class KESTRAV_API TrustedAddressHandler<GID_TRUSTED_ANTISPAM_MTA>;

class KESTRAV_API AntiSpamTrustedMTAHandler : public TrustedAddressHandler<GID_TRUSTED_MTA> {};
class KESTRAV_API AntiSpamTrustedAntiSpamMTAHandler
    : public TrustedAddressHandler<GID_TRUSTED_ANTISPAM_MTA> {};

}  // namespace Kestrav::CMF::Event
