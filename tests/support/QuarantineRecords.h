// Builders of quarantine folders.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/config/records/QuarantineRecords.h"
#include "tests/support/RecordBuilder.h"

namespace Kestrav::Testing {

class QuarantineFolderRecord
    : public RecordBuilder<QuarantineFolderRecord, __aps_systemquarantine_folders,
                           GID_QUARANTINE_FOLDER> {
 public:
  QuarantineFolderRecord(std::uint32_t id, std::string_view name)
      : RecordBuilder(Config::kQuarantineFolderType) {
    record().id = id;
    text(record().name, name);
  }
};

}  // namespace Kestrav::Testing
