#include "tools/Changes.h"

#include <nlohmann/json.hpp>

#include "platform/config/records/FieldAccess.h"
#include "platform/config/records/Tables.h"
#include "tools/JsonText.h"

namespace Kestrav::Tool {
namespace {

using Json = nlohmann::ordered_json;

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
  constexpr const char* kTexts[] = {"added", "removed", "changed", "moved"};  // in enum order
  return kTexts[static_cast<std::size_t>(change)];
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
    document["fields"] = fieldChanges(*table->type, entry.before.data(), entry.after.data(),
                                      entry.domain, names, options);
  } else if (change != Change::kMoved) {
    document["record"] = recordDocument(*table->type, record.data(), entry.domain, names, options);
  }
  return document;
}

void printChange(const nlohmann::ordered_json& document, std::ostream& out) {
  out << plain(document["table"]);
  if (document.contains("name")) {
    const char* domain = document.contains("domainName") ? "domainName" : "domain";
    out << " \"" << plain(document["name"]) << "\" of " << plain(document[domain]);
  } else {
    out << " #" << document["id"];
  }
  out << ": " << plain(document["change"]) << "\n";
  if (document.contains("fields")) {
    for (const Json& change : document["fields"]) {
      out << "  " << plain(change["field"]) << ": " << compact(change["from"]) << " -> "
          << compact(change["to"]) << "\n";
    }
  }
  if (document.contains("record")) {
    for (const auto& [name, value] : document["record"].items()) {
      out << "  " << name << ": " << compact(value) << "\n";
    }
  }
}

}  // namespace Kestrav::Tool
