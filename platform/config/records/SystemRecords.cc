#include "platform/config/records/SystemRecords.h"

#include "platform/config/records/FieldMakers.h"

namespace Kestrav::Config {
using namespace FieldMakers;

namespace of_aps_mailserver {
using Record = ::__aps_mailserver;
constexpr Field kFields[] = {
    text("host-name", AT(host_name)).writtenAs("host").says("Name with which the gateway greets."),
    number("smtp-port", AT(smtp_port))
        .byDefault(25)
        .within(1, 65535)
        .says("TCP port of the SMTP receiver."),
    number("queue-hours", AT(queue_hours))
        .byDefault(120)
        .measuredIn("hours")
        .says("Time after which undeliverable mail is given up."),
    number("deferred-start-hour", AT(deferred_start_hour))
        .within(0, 23)
        .measuredIn("hours")
        .says("Hour at which deferred delivery begins."),
    number("deferred-start-minute", AT(deferred_start_minute))
        .within(0, 59)
        .measuredIn("minutes")
        .says("Minute at which deferred delivery begins."),
    number("deferred-end-hour", AT(deferred_end_hour))
        .within(0, 23)
        .measuredIn("hours")
        .says("Hour at which deferred delivery ends."),
    number("deferred-end-minute", AT(deferred_end_minute))
        .within(0, 59)
        .measuredIn("minutes")
        .says("Minute at which deferred delivery ends."),
};
}  // namespace of_aps_mailserver
constexpr RecordType kMailServerType{"__aps_mailserver", sizeof(::__aps_mailserver),
                                     of_aps_mailserver::kFields};
static_assert(coversEveryByte(kMailServerType) && isWellFormed(kMailServerType));

namespace of_aps_sys_global {
using Record = ::__aps_sys_global;
constexpr Field kFields[] = {
    text("host-name", AT(host_name)).writtenAs("host").says("Name of the gateway."),
    reserved("reserved-256", AT(reserved_256)),
    boolean("per-domain-disclaimers", AT(per_domain_disclaimers))
        .says("Protected domains may have disclaimers of their own."),
    reserved("reserved-472", AT(reserved_472)),
    boolean("bounce-rules", AT(bounce_rules)).says("Session profiles apply their bounce profile."),
    reserved("reserved-1191", AT(reserved_1191)),
    boolean("data-loss-prevention", AT(data_loss_prevention))
        .says("Policies carry data loss prevention profiles."),
};
}  // namespace of_aps_sys_global
constexpr RecordType kSystemGlobalType{"__aps_sys_global", sizeof(::__aps_sys_global),
                                       of_aps_sys_global::kFields};
static_assert(coversEveryByte(kSystemGlobalType) && isWellFormed(kSystemGlobalType));

namespace of_aps_sandbox_file_name {
using Record = ::__aps_sandbox_file_name;
constexpr Field kFields[] = {
    reserved("reserved-0", AT(reserved_0)),
    text("pattern", AT(text))
        .needed()
        .writtenAs("pattern-list")
        .says("File name patterns, separated by commas."),
};
}  // namespace of_aps_sandbox_file_name
constexpr RecordType kSandboxFileNameType{"__aps_sandbox_file_name",
                                          sizeof(::__aps_sandbox_file_name),
                                          of_aps_sandbox_file_name::kFields};
static_assert(coversEveryByte(kSandboxFileNameType) && isWellFormed(kSandboxFileNameType));

constexpr Choice kBuiltInFileTypes[] = {
    {"executable", 0}, {"office-document", 1}, {"pdf", 2},     {"flash", 3}, {"javascript", 4},
    {"java", 5},       {"web-page", 6},        {"archive", 7},
};

namespace of_aps_sandbox_file_type {
using Record = ::__aps_sandbox_file_type;
constexpr Field kFields[] = {
    words("type", AT(index), kBuiltInFileTypes).needed().onlyByWord().says("Built-in file type."),
    boolean("enabled", AT(enabled)).byDefault(1).says("Files of the type are submitted."),
    reserved("reserved-5", AT(reserved_5)),
};
}  // namespace of_aps_sandbox_file_type
constexpr RecordType kSandboxFileTypeType{"__aps_sandbox_file_type",
                                          sizeof(::__aps_sandbox_file_type),
                                          of_aps_sandbox_file_type::kFields};
static_assert(coversEveryByte(kSandboxFileTypeType) && isWellFormed(kSandboxFileTypeType));

namespace of_aps_sandbox_configuration_t {
using Record = ::__aps_sandbox_configuration_t;
constexpr Field kFields[] = {
    boolean("enabled", AT(enabled)).says("Attachments are submitted to the sandbox."),
    reserved("reserved-1", AT(reserved_1)),
    number("value-1", AT(value_284)).says("First value handed to the daemons."),
    reserved("reserved-288", AT(reserved_288)),
    list("file-names", offsetof(Record, file_name_count), &kSandboxFileNameType)
        .says("File names that are submitted."),
    list("file-types", offsetof(Record, file_type_count), &kSandboxFileTypeType)
        .says("Built-in file types that are submitted."),
    number("flag-1", AT(flag_584)).within(0, 255).says("First flag handed to the daemons."),
    boolean("flag-2", AT(flag_585)).says("Second flag handed to the daemons."),
    reserved("reserved-586", AT(reserved_586)),
    number("value-2", AT(value_588)).says("Second value handed to the daemons."),
    number("value-3", AT(value_592)).says("Third value handed to the daemons."),
    number("value-4", AT(value_596)).says("Fourth value handed to the daemons."),
    reserved("reserved-600", AT(reserved_600)),
    number("mode", AT(mode)).within(0, 255).says("Mode handed to the daemons."),
    reserved("reserved-612", AT(reserved_612)),
};
}  // namespace of_aps_sandbox_configuration_t
constexpr RecordType kSandboxType{"__aps_sandbox_configuration_t",
                                  sizeof(::__aps_sandbox_configuration_t),
                                  of_aps_sandbox_configuration_t::kFields};
static_assert(coversEveryByte(kSandboxType) && isWellFormed(kSandboxType));

}  // namespace Kestrav::Config
