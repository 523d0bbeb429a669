// Builders of groups of e-mail addresses.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/config/records/GroupRecords.h"
#include "tests/support/RecordBuilder.h"

namespace Kestrav::Testing {

class EmailGroupRecord
    : public RecordBuilder<EmailGroupRecord, __vexa_email_address_group, GID_EMAIL_ADDRESS_GROUP> {
 public:
  explicit EmailGroupRecord(std::uint32_t id = 1) : RecordBuilder(Config::kEmailGroupType) {
    record().id = id;
    text(record().name, "group-" + std::to_string(id));
  }

  EmailGroupRecord& member(std::string_view address) {
    aps_email_address_t& entry =
        append<aps_email_address_t>(offsetof(__vexa_email_address_group, member_count));
    return text(entry.text, address);
  }
};

}  // namespace Kestrav::Testing
