#include "tools/Changes.h"

#include <nlohmann/json.hpp>

#include "platform/config/records/FieldAccess.h"
#include "platform/config/records/Tables.h"

namespace Kestrav::Tool {
namespace {

using Json = nlohmann::ordered_json;

std::string asText(const Json& value) {
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

Change changeOf(const Config::JournalEntry& entry) {
  if (!entry.before) return Change::kAdded;
  if (!entry.after) return Change::kRemoved;
  const Config::Table* table = Config::findTable(entry.gid);
  if (table != nullptr &&
      Config::sameRecord(*table->type, entry.before.data(), entry.after.data())) {
    return Change::kMoved;
  }
  return Change::kChanged;
}

const char* changeText(Change change) {
  switch (change) {
    case Change::kAdded:
      return "added";
    case Change::kRemoved:
      return "removed";
    case Change::kChanged:
      return "changed";
    case Change::kMoved:
      return "moved";
  }
  return "";
}

nlohmann::ordered_json changeDocument(const Config::JournalEntry& entry, const Names& names,
                                      const RenderOptions& options) {
  const Config::Table* table = Config::findTable(entry.gid);
  const Change change = changeOf(entry);
  Json document = {{"revision", entry.revision},
                   {"change", changeText(change)},
                   {"gid", static_cast<unsigned>(entry.gid)}};
  if (table == nullptr) {
    document.update(
        {{"table", "#" + std::to_string(entry.gid)}, {"domain", entry.domain}, {"id", entry.id}});
    return document;
  }
  const Config::StoredRecord& record = entry.after ? entry.after : entry.before;
  document["table"] = std::string(table->key);
  document["domain"] = entry.domain;
  document["domainName"] = names.domainName(entry.domain);
  document["id"] = entry.id;
  document["name"] = table->scope == Config::Scope::kSystemSingle
                         ? std::string(table->singular)
                         : recordName(*table, record.data(), entry.id);
  if (change == Change::kChanged) {
    Json fields = Json::array();
    for (const FieldChange& field : fieldChanges(
             *table->type, entry.before.data(), entry.after.data(), entry.domain, names, options)) {
      fields.push_back({{"field", field.field},
                        {"from", Json::parse(field.from)},
                        {"to", Json::parse(field.to)}});
    }
    document["fields"] = std::move(fields);
  } else if (change != Change::kMoved) {
    document["record"] = recordDocument(*table->type, record.data(), entry.domain, names, options);
  }
  return document;
}

void printChange(const nlohmann::ordered_json& document, std::ostream& out) {
  out << document["table"].get<std::string>();
  if (document.contains("name")) {
    out << " \"" << document["name"].get<std::string>() << "\" of "
        << document["domainName"].get<std::string>();
  } else {
    out << " #" << document["id"];
  }
  out << ": " << document["change"].get<std::string>() << "\n";
  if (document.contains("fields")) {
    for (const Json& change : document["fields"]) {
      out << "  " << change["field"].get<std::string>() << ": " << asText(change["from"]) << " -> "
          << asText(change["to"]) << "\n";
    }
  }
  if (document.contains("record")) {
    for (const auto& [name, value] : document["record"].items())
      out << "  " << name << ": " << asText(value) << "\n";
  }
}

}  // namespace Kestrav::Tool
