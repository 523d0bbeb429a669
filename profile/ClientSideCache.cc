#include "config/ClientSideCache.h"

#include <mutex>
#include <utility>

#include "platform/common/NoDestructor.h"
#include "platform/common/Synchronized.h"
#include "platform/config/records/AntispamRecords.h"
#include "platform/config/records/OwnedRecord.h"
#include "platform/config/records/SessionRecords.h"
#include "platform/config/records/SystemRecords.h"
#include "platform/config/records/WebFilterRecords.h"
#include "platform/config/store/Fork.h"

namespace Kestrav::CMF {

using Config::OwnedRecord;
using Config::RecordType;
using Config::Revision;

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

template <class Rec>
std::shared_ptr<const Rec> copyOf(const Rec& record) {
  const auto copy = std::make_shared<const OwnedRecord>(typeOf<Rec>(), &record);
  return {copy, copy->template as<Rec>()};
}

}  // namespace

template <class Rec>
ApsSysClientSideCache<Rec>::ApsSysClientSideCache(const Rec& record) : record_(copyOf(record)) {}

template <class Rec, unsigned int GID>
struct RefApsSysClientSideCache<Rec, GID>::Current {
  std::once_flag registration;
  Mutex mutex;  // guards what follows; the handle is copied before it is released
  RefApsSysClientSideCache snapshot;
  Revision readAt = 0;  // the snapshot's
};

template <class Rec, unsigned int GID>
typename RefApsSysClientSideCache<Rec, GID>::Current&
RefApsSysClientSideCache<Rec, GID>::current() {
  static NoDestructor<Current> state;
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
  Config::refuseParentsStore();
  Current& now = current();
  // Before the record is read, so that no change falls between the two.
  std::call_once(now.registration, [] {
    const Event::RefHandler handler(new ApsSysClientSideCacheHandler<Rec, GID>, false);
    Event::Dispatcher::instance("", false, false)->add(handler, 127, 1);
  });
  const Synchronized guard(now.mutex);
  if (!now.snapshot.isNull()) return now.snapshot;
  Revision revision = 0;
  RefApsSysClientSideCache made = read(revision);
  // This thread may have pinned an older revision than the one that others act on. Then the
  // snapshot is for this caller only.
  if (revision < Event::Dispatcher::instance("", false, false)->delivering()) return made;
  now.snapshot = made;
  now.readAt = revision;
  return made;
}

template <class Rec, unsigned int GID>
void RefApsSysClientSideCache<Rec, GID>::reload() {
  Revision revision = 0;
  RefApsSysClientSideCache made;
  try {
    made = read(revision);
  } catch (...) {
    forget();  // the snapshot is outdated: the next instance() reads again
    throw;
  }
  Current& now = current();
  const Synchronized guard(now.mutex);
  if (!now.snapshot.isNull() && revision < now.readAt) return;
  std::swap(now.snapshot, made);  // the old one ends without the mutex
  now.readAt = revision;
}

template <class Rec, unsigned int GID>
void RefApsSysClientSideCache<Rec, GID>::forget() {
  RefApsSysClientSideCache old;  // ends without the mutex
  Current& now = current();
  const Synchronized guard(now.mutex);
  std::swap(now.snapshot, old);
}

template <class Rec, unsigned int GID>
void ApsSysClientSideCacheHandler<Rec, GID>::message(unsigned int, const Rec*, const Rec*) {
  RefApsSysClientSideCache<Rec, GID>::reload();
}

template <class Rec, unsigned int GID>
void ApsSysClientSideCacheHandler<Rec, GID>::resync() {
  RefApsSysClientSideCache<Rec, GID>::forget();
}

#define KESTRAV_CACHE(Rec, GID, Type)                \
  template class ApsSysClientSideCache<Rec>;         \
  template class RefApsSysClientSideCache<Rec, GID>; \
  template class ApsSysClientSideCacheHandler<Rec, GID>;
KESTRAV_CLIENT_SIDE_CACHES(KESTRAV_CACHE)
#undef KESTRAV_CACHE

}  // namespace Kestrav::CMF
