#include "platform/config/records/FieldAccess.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include "platform/common/Exception.h"
#include "platform/common/IPAddressMask.h"
#include "platform/common/Strings.h"

namespace Kestrav::Config {
namespace {

const std::byte* at(const Field& field, const void* record) {
  return static_cast<const std::byte*>(record) + field.offset;
}
std::byte* at(const Field& field, void* record) {
  return static_cast<std::byte*>(record) + field.offset;
}

// Records are little-endian.
std::uint64_t load(const std::byte* from, std::uint32_t size) {
  std::uint64_t value = 0;
  std::memcpy(&value, from, size <= sizeof value ? size : sizeof value);
  return value;
}

void store(std::byte* to, std::uint32_t size, std::uint64_t value) {
  std::memcpy(to, &value, size <= sizeof value ? size : sizeof value);
}

bool isText(const Field& field) {
  return field.kind == Kind::kText || field.kind == Kind::kTextReference;
}

bool isSigned(const Field& field) {
  return field.kind == Kind::kSigned;
}

std::uint32_t extent(const Field& field) {
  return field.kind == Kind::kList ? 16u : field.size;
}

}  // namespace

const Field* findField(const RecordType& type, std::string_view name) {
  for (const Field& field : type.fields) {
    if (field.name == name) return &field;
  }
  return nullptr;
}

const Criterion* findCriterion(const RecordType& type, std::string_view name) {
  for (const Criterion& criterion : type.criteria) {
    if (criterion.name == name) return &criterion;
  }
  return nullptr;
}

std::int64_t readNumber(const Field& field, const void* record) {
  const std::uint64_t value = load(at(field, record), field.size);
  if (field.kind == Kind::kBit) return static_cast<std::int64_t>(value >> field.bit & 1);
  if (isSigned(field) && field.size < 8 && (value >> (8 * field.size - 1) & 1) != 0) {
    return static_cast<std::int64_t>(value | ~std::uint64_t{0} << (8 * field.size));
  }
  return static_cast<std::int64_t>(value);
}

bool writeNumber(const Field& field, void* record, std::int64_t value) {
  std::byte* to = at(field, record);
  if (field.kind == Kind::kBit) {
    if (value != 0 && value != 1) return false;
    const std::uint64_t mask = std::uint64_t{1} << field.bit;
    const std::uint64_t word = load(to, field.size);
    store(to, field.size, value != 0 ? word | mask : word & ~mask);
    return true;
  }
  if (field.size < 8) {
    const std::int64_t range = std::int64_t{1} << (8 * field.size);
    if (isSigned(field) ? (value < -range / 2 || value >= range / 2)
                        : (value < 0 || value >= range)) {
      return false;
    }
  } else if (!isSigned(field) && value < 0) {
    return false;
  }
  store(to, field.size, static_cast<std::uint64_t>(value));
  return true;
}

double readReal(const Field& field, const void* record) {
  float value = 0;
  std::memcpy(&value, at(field, record), sizeof value);
  return value;
}

void writeReal(const Field& field, void* record, double value) {
  const float narrow = static_cast<float>(value);
  std::memcpy(at(field, record), &narrow, sizeof narrow);
}

std::string_view readText(const Field& field, const void* record) {
  const char* text = reinterpret_cast<const char*>(at(field, record));
  return {text, strnlen(text, field.size)};
}

bool writeText(const Field& field, void* record, std::string_view value) {
  if (value.size() >= field.size || value.find('\0') != std::string_view::npos) return false;
  std::byte* to = at(field, record);
  std::memset(to, 0, field.size);
  value.copy(reinterpret_cast<char*>(to), value.size());
  return true;
}

std::string readMask(const Field& field, const void* record) {
  ip_mask_t mask;
  std::memcpy(&mask, at(field, record), sizeof mask);
  try {
    return IPAddressMask(mask).asString();
  } catch (const Exception&) {
    return {};
  }
}

bool writeMask(const Field& field, void* record, std::string_view value) {
  ip_mask_t mask{};
  try {
    const IPAddressMask parsed = value == "any" ? IPAddressMask::any() : IPAddressMask(value);
    if (!parsed.toIpMask(mask)) return false;
  } catch (const Exception&) {
    return false;
  }
  std::memcpy(at(field, record), &mask, sizeof mask);
  return true;
}

Entries readEntries(const Field& field, const void* record) {
  Entries entries;
  entries.size = field.element->size;
  entries.count = load(at(field, record), 8);
  if (field.kind == Kind::kArray) {
    entries.first = at(field, record) + 8;
    // An array with a 32-bit count has reserved bytes in the upper half.
    if (entries.count > field.capacity) entries.count = field.capacity;
  } else {
    std::memcpy(&entries.first, at(field, record) + 8, sizeof entries.first);
    if (entries.first == nullptr) entries.count = 0;
  }
  return entries;
}

void fillDefaults(const RecordType& type, void* record) {
  std::memset(record, 0, type.size);
  for (const Field& field : type.fields) {
    switch (field.kind) {
      case Kind::kText:
        writeText(field, record, field.defaultText);
        break;
      case Kind::kUnsigned:
      case Kind::kSigned:
      case Kind::kBool:
      case Kind::kBit:
      case Kind::kEnum:
        writeNumber(field, record, field.defaultValue);
        break;
      case Kind::kFloat:
        writeReal(field, record, field.defaultFloat);
        break;
      case Kind::kStruct:
        fillDefaults(*field.element, readStruct(field, record));
        break;
      case Kind::kAddressMask:
        if (!field.defaultText.empty()) writeMask(field, record, field.defaultText);
        break;
      case Kind::kReserved:
      case Kind::kReference:
      case Kind::kTextReference:
      case Kind::kId:
      case Kind::kDomain:
      case Kind::kConfigurationDomain:
      case Kind::kList:
      case Kind::kArray:
        break;
    }
  }
}

bool sameField(const Field& field, const void* a, const void* b) {
  switch (field.kind) {
    case Kind::kBit:
      return readNumber(field, a) == readNumber(field, b);
    case Kind::kText:
    case Kind::kTextReference:
      return readText(field, a) == readText(field, b);
    case Kind::kStruct:
      return sameRecord(*field.element, readStruct(field, a), readStruct(field, b));
    case Kind::kList:
    case Kind::kArray: {
      const Entries left = readEntries(field, a);
      const Entries right = readEntries(field, b);
      if (left.count != right.count) return false;
      for (std::uint64_t i = 0; i < left.count; ++i) {
        if (!sameRecord(*field.element, left.at(i), right.at(i))) return false;
      }
      return true;
    }
    default:
      return std::memcmp(at(field, a), at(field, b), extent(field)) == 0;
  }
}

bool sameRecord(const RecordType& type, const void* a, const void* b) {
  for (const Field& field : type.fields) {
    if (!sameField(field, a, b)) return false;
  }
  return true;
}

bool holdsDefault(const RecordType& type, const Field& field, const void* record) {
  if (field.kind == Kind::kList || field.kind == Kind::kArray) {
    return readEntries(field, record).count == 0;
  }
  std::vector<std::byte> defaults(type.size);
  fillDefaults(type, defaults.data());
  return sameField(field, record, defaults.data());
}

std::size_t findPrivateKey(std::string_view text) {
  constexpr std::string_view kLabel = "PRIVATE KEY";
  for (std::size_t at = 0; (at = text.find(kLabel, at)) != text.npos;) {
    at += kLabel.size();
    if (text.substr(at).starts_with(" BLOCK")) at += 6;
    std::size_t data = std::min(text.find_first_not_of('-', at), text.size());
    if (data == at) continue;
    // A line break may be written as an escape.
    while (data < text.size()) {
      const std::string_view rest = text.substr(data);
      if (rest.starts_with("\\n") || rest.starts_with("\\r")) {
        data += 2;
      } else if (std::string_view(" \t\r\n").find(rest.front()) != text.npos) {
        ++data;
      } else {
        break;
      }
    }
    if (data < text.size() &&
        (isAsciiLetterOrDigit(text[data]) || text[data] == '+' || text[data] == '/')) {
      return data;
    }
  }
  return text.npos;
}

bool isSecret(const Field& field, std::string_view text) {
  return field.secret || findPrivateKey(text) != text.npos;
}

std::string describeField(const Field& field, const void* record) {
  if (isText(field)) {
    const std::string_view text = readText(field, record);
    if (isSecret(field, text)) return text.empty() ? "none" : "(secret)";
    std::string line = "\"";
    for (const char c : text) {
      if (c == '\n') {
        line += "\\n";
      } else if (c == '"' || c == '\\') {
        (line += '\\') += c;
      } else if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) {
        char hex[8];
        std::snprintf(hex, sizeof hex, "\\x%02x", static_cast<unsigned char>(c));
        line += hex;
      } else {
        line += c;
      }
    }
    return line + '"';
  }
  switch (field.kind) {
    case Kind::kFloat: {
      char digits[32];
      std::snprintf(digits, sizeof digits, "%.9g", readReal(field, record));
      return digits;
    }
    case Kind::kBool:
    case Kind::kBit:
      return readNumber(field, record) != 0 ? "on" : "off";
    case Kind::kEnum: {
      const std::int64_t value = readNumber(field, record);
      for (const Choice& choice : field.choices) {
        if (choice.value == value) return std::string(choice.word);
      }
      return std::to_string(value);
    }
    case Kind::kReference: {
      const std::int64_t id = readNumber(field, record);
      return id == 0 ? "none" : "#" + std::to_string(id);
    }
    case Kind::kAddressMask: {
      const std::string mask = readMask(field, record);
      return mask.empty() ? "none" : mask;
    }
    case Kind::kStruct: {
      std::string line;
      for (const Field& part : field.element->fields) {
        if (part.kind == Kind::kReserved) continue;
        if (!line.empty()) line += ", ";
        line += std::string(part.name) + " " + describeField(part, readStruct(field, record));
      }
      return line;
    }
    case Kind::kList:
    case Kind::kArray: {
      const std::uint64_t count = readEntries(field, record).count;
      return std::to_string(count) + (count == 1 ? " entry" : " entries");
    }
    default:
      return std::to_string(readNumber(field, record));
  }
}

}  // namespace Kestrav::Config
