#include <nlohmann/json.hpp>
#include <ostream>

#include "tools/ExplainModel.h"
#include "tools/ExplainText.h"
#include "tools/JsonText.h"
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
    context.out << indented(document);
  } else {
    printExplanation(document, context);
  }
  // No: a recipient gets no policy; without recipients, the connection gets none.
  if (document["recipients"].empty()) {
    return document["connection"]["policy"].is_null() ? kNo : kDone;
  }
  for (const auto& recipient : document["recipients"]) {
    if (recipient["policy"].is_null()) return kNo;
  }
  return kDone;
}

}  // namespace Kestrav::Tool
