#include "tools/Compare.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string_view>

#include "platform/common/Strings.h"
#include "platform/config/records/DomainRecords.h"
#include "platform/config/records/FieldAccess.h"
#include "platform/config/records/Tables.h"

namespace Kestrav::Tool {
namespace {

using Config::Field;
using Config::Snapshot;
using Json = nlohmann::ordered_json;

// A store's configuration domains by the name of the protected domain that owns each.
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
  std::string name;   // what it is found by in the other configuration
  std::string label;  // what it is called; never holds a secret
  Json fields;        // every field but the numbers, secrets included
};

std::string asText(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// What a record without a name is called: what it holds, in one line.
std::string summary(const Json& fields) {
  std::string text;
  for (const auto& [name, value] : fields.items()) {
    text += (text.empty() ? "" : ", ") + name + " " +
            (value.is_string() ? value.get<std::string>() : asText(value));
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
      rows.push_back({asText(fields), summary(document(record, false, false)), std::move(fields)});
    } else {
      const std::string name = recordName(table, record.data(), record.id());
      rows.push_back({name, name, std::move(fields)});
    }
    return true;
  });
  return rows;
}

// Which of the numbers, all different, are not part of their longest ascending series: the fewest
// that have to move for the others to stand in order.
std::vector<bool> movedOf(const std::vector<std::size_t>& places) {
  constexpr std::size_t kNone = static_cast<std::size_t>(-1);
  std::vector<std::size_t> ends;  // of the series of each length, the one that ends lowest
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

// Secrets inside embedded records and lists: masked as a whole when any is there.
bool holdsSecret(const Config::RecordType& type) {
  return std::any_of(type.fields.begin(), type.fields.end(), [](const Field& field) {
    return field.secret || (field.element != nullptr && holdsSecret(*field.element));
  });
}

std::vector<FieldChange> changesOf(const Config::RecordType& type, const Json& from, const Json& to,
                                   const RenderOptions& options) {
  std::vector<FieldChange> changes;
  for (const auto& [name, value] : to.items()) {
    if (from.contains(name) && from[name] == value) continue;
    const Field* field = nullptr;
    for (const Field& known : type.fields) {
      if (known.name == name) field = &known;
    }
    const bool secret =
        field && (field->secret || (field->element && holdsSecret(*field->element)));
    const bool masked = secret && !options.secrets;
    const auto text = [&](const Json& json) { return asText(masked ? Json(kMasked) : json); };
    changes.push_back({name, from.contains(name) ? text(from[name]) : "null", text(value)});
  }
  return changes;
}

class Comparison {
 public:
  Comparison(const Snapshot& from, const Snapshot& to, const RenderOptions& options)
      : from_(from), to_(to), options_(options) {}

  std::vector<Difference> run() {
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
    const auto report = [&](Difference::Kind kind, const Row& row,
                            std::vector<FieldChange> fields = {}) {
      differences_.push_back({kind, std::string(table.key), domain, row.label, std::move(fields)});
    };
    std::vector<const Row*> kept;
    std::vector<std::size_t> places;  // where each of them stood
    for (const Row& row : to) {
      const auto at = left.find(row.name);
      if (at == left.end()) {
        report(Difference::Kind::kAdded, row);
        continue;
      }
      kept.push_back(&row);
      places.push_back(at->second);
      auto fields = changesOf(*table.type, from[at->second].fields, row.fields, options_);
      left.erase(at);
      if (!fields.empty()) report(Difference::Kind::kChanged, row, std::move(fields));
    }
    std::set<std::size_t> gone;
    for (const auto& [name, place] : left) gone.insert(place);
    for (const std::size_t place : gone) report(Difference::Kind::kRemoved, from[place]);
    const std::vector<bool> moved = movedOf(places);
    for (std::size_t i = 0; i < kept.size(); ++i) {
      if (moved[i]) report(Difference::Kind::kMoved, *kept[i]);
    }
  }

  const Snapshot& from_;
  const Snapshot& to_;
  const RenderOptions options_;
  std::vector<Difference> differences_;
};

const char* kindText(Difference::Kind kind) {
  switch (kind) {
    case Difference::Kind::kAdded:
      return "added";
    case Difference::Kind::kRemoved:
      return "removed";
    case Difference::Kind::kChanged:
      return "changed";
    case Difference::Kind::kMoved:
      return "moved";
  }
  return "";
}

}  // namespace

std::vector<Difference> compare(const Snapshot& from, const Snapshot& to,
                                const RenderOptions& options) {
  return Comparison(from, to, options).run();
}

void printDifferences(const std::vector<Difference>& differences, std::ostream& out) {
  for (const Difference& difference : differences) {
    out << difference.table << " \"" << difference.name << "\" of " << difference.domain << ": "
        << kindText(difference.kind) << "\n";
    for (const FieldChange& change : difference.fields) {
      out << "  " << change.field << ": " << change.from << " -> " << change.to << "\n";
    }
  }
}

nlohmann::ordered_json differencesDocument(const std::vector<Difference>& differences) {
  Json list = Json::array();
  for (const Difference& difference : differences) {
    Json entry = {{"change", kindText(difference.kind)},
                  {"table", difference.table},
                  {"domain", difference.domain},
                  {"name", difference.name}};
    for (const FieldChange& change : difference.fields) {
      entry["fields"].push_back({{"field", change.field},
                                 {"from", Json::parse(change.from)},
                                 {"to", Json::parse(change.to)}});
    }
    list.push_back(std::move(entry));
  }
  return list;
}

}  // namespace Kestrav::Tool
