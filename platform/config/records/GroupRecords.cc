#include "platform/config/records/GroupRecords.h"

#include "platform/config/records/FieldMakers.h"

namespace Kestrav::Config {
using namespace FieldMakers;

namespace of_vexa_email_address_group {
using Record = ::__vexa_email_address_group;
constexpr Field kFields[] = {
    text("name", AT(name)).required().help("Name of the group."),
    list("members", offsetof(Record, member_count), &kEmailSlotType)
        .help("E-mail addresses, possibly with wildcards."),
    ownId("id", AT(id)),
    reserved("reserved-60", AT(reserved_60)),
};
}  // namespace of_vexa_email_address_group
constexpr RecordType kEmailGroupType{"__vexa_email_address_group",
                                     sizeof(::__vexa_email_address_group),
                                     of_vexa_email_address_group::kFields};
static_assert(coversEveryByte(kEmailGroupType) && isWellFormed(kEmailGroupType));

namespace of_vexa_ip_address_entry {
using Record = ::__vexa_ip_address_entry;
constexpr Field kFields[] = {
    addressMask("address", AT(mask)).required().help("Address, prefix or IPv4 range."),
};
}  // namespace of_vexa_ip_address_entry
constexpr RecordType kIpEntryType{"__vexa_ip_address_entry", sizeof(::__vexa_ip_address_entry),
                                  of_vexa_ip_address_entry::kFields};
static_assert(coversEveryByte(kIpEntryType) && isWellFormed(kIpEntryType));

namespace of_vexa_ip_address_group {
using Record = ::__vexa_ip_address_group;
constexpr Field kFields[] = {
    text("name", AT(name)).required().help("Name of the group."),
    list("members", offsetof(Record, member_count), &kIpEntryType)
        .help("Addresses, prefixes and IPv4 ranges."),
    ownId("id", AT(id)),
    reserved("reserved-60", AT(reserved_60)),
};
}  // namespace of_vexa_ip_address_group
constexpr RecordType kIpGroupType{"__vexa_ip_address_group", sizeof(::__vexa_ip_address_group),
                                  of_vexa_ip_address_group::kFields};
static_assert(coversEveryByte(kIpGroupType) && isWellFormed(kIpGroupType));

}  // namespace Kestrav::Config
