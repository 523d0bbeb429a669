#include <charconv>
#include <nlohmann/json.hpp>
#include <ostream>

#include "common/Strings.h"
#include "config/ServerCache.h"
#include "config/records/FieldAccess.h"
#include "config/records/Tables.h"
#include "tools/Names.h"
#include "tools/OpenStore.h"
#include "tools/Render.h"

namespace Kestrav::Tool {
namespace {

using Json = nlohmann::ordered_json;

std::optional<std::uint32_t> asNumber(const std::string& text) {
  std::uint32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

// The configuration domain that `text` names; none when there is no such domain.
std::optional<ngid_t> configurationDomain(const std::string& text) {
  if (text.empty()) return 0;
  if (const auto number = asNumber(text)) return number;
  const auto server = CMF::RefApsGwServerCache::instance(false)->find(text);
  if (server.isNull()) return std::nullopt;
  return server->configurationDomain();
}

Config::StoredRecord findRecord(const Config::Snapshot& snapshot, const Config::Table& table,
                                ngid_t domain, const std::string& name) {
  Config::StoredRecord found;
  snapshot.walk(table.gid, domain, [&](const Config::StoredRecord& record) {
    if (recordName(table, record.data(), record.id()) != name) return true;
    found = snapshot.byId(table.gid, domain, record.id());
    return false;
  });
  if (!found) {
    if (const auto id = asNumber(name)) found = snapshot.byId(table.gid, domain, *id);
  }
  return found;
}

void print(const Json& document, const Context& context, bool json) {
  if (json) {
    context.out << document.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
    return;
  }
  for (const auto& [name, value] : document.items()) {
    context.out << name << ": "
                << (value.is_string() ? value.get<std::string>()
                                      : value.dump(-1, ' ', false, Json::error_handler_t::replace))
                << "\n";
  }
}

}  // namespace

int get(const Context& context, const GetOptions& options) {
  const Config::Table* table = Config::findTableByKey(options.table);
  if (table == nullptr) {
    context.err << "vexactl: there is no table \"" << options.table << "\"; there are:\n";
    for (const Config::Table& known : Config::tables()) {
      context.err << "  " << known.key << ": " << known.help << "\n";
    }
    return kBadInput;
  }
  const auto store = openStore(context, IfMissing::kRefuse);
  const Config::Snapshot snapshot = store->snapshot();
  const auto domain = configurationDomain(options.domain);
  if (!domain) {
    context.err << "vexactl: \"" << options.domain << "\" is not a protected domain\n";
    return kNo;
  }
  const Names names(snapshot);
  if (table->scope != Config::Scope::kSystemSingle && options.name.empty()) {
    Json list = Json::array();
    snapshot.walk(table->gid, *domain, [&](const Config::StoredRecord& record) {
      const std::string name = recordName(*table, record.data(), record.id());
      list.push_back({{"id", record.id()}, {"name", name}});
      return true;
    });
    if (options.json) {
      print(list, context, true);
    } else {
      for (const Json& entry : list)
        context.out << entry["id"] << "\t" << entry["name"].get<std::string>() << "\n";
    }
    return kDone;
  }
  const Config::StoredRecord record = table->scope == Config::Scope::kSystemSingle
                                          ? snapshot.byId(table->gid, 0, 0)
                                          : findRecord(snapshot, *table, *domain, options.name);
  if (!record) {
    context.err << "vexactl: there is no " << table->singular << " \"" << options.name << "\" in "
                << names.domainName(*domain) << "\n";
    return kNo;
  }
  print(recordDocument(*table->type, record.data(), *domain, names, {options.secrets, true}),
        context, options.json);
  return kDone;
}

}  // namespace Kestrav::Tool
