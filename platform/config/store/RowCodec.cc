#include "platform/config/store/RowCodec.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "platform/common/Exception.h"
#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/config/records/FieldAccess.h"
#include "platform/config/store/Checksum.h"

namespace Kestrav::Config {
namespace {

static_assert(std::endian::native == std::endian::little, "records are little-endian in the store");

constexpr std::size_t kShortestZeroRun = 4;  // a shorter one takes less room as plain bytes
constexpr int kDeepestNesting = 32;          // of lists within lists

constexpr std::size_t aligned(std::size_t offset) {
  return (offset + 7) & ~std::size_t{7};
}

template <class T>
T load(const void* from) {
  T value;
  std::memcpy(&value, from, sizeof value);
  return value;
}

template <class T>
void store(void* to, T value) {
  std::memcpy(to, &value, sizeof value);
}

bool hasLists(const RecordType& type, int depth = 0) {
  if (depth > kDeepestNesting) return true;
  return std::any_of(type.fields.begin(), type.fields.end(), [depth](const Field& field) {
    if (field.kind == Kind::kList) return true;
    return (field.kind == Kind::kStruct || field.kind == Kind::kArray) &&
           hasLists(*field.element, depth + 1);
  });
}

[[noreturn]] void refuse(const Table& table, const Field* field, const std::string& what) {
  std::string message = "Record of table " + std::string(table.key);
  if (field != nullptr) message += ", field " + std::string(field->name);
  throw Exception(message + ": " + what, StoreError::kBadRecord);
}

// ---- Lists appended to the fixed part, pointers zeroed.

class Flattener {
 public:
  explicit Flattener(const Table& table) : table_(table) {}

  std::string run(const void* record) {
    raw_.assign(static_cast<const char*>(record), table_.type->size);
    if (hasLists(*table_.type)) flatten(*table_.type, 0, true, 0);
    return std::move(raw_);
  }

 private:
  // `live` is false for array elements from the count on: their counts and pointers are leftovers.
  void flatten(const RecordType& type, std::size_t at, bool live, int depth) {
    if (depth > kDeepestNesting) refuse(table_, nullptr, "lists are nested too deeply");
    for (const Field& field : type.fields) {
      switch (field.kind) {
        case Kind::kStruct:
          if (hasLists(*field.element)) {
            flatten(*field.element, at + field.offset, live, depth + 1);
          }
          break;
        case Kind::kArray:
          array(field, at + field.offset, live, depth);
          break;
        case Kind::kList:
          list(field, at + field.offset, live, depth);
          break;
        default:
          break;
      }
    }
  }

  void array(const Field& field, std::size_t at, bool live, int depth) {
    const auto count = load<std::uint64_t>(&raw_[at]);
    if (live && count > field.capacity) {
      refuse(table_, &field,
             "count " + std::to_string(count) + " is above the limit of " +
                 std::to_string(field.capacity));
    }
    if (!hasLists(*field.element)) return;
    for (std::size_t i = 0; i < field.capacity; ++i) {
      flatten(*field.element, at + 8 + i * field.element->size, live && i < count, depth + 1);
    }
  }

  void list(const Field& field, std::size_t at, bool live, int depth) {
    const auto count = live ? load<std::uint64_t>(&raw_[at]) : 0;
    const auto* elements = load<const char*>(&raw_[at + 8]);
    store<std::uint64_t>(&raw_[at], count);
    store<std::uint64_t>(&raw_[at + 8], 0);
    if (count == 0) return;
    if (elements == nullptr) {
      refuse(table_, &field, "count " + std::to_string(count) + " with a null list pointer");
    }
    if (field.capacity != 0 && count > field.capacity) {
      refuse(table_, &field,
             "count " + std::to_string(count) + " is above the limit of " +
                 std::to_string(field.capacity));
    }
    const std::size_t size = field.element->size;
    const std::size_t block = aligned(raw_.size());
    if (block > RowCodec::kMaximumSize || count > (RowCodec::kMaximumSize - block) / size) {
      refuse(table_, &field, "count " + std::to_string(count) + " makes the record too large");
    }
    raw_.resize(block);
    raw_.append(elements, count * size);
    if (!hasLists(*field.element)) return;
    for (std::size_t i = 0; i < count; ++i) {
      flatten(*field.element, block + i * size, true, depth + 1);
    }
  }

  const Table& table_;
  std::string raw_;
};

// ---- Runs of zeros.

void appendNumber(std::string& out, std::uint64_t value) {
  while (value >= 0x80) {
    out.push_back(static_cast<char>(value | 0x80));
    value >>= 7;
  }
  out.push_back(static_cast<char>(value));
}

bool takeNumber(std::string_view& in, std::uint64_t& value) {
  value = 0;
  for (int shift = 0; shift < 63 && !in.empty(); shift += 7) {
    const auto byte = static_cast<unsigned char>(in.front());
    in.remove_prefix(1);
    value |= std::uint64_t{byte & 0x7fu} << shift;
    if (byte < 0x80) return true;
  }
  return false;
}

std::size_t zerosFrom(std::string_view raw, std::size_t at) {
  std::size_t end = at;
  while (end + 8 <= raw.size() && load<std::uint64_t>(&raw[end]) == 0) end += 8;
  while (end < raw.size() && raw[end] == 0) ++end;
  return end - at;
}

void compress(std::string_view raw, std::string& out) {
  std::size_t at = 0;
  while (at < raw.size()) {
    std::size_t end = at;  // of the plain bytes
    std::size_t zeros = 0;
    while (end < raw.size()) {
      const std::size_t zero = raw.find('\0', end);
      if (zero == std::string_view::npos) {
        end = raw.size();
        break;
      }
      zeros = zerosFrom(raw, zero);
      if (zeros >= kShortestZeroRun) {
        end = zero;
        break;
      }
      end = zero + zeros;
      zeros = 0;
    }
    appendNumber(out, end - at);
    out.append(raw.substr(at, end - at));
    appendNumber(out, zeros);
    at = end + zeros;
  }
}

// Calls `bytes(text)` and `zeros(count)` for the runs; false when they do not add up to `size`.
template <class Bytes, class Zeros>
bool expand(std::string_view in, std::size_t size, Bytes bytes, Zeros zeros) {
  std::size_t done = 0;
  while (!in.empty()) {
    std::uint64_t length = 0;
    if (!takeNumber(in, length) || length > in.size() || length > size - done) return false;
    bytes(in.substr(0, length));
    in.remove_prefix(length);
    done += length;
    if (!takeNumber(in, length) || length > size - done) return false;
    zeros(length);
    done += length;
  }
  return done == size;
}

// ---- Pointers to the lists.

class Linker {
 public:
  Linker(std::byte* base, std::size_t size) : base_(base), size_(size) {}

  bool run(const RecordType& type) {
    end_ = type.size;
    if (hasLists(type) && !link(type, 0, 0)) return false;
    return end_ == size_;
  }

 private:
  bool link(const RecordType& type, std::size_t at, int depth) {
    if (depth > kDeepestNesting) return false;
    for (const Field& field : type.fields) {
      const std::size_t here = at + field.offset;
      if (field.kind == Kind::kStruct) {
        if (hasLists(*field.element) && !link(*field.element, here, depth + 1)) return false;
      } else if (field.kind == Kind::kArray) {
        const auto count = load<std::uint64_t>(base_ + here);
        if (count > field.capacity) return false;
        if (!hasLists(*field.element)) continue;
        if (!each(*field.element, here + 8, count, depth)) return false;
      } else if (field.kind == Kind::kList) {
        if (!list(field, here, depth)) return false;
      }
    }
    return true;
  }

  bool list(const Field& field, std::size_t at, int depth) {
    const auto count = load<std::uint64_t>(base_ + at);
    if (count == 0) return true;
    const std::size_t block = aligned(end_);
    const std::size_t size = field.element->size;
    if (block > size_ || count > (size_ - block) / size) return false;
    end_ = block + count * size;
    store<const std::byte*>(base_ + at + 8, base_ + block);
    return !hasLists(*field.element) || each(*field.element, block, count, depth);
  }

  bool each(const RecordType& element, std::size_t at, std::size_t count, int depth) {
    for (std::size_t i = 0; i < count; ++i) {
      if (!link(element, at + i * element.size, depth + 1)) return false;
    }
    return true;
  }

  std::byte* base_;
  std::size_t size_;
  std::size_t end_ = 0;
};

}  // namespace

std::string RowCodec::encode(const Table& table, const void* record) {
  if (record == nullptr) refuse(table, nullptr, "there is none");
  const std::string raw = Flattener(table).run(record);
  std::string row;
  row.push_back(kVersion);
  appendNumber(row, table.type->size);
  appendNumber(row, raw.size());
  compress(raw, row);
  appendChecksum(row);
  return row;
}

StoredRecord RowCodec::decode(const Table& table, ngid_t domain, std::uint32_t id,
                              std::string_view row, std::string& reason) {
  std::uint64_t fixed = 0;
  std::uint64_t size = 0;
  if (row.empty() || row.front() != kVersion) {
    reason = "the row's format is unknown";
    return {};
  }
  if (!takeChecksum(row)) {
    reason = "the row's checksum is wrong";
    return {};
  }
  row.remove_prefix(1);
  if (!takeNumber(row, fixed) || !takeNumber(row, size)) {
    reason = "the row is cut off";
    return {};
  }
  if (fixed != table.type->size) {
    reason = "the row holds " + std::to_string(fixed) + " bytes where a record has " +
             std::to_string(table.type->size);
    return {};
  }
  // Nothing is allocated before the runs are known to add up.
  const auto ignore = [](auto) {};
  if (size < fixed || size > kMaximumSize || !expand(row, size, ignore, ignore)) {
    reason = "the row does not have the length that it says";
    return {};
  }
  StoredRecord record;
  record.bytes_.reset(new std::byte[size]);
  std::byte* to = record.bytes_.get();
  expand(
      row, size,
      [&to](std::string_view bytes) {
        std::memcpy(to, bytes.data(), bytes.size());
        to += bytes.size();
      },
      [&to](std::size_t count) {
        std::memset(to, 0, count);
        to += count;
      });
  if (!Linker(record.bytes_.get(), size).run(*table.type)) {
    reason = "a list is longer than the row";
    return {};
  }
  record.gid_ = table.gid;
  record.domain_ = domain;
  record.id_ = id;
  return record;
}

StoredRecord RowCodec::decodeOrLog(const Table& table, ngid_t domain, std::uint32_t id,
                                   std::string_view row) {
  std::string reason;
  StoredRecord record = decode(table, domain, id, row, reason);
  if (!record) {
    Logger::instance().log(LogCode::kStoreRecordSkipped, "%s\x01%u\x01%s",
                           std::string(table.key).c_str(), id, reason.c_str());
  }
  return record;
}

StoredRecord RowCodec::defaults(const Table& table) {
  StoredRecord record;
  record.bytes_.reset(new std::byte[table.type->size]());
  fillDefaults(*table.type, record.bytes_.get());
  record.gid_ = table.gid;
  return record;
}

std::uint32_t RowCodec::idOf(const Table& table, const void* record) {
  if (table.scope == Scope::kSystemSingle) return 0;
  return load<std::uint32_t>(static_cast<const char*>(record) + table.idOffset);
}

}  // namespace Kestrav::Config
