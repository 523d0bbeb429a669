#include <nlohmann/json.hpp>
#include <ostream>

#include "tools/ExplainModel.h"
#include "tools/ExplainText.h"
#include "tools/OpenStore.h"
#include "tools/Progress.h"

namespace Kestrav::Tool {

int explain(const Context& context, const ExplainOptions& options) {
  const auto store = openStore(context, IfMissing::kRefuse);
  Progress progress(context);
  progress.stage("choosing policies");
  const nlohmann::ordered_json document = explainDocument(*store, options);
  progress.clear();
  if (options.json) {
    context.out << document.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << "\n";
  } else {
    printExplanation(document, context);
  }
  // No: some recipient gets no policy, or the connection, when none was asked about, gets none.
  if (document["recipients"].empty())
    return document["connection"]["policy"].is_null() ? kNo : kDone;
  for (const auto& recipient : document["recipients"]) {
    if (recipient["policy"].is_null()) return kNo;
  }
  return kDone;
}

}  // namespace Kestrav::Tool
