#include <ostream>

#include "tools/OpenStore.h"
#include "tools/Verbs.h"

namespace Kestrav::Tool {

int compact(const Context& context) {
  const auto store = openStore(context, IfMissing::kRefuse);
  const auto [before, after] = store->compact();
  context.out << "size: " << before << " -> " << after << " bytes\n";
  return kDone;
}

}  // namespace Kestrav::Tool
