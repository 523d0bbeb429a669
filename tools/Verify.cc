#include "platform/config/store/Verify.h"

#include <ostream>

#include "platform/common/Exception.h"
#include "tools/Messages.h"
#include "tools/Verbs.h"

namespace Kestrav::Tool {

int verify(const Context& context) {
  if (context.store.empty()) throw Exception("--store is empty", Exception::kBadText);
  const Config::Verification found = Config::verifyStore(context.store, context.group);
  for (const std::string& damage : found.damages) {
    context.out << "damage: " << oneLine(damage) << "\n";
  }
  context.out << "store      " << context.store.string() << "\n"
              << "revision   " << found.revision << "\n"
              << "pages      " << found.pages << "\n"
              << "rows       " << found.rows << " of " << found.tables << " tables, with "
              << found.lists << " lists\n"
              << "index      " << found.indexes << " entries\n"
              << "journal    " << found.entries << " changes of " << found.revisions
              << " revisions\n"
              << "damages    " << found.damages.size() << "\n";
  return found.damages.empty() ? kDone : kNo;
}

}  // namespace Kestrav::Tool
