#include "tools/Render.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "platform/config/records/FieldAccess.h"

namespace Kestrav::Tool {
namespace {

using Config::Field;
using Config::Kind;
using Json = nlohmann::ordered_json;

// Numbers that a store assigns; they mean nothing outside it.
bool isNumber(const Field& field) {
  return field.kind == Kind::kId || field.kind == Kind::kDomain ||
         field.kind == Kind::kConfigurationDomain;
}

Json choiceOr(const Field& field, std::int64_t value) {
  for (const Config::Choice& choice : field.choices) {
    if (choice.value == value) return std::string(choice.word);
  }
  return value;
}

Json valueDocument(const Field& field, const void* record, ngid_t domain, const Names& names,
                   const RenderOptions& options) {
  switch (field.kind) {
    case Kind::kText:
    case Kind::kTextReference: {
      const std::string_view text = Config::readText(field, record);
      return std::string(!options.secrets && Config::isSecret(field, text) ? kMasked : text);
    }
    case Kind::kFloat:
      return Config::readReal(field, record);
    case Kind::kBool:
      return Config::readNumber(field, record) != 0;
    case Kind::kBit:
      if (field.choices.empty()) return Config::readNumber(field, record) != 0;
      return choiceOr(field, Config::readNumber(field, record));
    case Kind::kReference: {
      const auto id = static_cast<std::uint32_t>(Config::readNumber(field, record));
      if (id == 0) return nullptr;
      return names.nameOf(field.target, domain, id);
    }
    case Kind::kAddressMask:
      return Config::readMask(field, record);
    case Kind::kStruct:
      return recordDocument(*field.element, Config::readStruct(field, record), domain, names,
                            options);
    case Kind::kList:
    case Kind::kArray: {
      Json list = Json::array();
      const Config::Entries entries = Config::readEntries(field, record);
      for (std::uint64_t i = 0; i < entries.count; ++i) {
        list.push_back(recordDocument(*field.element, entries.at(i), domain, names, options));
      }
      return list;
    }
    default:
      return choiceOr(field, Config::readNumber(field, record));
  }
}

}  // namespace

nlohmann::ordered_json recordDocument(const Config::RecordType& type, const void* record,
                                      ngid_t domain, const Names& names,
                                      const RenderOptions& options) {
  Json document = Json::object();
  for (const Field& field : type.fields) {
    if (field.kind == Kind::kReserved) continue;
    if (!options.numbers && isNumber(field)) continue;
    if (!options.defaults && field.kind != Kind::kId && Config::holdsDefault(type, field, record))
      continue;
    document[std::string(field.name)] = valueDocument(field, record, domain, names, options);
  }
  return document;
}

nlohmann::ordered_json fieldChange(std::string_view field, Json from, Json to) {
  return {{"field", std::string(field)}, {"from", std::move(from)}, {"to", std::move(to)}};
}

nlohmann::ordered_json fieldChanges(const Config::RecordType& type, const void* before,
                                    const void* after, ngid_t domain, const Names& names,
                                    const RenderOptions& options) {
  Json changes = Json::array();
  for (const Field& field : type.fields) {
    if (field.kind == Kind::kReserved || Config::sameField(field, before, after)) continue;
    changes.push_back(fieldChange(field.name, valueDocument(field, before, domain, names, options),
                                  valueDocument(field, after, domain, names, options)));
  }
  return changes;
}

std::string recordName(const Config::Table& table, const void* record, std::uint32_t id) {
  if (table.nameOffset != Config::kNoName) {
    for (const Field& field : table.type->fields) {
      if (field.offset == table.nameOffset && field.kind == Kind::kText) {
        return std::string(Config::readText(field, record));
      }
    }
  }
  return "#" + std::to_string(id);
}

}  // namespace Kestrav::Tool
