// The bytes of the journal, version 1. Numbers are little-endian. Every value ends with a checksum
// (Checksum.h) of all bytes before it.
//
// A revision has one head, under number 0, and one entry for each changed record, under the
// numbers from 1 on, without gaps.
//
//   head                                       entry
//    0  1  version                              0  1  version
//    1  1  kind: 1                              1  1  kind: 2
//    2  1  length of the user's name            2  1  flags
//    3  1  length of the origin                 3  1  0
//    4  4  user id                              4  4  table
//    8  8  time, us since 1970-01-01 UTC        8  4  domain
//   16  8  revision of the origin              12  4  id
//   24  4  number of entries                   16  4  next record before
//   28     name, origin                        20  4  next record after
//                                              24  4  size of the row before
//                                              28     row before, row after
//
// Flags: 1 a row before, 2 a row after, 4 both rows are equal and written once, 8 a next record
// before, 16 a next record after. What a flag does not announce is 0 or missing.
//
// Stateless: any thread may call any function.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Config {

inline constexpr std::uint32_t kHeadNumber = 0;
inline constexpr std::size_t kLongestUserName = 32;

// JournalEntry with rows instead of records. The views belong to the caller or to a transaction.
struct RecordChange {
  G_CLI_GID gid{};
  ngid_t domain = 0;
  std::uint32_t id = 0;
  std::optional<std::string_view> before;
  std::optional<std::string_view> after;
  std::optional<std::uint32_t> nextBefore;
  std::optional<std::uint32_t> nextAfter;
};

std::string encodeEntry(const RecordChange& change);
// Empty unless encodeEntry() wrote exactly these bytes.
std::optional<RecordChange> decodeEntry(std::string_view bytes);

// The head's revision is its key and not among the bytes. Names are cut off at their limit: the
// user's at kLongestUserName, the origin at 255 bytes.
std::string encodeHead(const RevisionHead& head);
// Empty unless encodeHead() wrote exactly these bytes. Leaves `revision` 0.
std::optional<RevisionHead> decodeHead(std::string_view bytes);

}  // namespace Kestrav::Config
