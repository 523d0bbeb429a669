#include "platform/config/records/SharedRecords.h"

#include "platform/config/records/FieldMakers.h"

namespace Kestrav::Config {
using namespace FieldMakers;

constexpr Choice kAddressModificationKinds[] = {
    {"none", 0},
    {"prefix", 1},
    {"suffix", 2},
    {"replace", 3},
};

namespace of_cfg_as_email_address_modification {
using Record = ::cfg_as_email_address_modification_;
constexpr Field kFields[] = {
    words("kind", AT(kind), kAddressModificationKinds)
        .help("What becomes of this part of the address."),
    text("text", AT(text))
        .syntax("rewrite-text")
        .help("Text put before, after or in place of the part."),
};
}  // namespace of_cfg_as_email_address_modification
constexpr RecordType kAddressModificationType{"cfg_as_email_address_modification_",
                                              sizeof(::cfg_as_email_address_modification_),
                                              of_cfg_as_email_address_modification::kFields};
static_assert(coversEveryByte(kAddressModificationType) && isWellFormed(kAddressModificationType));

namespace of_aps_fqdn_t {
using Record = ::aps_fqdn_t;
constexpr Field kFields[] = {
    text("name", AT(name)).required().syntax("host").help("Host name."),
};
}  // namespace of_aps_fqdn_t
constexpr RecordType kHostEntryType{"aps_fqdn_t", sizeof(::aps_fqdn_t), of_aps_fqdn_t::kFields};
static_assert(coversEveryByte(kHostEntryType) && isWellFormed(kHostEntryType));

namespace of_aps_bounded_string {
using Record = ::aps_bounded_string;
constexpr Field kFields[] = {
    text("text", AT(text))
        .required()
        .syntax("address-entry")
        .help("Address, domain, IP address or mask."),
};
}  // namespace of_aps_bounded_string
constexpr RecordType kAddressEntryType{"aps_bounded_string", sizeof(::aps_bounded_string),
                                       of_aps_bounded_string::kFields};
static_assert(coversEveryByte(kAddressEntryType) && isWellFormed(kAddressEntryType));

namespace of_aps_hideheader_list_t {
using Record = ::__aps_hideheader_list_t;
constexpr Field kFields[] = {
    text("name", AT(name)).required().syntax("header-name").help("Name of the header."),
};
}  // namespace of_aps_hideheader_list_t
constexpr RecordType kHeaderNameType{"__aps_hideheader_list_t", sizeof(::__aps_hideheader_list_t),
                                     of_aps_hideheader_list_t::kFields};
static_assert(coversEveryByte(kHeaderNameType) && isWellFormed(kHeaderNameType));

namespace of_aps_email_address_t {
using Record = ::aps_email_address_t;
constexpr Field kFields[] = {
    text("text", AT(text))
        .required()
        .syntax("pattern")
        .help("E-mail address, possibly with wildcards."),
};
}  // namespace of_aps_email_address_t
constexpr RecordType kEmailSlotType{"aps_email_address_t", sizeof(::aps_email_address_t),
                                    of_aps_email_address_t::kFields};
static_assert(coversEveryByte(kEmailSlotType) && isWellFormed(kEmailSlotType));

}  // namespace Kestrav::Config
