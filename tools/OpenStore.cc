#include "tools/OpenStore.h"

#include "platform/common/Exception.h"

namespace Kestrav::Tool {

std::shared_ptr<Config::ConfigStore> openStore(const Context& context, IfMissing ifMissing) {
  if (context.store.empty()) throw Exception("--store is empty", Exception::kBadText);
  Config::ConfigStore::Options options;
  options.create = ifMissing == IfMissing::kCreate;
  options.group = context.group;
  auto store = Config::ConfigStore::open(context.store, options);
  Config::ConfigStore::attach(store);
  return store;
}

}  // namespace Kestrav::Tool
