#include "tools/OpenStore.h"

namespace Kestrav::Tool {

std::shared_ptr<Config::ConfigStore> openStore(const Context& context, IfMissing ifMissing) {
  Config::ConfigStore::Options options;
  options.create = ifMissing == IfMissing::kCreate;
  auto store = Config::ConfigStore::open(context.store, options);
  Config::ConfigStore::attach(store);
  return store;
}

}  // namespace Kestrav::Tool
