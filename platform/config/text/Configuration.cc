#include "platform/config/text/Configuration.h"

#include "platform/config/records/FieldAccess.h"

namespace Kestrav::Config::Text {

void* Configuration::locate(OwnedRecord& record, const std::vector<Step>& path) {
  void* at = record.data();
  for (const Step& step : path) {
    if (step.field->kind == Kind::kStruct) {
      at = readStruct(*step.field, at);
    } else {
      // The entries belong to `record`, so they may be written.
      at = const_cast<void*>(readEntries(*step.field, at).at(step.index));
    }
  }
  return at;
}

}  // namespace Kestrav::Config::Text
