#include "tools/Names.h"

#include "common/Strings.h"
#include "config/records/DomainRecords.h"
#include "config/records/Tables.h"
#include "tools/Render.h"

namespace Kestrav::Tool {

std::optional<Names::Found> Names::find(G_CLI_GID gid, ngid_t domain, std::uint32_t id) const {
  const Config::Table* table = Config::findTable(gid);
  if (table == nullptr || id == 0) return std::nullopt;
  for (const ngid_t where : {ngid_t{0}, domain}) {
    const Config::StoredRecord record = snapshot_.byId(gid, where, id);
    if (record) return Found{where, recordName(*table, record.data(), id)};
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
  const std::string number = "configuration " + std::to_string(domain);
  return name.empty() ? number : name + " (" + number + ")";
}

}  // namespace Kestrav::Tool
