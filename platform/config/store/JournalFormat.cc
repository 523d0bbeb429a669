#include "platform/config/store/JournalFormat.h"

#include "platform/config/store/Checksum.h"
#include "platform/config/store/LittleEndian.h"

namespace Kestrav::Config {
namespace {

constexpr unsigned char kVersion = 1;
constexpr unsigned char kHead = 1;
constexpr unsigned char kEntry = 2;
constexpr std::size_t kFixedSize = 28;  // of both kinds
constexpr std::size_t kLongestOrigin = 255;

constexpr unsigned kHasBefore = 1;
constexpr unsigned kHasAfter = 2;
constexpr unsigned kSameRow = 4;
constexpr unsigned kHasNextBefore = 8;
constexpr unsigned kHasNextAfter = 16;
constexpr unsigned kAllFlags = 31;

std::string begin(unsigned char kind, std::size_t third, std::size_t fourth) {
  return {static_cast<char>(kVersion), static_cast<char>(kind), static_cast<char>(third),
          static_cast<char>(fourth)};
}

// Without the checksum; empty when the bytes are of another version or kind, or damaged.
std::string_view content(std::string_view bytes, unsigned char kind) {
  if (!takeChecksum(bytes) || bytes.size() < kFixedSize) return {};
  return bytes.substr(0, 2) == begin(kind, 0, 0).substr(0, 2) ? bytes : std::string_view();
}

unsigned byteAt(std::string_view bytes, std::size_t at) {
  return static_cast<unsigned char>(bytes[at]);
}

template <class T>
T numberAt(std::string_view bytes, std::size_t at) {
  return littleEndian<T>(bytes.substr(at));
}

}  // namespace

std::string encodeEntry(const RecordChange& change) {
  const bool same = change.before && change.after && *change.before == *change.after;
  const unsigned flags = (change.before ? kHasBefore : 0) | (change.after ? kHasAfter : 0) |
                         (same ? kSameRow : 0) | (change.nextBefore ? kHasNextBefore : 0) |
                         (change.nextAfter ? kHasNextAfter : 0);
  const std::string_view before = change.before.value_or("");
  std::string bytes = begin(kEntry, flags, 0);
  appendLittleEndian<std::uint32_t>(bytes, change.gid);
  appendLittleEndian<std::uint32_t>(bytes, change.domain);
  appendLittleEndian<std::uint32_t>(bytes, change.id);
  appendLittleEndian<std::uint32_t>(bytes, change.nextBefore.value_or(0));
  appendLittleEndian<std::uint32_t>(bytes, change.nextAfter.value_or(0));
  appendLittleEndian<std::uint32_t>(bytes, static_cast<std::uint32_t>(before.size()));
  bytes.append(before);
  if (!same) bytes.append(change.after.value_or(""));
  appendChecksum(bytes);
  return bytes;
}

std::optional<RecordChange> decodeEntry(std::string_view bytes) {
  const std::string_view entry = content(bytes, kEntry);
  if (entry.empty()) return {};
  const unsigned flags = byteAt(entry, 2);
  if (flags > kAllFlags || byteAt(entry, 3) != 0) return {};
  RecordChange change;
  change.gid = static_cast<G_CLI_GID>(numberAt<std::uint32_t>(entry, 4));
  change.domain = numberAt<std::uint32_t>(entry, 8);
  change.id = numberAt<std::uint32_t>(entry, 12);
  const auto next = [&](unsigned flag, std::size_t at, std::optional<std::uint32_t>& to) {
    const auto value = numberAt<std::uint32_t>(entry, at);
    if ((flags & flag) != 0) to = value;
    return to || value == 0;
  };
  if (!next(kHasNextBefore, 16, change.nextBefore)) return {};
  if (!next(kHasNextAfter, 20, change.nextAfter)) return {};

  const std::size_t beforeSize = numberAt<std::uint32_t>(entry, 24);
  const std::string_view rows = entry.substr(kFixedSize);
  if (beforeSize > rows.size()) return {};
  const std::string_view before = rows.substr(0, beforeSize);
  const std::string_view after = rows.substr(beforeSize);
  const bool hasBefore = (flags & kHasBefore) != 0;
  const bool hasAfter = (flags & kHasAfter) != 0;
  const bool same = (flags & kSameRow) != 0;
  if (!hasBefore && !before.empty()) return {};
  if ((!hasAfter || same) && !after.empty()) return {};
  if (hasBefore && hasAfter ? !same && before == after : same) return {};
  if (hasBefore) change.before = before;
  if (hasAfter) change.after = same ? before : after;
  return change;
}

std::string encodeHead(const RevisionHead& head) {
  const std::string_view user = std::string_view(head.user).substr(0, kLongestUserName);
  const std::string_view origin = std::string_view(head.origin).substr(0, kLongestOrigin);
  std::string bytes = begin(kHead, user.size(), origin.size());
  appendLittleEndian<std::uint32_t>(bytes, head.uid);
  appendLittleEndian<std::uint64_t>(
      bytes, static_cast<std::uint64_t>(head.time.time_since_epoch().count()));
  appendLittleEndian<std::uint64_t>(bytes, head.originRevision);
  appendLittleEndian<std::uint32_t>(bytes, head.changes);
  bytes.append(user).append(origin);
  appendChecksum(bytes);
  return bytes;
}

std::optional<RevisionHead> decodeHead(std::string_view bytes) {
  const std::string_view fields = content(bytes, kHead);
  if (fields.empty()) return {};
  const std::size_t userSize = byteAt(fields, 2);
  const std::size_t originSize = byteAt(fields, 3);
  if (userSize > kLongestUserName || fields.size() != kFixedSize + userSize + originSize) return {};
  RevisionHead head;
  head.uid = numberAt<std::uint32_t>(fields, 4);
  head.time +=
      std::chrono::microseconds(static_cast<std::int64_t>(numberAt<std::uint64_t>(fields, 8)));
  head.originRevision = numberAt<std::uint64_t>(fields, 16);
  head.changes = numberAt<std::uint32_t>(fields, 24);
  head.user = fields.substr(kFixedSize, userSize);
  head.origin = fields.substr(kFixedSize + userSize);
  return head;
}

}  // namespace Kestrav::Config
