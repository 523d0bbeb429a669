#include <nlohmann/json.hpp>

#include "platform/config/records/Field.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/Tables.h"
#include "platform/config/text/Reader.h"
#include "platform/config/text/Text.h"

namespace Kestrav::Config::Text {
namespace {

using Json = nlohmann::ordered_json;

Json schemaOf(const RecordType& type, std::string_view hidden, bool inList, const Table* table);

Json booleans() {
  const Json truth = {{"type", "boolean"}};
  const Json words = {{"enum", Json::array({"on", "off", "yes", "no"})}};
  return {{"anyOf", Json::array({truth, words})}};
}

Json schemaOf(const Field& field) {
  Json json;
  switch (field.kind) {
    case Kind::kBool:
    case Kind::kBit:
      json = booleans();
      json["default"] = field.defaultValue != 0;
      break;
    case Kind::kUnsigned:
    case Kind::kSigned:
      json = {{"type", "integer"}, {"minimum", field.minimum}, {"maximum", field.maximum}};
      json["default"] = field.defaultValue;
      break;
    case Kind::kId:
    case Kind::kConfigurationDomain:
      json = {{"type", "integer"}, {"minimum", 1}, {"maximum", kGreatestId}};
      break;
    case Kind::kFloat:
      json = {{"type", "number"}, {"default", field.defaultFloat}};
      break;
    case Kind::kEnum: {
      Json words = Json::array();
      for (const Choice& choice : field.choices) words.push_back(choice.word);
      json["anyOf"] = Json::array();
      json["anyOf"].push_back({{"enum", words}});
      if (!field.wordsOnly) json["anyOf"].push_back({{"type", "integer"}});
      break;
    }
    case Kind::kStruct:
      json = schemaOf(*field.element, {}, false, nullptr);
      break;
    case Kind::kList:
    case Kind::kArray:
      json = {{"type", "array"}, {"items", schemaOf(*field.element, {}, true, nullptr)}};
      if (field.capacity != 0) json["maxItems"] = field.capacity;
      break;
    case Kind::kReference:
    case Kind::kTextReference:
      json = {{"type", Json::array({"string", "number", "boolean"})}};
      break;
    default:
      // A text that looks like a number or a switch needs no quotes.
      json = {{"type", Json::array({"string", "number", "boolean"})}};
      if (field.kind == Kind::kText) json["maxLength"] = field.size - 1;
      if (!field.defaultText.empty()) json["default"] = field.defaultText;
  }
  if (!field.help.empty()) json["description"] = field.help;
  return json;
}

Json listOf(const Table& table) {
  return {{"type", Json::array({"array", "null"})},
          {"description", table.help},
          {"items", schemaOf(*table.type, table.ownerField, true, &table)}};
}

Json domainTables() {
  Json properties = Json::object();
  for (const Table& table : tables()) {
    if (table.scope == Scope::kDomainList) properties[std::string(table.key)] = listOf(table);
  }
  return {{"type", Json::array({"object", "null"})},
          {"description", "What the domain has of its own."},
          {"properties", properties},
          {"additionalProperties", false}};
}

Json schemaOf(const RecordType& type, std::string_view hidden, bool inList, const Table* table) {
  Json properties = Json::object();
  Json required = Json::array();
  for (const Field* field : visibleFields(type, hidden)) {
    properties[std::string(field->name)] = schemaOf(*field);
    if (field->required) required.push_back(field->name);
  }
  for (const Criterion& criterion : type.criteria) {
    properties[std::string(criterion.name)] = {{"type", "string"}, {"description", criterion.help}};
  }
  if (table != nullptr && table->gid == GID_PROTECTED_DOMAIN) {
    properties["configuration"] = domainTables();
  }
  for (const Table& nested : tables()) {
    if (table != nullptr && nested.owner == table->gid) {
      properties[std::string(nested.keyInOwner)] = listOf(nested);
    }
  }
  Json map = {{"type", "object"}, {"properties", properties}, {"additionalProperties", false}};
  if (!required.empty()) map["required"] = required;
  if (!inList) return map;
  const Json alone = {{"type", Json::array({"string", "number", "boolean"})}};
  return {{"anyOf", Json::array({map, alone})}};
}

}  // namespace

std::string schema() {
  Json properties = Json::object();
  for (const Table& table : tables()) {
    if (table.owner != 0) continue;
    const std::string key(table.key);
    if (table.scope == Scope::kSystemSingle) {
      properties[key] = schemaOf(*table.type, {}, false, &table);
      properties[key]["description"] = table.help;
    } else {
      properties[key] = listOf(table);
    }
  }
  const Json json = {{"$schema", "https://json-schema.org/draft/2020-12/schema"},
                     {"title", "Kestrav configuration"},
                     {"type", "object"},
                     {"properties", properties},
                     {"additionalProperties", false}};
  return json.dump(2) + "\n";
}

}  // namespace Kestrav::Config::Text
