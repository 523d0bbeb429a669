#include <csignal>
#include <nlohmann/json.hpp>
#include <ostream>

#include "config/Event.h"
#include "config/records/Tables.h"
#include "tools/Names.h"
#include "tools/OpenStore.h"
#include "tools/Render.h"

namespace Kestrav::Tool {
namespace {

using Json = nlohmann::ordered_json;

volatile std::sig_atomic_t interrupted = 0;
void onInterrupt(int) {
  interrupted = 1;
}

const char* changeKind(const Config::JournalEntry& entry) {
  if (!entry.before) return "added";
  if (!entry.after) return "removed";
  return "changed";
}

Json changeDocument(const Config::JournalEntry& entry, const Names& names,
                    const RenderOptions& options) {
  const Config::Table* table = Config::findTable(entry.gid);
  Json document = {{"revision", entry.revision},
                   {"change", changeKind(entry)},
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
  if (entry.before && entry.after) {
    Json fields = Json::array();
    for (const FieldChange& change : fieldChanges(
             *table->type, entry.before.data(), entry.after.data(), entry.domain, names, options)) {
      fields.push_back({{"field", change.field},
                        {"from", Json::parse(change.from)},
                        {"to", Json::parse(change.to)}});
    }
    if (fields.empty()) document["change"] = "moved";
    document["fields"] = std::move(fields);
  } else {
    document["record"] = recordDocument(*table->type, record.data(), entry.domain, names, options);
  }
  return document;
}

std::string asText(const Json& value) {
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

void print(const Json& document, std::ostream& out) {
  out << "revision " << document["revision"] << "  " << document["table"].get<std::string>();
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

}  // namespace

int watch(const Context& context, const WatchOptions& options) {
  const auto store = openStore(context, IfMissing::kRefuse);
  store->registerProcess("vexactl watch");
  auto dispatcher = CMF::Event::Dispatcher::instance("", false, false);
  const RenderOptions render{options.secrets, false};

  const unsigned int observer = dispatcher->observe([&](const Config::JournalEntry& entry) {
    const Config::Snapshot snapshot = store->snapshot();
    const Json document = changeDocument(entry, Names(snapshot), render);
    if (options.json) {
      context.out << asText(document) << "\n";
    } else {
      print(document, context.out);
    }
    context.out.flush();
  });
  const Config::Revision start = dispatcher->applied();
  if (!options.json)
    context.out << "watching " << context.store.string() << " from revision " << start << " on"
                << std::endl;

  std::signal(SIGINT, onInterrupt);
  std::signal(SIGTERM, onInterrupt);
  while (!interrupted) {
    const Config::Revision applied = dispatcher->applied();
    if (options.changes > 0 && applied >= start + static_cast<Config::Revision>(options.changes))
      break;
    dispatcher->waitApplied(applied + 1, 200);
  }
  dispatcher->unobserve(observer);
  return kDone;
}

}  // namespace Kestrav::Tool
