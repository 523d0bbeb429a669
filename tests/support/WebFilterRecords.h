// Builders of web filters and their categories.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "platform/config/records/WebFilterRecords.h"
#include "tests/support/RecordBuilder.h"

namespace Kestrav::Testing {

class WebCategoryRecord
    : public RecordBuilder<WebCategoryRecord, __aps_wcf_category, GID_WEB_CATEGORY> {
 public:
  WebCategoryRecord(std::uint32_t id, unsigned char number)
      : RecordBuilder(Config::kWebCategoryType) {
    record().id = id;
    record().number = number;
    text(record().name, "category-" + std::to_string(id));
  }
};

class WebFilterRecord
    : public RecordBuilder<WebFilterRecord, __aps_as_wf_profile, GID_WEB_FILTER_PROFILE> {
 public:
  explicit WebFilterRecord(std::uint32_t id = 1) : RecordBuilder(Config::kWebFilterProfileType) {
    record().id = id;
    name("web-filter-" + std::to_string(id));
  }

  WebFilterRecord& name(std::string_view value) { return text(record().name, value); }
  // Ids of category records.
  WebFilterRecord& categories(std::initializer_list<std::uint32_t> ids) {
    for (const std::uint32_t id : ids) {
      append<__aps_wcf_category_id>(offsetof(__aps_as_wf_profile, category_id_count)).id = id;
    }
    return *this;
  }
};

}  // namespace Kestrav::Testing
