#include "tools/Compare.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

#include "common/Strings.h"
#include "config/records/DomainRecords.h"
#include "config/records/FieldAccess.h"
#include "config/records/Tables.h"

namespace Kestrav::Tool {
namespace {

using Config::Field;
using Config::Kind;
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

// Numbers that a store gives out, and that mean nothing outside it.
bool isNumber(const Field& field) {
  return field.kind == Kind::kId || field.kind == Kind::kDomain ||
         field.kind == Kind::kConfigurationDomain;
}

struct Row {
  std::string name;
  std::uint32_t id;
  Json fields;  // every field but the numbers, secrets included
};

// A table's records of one domain in order, by name; those without one by their contents.
std::vector<Row> rowsOf(const Snapshot& snapshot, const Config::Table& table, ngid_t domain) {
  const Names names(snapshot);
  std::vector<Row> rows;
  const auto add = [&](const Config::StoredRecord& record) {
    Json fields = recordDocument(*table.type, record.data(), domain, names, {true, true});
    for (const Field& field : table.type->fields) {
      if (isNumber(field)) fields.erase(std::string(field.name));
    }
    std::string name = table.nameOffset == Config::kNoName
                           ? fields.dump(-1, ' ', false, Json::error_handler_t::replace)
                           : recordName(table, record.data(), record.id());
    if (table.scope == Config::Scope::kSystemSingle) name.clear();
    rows.push_back({std::move(name), record.id(), std::move(fields)});
    return true;
  };
  if (table.scope == Config::Scope::kSystemSingle) {
    add(snapshot.byId(table.gid, 0, 0));
  } else {
    snapshot.walk(table.gid, domain, add);
  }
  return rows;
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
    const auto text = [&](const Json& json) {
      return masked ? Json(kMasked).dump()
                    : json.dump(-1, ' ', false, Json::error_handler_t::replace);
    };
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
    std::multimap<std::string, const Row*> left;
    for (const Row& row : from) left.emplace(row.name, &row);
    std::vector<std::string> keptTo;
    std::set<const Row*> kept;
    const bool nameless =
        table.nameOffset == Config::kNoName && table.scope != Config::Scope::kSystemSingle;
    const auto label = [&](const Row& row) {
      return table.scope == Config::Scope::kSystemSingle ? std::string(table.singular) : row.name;
    };
    const auto report = [&](Difference::Kind kind, const Row& row,
                            std::vector<FieldChange> fields) {
      differences_.push_back({kind, std::string(table.key), domain, label(row), std::move(fields)});
    };
    for (const Row& row : to) {
      const auto at = left.find(row.name);
      if (at == left.end()) {
        report(Difference::Kind::kAdded, row, {});
        continue;
      }
      kept.insert(at->second);
      keptTo.push_back(row.name);
      auto fields = nameless ? std::vector<FieldChange>()
                             : changesOf(*table.type, at->second->fields, row.fields, options_);
      left.erase(at);
      if (!fields.empty()) report(Difference::Kind::kChanged, row, std::move(fields));
    }
    for (const Row& row : from) {
      if (!kept.contains(&row)) report(Difference::Kind::kRemoved, row, {});
    }
    std::vector<std::string> keptFrom;
    for (const Row& row : from) {
      if (kept.contains(&row)) keptFrom.push_back(row.name);
    }
    // Each record that stands elsewhere than in the order of what is left counts as moved.
    for (std::size_t i = 0; i < keptTo.size(); ++i) {
      if (keptFrom[i] == keptTo[i]) continue;
      const auto place =
          std::find(keptFrom.begin() + static_cast<std::ptrdiff_t>(i), keptFrom.end(), keptTo[i]);
      std::rotate(keptFrom.begin() + static_cast<std::ptrdiff_t>(i), place, place + 1);
      differences_.push_back(
          {Difference::Kind::kMoved, std::string(table.key), domain, keptTo[i], {}});
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
