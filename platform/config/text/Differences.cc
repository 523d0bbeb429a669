#include <algorithm>
#include <cstring>
#include <deque>
#include <map>
#include <set>
#include <unordered_map>
#include <unordered_set>

#include "platform/common/Exception.h"
#include "platform/config/records/FieldAccess.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/Tables.h"
#include "platform/config/text/Reader.h"
#include "platform/config/text/Text.h"

namespace Kestrav::Config::Text {
namespace {

using Record = Configuration::Record;

std::string_view nameOf(const Table& table, const void* record) {
  for (const Field& field : table.type->fields) {
    if (field.offset == table.nameOffset) return readText(field, record);
  }
  return {};
}

// The numbers in use, and the next free one.
class Numbers {
 public:
  void take(std::uint32_t number) {
    taken_.insert(number);
    greatest_ = std::max<std::int64_t>(greatest_, number);
  }
  std::uint32_t next() {
    std::int64_t candidate = greatest_ + 1;
    if (candidate > kGreatestId) {
      candidate = 1;
      while (candidate <= kGreatestId && taken_.contains(static_cast<std::uint32_t>(candidate))) {
        ++candidate;
      }
      if (candidate > kGreatestId) throw Exception("All numbers are taken", Exception::kBadText);
    }
    take(static_cast<std::uint32_t>(candidate));
    return static_cast<std::uint32_t>(candidate);
  }

 private:
  std::unordered_set<std::uint32_t> taken_;
  std::int64_t greatest_ = 0;
};

// The present contents of one table in one domain of the store.
struct Present {
  std::vector<std::uint32_t> ids;                                        // in order
  std::unordered_map<std::string, std::uint32_t> byName;                 // tables with names
  std::unordered_map<std::string, std::deque<std::uint32_t>> byContent;  // tables without
};

// Identifies a record without a name: all its bytes except its number. REQUIRES: the table's
// records hold no lists.
std::string contentOf(const Table& table, const void* record) {
  std::string bytes(static_cast<const char*>(record), table.type->size);
  std::memset(bytes.data() + table.idOffset, 0, sizeof(std::uint32_t));
  return bytes;
}

class Comparison {
 public:
  Comparison(const Configuration& wanted, const Snapshot& snapshot)
      : wanted_(wanted), snapshot_(snapshot), ids_(wanted.records().size()) {}

  ChangeSet run() {
    readStore();
    numberSpaces();
    numberNamed();
    numberNameless();
    compareSettings();
    compareLists();
    return std::move(changes_);
  }

 private:
  using Place = std::pair<G_CLI_GID, ngid_t>;

  void readStore() {
    for (const Table& table : tables()) {
      if (table.scope == Scope::kSystemSingle) continue;
      for (const ngid_t domain : snapshot_.domains(table.gid)) {
        domains_.take(domain);
        Present& present = present_[{table.gid, domain}];
        snapshot_.walk(table.gid, domain, [&](const StoredRecord& record) {
          const std::uint32_t id = record.id();
          present.ids.push_back(id);
          numbers_[table.gid].take(id);
          if (table.nameOffset == kNoName) {
            present.byContent[contentOf(table, record.data())].push_back(id);
          } else {
            present.byName.emplace(comparable(table.gid, nameOf(table, record.data())), id);
          }
          if (table.gid == GID_PROTECTED_DOMAIN) noteDomain(table, record);
          return true;
        });
      }
    }
  }

  void noteDomain(const Table& table, const StoredRecord& record) {
    const Field& field = *findField(*table.type, "configuration-domain");
    const auto number = static_cast<ngid_t>(readNumber(field, record.data()));
    if (number == 0) return;
    domains_.take(number);
    configurationDomains_.emplace(comparable(table.gid, nameOf(table, record.data())), number);
  }

  // A protected domain keeps the number of its configuration as long as it keeps its name.
  void numberSpaces() {
    std::set<ngid_t> used;
    for (const Configuration::Space& space : wanted_.spaces()) {
      if (space.number == 0) continue;
      domains_.take(space.number);
      used.insert(space.number);
    }
    for (std::size_t i = 0; i < wanted_.spaces().size(); ++i) {
      const Configuration::Space& space = wanted_.spaces()[i];
      ngid_t number = space.number;
      if (i != 0 && number == 0) {
        const auto known =
            configurationDomains_.find(comparable(GID_PROTECTED_DOMAIN, space.domain));
        if (known != configurationDomains_.end() && used.insert(known->second).second) {
          number = known->second;
        } else {
          number = domains_.next();
        }
      }
      spaces_.push_back(number);
    }
  }

  void numberNamed() {
    std::map<G_CLI_GID, std::unordered_set<std::uint32_t>> given;
    for (const Record& record : wanted_.records()) {
      if (record.id == 0) continue;
      numbers_[record.table->gid].take(record.id);
      given[record.table->gid].insert(record.id);
    }
    for (std::size_t i = 0; i < ids_.size(); ++i) {
      const Record& record = wanted_.records()[i];
      ids_[i] = record.id;
      if (record.id != 0 || record.name.empty()) continue;
      const G_CLI_GID gid = record.table->gid;
      const Present& present = present_[{gid, spaces_[record.space]}];
      const auto known = present.byName.find(comparable(gid, record.name));
      if (known != present.byName.end() && !given[gid].contains(known->second)) {
        ids_[i] = known->second;
      }
    }
    for (std::size_t i = 0; i < ids_.size(); ++i) {
      const Record& record = wanted_.records()[i];
      if (ids_[i] == 0 && !record.name.empty()) ids_[i] = numbers_[record.table->gid].next();
    }
  }

  // After the named records, because records without names may refer to those.
  void numberNameless() {
    for (std::size_t i = 0; i < ids_.size(); ++i) {
      if (ids_[i] != 0 && wanted_.records()[i].name.empty()) dropContent(i);
    }
    for (std::size_t i = 0; i < ids_.size(); ++i) {
      const Record& record = wanted_.records()[i];
      if (ids_[i] != 0 || record.table->scope == Scope::kSystemSingle) continue;
      Present& present = present_[{record.table->gid, spaces_[record.space]}];
      const OwnedRecord filled = fill(i);
      const auto known = present.byContent.find(contentOf(*record.table, filled.data()));
      if (known != present.byContent.end() && !known->second.empty()) {
        ids_[i] = known->second.front();
        known->second.pop_front();
      } else {
        ids_[i] = numbers_[record.table->gid].next();
      }
    }
  }

  // Numbers that the text gives are not assigned to other records.
  void dropContent(std::size_t index) {
    const Record& record = wanted_.records()[index];
    Present& present = present_[{record.table->gid, spaces_[record.space]}];
    const StoredRecord stored =
        snapshot_.byId(record.table->gid, spaces_[record.space], ids_[index]);
    if (!stored) return;
    const auto known = present.byContent.find(contentOf(*record.table, stored.data()));
    if (known != present.byContent.end()) std::erase(known->second, ids_[index]);
  }

  // The record with all its numbers filled in.
  OwnedRecord fill(std::size_t index) const {
    const Record& record = wanted_.records()[index];
    OwnedRecord filled = record.record;
    for (const Field& field : record.table->type->fields) {
      if (field.kind == Kind::kId) writeNumber(field, filled.data(), ids_[index]);
      if (field.kind == Kind::kDomain) writeNumber(field, filled.data(), spaces_[record.space]);
      if (field.kind == Kind::kConfigurationDomain && record.ownSpace != Configuration::kNone) {
        writeNumber(field, filled.data(), spaces_[record.ownSpace]);
      }
    }
    for (const Configuration::Link& link : record.links) {
      writeNumber(*link.field, Configuration::locate(filled, link.path), ids_[link.target]);
    }
    return filled;
  }

  void compareSettings() {
    std::map<G_CLI_GID, std::size_t> given;
    for (std::size_t i = 0; i < ids_.size(); ++i) {
      const Record& record = wanted_.records()[i];
      if (record.table->scope == Scope::kSystemSingle) given.emplace(record.table->gid, i);
    }
    for (const Table& table : tables()) {
      if (table.scope != Scope::kSystemSingle) continue;
      const auto at = given.find(table.gid);
      const OwnedRecord filled = at == given.end() ? OwnedRecord(*table.type) : fill(at->second);
      put(table, 0, 0, filled);
    }
  }

  void compareLists() {
    std::map<Place, std::vector<std::size_t>> lists;
    for (std::size_t i = 0; i < ids_.size(); ++i) {
      const Record& record = wanted_.records()[i];
      lists[{record.table->gid, spaces_[record.space]}].push_back(i);
    }
    for (const Table& table : tables()) {
      if (table.scope == Scope::kSystemSingle) continue;
      std::set<ngid_t> domains;
      for (const auto& [place, records] : lists) {
        if (place.first == table.gid) domains.insert(place.second);
      }
      for (const auto& [place, present] : present_) {
        if (place.first == table.gid) domains.insert(place.second);
      }
      for (const ngid_t domain : domains) {
        compareList(table, domain, lists[{table.gid, domain}], present_[{table.gid, domain}]);
      }
    }
  }

  void compareList(const Table& table, ngid_t domain, const std::vector<std::size_t>& records,
                   const Present& present) {
    const std::unordered_set<std::uint32_t> known(present.ids.begin(), present.ids.end());
    std::vector<std::uint32_t> ids;
    std::vector<std::uint32_t> appended = present.ids;  // the result of the puts alone
    for (const std::size_t index : records) {
      ids.push_back(ids_[index]);
      if (!known.contains(ids_[index])) appended.push_back(ids_[index]);
      put(table, domain, ids_[index], fill(index));
    }
    if (ids != appended) changes_.order(table.gid, domain, std::move(ids));
  }

  void put(const Table& table, ngid_t domain, std::uint32_t id, const OwnedRecord& filled) {
    const StoredRecord stored = snapshot_.byId(table.gid, domain, id);
    if (stored && sameRecord(*table.type, stored.data(), filled.data())) return;
    changes_.put(table.gid, domain, filled.data());
  }

  const Configuration& wanted_;
  const Snapshot& snapshot_;
  ChangeSet changes_;
  std::map<Place, Present> present_;
  std::map<G_CLI_GID, Numbers> numbers_;
  Numbers domains_;
  std::unordered_map<std::string, ngid_t> configurationDomains_;  // of the store, by domain name
  std::vector<ngid_t> spaces_;                                    // number of each space
  std::vector<std::uint32_t> ids_;                                // number of each record
};

}  // namespace

ChangeSet differences(const Configuration& configuration, const Snapshot& snapshot) {
  return Comparison(configuration, snapshot).run();
}

}  // namespace Kestrav::Config::Text
