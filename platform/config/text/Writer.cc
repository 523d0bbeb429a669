#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <optional>
#include <ostream>
#include <set>
#include <unordered_map>

#include "platform/config/records/FieldAccess.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/OwnedRecord.h"
#include "platform/config/records/Tables.h"
#include "platform/config/text/CriterionText.h"
#include "platform/config/text/Emitter.h"
#include "platform/config/text/Reader.h"
#include "platform/config/text/Text.h"

namespace Kestrav::Config::Text {
namespace {

class Writer {
 public:
  Writer(const Snapshot& snapshot, std::ostream& out, const WriteOptions& options)
      : snapshot_(snapshot), emitter_(out), options_(options) {}

  void all() {
    for (const Table& table : tables()) {
      if (table.owner != 0) continue;
      if (table.scope == Scope::kSystemSingle) {
        settings(table);
      } else {
        list(table, 0);
      }
    }
    ownerless();
  }

  void one(const StoredRecord& record) {
    const Table* table = findTable(record.gid());
    if (table != nullptr) fields(*table->type, record.data(), record.domain(), table->ownerField);
  }

 private:
  struct Names {
    std::unordered_map<std::string, std::uint32_t> ids;
    std::unordered_map<std::uint32_t, std::string> names;
  };

  // Caches the names of a table in one domain.
  const Names& names(G_CLI_GID gid, ngid_t domain) {
    const auto [at, added] = names_.try_emplace({gid, domain});
    Names& read = at->second;
    if (!added) return read;
    const Table& table = *findTable(gid);
    if (domain != 0 && table.scope != Scope::kDomainList) return read;
    const Field* name = nullptr;
    for (const Field& field : table.type->fields) {
      if (field.offset == table.nameOffset) name = &field;
    }
    snapshot_.walk(gid, domain, [&](const StoredRecord& record) {
      const std::string text(readText(*name, record.data()));
      read.ids.emplace(comparable(gid, text), record.id());
      read.names.emplace(record.id(), text);
      return true;
    });
    return read;
  }

  // The name by which a record of `domain` refers to the record `id`; "#7" when it has none.
  std::string reference(G_CLI_GID gid, ngid_t domain, std::uint32_t id) {
    for (const ngid_t place : {domain, ngid_t{0}}) {
      const Names& own = names(gid, place);
      const auto found = own.names.find(id);
      if (found == own.names.end()) continue;
      const std::string& name = found->second;
      const std::string key = comparable(gid, name);
      const Names& first = names(gid, domain);
      const auto reached = first.ids.find(key);
      const bool same = reached != first.ids.end() ? reached->second == id && place == domain
                                                   : own.ids.at(key) == id;
      if (same && !name.empty() && name != "none" && !name.starts_with('#')) return name;
    }
    return "#" + std::to_string(id);
  }

  void settings(const Table& table) {
    const StoredRecord record = snapshot_.byId(table.gid, 0, 0);
    const OwnedRecord defaults(*table.type);
    if (!record || sameRecord(*table.type, record.data(), defaults.data())) return;
    heading(table);
    fields(*table.type, record.data(), 0, {});
    emitter_.close();
  }

  void heading(const Table& table) {
    if (written_) emitter_.blank();
    written_ = true;
    emitter_.open(table.key);
  }

  void list(const Table& table, ngid_t domain) {
    if (snapshot_.size(table.gid, domain) <= 0) return;
    if (domain == 0) {
      heading(table);
    } else {
      emitter_.open(table.key);
    }
    snapshot_.walk(table.gid, domain, [&](const StoredRecord& record) {
      emitter_.openItem();
      fields(*table.type, record.data(), domain, {});
      nested(table, record.id());
      if (table.gid == GID_PROTECTED_DOMAIN) ownConfiguration(table, record);
      emitter_.closeItem();
      return true;
    });
    emitter_.close();
  }

  // Records that are written inside their owner, by owner.
  std::map<std::uint32_t, std::vector<std::uint32_t>>& owned(const Table& table) {
    const auto [at, added] = owned_.try_emplace(table.gid);
    auto& records = at->second;
    if (added) {
      const Field& owner = *findField(*table.type, table.ownerField);
      snapshot_.walk(table.gid, 0, [&](const StoredRecord& record) {
        const auto id = static_cast<std::uint32_t>(readNumber(owner, record.data()));
        records[id].push_back(record.id());
        return true;
      });
    }
    return records;
  }

  void nested(const Table& owner, std::uint32_t id) {
    for (const Table& table : tables()) {
      if (table.owner != owner.gid) continue;
      const auto records = owned(table).find(id);
      if (records == owned(table).end()) continue;
      emitter_.open(table.keyInOwner);
      for (const std::uint32_t member : records->second) {
        const StoredRecord record = snapshot_.byId(table.gid, 0, member);
        emitter_.openItem();
        fields(*table.type, record.data(), 0, table.ownerField);
        emitter_.closeItem();
      }
      emitter_.close();
      owned(table).erase(records);
    }
  }

  void ownConfiguration(const Table& table, const StoredRecord& record) {
    const Field& field = *findField(*table.type, "configuration-domain");
    const auto domain = static_cast<ngid_t>(readNumber(field, record.data()));
    if (domain == 0 || !configurations_.insert(domain).second) return;
    bool any = false;
    for (const Table& own : tables()) {
      if (own.scope != Scope::kDomainList || snapshot_.size(own.gid, domain) <= 0) continue;
      if (!any) emitter_.open("configuration");
      any = true;
      list(own, domain);
    }
    if (any) emitter_.close();
  }

  // Reports in a comment what the text form cannot express.
  void ownerless() {
    for (const Table& table : tables()) {
      if (table.owner == 0) continue;
      std::size_t left = 0;
      for (const auto& [owner, records] : owned(table)) left += records.size();
      if (left == 0) continue;
      emitter_.comment(std::to_string(left) + " " + std::string(table.singular) +
                       "(s) without their " + std::string(findTable(table.owner)->singular) +
                       " left out");
    }
    std::set<ngid_t> left;
    for (const Table& table : tables()) {
      if (table.scope != Scope::kDomainList) continue;
      for (const ngid_t domain : snapshot_.domains(table.gid)) {
        if (domain != 0 && !configurations_.contains(domain)) left.insert(domain);
      }
    }
    for (const ngid_t domain : left) {
      emitter_.comment("configuration domain " + std::to_string(domain) +
                       " belongs to no protected domain and is left out");
    }
  }

  void fields(const RecordType& type, const void* record, ngid_t domain, std::string_view hidden) {
    const std::vector<const Field*> visible = visibleFields(type, hidden);
    // The name or its substitute comes first, then the number, then the criteria.
    const Field* lone = &loneField(type, hidden);
    if (lone->required) this->field(type, *lone, record, domain);
    const auto leads = [lone](const Field* field) {
      return (field == lone && lone->required) || field->kind == Kind::kId;
    };
    for (const Field* field : visible) {
      if (field->kind == Kind::kId) this->field(type, *field, record, domain);
    }
    for (const Criterion& criterion : type.criteria)
      this->criterion(type, criterion, record, domain);
    for (const Field* field : visible) {
      if (!leads(field)) this->field(type, *field, record, domain);
    }
  }

  void criterion(const RecordType& type, const Criterion& criterion, const void* record,
                 ngid_t domain) {
    const std::int64_t kind = readNumber(*findField(type, criterion.kind), record);
    const Criterion::Form* form = nullptr;
    for (const Criterion::Form& known : criterion.forms) {
      if (known.value == kind) form = &known;
    }
    if (form == nullptr) {
      // Cannot be read as anything else.
      emitter_.text(criterion.name, "invalid:" + std::to_string(kind));
      return;
    }
    CriterionValue value{form->form, {}};
    const Field& text = *findField(type, criterion.text);
    if (form->form == Criterion::kGroup) {
      const Field& group = *findField(type, criterion.group);
      value.text =
          reference(group.target, domain, static_cast<std::uint32_t>(readNumber(group, record)));
    } else if (form->form == Criterion::kExternal) {
      value.text = readText(*findField(type, criterion.external), record);
    } else if (text.kind == Kind::kAddressMask) {
      value.text = readMask(text, record);
    } else if (form->form != Criterion::kAny) {
      value.text = readText(text, record);
    }
    const OwnedRecord defaults(type);
    bool same = kind == readNumber(*findField(type, criterion.kind), defaults.data());
    same = same && form->form != Criterion::kGroup && form->form != Criterion::kExternal &&
           sameField(text, record, defaults.data());
    if (!same) emitter_.text(criterion.name, formatCriterion(criterion, value));
  }

  void field(const RecordType& type, const Field& field, const void* record, ngid_t domain) {
    if (!field.required && holdsDefault(type, field, record)) return;
    switch (field.kind) {
      case Kind::kStruct:
        emitter_.open(field.name);
        fields(*field.element, readStruct(field, record), domain, {});
        emitter_.close();
        return;
      case Kind::kList:
      case Kind::kArray: {
        emitter_.open(field.name);
        const Entries entries = readEntries(field, record);
        for (std::uint64_t i = 0; i < entries.count; ++i)
          entry(*field.element, entries.at(i), domain);
        emitter_.close();
        return;
      }
      case Kind::kText:
      case Kind::kTextReference:
      case Kind::kReference:
      case Kind::kAddressMask:
        emitter_.text(field.name, scalar(field, record, domain));
        return;
      default:
        emitter_.pair(field.name, scalar(field, record, domain));
    }
  }

  std::string scalar(const Field& field, const void* record, ngid_t domain) {
    switch (field.kind) {
      case Kind::kText:
      case Kind::kTextReference: {
        const std::string_view text = readText(field, record);
        return std::string(!options_.secrets && isSecret(field, text) ? kMaskedSecret : text);
      }
      case Kind::kBool:
      case Kind::kBit:
        return readNumber(field, record) != 0 ? "on" : "off";
      case Kind::kFloat:
        return real(readReal(field, record));
      case Kind::kAddressMask:
        return readMask(field, record);
      case Kind::kReference: {
        const auto id = static_cast<std::uint32_t>(readNumber(field, record));
        return id == 0 ? "none" : reference(field.target, domain, id);
      }
      case Kind::kEnum:
        for (const Choice& choice : field.choices) {
          if (choice.value == readNumber(field, record)) return std::string(choice.word);
        }
        [[fallthrough]];
      default:
        return std::to_string(readNumber(field, record));
    }
  }

  static std::string real(double value) {
    if (std::isnan(value)) return ".nan";
    if (std::isinf(value)) return value > 0 ? ".inf" : "-.inf";
    char digits[32];
    std::snprintf(digits, sizeof digits, "%.9g", value);
    return digits;
  }

  // An entry in which only the lone field differs from its default is written as that value.
  void entry(const RecordType& type, const void* record, ngid_t domain) {
    const std::vector<const Field*> visible = visibleFields(type);
    const Field& lone = loneField(type);
    bool alone = type.criteria.empty();
    for (const Field* field : visible) {
      const bool compound =
          field->kind == Kind::kStruct || field->kind == Kind::kList || field->kind == Kind::kArray;
      alone = alone && !compound && (field == &lone || holdsDefault(type, *field, record));
    }
    if (alone) {
      emitter_.item(scalar(lone, record, domain));
      return;
    }
    emitter_.openItem();
    fields(type, record, domain, {});
    emitter_.closeItem();
  }

  const Snapshot& snapshot_;
  Emitter emitter_;
  const WriteOptions options_;
  bool written_ = false;  // the output is not empty
  std::map<std::pair<G_CLI_GID, ngid_t>, Names> names_;
  std::map<G_CLI_GID, std::map<std::uint32_t, std::vector<std::uint32_t>>> owned_;
  std::set<ngid_t> configurations_;  // already written
};

}  // namespace

void write(const Snapshot& snapshot, std::ostream& out, const WriteOptions& options) {
  Writer(snapshot, out, options).all();
}

void writeRecord(const Snapshot& snapshot, const StoredRecord& record, std::ostream& out,
                 const WriteOptions& options) {
  Writer(snapshot, out, options).one(record);
}

}  // namespace Kestrav::Config::Text
