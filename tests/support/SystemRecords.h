// Builders of the settings of the whole gateway.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/config/records/SystemRecords.h"
#include "tests/support/RecordBuilder.h"

namespace Kestrav::Testing {

class MailServerRecord : public RecordBuilder<MailServerRecord, __aps_mailserver, GID_MAIL_SERVER> {
 public:
  MailServerRecord() : RecordBuilder(Config::kMailServerType) {}

  MailServerRecord& deferredPeriod(std::uint32_t startHour, std::uint32_t startMinute,
                                   std::uint32_t endHour, std::uint32_t endMinute) {
    record().deferred_start_hour = startHour;
    record().deferred_start_minute = startMinute;
    record().deferred_end_hour = endHour;
    return set(record().deferred_end_minute, endMinute);
  }
};

class SystemGlobalRecord
    : public RecordBuilder<SystemGlobalRecord, __aps_sys_global, GID_SYSTEM_GLOBAL> {
 public:
  SystemGlobalRecord() : RecordBuilder(Config::kSystemGlobalType) {}

  SystemGlobalRecord& hostName(std::string_view value) { return text(record().host_name, value); }
  SystemGlobalRecord& dataLossPrevention(bool on) { return set(record().data_loss_prevention, on); }
};

}  // namespace Kestrav::Testing
