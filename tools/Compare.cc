#include "tools/Compare.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string_view>

#include "platform/common/Strings.h"
#include "platform/config/records/DomainRecords.h"
#include "platform/config/records/FieldAccess.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/Tables.h"
#include "tools/Changes.h"
#include "tools/JsonText.h"

namespace Kestrav::Tool {
namespace {

using Config::Field;
using Config::Snapshot;
using Json = nlohmann::ordered_json;

// A store's configuration domains by the name of the protected domain that owns them.
std::map<std::string, ngid_t> domainsByName(const Snapshot& snapshot) {
  std::map<std::string, ngid_t> domains = {{"the system", 0}};
  snapshot.walk(GID_PROTECTED_DOMAIN, 0, [&](const Config::StoredRecord& record) {
    const auto& server = *record.as<__aps_gw_server>();
    if (server.configuration_domain != 0 && boundedText(server.alias_of).empty()) {
      domains.emplace(boundedText(server.name), server.configuration_domain);
    }
    return true;
  });
  return domains;
}

struct Row {
  std::string name;   // identifies the record in the other configuration
  std::string label;  // for output; never holds a secret
  Json fields;        // every field except ids, secrets included
};

// The label of a record without a name: its contents on one line.
std::string summary(const Json& fields) {
  std::string text;
  for (const auto& [name, value] : fields.items()) {
    text += (text.empty() ? "" : ", ") + name + " " +
            (value.is_string() ? value.get<std::string>() : compact(value));
  }
  return text;
}

// A table's records of one domain in order.
std::vector<Row> rowsOf(const Snapshot& snapshot, const Config::Table& table, ngid_t domain) {
  const Names names(snapshot);
  std::vector<Row> rows;
  const auto document = [&](const Config::StoredRecord& record, bool secrets, bool defaults) {
    const RenderOptions options{.secrets = secrets, .defaults = defaults, .numbers = false};
    return recordDocument(*table.type, record.data(), domain, names, options);
  };
  if (table.scope == Config::Scope::kSystemSingle) {
    const Config::StoredRecord record = snapshot.byId(table.gid, 0, 0);
    rows.push_back({"", std::string(table.singular), document(record, true, true)});
    return rows;
  }
  snapshot.walk(table.gid, domain, [&](const Config::StoredRecord& record) {
    Json fields = document(record, true, true);
    if (table.nameOffset == Config::kNoName) {
      rows.push_back({compact(fields), summary(document(record, false, false)), std::move(fields)});
    } else {
      const std::string name = recordName(table, record.data(), record.id());
      rows.push_back({name, name, std::move(fields)});
    }
    return true;
  });
  return rows;
}

// Which of the places, all different, are not part of their longest ascending series: the smallest
// set that has to move so that the others are in order.
std::vector<bool> movedOf(const std::vector<std::size_t>& places) {
  constexpr std::size_t kNone = static_cast<std::size_t>(-1);
  std::vector<std::size_t> ends;  // for each length, the lowest last element of such a series
  std::vector<std::size_t> before(places.size(), kNone);
  for (std::size_t i = 0; i < places.size(); ++i) {
    const auto at =
        std::lower_bound(ends.begin(), ends.end(), places[i],
                         [&](std::size_t end, std::size_t place) { return places[end] < place; });
    if (at != ends.begin()) before[i] = *(at - 1);
    if (at == ends.end()) {
      ends.push_back(i);
    } else {
      *at = i;
    }
  }
  std::vector<bool> moved(places.size(), true);
  for (std::size_t i = ends.empty() ? kNone : ends.back(); i != kNone; i = before[i])
    moved[i] = false;
  return moved;
}

// An embedded record or a list holds a secret when any of its fields does.
bool holdsSecret(const Field& field) {
  return field.secret ||
         (field.element != nullptr &&
          std::any_of(field.element->fields.begin(), field.element->fields.end(), holdsSecret));
}

bool holdsPrivateKey(const Json& value) {
  return Config::findPrivateKey(compact(value)) != std::string::npos;
}

// The fields of `to` that differ from those of `from`.
Json changesOf(const Config::RecordType& type, const Json& from, const Json& to,
               const RenderOptions& options) {
  Json changes = Json::array();
  for (const auto& [name, value] : to.items()) {
    const Json before = from.contains(name) ? from[name] : Json();
    if (from.contains(name) && before == value) continue;
    const Field* field = Config::findField(type, name);
    const bool masked = !options.secrets && ((field != nullptr && holdsSecret(*field)) ||
                                             holdsPrivateKey(before) || holdsPrivateKey(value));
    const auto shown = [&](const Json& json) { return masked ? Json(kMasked) : json; };
    changes.push_back(
        fieldChange(name, from.contains(name) ? shown(before) : Json(), shown(value)));
  }
  return changes;
}

class Comparison {
 public:
  Comparison(const Snapshot& from, const Snapshot& to, const RenderOptions& options)
      : from_(from), to_(to), options_(options) {}

  Json run() {
    const auto fromDomains = domainsByName(from_);
    const auto toDomains = domainsByName(to_);
    std::set<std::string> domains;
    for (const auto& [name, number] : fromDomains) domains.insert(name);
    for (const auto& [name, number] : toDomains) domains.insert(name);
    for (const Config::Table& table : Config::tables()) {
      for (const std::string& domain : domains) {
        if (table.scope != Config::Scope::kDomainList && domain != "the system") continue;
        const auto rows = [&](const Snapshot& snapshot,
                              const std::map<std::string, ngid_t>& known) {
          const auto at = known.find(domain);
          return at == known.end() ? std::vector<Row>() : rowsOf(snapshot, table, at->second);
        };
        compareTable(table, domain, rows(from_, fromDomains), rows(to_, toDomains));
      }
    }
    return std::move(differences_);
  }

 private:
  void compareTable(const Config::Table& table, const std::string& domain,
                    const std::vector<Row>& from, const std::vector<Row>& to) {
    std::multimap<std::string_view, std::size_t> left;  // places in `from` without a partner yet
    for (std::size_t i = 0; i < from.size(); ++i) left.emplace(from[i].name, i);
    const auto report = [&](Change change, const Row& row, Json fields = Json::array()) {
      differences_.push_back({{"change", changeText(change)},
                              {"table", std::string(table.key)},
                              {"domain", domain},
                              {"name", row.label}});
      if (!fields.empty()) differences_.back()["fields"] = std::move(fields);
    };
    std::vector<const Row*> kept;
    std::vector<std::size_t> places;  // their places in `from`
    for (const Row& row : to) {
      const auto at = left.find(row.name);
      if (at == left.end()) {
        report(Change::kAdded, row);
        continue;
      }
      kept.push_back(&row);
      places.push_back(at->second);
      Json fields = changesOf(*table.type, from[at->second].fields, row.fields, options_);
      left.erase(at);
      if (!fields.empty()) report(Change::kChanged, row, std::move(fields));
    }
    std::set<std::size_t> gone;
    for (const auto& [name, place] : left) gone.insert(place);
    for (const std::size_t place : gone) report(Change::kRemoved, from[place]);
    const std::vector<bool> moved = movedOf(places);
    for (std::size_t i = 0; i < kept.size(); ++i) {
      if (moved[i]) report(Change::kMoved, *kept[i]);
    }
  }

  const Snapshot& from_;
  const Snapshot& to_;
  const RenderOptions options_;
  Json differences_ = Json::array();
};

}  // namespace

nlohmann::ordered_json compare(const Snapshot& from, const Snapshot& to,
                               const RenderOptions& options) {
  return Comparison(from, to, options).run();
}

}  // namespace Kestrav::Tool
