// The verbs that only convert between a configuration and text: check, dump, schema, records.
#include <ostream>

#include "platform/config/text/Text.h"
#include "tools/OpenStore.h"
#include "tools/Progress.h"
#include "tools/ReadFiles.h"

namespace Kestrav::Tool {

int check(const Context& context, const Files& files) {
  const auto configuration = readFiles(context, files);
  if (!configuration) return kBadInput;
  context.out << "no mistakes; " << counted(configuration->records().size(), "record") << "\n";
  return kDone;
}

int dump(const Context& context, bool secrets) {
  const auto store = openStore(context, IfMissing::kRefuse);
  Progress progress(context);
  if (!context.terminal) progress.stage("writing");
  Config::Text::write(store->snapshot(), context.out, {secrets});
  return kDone;
}

int schema(const Context& context) {
  context.out << Config::Text::schema();
  return kDone;
}

int records(const Context& context) {
  context.out << Config::Text::documentation();
  return kDone;
}

}  // namespace Kestrav::Tool
