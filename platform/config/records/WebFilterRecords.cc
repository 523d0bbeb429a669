#include "platform/config/records/WebFilterRecords.h"

#include "platform/config/records/FieldMakers.h"

namespace Kestrav::Config {
using namespace FieldMakers;

namespace of_aps_wcf_category {
using Record = ::__aps_wcf_category;
constexpr Field kFields[] = {
    number("number", AT(number)).required().range(0, 255).help("Number of the category."),
    reserved("reserved-1", AT(reserved_1)),
    ownId("id", AT(id)),
    text("name", AT(name)).required().help("Name by which web filters refer to the category."),
};
}  // namespace of_aps_wcf_category
constexpr RecordType kWebCategoryType{"__aps_wcf_category", sizeof(::__aps_wcf_category),
                                      of_aps_wcf_category::kFields};
static_assert(coversEveryByte(kWebCategoryType) && isWellFormed(kWebCategoryType));

namespace of_aps_wcf_category_id {
using Record = ::__aps_wcf_category_id;
constexpr Field kFields[] = {
    reference("category", AT(id), GID_WEB_CATEGORY).help("Category of links."),
};
}  // namespace of_aps_wcf_category_id
constexpr RecordType kWebCategoryIdType{"__aps_wcf_category_id", sizeof(::__aps_wcf_category_id),
                                        of_aps_wcf_category_id::kFields};
static_assert(coversEveryByte(kWebCategoryIdType) && isWellFormed(kWebCategoryIdType));

namespace of_aps_as_wf_profile {
using Record = ::__aps_as_wf_profile;
constexpr Field kFields[] = {
    text("name", AT(name))
        .required()
        .help("Name by which antispam profiles refer to the web filter."),
    ownId("id", AT(id)),
    array("categories", offsetof(Record, category_id_count), 8 + sizeof(Record::category_ids),
          &kWebCategoryIdType, 128)
        .help("Categories that count as spam."),
};
}  // namespace of_aps_as_wf_profile
constexpr RecordType kWebFilterProfileType{"__aps_as_wf_profile", sizeof(::__aps_as_wf_profile),
                                           of_aps_as_wf_profile::kFields};
static_assert(coversEveryByte(kWebFilterProfileType) && isWellFormed(kWebFilterProfileType));

}  // namespace Kestrav::Config
