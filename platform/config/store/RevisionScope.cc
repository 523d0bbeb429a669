#include "platform/config/store/RevisionScope.h"

#include <memory>
#include <utility>

namespace Kestrav::Config {

constinit thread_local RevisionScope* RevisionScope::current = nullptr;

RevisionScope::RevisionScope(Revision revision, Source source)
    : revision_(revision), source_(source) {
  current = this;
}

RevisionScope::~RevisionScope() {
  current = nullptr;
}

bool RevisionScope::pin() {
  if (source_ != Source::kCaches) return true;
  if (!missed_) {
    const std::shared_ptr<ConfigStore> store = ConfigStore::attached();
    Snapshot newest = store != nullptr ? store->snapshot() : ConfigStore::emptySnapshot();
    missed_ = newest.revision() != revision_;
    if (!missed_) {
      pin_.emplace(std::move(newest));
      source_ = Source::kCachesAndStore;
    }
  }
  return !missed_;
}

}  // namespace Kestrav::Config
