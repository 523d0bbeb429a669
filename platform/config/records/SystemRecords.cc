#include "platform/config/records/SystemRecords.h"

#include "platform/config/records/FieldMakers.h"

namespace Kestrav::Config {
using namespace FieldMakers;

namespace of_aps_mailserver {
using Record = ::__aps_mailserver;
constexpr Field kFields[] = {
    text("host-name", AT(host_name)).syntax("host").help("Name with which the gateway greets."),
    number("smtp-port", AT(smtp_port))
        .defaultsTo(25)
        .range(1, 65535)
        .help("TCP port of the SMTP receiver."),
    number("queue-hours", AT(queue_hours))
        .defaultsTo(120)
        .unit("hours")
        .help("Time after which undeliverable mail is given up."),
    number("deferred-start-hour", AT(deferred_start_hour))
        .range(0, 23)
        .unit("hours")
        .help("Hour at which deferred delivery begins."),
    number("deferred-start-minute", AT(deferred_start_minute))
        .range(0, 59)
        .unit("minutes")
        .help("Minute at which deferred delivery begins."),
    number("deferred-end-hour", AT(deferred_end_hour))
        .range(0, 23)
        .unit("hours")
        .help("Hour at which deferred delivery ends."),
    number("deferred-end-minute", AT(deferred_end_minute))
        .range(0, 59)
        .unit("minutes")
        .help("Minute at which deferred delivery ends."),
};
}  // namespace of_aps_mailserver
constexpr RecordType kMailServerType{"__aps_mailserver", sizeof(::__aps_mailserver),
                                     of_aps_mailserver::kFields};
static_assert(coversEveryByte(kMailServerType) && isWellFormed(kMailServerType));

namespace of_aps_sys_global {
using Record = ::__aps_sys_global;
constexpr Field kFields[] = {
    text("host-name", AT(host_name)).syntax("host").help("Name of the gateway."),
    reserved("reserved-256", AT(reserved_256)),
    boolean("per-domain-disclaimers", AT(per_domain_disclaimers))
        .help("Protected domains may have disclaimers of their own."),
    reserved("reserved-472", AT(reserved_472)),
    boolean("bounce-rules", AT(bounce_rules)).help("Session profiles apply their bounce profile."),
    reserved("reserved-1191", AT(reserved_1191)),
    boolean("data-loss-prevention", AT(data_loss_prevention))
        .help("Policies carry data loss prevention profiles."),
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
        .required()
        .syntax("pattern-list")
        .help("File name patterns, separated by commas."),
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
    words("type", AT(index), kBuiltInFileTypes).required().wordsOnly().help("Built-in file type."),
    boolean("enabled", AT(enabled)).defaultsTo(1).help("Files of the type are submitted."),
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
    boolean("enabled", AT(enabled)).help("Attachments are submitted to the sandbox."),
    reserved("reserved-1", AT(reserved_1)),
    number("value-1", AT(value_284)).help("First value handed to the daemons."),
    reserved("reserved-288", AT(reserved_288)),
    list("file-names", offsetof(Record, file_name_count), &kSandboxFileNameType)
        .help("File names that are submitted."),
    list("file-types", offsetof(Record, file_type_count), &kSandboxFileTypeType)
        .help("Built-in file types that are submitted."),
    number("flag-1", AT(flag_584)).range(0, 255).help("First flag handed to the daemons."),
    boolean("flag-2", AT(flag_585)).help("Second flag handed to the daemons."),
    reserved("reserved-586", AT(reserved_586)),
    number("value-2", AT(value_588)).help("Second value handed to the daemons."),
    number("value-3", AT(value_592)).help("Third value handed to the daemons."),
    number("value-4", AT(value_596)).help("Fourth value handed to the daemons."),
    reserved("reserved-600", AT(reserved_600)),
    number("mode", AT(mode)).range(0, 255).help("Mode handed to the daemons."),
    reserved("reserved-612", AT(reserved_612)),
};
}  // namespace of_aps_sandbox_configuration_t
constexpr RecordType kSandboxType{"__aps_sandbox_configuration_t",
                                  sizeof(::__aps_sandbox_configuration_t),
                                  of_aps_sandbox_configuration_t::kFields};
static_assert(coversEveryByte(kSandboxType) && isWellFormed(kSandboxType));

}  // namespace Kestrav::Config
