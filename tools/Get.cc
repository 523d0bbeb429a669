#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "config/ServerCache.h"
#include "platform/config/records/FieldAccess.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/Tables.h"
#include "platform/config/text/Text.h"
#include "tools/JsonText.h"
#include "tools/Messages.h"
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

// The configuration domain that `text` names; nothing when there is no such domain.
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

int listTables(const Context& context, bool json) {
  Json list = Json::array();
  std::size_t widest = 0;
  for (const Config::Table& table : Config::tables()) {
    list.push_back({{"table", std::string(table.key)}, {"help", std::string(table.help)}});
    widest = std::max(widest, table.key.size());
  }
  if (json) {
    context.out << indented(list);
    return kDone;
  }
  for (const Config::Table& table : Config::tables()) {
    context.out << table.key << std::string(widest + 2 - table.key.size(), ' ') << table.help
                << "\n";
  }
  return kDone;
}

Json listRecords(const Config::Snapshot& snapshot, const Config::Table& table, ngid_t domain) {
  Json list = Json::array();
  snapshot.walk(table.gid, domain, [&](const Config::StoredRecord& record) {
    const std::string name = recordName(table, record.data(), record.id());
    list.push_back({{"id", record.id()}, {"name", name}});
    return true;
  });
  return list;
}

// The configuration domain to look in; nothing, with a message, when `text` names none.
std::optional<ngid_t> domainToLookIn(const Context& context, const Config::Snapshot& snapshot,
                                     const Config::Table& table, const std::string& text) {
  const auto domain = configurationDomain(text);
  if (!domain) {
    std::vector<std::string> known;
    snapshot.walk(GID_PROTECTED_DOMAIN, 0, [&](const Config::StoredRecord& record) {
      known.push_back(recordName(*Config::findTable(GID_PROTECTED_DOMAIN), record.data(), 0));
      return true;
    });
    context.err << "vexactl: " << unknown("protected domain", text, known) << "\n";
  } else if (!text.empty() && *domain == 0) {
    context.err << "vexactl: " << oneLine(text) << " has no configuration of its own\n";
    return std::nullopt;
  } else if (*domain != 0 && table.scope != Config::Scope::kDomainList) {
    context.err << "vexactl: " << table.key << " exist only in the system; leave out --domain\n";
    return std::nullopt;
  }
  return domain;
}

}  // namespace

int get(const Context& context, const GetOptions& options) {
  if (options.table.empty()) return listTables(context, options.json);
  const Config::Table* table = Config::findTableByKey(options.table);
  if (table == nullptr) {
    std::vector<std::string> known;
    for (const Config::Table& entry : Config::tables()) known.emplace_back(entry.key);
    context.err << "vexactl: " << unknown("table", options.table, known) << "\n";
    return kBadInput;
  }
  const bool single = table->scope == Config::Scope::kSystemSingle;
  if (single && !options.name.empty()) {
    context.err << "vexactl: there is only one " << table->key << " record; leave out NAME\n";
    return kBadInput;
  }
  const auto store = openStore(context, IfMissing::kRefuse);
  const Config::Snapshot snapshot = store->snapshot();
  const auto domain = domainToLookIn(context, snapshot, *table, options.domain);
  if (!domain) return kNo;

  if (!single && options.name.empty()) {
    const Json list = listRecords(snapshot, *table, *domain);
    if (options.json) {
      context.out << indented(list);
    } else {
      for (const Json& entry : list)
        context.out << entry["id"] << "\t" << oneLine(entry["name"].get<std::string>()) << "\n";
    }
    return kDone;
  }

  const Names names(snapshot);
  const Config::StoredRecord record = single ? snapshot.byId(table->gid, 0, 0)
                                             : findRecord(snapshot, *table, *domain, options.name);
  if (!record) {
    std::vector<std::string> known;
    for (const Json& entry : listRecords(snapshot, *table, *domain)) known.push_back(entry["name"]);
    context.err << "vexactl: in " << oneLine(names.domainName(*domain)) << " "
                << unknown(std::string(table->singular), options.name, known) << "\n";
    return kNo;
  }
  const RenderOptions render{.secrets = options.secrets, .defaults = true};
  if (options.json) {
    context.out << indented(recordDocument(*table->type, record.data(), *domain, names, render));
  } else if (options.all) {
    const Json document = recordDocument(*table->type, record.data(), *domain, names, render);
    for (const auto& [name, value] : document.items())
      context.out << name << ": " << plain(value) << "\n";
  } else {
    Config::Text::writeRecord(snapshot, record, context.out, {options.secrets});
  }
  return kDone;
}

}  // namespace Kestrav::Tool
