// A record of any table, with a fresh id and, if the table has names, a fresh name.
#pragma once

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>

#include "platform/config/records/FieldAccess.h"
#include "platform/config/records/OwnedRecord.h"
#include "platform/config/records/Tables.h"
#include "tests/profile/Gateway.h"

namespace Kestrav::Testing {

class AnyRecord {
 public:
  explicit AnyRecord(G_CLI_GID gid) : table_(*Config::findTable(gid)), record_(*table_.type) {
    if (single()) return;
    const std::uint32_t fresh = freshId();
    std::memcpy(static_cast<char*>(record_.data()) + table_.idOffset, &fresh, sizeof(fresh));
    for (const Config::Field& field : table_.type->fields) {
      if (field.offset == table_.nameOffset) name(field);
    }
  }

  std::uint32_t id() const {
    std::uint32_t found = 0;
    if (!single()) {
      std::memcpy(&found, static_cast<const char*>(record_.data()) + table_.idOffset,
                  sizeof(found));
    }
    return found;
  }
  bool single() const { return table_.scope == Config::Scope::kSystemSingle; }
  const void* data() const { return record_.data(); }
  void put(Config::ChangeSet& changes, ngid_t domain = 0) const {
    changes.put(table_.gid, domain, record_.data());
  }

  // Changes one field to another valid value.
  void touch() {
    for (const Config::Field& field : table_.type->fields) {
      switch (field.kind) {
        case Config::Kind::kText:
          name(field);
          return;
        case Config::Kind::kUnsigned:
        case Config::Kind::kReference:
          if (Config::writeNumber(field, record_.data(),
                                  Config::readNumber(field, record_.data()) == 1 ? 2 : 1)) {
            return;
          }
          break;
        default:
          break;
      }
    }
    throw std::logic_error("nothing to change in a record of " + std::string(table_.key));
  }

 private:
  // Sets the field to a text that no other record has.
  void name(const Config::Field& field) {
    const std::uint32_t number = freshId();
    const bool isAddress = field.syntax == "ip-mask";
    const std::string text = isAddress ? "10.0." + std::to_string(number / 256 % 256) + "." +
                                             std::to_string(number % 256)
                                       : "record-" + std::to_string(number);
    if (!Config::writeText(field, record_.data(), text))
      throw std::logic_error(text + " is too long");
  }

  const Config::Table& table_;
  Config::OwnedRecord record_;
};

}  // namespace Kestrav::Testing
