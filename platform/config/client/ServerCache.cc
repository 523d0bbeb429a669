#include "platform/config/client/ServerCache.h"

#include <algorithm>
#include <shared_mutex>

#include "platform/common/NoDestructor.h"
#include "platform/common/Strings.h"
#include "platform/config/client/DomainIndex.h"
#include "platform/config/client/Event.h"
#include "platform/config/client/EventLoop.h"
#include "platform/config/client/StoreAccess.h"
#include "platform/config/records/DomainRecords.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/Tables.h"
#include "platform/config/store/ConfigStore.h"
#include "platform/config/store/Fork.h"
#include "platform/config/store/RevisionScope.h"
#include "platform/config/store/RowCodec.h"

namespace Kestrav::CMF {

using Config::Revision;
using Config::RevisionScope;
using Config::Client::DomainIndex;
using Config::Client::EventLoop;

namespace {

constexpr int kLongestAliasChain = 8;

struct Build {
  std::unique_ptr<DomainIndex> index;
  Revision revision = 0;
};

Build build() {
  Build made{std::make_unique<DomainIndex>(), 0};
  const Config::Snapshot snapshot = Config::Client::newestSnapshot();
  made.revision = snapshot.revision();
  snapshot.walk(GID_PROTECTED_DOMAIN, 0, [&](const Config::StoredRecord& record) {
    made.index->put(*record.as<__aps_gw_server>());
    return true;
  });
  return made;
}

// The same from the newest revision, even when this thread holds an older one.
Build buildFromNewest() {
  Build made;
  Config::Client::atNewestRevision([&made] { made = build(); });
  return made;
}

}  // namespace

// ---- one domain

ApsGwServer::ApsGwServer(Contents contents, std::string aliasKey)
    : contents_(std::move(contents)), aliasKey_(std::move(aliasKey)) {}

ApsGwServer::~ApsGwServer() = default;

const __aps_gw_server& ApsGwServer::record() const {
  std::call_once(once_, [this] {
    auto made = std::make_unique<__aps_gw_server>();
    std::string reason;
    const Config::StoredRecord whole =
        contents_.row.empty() ? Config::StoredRecord()
                              : Config::RowCodec::decode(*Config::findTable(GID_PROTECTED_DOMAIN),
                                                         0, contents_.id, contents_.row, reason);
    if (whole) {
      *made = *whole.as<__aps_gw_server>();
    } else {
      boundedCopy(made->name, contents_.name);
      boundedCopy(made->alias_of, contents_.aliasOf);
      made->id = contents_.id;
      made->disclaimer_mode = contents_.disclaimerMode;
      made->configuration_domain = contents_.configurationDomain;
    }
    record_ = std::move(made);
  });
  return *record_;
}

// ---- all of them

namespace {

// The domain's own contents or, for an alias, those of its target. `find` looks up one name.
template <class Find>
RefApsGwServer answer(const std::string& domain, const Find& find) {
  DomainIndex::Contents found;
  if (!find(domain, found)) return {};
  std::string aliasKey;
  DomainIndex::Contents target = found;
  int hops = 0;
  while (hops < kLongestAliasChain && !target.aliasOf.empty() &&
         find(std::string(target.aliasOf), target)) {
    ++hops;
  }
  if (hops > 0 && hops < kLongestAliasChain) {
    aliasKey = target.name;
    found = std::move(target);
  }
  return RefApsGwServer(new ApsGwServer(std::move(found), std::move(aliasKey)));
}

// As DomainIndex::find, by a scan of the table.
bool findInStore(const Config::Snapshot& snapshot, std::string_view name,
                 DomainIndex::Contents& contents) {
  DomainIndex index;
  snapshot.walk(GID_PROTECTED_DOMAIN, 0, [&](const Config::StoredRecord& record) {
    const auto* server = record.as<__aps_gw_server>();
    if (stringEqualsNoCase(boundedText(server->name), name)) index.put(*server);
    return true;
  });
  return index.find(name, contents);
}

}  // namespace

struct ApsGwServerCache::State {
  std::mutex writer;     // held while the index is built or changed; taken before `lock`
  Revision builtAt = 0;  // guarded by `writer`

  mutable std::shared_mutex lock;  // guards what follows; held exclusively for single steps only
  std::unique_ptr<DomainIndex> index;  // null until the first use
  Revision changedAt = 0;              // of the last change that is in the index

  void use(std::unique_ptr<DomainIndex> made, Revision at) {
    {
      const std::unique_lock exclusive(lock);
      index.swap(made);
      changedAt = at;
    }
    // The former one ends here, without the lock.
  }
  bool built() const {
    const std::shared_lock shared(lock);
    return index != nullptr;
  }
  // REQUIRES: `lock` is held.
  RefApsGwServer find(const std::string& domain) const;
  void buildOnce();
  void apply(const __aps_gw_server* before, const __aps_gw_server* after);
  void forget();
};

RefApsGwServer ApsGwServerCache::State::find(const std::string& domain) const {
  return answer(domain, [this](std::string_view name, DomainIndex::Contents& contents) {
    return index->find(name, contents);
  });
}

void ApsGwServerCache::State::buildOnce() {
  const std::scoped_lock writing(writer);
  if (built()) return;
  // This thread may have pinned a revision whose next changes were delivered before. In a decision
  // it has pinned the store for sure, and should not wait for another thread to read it.
  const std::shared_ptr<Config::ConfigStore> store = Config::ConfigStore::attached();
  const Revision least = RevisionScope::active() || store == nullptr
                             ? EventLoop::instance().delivering()
                             : store->revision();
  Build made = build();
  if (made.revision < least) made = buildFromNewest();
  builtAt = made.revision;
  use(std::move(made.index), made.revision);
}

// On the event thread.
void ApsGwServerCache::State::apply(const __aps_gw_server* before, const __aps_gw_server* after) {
  const std::scoped_lock writing(writer);
  const Revision delivering = EventLoop::instance().delivering();
  if (!built() || delivering <= builtAt) return;
  {
    const std::unique_lock exclusive(lock);
    changedAt = delivering;
    if (before != nullptr) index->erase(*before);
    if (after != nullptr) index->put(*after);
  }
  if (index->wasteful()) use(index->compacted(), delivering);
}

// The next use builds the index.
void ApsGwServerCache::State::forget() {
  const std::scoped_lock writing(writer);
  use(nullptr, 0);
}

// Keeps the index up to date, record by record.
class ApsGwServerHandler : public Event::HandlerTemplate<__aps_gw_server, GID_PROTECTED_DOMAIN> {
 public:
  explicit ApsGwServerHandler(ApsGwServerCache::State& state) : state_(state) {}

  using HandlerTemplate::message;
  void message(unsigned int domain, const __aps_gw_server* before,
               const __aps_gw_server* after) override {
    if (domain == 0) state_.apply(before, after);
  }
  void resync() override { state_.forget(); }

 private:
  ApsGwServerCache::State& state_;
};

ApsGwServerCache::ApsGwServerCache() : state_(std::make_unique<State>()) {}
ApsGwServerCache::~ApsGwServerCache() = default;

RefApsGwServer ApsGwServerCache::find(const std::string& domain) const {
  Config::refuseParentsStore();
  for (;;) {
    {
      const std::shared_lock shared(state_->lock);
      if (state_->index != nullptr) {
        if (RevisionScope::upToDate(state_->changedAt)) return state_->find(domain);
        break;
      }
    }
    state_->buildOnce();
  }
  if (!RevisionScope::mayRead()) return {};
  // Changes of other tables may keep the index behind the revision that the thread answers from.
  const Config::Snapshot snapshot = Config::Client::newestSnapshot();
  const Revision lastChange = snapshot.lastChanged(GID_PROTECTED_DOMAIN);
  {
    const std::shared_lock shared(state_->lock);
    if (state_->index != nullptr && lastChange <= state_->changedAt &&
        state_->changedAt <= std::min(snapshot.revision(), EventLoop::instance().applied())) {
      return state_->find(domain);
    }
  }
  return answer(domain, [&](std::string_view name, DomainIndex::Contents& contents) {
    return findInStore(snapshot, name, contents);
  });
}

std::size_t ApsGwServerCache::size() const {
  const std::shared_lock shared(state_->lock);
  return state_->index != nullptr ? state_->index->size() : 0;
}

std::size_t ApsGwServerCache::bytes() const {
  const std::shared_lock shared(state_->lock);
  return state_->index != nullptr ? state_->index->bytes() : 0;
}

RefApsGwServerCache RefApsGwServerCache::instance(bool) {
  Config::refuseParentsStore();
  static NoDestructor<const RefApsGwServerCache> cache([] {
    RefApsGwServerCache made(new ApsGwServerCache);
    const Event::RefHandler handler(new ApsGwServerHandler(*made->state_), false);
    Event::Dispatcher::instance("", false, false)->add(handler, 127, 1);
    return made;
  }());
  return *cache;
}

}  // namespace Kestrav::CMF
