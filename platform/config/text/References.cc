#include <algorithm>
#include <set>

#include "platform/config/records/FieldAccess.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/Tables.h"
#include "platform/config/text/Nearest.h"
#include "platform/config/text/Reader.h"

namespace Kestrav::Config::Text {
namespace {

// Tables whose records are looked up by number alone, in all domains. Their numbers must differ
// between domains.
bool knownByNumberAlone(G_CLI_GID table) {
  switch (table) {
    case GID_ANTISPAM_PROFILE:
    case GID_ANTIVIRUS_PROFILE:
    case GID_CONTENT_PROFILE:
    case GID_DLP_PROFILE:
    case GID_FILE_PATTERN:
    case GID_ENCRYPTION_PROFILE:
    case GID_NOTIFICATION_PROFILE:
      return true;
    default:
      return false;
  }
}

}  // namespace

std::size_t Reader::find(G_CLI_GID table, std::size_t space, const std::string& name) const {
  const std::string key = comparable(table, name);
  for (const std::size_t place : {space, std::size_t{0}}) {
    const auto names = names_.find({table, place});
    if (names == names_.end()) continue;
    const auto found = names->second.find(key);
    if (found != names->second.end()) return found->second;
  }
  return Configuration::kNone;
}

std::vector<std::string> Reader::namesOf(G_CLI_GID table, std::size_t space) const {
  std::set<std::string> sorted;
  for (const std::size_t place : {space, std::size_t{0}}) {
    const auto names = names_.find({table, place});
    if (names == names_.end()) continue;
    for (const auto& [name, record] : names->second) sorted.insert(name);
  }
  return {sorted.begin(), sorted.end()};
}

void Reader::resolve(const Reference& reference) {
  Configuration::Record& record = configuration_.records_[reference.record];
  if (reference.field->kind == Kind::kTextReference) {
    if (resolveText(reference)) return;
  } else {
    const std::size_t target = find(reference.field->target, record.space, reference.name);
    if (target != Configuration::kNone) {
      record.links.push_back({reference.path, reference.field, target});
      return;
    }
  }
  std::vector<std::string> names = namesOf(reference.field->target, record.space);
  std::string kind(findTable(reference.field->target)->singular);
  for (const G_CLI_GID other : reference.field->alternatives) {
    kind += " or " + std::string(findTable(other)->singular);
    for (std::string& name : namesOf(other, record.space)) names.push_back(std::move(name));
  }
  const std::string near = nearest(reference.name, names);
  std::string right = "'" + near + "'";
  if (near.empty() && names.empty()) {
    right = "an entry of that name under '" + std::string(findTable(reference.field->target)->key) +
            "'";
  } else if (near.empty()) {
    names.resize(std::min<std::size_t>(names.size(), 12));
    right = "one of " + alternatives(names);
  }
  problem(reference.place, "there is no " + kind + " " + shown(reference.name), right);
}

bool Reader::resolveText(const Reference& reference) {
  const std::size_t space = configuration_.records_[reference.record].space;
  if (find(reference.field->target, space, reference.name) != Configuration::kNone) return true;
  return std::any_of(
      reference.field->alternatives.begin(), reference.field->alternatives.end(),
      [&](G_CLI_GID other) { return find(other, space, reference.name) != Configuration::kNone; });
}

void Reader::checkIds() {
  std::map<std::tuple<G_CLI_GID, std::size_t, std::uint32_t>, std::size_t> seen;
  for (std::size_t i = 0; i < configuration_.records_.size(); ++i) {
    const Configuration::Record& record = configuration_.records_[i];
    if (record.id == 0) continue;
    const G_CLI_GID gid = record.table->gid;
    const std::size_t space = knownByNumberAlone(gid) ? 0 : record.space;
    const auto [at, added] = seen.emplace(std::tuple(gid, space, record.id), i);
    if (added) continue;
    problem(places_[i],
            "a second " + std::string(record.table->singular) + " with the id " +
                std::to_string(record.id),
            "another id or none; the first is at " + toString(places_[at->second]));
  }
}

void Reader::checkAliases() {
  const Field& alias = *findField(*findTable(GID_PROTECTED_DOMAIN)->type, "alias-of");
  for (std::size_t i = 0; i < configuration_.records_.size(); ++i) {
    Configuration::Record& record = configuration_.records_[i];
    if (record.table->gid != GID_PROTECTED_DOMAIN) continue;
    const std::string name(readText(alias, record.record.data()));
    if (name.empty()) continue;
    const std::size_t target = find(GID_PROTECTED_DOMAIN, 0, name);
    if (target == Configuration::kNone) continue;  // reported already
    const Configuration::Record& other = configuration_.records_[target];
    if (target == i || !readText(alias, other.record.data()).empty()) {
      problem(places_[i],
              "the domain " + shown(record.name) + " is an alias of the alias " + shown(name),
              "the name of a domain that is no alias");
    }
    // The alias is a key, so it is stored in the spelling of the domain.
    writeText(alias, record.record.data(), other.name);
  }
}

// A second field of an antispam profile says whether the name is that of a dictionary or of a
// group.
void Reader::checkDictionaryNames() {
  const RecordType& type = *findTable(GID_ANTISPAM_PROFILE)->type;
  const Field& name = *findField(type, "dictionary");
  const Field& kind = *findField(type, "dictionary-kind");
  for (const Reference& reference : references_) {
    if (reference.field != &name) continue;
    const Configuration::Record& record = configuration_.records_[reference.record];
    const bool dictionary = Config::readNumber(kind, record.record.data()) != 0;
    const G_CLI_GID wanted = dictionary ? GID_DICTIONARY : GID_DICTIONARY_GROUP;
    const G_CLI_GID other = dictionary ? GID_DICTIONARY_GROUP : GID_DICTIONARY;
    if (find(wanted, 0, reference.name) != Configuration::kNone) continue;
    if (find(other, 0, reference.name) == Configuration::kNone) continue;  // reported already
    problem(reference.place,
            shown(reference.name) + " is a " + std::string(findTable(other)->singular) +
                ", not a " + std::string(findTable(wanted)->singular),
            std::string("'dictionary-kind: ") + (dictionary ? "group'" : "dictionary'"));
  }
}

}  // namespace Kestrav::Config::Text
