// Web filters and the categories of links that they name.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/common/Export.h"
#include "platform/config/records/Forward.h"

// A category of links as the cloud rating service numbers them.
struct __aps_wcf_category {
  unsigned char number;         // 0
  unsigned char reserved_1[3];  // 1
  std::uint32_t id;             // 4
  char name[64];                // 8
};
typedef struct __aps_wcf_category aps_wcf_category;
static_assert(sizeof(__aps_wcf_category) == 72);
static_assert(offsetof(__aps_wcf_category, number) == 0);
static_assert(offsetof(__aps_wcf_category, id) == 4);
static_assert(offsetof(__aps_wcf_category, name) == 8);

// A category named by a web filter.
struct __aps_wcf_category_id {
  std::uint32_t id;  // 0
};
typedef struct __aps_wcf_category_id aps_wcf_category_id;
static_assert(sizeof(__aps_wcf_category_id) == 4);
static_assert(offsetof(__aps_wcf_category_id, id) == 0);

// The categories of links that count as spam.
struct __aps_as_wf_profile {
  char name[36];                    // 0
  std::uint32_t id;                 // 36
  std::uint64_t category_id_count;  // 40
  std::uint32_t category_ids[128];  // 48
};
typedef struct __aps_as_wf_profile aps_as_wf_profile;
static_assert(sizeof(__aps_as_wf_profile) == 560);
static_assert(offsetof(__aps_as_wf_profile, name) == 0);
static_assert(offsetof(__aps_as_wf_profile, id) == 36);
static_assert(offsetof(__aps_as_wf_profile, category_id_count) == 40);
static_assert(offsetof(__aps_as_wf_profile, category_ids) == 48);

namespace Kestrav::Config {

KESTRAV_API extern const RecordType kWebCategoryType;       // __aps_wcf_category
KESTRAV_API extern const RecordType kWebCategoryIdType;     // __aps_wcf_category_id
KESTRAV_API extern const RecordType kWebFilterProfileType;  // __aps_as_wf_profile

}  // namespace Kestrav::Config
