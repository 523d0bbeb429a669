// Builders of protected domains.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/config/records/DomainRecords.h"
#include "tests/support/RecordBuilder.h"

namespace Kestrav::Testing {

class ProtectedDomainRecord
    : public RecordBuilder<ProtectedDomainRecord, __aps_gw_server, GID_PROTECTED_DOMAIN> {
 public:
  ProtectedDomainRecord(std::uint32_t id, std::string_view name)
      : RecordBuilder(Config::kProtectedDomainType) {
    record().id = id;
    text(record().name, name);
  }
  ProtectedDomainRecord& configurationDomain(ngid_t domain) {
    return set(record().configuration_domain, domain);
  }
};

}  // namespace Kestrav::Testing
