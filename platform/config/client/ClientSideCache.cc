#include "config/ClientSideCache.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "platform/common/Synchronized.h"
#include "platform/config/client/EventLoop.h"

namespace Kestrav::CMF {

using Config::OwnedRecord;
using Config::RecordType;
using Config::Revision;
using Config::Client::EventLoop;

namespace {

template <class Rec>
const RecordType& typeOf();
#define KESTRAV_TYPE_OF(Rec, GID, Type) \
  template <>                           \
  const RecordType& typeOf<Rec>() {     \
    return Config::Type;                \
  }
KESTRAV_CLIENT_SIDE_CACHES(KESTRAV_TYPE_OF)
#undef KESTRAV_TYPE_OF

}  // namespace

template <class Rec>
ApsSysClientSideCache<Rec>::ApsSysClientSideCache(const Rec& record)
    : copy_(typeOf<Rec>(), &record) {}

template <class Rec, unsigned int GID>
struct RefApsSysClientSideCache<Rec, GID>::Current {
  std::once_flag registration;
  Mutex mutex;  // guards what follows; the handle is copied before it is released
  RefApsSysClientSideCache snapshot;
  Revision readAt = 0;        // the snapshot's
  Revision listensSince = 0;  // changes up to this revision are not announced
};

template <class Rec, unsigned int GID>
typename RefApsSysClientSideCache<Rec, GID>::Current&
RefApsSysClientSideCache<Rec, GID>::current() {
  static auto* const state = new Current;  // the event thread may outlive static objects
  return *state;
}

template <class Rec, unsigned int GID>
RefApsSysClientSideCache<Rec, GID>::RefApsSysClientSideCache(const Rec& record)
    : Ref<ApsSysClientSideCache<Rec>>(new ApsSysClientSideCache<Rec>(record)) {}

template <class Rec, unsigned int GID>
RefApsSysClientSideCache<Rec, GID> RefApsSysClientSideCache<Rec, GID>::read(Revision& revision) {
  const ObjectQuery<Rec, GID> query;
  const Rec* record = query.update();
  revision = cmf_query_revision(query.query());
  if (record != nullptr) return RefApsSysClientSideCache(*record);
  if (cmf_query_do_table_size(query.query(), 0) < 0) {
    throw Exception("The settings of table " + std::to_string(GID) + " cannot be read.",
                    Exception::kNullHandle, "config/ClientSideCache");
  }
  const OwnedRecord defaults(typeOf<Rec>());  // a list without a record
  return RefApsSysClientSideCache(*defaults.template as<Rec>());
}

template <class Rec, unsigned int GID>
RefApsSysClientSideCache<Rec, GID> RefApsSysClientSideCache<Rec, GID>::instance(bool) {
  EventLoop::instance().synchroniseIfAttached();
  Current& now = current();
  {
    const Synchronized guard(now.mutex);
    if (!now.snapshot.isNull()) return now.snapshot;
  }
  // Before the record is read, so that no change falls between the two.
  std::call_once(now.registration, [&now] {
    const Event::RefHandler handler(new ApsSysClientSideCacheHandler<Rec, GID>, false);
    const Revision since = Event::Dispatcher::instance("", false, false)->add(handler, 127, 1);
    const Synchronized guard(now.mutex);
    now.listensSince = since;
  });
  const Synchronized guard(now.mutex);
  if (!now.snapshot.isNull()) return now.snapshot;
  Revision revision = 0;
  RefApsSysClientSideCache made = read(revision);
  // This thread may hold an older revision than others already act on: then the snapshot is for it
  // alone.
  if (revision < std::max(now.listensSince, EventLoop::instance().delivering())) return made;
  now.snapshot = made;
  now.readAt = revision;
  return made;
}

template <class Rec, unsigned int GID>
void RefApsSysClientSideCache<Rec, GID>::replace(bool evenNewer) {
  Current& now = current();
  RefApsSysClientSideCache made;
  RefApsSysClientSideCache old;  // ends without the mutex
  Revision revision = 0;
  try {
    made = read(revision);
  } catch (...) {
    // Nothing is better than what is known to be outdated: the next instance() reads again.
    const Synchronized guard(now.mutex);
    std::swap(old, now.snapshot);
    throw;
  }
  const Synchronized guard(now.mutex);
  if (!evenNewer && !now.snapshot.isNull() && revision < now.readAt) return;
  old = std::exchange(now.snapshot, std::move(made));
  now.readAt = revision;
}

template <class Rec, unsigned int GID>
void RefApsSysClientSideCache<Rec, GID>::reload() {
  replace(false);
}

template <class Rec, unsigned int GID>
void RefApsSysClientSideCache<Rec, GID>::reset() {
  Current& now = current();
  {
    const Synchronized guard(now.mutex);
    now.listensSince = 0;
    if (now.snapshot.isNull()) return;
  }
  replace(true);
}

template <class Rec, unsigned int GID>
void ApsSysClientSideCacheHandler<Rec, GID>::message(unsigned int, const Rec*, const Rec*) {
  RefApsSysClientSideCache<Rec, GID>::reload();
}

template <class Rec, unsigned int GID>
void ApsSysClientSideCacheHandler<Rec, GID>::resync() {
  RefApsSysClientSideCache<Rec, GID>::reset();
}

#define KESTRAV_CACHE(Rec, GID, Type)                \
  template class ApsSysClientSideCache<Rec>;         \
  template class RefApsSysClientSideCache<Rec, GID>; \
  template class ApsSysClientSideCacheHandler<Rec, GID>;
KESTRAV_CLIENT_SIDE_CACHES(KESTRAV_CACHE)
#undef KESTRAV_CACHE

}  // namespace Kestrav::CMF
