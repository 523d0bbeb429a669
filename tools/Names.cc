#include "tools/Names.h"

#include "platform/common/Strings.h"
#include "platform/config/records/DomainRecords.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/Tables.h"
#include "tools/Render.h"

namespace Kestrav::Tool {

void addRemovedNames(RemovedNames& names, Config::ConfigStore& store, Config::Revision after,
                     Config::Revision upTo) {
  store.journal(after, upTo, [&](const Config::JournalEntry& entry) {
    const Config::Table* table = Config::findTable(entry.gid);
    if (!entry.before || entry.after || table == nullptr) return;
    names.records[{entry.gid, entry.domain, entry.id}] =
        recordName(*table, entry.before.data(), entry.id);
    if (entry.gid == GID_PROTECTED_DOMAIN) {
      const auto& server = *entry.before.as<__aps_gw_server>();
      if (server.configuration_domain != 0)
        names.domains.emplace(server.configuration_domain, boundedText(server.name));
    }
  });
}

std::optional<Names::Found> Names::find(G_CLI_GID gid, ngid_t domain, std::uint32_t id) const {
  const Config::Table* table = Config::findTable(gid);
  if (table == nullptr || id == 0) return std::nullopt;
  for (const ngid_t where : {ngid_t{0}, domain}) {
    const Config::StoredRecord record = snapshot_.byId(gid, where, id);
    if (record) return Found{where, recordName(*table, record.data(), id)};
    if (removed_ == nullptr) continue;
    const auto removed = removed_->records.find({gid, where, id});
    if (removed != removed_->records.end()) return Found{where, removed->second};
  }
  return std::nullopt;
}

std::string Names::nameOf(G_CLI_GID gid, ngid_t domain, std::uint32_t id) const {
  const std::optional<Found> found = find(gid, domain, id);
  return found ? found->name : "#" + std::to_string(id);
}

std::string Names::domainName(ngid_t domain) const {
  if (domain == 0) return "the system";
  std::string name;
  snapshot_.walk(GID_PROTECTED_DOMAIN, 0, [&](const Config::StoredRecord& record) {
    const auto& server = *record.as<__aps_gw_server>();
    if (server.configuration_domain != domain) return true;
    name = boundedText(server.name);
    return false;
  });
  if (name.empty() && removed_ != nullptr) {
    const auto removed = removed_->domains.find(domain);
    if (removed != removed_->domains.end()) name = removed->second;
  }
  const std::string number = "configuration " + std::to_string(domain);
  return name.empty() ? number : name + " (" + number + ")";
}

}  // namespace Kestrav::Tool
