#include "config/ClientSideCache.h"

#include <mutex>
#include <optional>
#include <utility>

#include "platform/common/NoDestructor.h"
#include "platform/common/ProcessWide.h"
#include "platform/config/records/AntispamRecords.h"
#include "platform/config/records/OwnedRecord.h"
#include "platform/config/records/SessionRecords.h"
#include "platform/config/records/SystemRecords.h"
#include "platform/config/records/WebFilterRecords.h"
#include "platform/config/store/Fork.h"
#include "platform/config/store/RevisionScope.h"

namespace Kestrav::CMF {

using Config::OwnedRecord;
using Config::RecordType;
using Config::Revision;
using Config::RevisionScope;

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

Event::Dispatcher dispatcher() { return Event::Dispatcher::instance("", false, false); }

}  // namespace

template <class Rec>
ApsSysClientSideCache<Rec>::ApsSysClientSideCache(const Rec& record) : record_(copyOf(record)) {}

template <class Rec, unsigned int GID>
struct RefApsSysClientSideCache<Rec, GID>::Read {
  RefApsSysClientSideCache settings;
  Revision at = 0;
};

template <class Rec, unsigned int GID>
struct RefApsSysClientSideCache<Rec, GID>::Current {
  std::once_flag registration;
  ProcessWide<Read> snapshot;
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
typename RefApsSysClientSideCache<Rec, GID>::Read RefApsSysClientSideCache<Rec, GID>::read() {
  const ObjectQuery<Rec, GID> query;
  const Rec* record = query.update();
  const Revision revision = cmf_query_revision(query.query());
  if (record != nullptr) return {RefApsSysClientSideCache(*record), revision};
  if (cmf_query_do_table_size(query.query(), 0) < 0) {
    throw Exception("The settings of table " + std::to_string(GID) + " cannot be read.",
                    Exception::kNullHandle, "config/ClientSideCache");
  }
  const OwnedRecord defaults(typeOf<Rec>());  // a list without a record
  return {RefApsSysClientSideCache(*defaults.template as<Rec>()), revision};
}

template <class Rec, unsigned int GID>
RefApsSysClientSideCache<Rec, GID> RefApsSysClientSideCache<Rec, GID>::instance(bool) {
  Config::refuseParentsStore();
  Current& now = current();
  // Before the record is read, so that no change falls between the two.
  std::call_once(now.registration, [] {
    const Event::RefHandler handler(new ApsSysClientSideCacheHandler<Rec, GID>, false);
    dispatcher()->add(handler, 127, 1);
    forget();  // a snapshot of a message before the registration
  });
  std::optional<Read> kept = now.snapshot.current();
  if (kept && RevisionScope::usable(kept->at)) return kept->settings;
  if (!RevisionScope::mayRead()) return kept ? kept->settings : read().settings;
  const Lock pin(true);  // before the lock of a build, so that a growing map does not wait for it
  // A thread that has pinned an older revision than the one that others act on gets a snapshot of
  // its own. So does a decision at another revision.
  kept = now.snapshot.get(read,
                          [](const Read& made) { return made.at >= dispatcher()->delivering(); });
  return RevisionScope::usable(kept->at) ? kept->settings : read().settings;
}

template <class Rec, unsigned int GID>
void RefApsSysClientSideCache<Rec, GID>::reload() {
  try {
    const Read made = current().snapshot.replace(read);
    if (made.at < dispatcher()->delivering()) forget();
  } catch (...) {
    forget();  // the snapshot is outdated: the next instance() reads again
    throw;
  }
}

template <class Rec, unsigned int GID>
void RefApsSysClientSideCache<Rec, GID>::forget() {
  current().snapshot.drop();
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
