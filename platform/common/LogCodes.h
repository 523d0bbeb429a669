// Every message code that this system logs. The catalogue in LogCatalogue.cc gives each its severity and
// readable line; a test checks that none is missing there.
#pragma once

#include <cstdint>

namespace Kestrav::LogCode {

// Profile factory (trace lines: profile id and name; failures: the function's signature).
inline constexpr std::uint32_t kAntispamProfileUpdate = 0x30001C1;
inline constexpr std::uint32_t kProfileUpdateFailed = 0x30001C2;
inline constexpr std::uint32_t kContentProfileUpdate = 0x30001C3;
inline constexpr std::uint32_t kWebFilterOrSessionUpdate = 0x30001C4;  // shared by both kinds on purpose
inline constexpr std::uint32_t kDlpProfileUpdate = 0x3000239;
inline constexpr std::uint32_t kFilePatternUpdate = 0x300023A;
// Policies and actions.
inline constexpr std::uint32_t kRecipientPolicyFailed = 0x030001BD;
inline constexpr std::uint32_t kAntispamBlindCopyFailed = 0x30001C0;

// Our own platform, one block of 0x100 a room from 0x0400'0000 on.
inline constexpr std::uint32_t kPatternMatchLimit = 0x4000101;     // regex: pattern, subject length
inline constexpr std::uint32_t kPatternMatchFailed = 0x4000102;    // regex: pattern, error text
inline constexpr std::uint32_t kDictionaryItemSkipped = 0x4000201; // dictionary: dictionary, item, reason
inline constexpr std::uint32_t kDictionaryScanFailed = 0x4000202;  // dictionary: scanner, reason
inline constexpr std::uint32_t kStoreFailure = 0x4000301;          // store: operation, reason
inline constexpr std::uint32_t kStoreRecordSkipped = 0x4000302;    // store: table, id, reason
inline constexpr std::uint32_t kStoreReaderCleared = 0x4000303;    // store: number of dead readers cleared
inline constexpr std::uint32_t kHandlerFailed = 0x4000401;         // events: table, reason
inline constexpr std::uint32_t kEventsResynchronised = 0x4000402;  // events: applied revision, current revision
inline constexpr std::uint32_t kPolicyRecordSkipped = 0x4000501;   // match: policy id, reason

}  // namespace Kestrav::LogCode
