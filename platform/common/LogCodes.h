// Every message code of this system. A new code is added here, to kAll below and to the catalogue
// in LogCatalogue.cc; a test fails when one of them is missing.
#pragma once

#include <cstdint>

namespace Kestrav::LogCode {

// Profile factory (trace lines: profile id and name; failures: the function's signature).
inline constexpr std::uint32_t kAntispamProfileUpdate = 0x30001C1;
inline constexpr std::uint32_t kProfileUpdateFailed = 0x30001C2;
inline constexpr std::uint32_t kContentProfileUpdate = 0x30001C3;
inline constexpr std::uint32_t kWebFilterOrSessionUpdate = 0x30001C4;  // shared on purpose
inline constexpr std::uint32_t kDlpProfileUpdate = 0x3000239;
inline constexpr std::uint32_t kFilePatternUpdate = 0x300023A;
// Policies and actions.
inline constexpr std::uint32_t kRecipientPolicyFailed = 0x030001BD;    // exception text
inline constexpr std::uint32_t kAntispamBlindCopyFailed = 0x30001C0;   // a blank
inline constexpr std::uint32_t kAntivirusBlindCopyFailed = 0x30001BB;  // a blank
inline constexpr std::uint32_t kContentBlindCopyFailed = 0x30001BC;    // a blank
// Sets built from records (function signature, source, line and exception text unless noted).
inline constexpr std::uint32_t kAclRuleSkipped = 0x0300013A;
inline constexpr std::uint32_t kCertBindingSkipped = 0x30001BE;
inline constexpr std::uint32_t kCertBindingStatusChanged = 0x30001BF;    // binding id, status name
inline constexpr std::uint32_t kAttachmentSignatureSkipped = 0x300012E;  // signature, text

// The platform: one block of 0x100 for each room, from 0x0400'0000 on.
inline constexpr std::uint32_t kPatternMatchLimit = 0x4000101;      // pattern, subject length
inline constexpr std::uint32_t kPatternMatchFailed = 0x4000102;     // pattern, error text
inline constexpr std::uint32_t kDictionaryItemSkipped = 0x4000201;  // dictionary, item, reason
inline constexpr std::uint32_t kDictionaryScanFailed = 0x4000202;   // scanner, reason
inline constexpr std::uint32_t kStoreFailure = 0x4000301;           // operation, reason
inline constexpr std::uint32_t kStoreRecordSkipped = 0x4000302;     // table, id, reason
inline constexpr std::uint32_t kStoreReaderCleared = 0x4000303;    // number of dead readers cleared
inline constexpr std::uint32_t kStoreMigrated = 0x4000304;         // folder, old and new schema
inline constexpr std::uint32_t kStoreRecordRecovered = 0x4000305;  // table, id, reason
inline constexpr std::uint32_t kStoreRecordDamaged = 0x4000306;    // table, id, reason
inline constexpr std::uint32_t kHandlerFailed = 0x4000401;         // table, reason
inline constexpr std::uint32_t kEventsResynchronised = 0x4000402;  // applied and current revision
inline constexpr std::uint32_t kPolicyRecordSkipped = 0x4000501;   // policy id, reason
inline constexpr std::uint32_t kRewriterUnusable = 0x4000601;      // rewriting text

inline constexpr std::uint32_t kAll[] = {
    kAntispamProfileUpdate,
    kProfileUpdateFailed,
    kContentProfileUpdate,
    kWebFilterOrSessionUpdate,
    kDlpProfileUpdate,
    kFilePatternUpdate,
    kRecipientPolicyFailed,
    kAntispamBlindCopyFailed,
    kAntivirusBlindCopyFailed,
    kContentBlindCopyFailed,
    kAclRuleSkipped,
    kCertBindingSkipped,
    kCertBindingStatusChanged,
    kAttachmentSignatureSkipped,
    kPatternMatchLimit,
    kPatternMatchFailed,
    kDictionaryItemSkipped,
    kDictionaryScanFailed,
    kStoreFailure,
    kStoreRecordSkipped,
    kStoreReaderCleared,
    kStoreMigrated,
    kStoreRecordRecovered,
    kStoreRecordDamaged,
    kHandlerFailed,
    kEventsResynchronised,
    kPolicyRecordSkipped,
    kRewriterUnusable,
};

}  // namespace Kestrav::LogCode
