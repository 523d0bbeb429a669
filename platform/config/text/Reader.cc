#include "platform/config/text/Reader.h"

#include <algorithm>
#include <set>

#include "platform/common/Strings.h"
#include "platform/config/records/FieldAccess.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/Tables.h"

namespace Kestrav::Config::Text {
namespace {

constexpr std::string_view kConfigurationKey = "configuration";

std::vector<std::string> tableKeys(std::size_t space) {
  std::vector<std::string> keys;
  for (const Table& table : tables()) {
    if (table.owner != 0 || (space != 0 && table.scope != Scope::kDomainList)) continue;
    keys.emplace_back(table.key);
  }
  return keys;
}

}  // namespace

std::vector<const Field*> visibleFields(const RecordType& type, std::string_view hidden) {
  std::vector<const Field*> fields;
  for (const Field& field : type.fields) {
    if (field.kind == Kind::kReserved || field.kind == Kind::kDomain || !field.part.empty())
      continue;
    if (!hidden.empty() && field.name == hidden) continue;
    fields.push_back(&field);
  }
  return fields;
}

const Field& loneField(const RecordType& type, std::string_view hidden) {
  const std::vector<const Field*> fields = visibleFields(type, hidden);
  for (const Field* field : fields) {
    if (field->required) return *field;
  }
  return *fields.front();
}

std::vector<std::string> extraKeys(const Table& table) {
  std::vector<std::string> keys;
  if (table.gid == GID_PROTECTED_DOMAIN) keys.emplace_back(kConfigurationKey);
  for (const Table& nested : tables()) {
    if (nested.owner == table.gid) keys.emplace_back(nested.keyInOwner);
  }
  return keys;
}

std::string comparable(G_CLI_GID table, std::string_view name) {
  return table == GID_PROTECTED_DOMAIN ? stringToLower(name) : std::string(name);
}

std::string Reader::toString(const Place& place) const {
  return files_[place.file]->name + ":" + std::to_string(place.line) + ":" +
         std::to_string(place.column);
}

void Reader::record(const Place& place, const Phrase& what, std::string right, Severity severity) {
  ++recorded_[static_cast<std::size_t>(severity)];
  const Source& source = *files_[place.file];
  const auto at = secretLines_.try_emplace(place.file, source.content).first;
  const bool masked = at->second.contains(place.line);
  problems_.push_back({source.name, place.line, place.column, masked ? what.masked() : what.full(),
                       std::move(right), severity});
}

std::string Reader::suggestion(const std::string& word, std::vector<std::string> known) {
  ++effort_.suggestions;
  const std::string key = keyIn(word);
  const std::string near = nearest(isKnownKey(key) ? key : word, known);
  if (!near.empty()) return "'" + near + "'";
  return "one of " + alternatives(known);
}

std::string Reader::keyIn(const std::string& text) {
  const auto inKey = [](char c) {
    return isAsciiLetterOrDigit(static_cast<unsigned char>(c)) || c == '-' || c == '_';
  };
  return {text.begin(), std::find_if_not(text.begin(), text.end(), inKey)};
}

Phrase Reader::shownKey(const YamlNode& key, const YamlNode& value, const RecordType* type) {
  const std::string word = keyIn(key.text);
  const bool mayBeSecret =
      value.kind == YamlNode::Kind::kNull || (type != nullptr && holdsSecrets(*type));
  const Phrase phrase = shown(key.text, word.size());
  if (isKnownKey(word)) return phrase.full();
  return mayBeSecret ? Phrase(phrase.masked()) : phrase;
}

void Reader::readDocument(const Source& source, const YamlNode& root) {
  files_.push_back(&source);
  readTables(root, 0);
}

void Reader::readTables(const YamlNode& node, std::size_t space) {
  const std::string what = space == 0 ? "the configuration" : "a domain's configuration";
  walk(node, what, nullptr, [&](const YamlNode& key, const YamlNode& value) {
    const Table* table = findTableByKey(key.text);
    if (table != nullptr && table->owner != 0) {
      const Table* owner = findTable(table->owner);
      problem(key, shown(key.text) + " do not stand alone",
              "'" + std::string(table->keyInOwner) + "' inside '" + std::string(owner->key) + "'");
    } else if (table != nullptr && space != 0 && table->scope != Scope::kDomainList) {
      problem(key, shown(key.text) + " belong to the whole system",
              "outside of any domain's configuration");
    } else if (table != nullptr) {
      readTable(*table, key, value, space);
    } else {
      problem(key, "unknown key " + shownKey(key, value, nullptr),
              [&] { return suggestion(key.text, tableKeys(space)); });
    }
  });
}

void Reader::readTable(const Table& table, const YamlNode& key, const YamlNode& value,
                       std::size_t space) {
  if (table.scope != Scope::kSystemSingle) {
    readList(table, value, space, Configuration::kNone);
    return;
  }
  const auto [at, added] = singles_.emplace(table.gid, placeOf(key));
  if (!added) {
    problem(key, shown(key.text) + " is given twice",
            "once; the first is at " + toString(at->second));
    return;
  }
  readRecord(table, value, space, Configuration::kNone);
}

void Reader::readList(const Table& table, const YamlNode& value, std::size_t space,
                      std::size_t owner) {
  if (value.kind == YamlNode::Kind::kNull) return;
  if (value.kind != YamlNode::Kind::kSequence) {
    const std::string_view key = owner == Configuration::kNone ? table.key : table.keyInOwner;
    problem(value, "'" + std::string(key) + "' is no list", "a list, each entry after '- '");
    return;
  }
  for (const YamlNode& item : value.items) readRecord(table, item, space, owner);
}

void Reader::readRecord(const Table& table, const YamlNode& node, std::size_t space,
                        std::size_t owner) {
  const std::size_t index = configuration_.records_.size();
  configuration_.records_.push_back(
      {&table, space, {}, OwnedRecord(*table.type), 0, {}, Configuration::kNone});
  places_.push_back(placeOf(node));
  if (owner != Configuration::kNone) {
    const Field* reference = findField(*table.type, table.ownerField);
    configuration_.records_[index].links.push_back({{}, reference, owner});
  }
  const auto extras = RecordReader(*this, index).read(node, table, extraKeys(table));
  noteName(index, node);

  const YamlNode* contents = nullptr;
  for (const auto& [key, value] : extras) {
    if (table.gid == GID_PROTECTED_DOMAIN && key->text == kConfigurationKey) {
      contents = value;
    } else {
      readList(*findNestedTable(table.gid, key->text), *value, space, index);
    }
  }
  if (table.gid == GID_PROTECTED_DOMAIN) readConfiguration(index, contents);
}

void Reader::noteName(std::size_t record, const YamlNode& node) {
  Configuration::Record& made = configuration_.records_[record];
  if (made.table->nameOffset == kNoName) return;
  for (const Field& field : made.table->type->fields) {
    if (field.offset == made.table->nameOffset) made.name = readText(field, made.record.data());
  }
  if (made.name.empty()) return;  // reported already
  const auto [at, added] =
      names_[{made.table->gid, made.space}].emplace(comparable(made.table->gid, made.name), record);
  if (!added) {
    problem(node, "a second " + std::string(made.table->singular) + " " + shown(made.name),
            "another name; the first is at " + toString(places_[at->second]));
  }
}

void Reader::readConfiguration(std::size_t domain, const YamlNode* contents) {
  Configuration::Record& record = configuration_.records_[domain];
  const Field& field = *findField(*record.table->type, "configuration-domain");
  const auto number = static_cast<ngid_t>(Config::readNumber(field, record.record.data()));
  if (contents == nullptr && number == 0) return;

  const Place place = contents == nullptr ? places_[domain] : placeOf(*contents);
  const Field& alias = *findField(*record.table->type, "alias-of");
  if (!readText(alias, record.record.data()).empty()) {
    problem(place, "the alias " + shown(record.name) + " has a configuration of its own",
            "the configuration of the domain that it is an alias of");
  }
  std::vector<Configuration::Space>& spaces = configuration_.spaces_;
  std::size_t space = spaces.size();
  for (std::size_t i = 1; i < spaces.size(); ++i) {
    if (number != 0 && spaces[i].number == number) space = i;
  }
  if (space == spaces.size()) spaces.push_back({record.name, number, false});
  record.ownSpace = space;
  if (contents == nullptr) return;
  if (spaces[space].filled) {
    problem(place,
            "configuration domain " + std::to_string(number) + " has contents already, in domain " +
                shown(spaces[space].domain),
            "another number, or no 'configuration' here");
  }
  spaces[space].filled = true;
  readTables(*contents, space);
}

Configuration Reader::finish() {
  for (const Reference& reference : references_) resolve(reference);
  checkIds();
  checkAliases();
  checkDictionaryNames();
  checkDictionaryCosts();
  return std::move(configuration_);
}

}  // namespace Kestrav::Config::Text
