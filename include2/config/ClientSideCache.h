// Copies of system-wide settings that readers use without touching the store.
//
// A snapshot is never changed: a change of the table replaces it, and callers that hold the old one
// keep it. Call instance() once for an operation and read everything from that snapshot. Any thread
// may call instance() at any time.
#pragma once

#include <memory>

#include "VexaRefcounted.h"
#include "config/CMF.h"
#include "config/Event.h"
#include "platform/common/Export.h"
#include "platform/common/Mutex.h"
#include "platform/config/records/Gid.h"

struct __aps_mailserver;
struct __aps_sys_global;
struct __aps_sys_antispam;
struct __aps_vip_map;
struct __aps_acl_ruleset;
struct __vexa_bounce_profile;
struct __aps_as_wf_profile;

namespace Kestrav::CMF {

// One record with its lists, copied.
template <class Rec>
class KESTRAV_API ApsSysClientSideCache : public virtual RefImpl, public NonCopyable {
 public:
  explicit ApsSysClientSideCache(const Rec& record);

  const Rec& record() const { return *record_; }

 private:
  const std::shared_ptr<const Rec> record_;
};

template <class Rec, unsigned int GID>
class ApsSysClientSideCacheHandler;

template <class Rec, unsigned int GID>
class KESTRAV_API RefApsSysClientSideCache : public Ref<ApsSysClientSideCache<Rec>> {
 public:
  RefApsSysClientSideCache() = default;
  explicit RefApsSysClientSideCache(const Rec& record);

  // The current snapshot; the first call registers for the table's changes and reads the record.
  // Throws Exception when the store cannot be read, kForked in a child that uses its parent's
  // store. The flag makes no difference.
  static RefApsSysClientSideCache instance(bool);

 private:
  friend class ApsSysClientSideCacheHandler<Rec, GID>;

  struct Current;
  struct Read;
  static Current& current();
  static Read read();
  static void reload();
  static void forget();
};

// Replaces the snapshot after any change of the table.
template <class Rec, unsigned int GID>
class KESTRAV_API ApsSysClientSideCacheHandler : public Event::HandlerTemplate<Rec, GID> {
 public:
  using Event::HandlerTemplate<Rec, GID>::message;
  void message(unsigned int, const Rec*, const Rec*) override;
  void resync() override;
};

// All of them, with the constant that describes the record. They are instantiated in one library,
// so that a process has one snapshot of each.
#define KESTRAV_CLIENT_SIDE_CACHES(DO)                              \
  DO(__aps_mailserver, GID_MAIL_SERVER, kMailServerType)            \
  DO(__aps_sys_global, GID_SYSTEM_GLOBAL, kSystemGlobalType)        \
  DO(__aps_sys_antispam, GID_SYSTEM_ANTISPAM, kSystemAntispamType)  \
  DO(__aps_vip_map, GID_ADDRESS_MAP, kAddressMapType)               \
  DO(__aps_acl_ruleset, GID_ACL_RULESET, kAclRulesetType)           \
  DO(__vexa_bounce_profile, GID_BOUNCE_PROFILE, kBounceProfileType) \
  DO(__aps_as_wf_profile, GID_WEB_FILTER_PROFILE, kWebFilterProfileType)

#define KESTRAV_EXTERN_CACHE(Rec, GID, Type)                            \
  extern template class KESTRAV_API ApsSysClientSideCache<Rec>;         \
  extern template class KESTRAV_API RefApsSysClientSideCache<Rec, GID>; \
  extern template class KESTRAV_API ApsSysClientSideCacheHandler<Rec, GID>;
KESTRAV_CLIENT_SIDE_CACHES(KESTRAV_EXTERN_CACHE)
#undef KESTRAV_EXTERN_CACHE

}  // namespace Kestrav::CMF
