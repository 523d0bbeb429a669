#include <algorithm>

#include "platform/config/records/FieldAccess.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/Tables.h"
#include "platform/config/text/Reader.h"

namespace Kestrav::Config::Text {
namespace {

constexpr std::size_t kMostAlternatives = 12;  // names that a message lists

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

const WordList* Reader::namesOf(G_CLI_GID table, std::size_t space) {
  const auto names = names_.find({table, space});
  if (names == names_.end()) return nullptr;
  const auto [at, added] = words_.try_emplace({table, space});
  if (added) {
    ++effort_.lists;
    std::vector<std::string> sorted;
    for (const auto& [name, record] : names->second) sorted.push_back(name);
    std::sort(sorted.begin(), sorted.end());
    at->second = WordList(sorted);
  }
  return &at->second;
}

std::string Reader::suggestionFor(const Reference& reference) {
  ++effort_.suggestions;
  std::vector<G_CLI_GID> tables = {reference.field->target};
  tables.insert(tables.end(), reference.field->alternatives.begin(),
                reference.field->alternatives.end());
  const std::size_t own = configuration_.records_[reference.record].space;
  std::vector<const WordList*> lists;
  for (const G_CLI_GID table : tables) {
    for (std::size_t space = own;; space = 0) {
      if (const WordList* names = namesOf(table, space)) lists.push_back(names);
      if (space == 0) break;
    }
  }
  const std::string near = nearest(reference.name, lists);
  if (!near.empty()) return "'" + near + "'";
  std::vector<std::string> some;
  for (const WordList* list : lists) list->addTo(some, kMostAlternatives);
  if (!some.empty()) return "one of " + alternatives(some);
  return "an entry of that name under '" + std::string(findTable(reference.field->target)->key) +
         "'";
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
  std::string kind(findTable(reference.field->target)->singular);
  for (const G_CLI_GID other : reference.field->alternatives) {
    kind += " or " + std::string(findTable(other)->singular);
  }
  problem(reference.place, "there is no " + kind + " " + shown(reference.name),
          [&] { return suggestionFor(reference); });
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
