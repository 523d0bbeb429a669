#include "platform/config/records/OwnedRecord.h"

#include <cstring>

#include "platform/config/records/FieldAccess.h"

namespace Kestrav::Config {
namespace {

std::size_t words(std::uint64_t bytes) {
  return static_cast<std::size_t>((bytes + 7) / 8);
}

std::uint64_t count(const Field& list, const void* record) {
  return readEntries(list, record).count;
}

void setCount(const Field& list, void* record, std::uint64_t value) {
  std::memcpy(static_cast<std::byte*>(record) + list.offset, &value, sizeof value);
}

}  // namespace

OwnedRecord::OwnedRecord(const RecordType& type) : type_(&type), bytes_(words(type.size)) {
  fillDefaults(type, data());
}

OwnedRecord::OwnedRecord(const RecordType& type, const void* record)
    : type_(&type), bytes_(words(type.size)) {
  std::memcpy(data(), record, type.size);
  for (const Field& field : type.fields) {
    if (field.kind != Kind::kList) continue;
    const Entries entries = readEntries(field, record);
    std::vector<Word>& list = lists_[field.offset];
    list.resize(words(entries.count * entries.size));
    if (entries.count != 0) std::memcpy(list.data(), entries.first, entries.count * entries.size);
    setCount(field, data(), entries.count);
    point(field);
  }
}

OwnedRecord::OwnedRecord(const OwnedRecord& other)
    : type_(other.type_), bytes_(other.bytes_), lists_(other.lists_) {
  for (const Field& field : type_->fields) {
    if (field.kind == Kind::kList) point(field);
  }
}

OwnedRecord& OwnedRecord::operator=(const OwnedRecord& other) {
  if (this != &other) *this = OwnedRecord(other);
  return *this;
}

void OwnedRecord::point(const Field& list) {
  const auto found = lists_.find(list.offset);
  const void* first =
      found == lists_.end() || found->second.empty() ? nullptr : found->second.data();
  std::memcpy(static_cast<std::byte*>(data()) + list.offset + 8, &first, sizeof first);
}

void* OwnedRecord::append(const Field& list) {
  const std::uint64_t index = count(list, data());
  if (list.capacity != 0 && index >= list.capacity) return nullptr;
  const std::uint32_t size = list.element->size;
  std::byte* entry = nullptr;
  if (list.kind == Kind::kArray) {
    entry = static_cast<std::byte*>(data()) + list.offset + 8 + index * size;
  } else {
    std::vector<Word>& bytes = lists_[list.offset];
    const std::size_t needed = words((index + 1) * size);
    if (bytes.capacity() < needed) bytes.reserve(needed * 2);
    bytes.resize(needed);
    point(list);
    entry = reinterpret_cast<std::byte*>(bytes.data()) + index * size;
  }
  setCount(list, data(), index + 1);
  fillDefaults(*list.element, entry);
  return entry;
}

void* OwnedRecord::appendAt(std::size_t offset) {
  for (const Field& field : type_->fields) {
    if (field.offset == offset && field.element != nullptr) return append(field);
  }
  return nullptr;
}

void OwnedRecord::clear(const Field& list) {
  setCount(list, data(), 0);
  if (list.kind == Kind::kArray) {
    std::memset(static_cast<std::byte*>(data()) + list.offset + 8, 0, list.size - 8);
  } else {
    lists_.erase(list.offset);
    point(list);
  }
}

}  // namespace Kestrav::Config
