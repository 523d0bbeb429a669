#include <sstream>

#include "platform/config/records/Field.h"
#include "platform/config/records/Tables.h"
#include "platform/config/text/Reader.h"
#include "platform/config/text/Text.h"

namespace Kestrav::Config::Text {
namespace {

std::string valueOf(const Field& field) {
  switch (field.kind) {
    case Kind::kBool:
    case Kind::kBit:
      return field.defaultValue != 0 ? "on or off; on" : "on or off; off";
    case Kind::kEnum: {
      std::string text;
      std::string byDefault = std::to_string(field.defaultValue);
      for (const Choice& choice : field.choices) {
        (text += text.empty() ? "" : ", ") += "`" + std::string(choice.word) + "`";
        if (choice.value == field.defaultValue) byDefault = choice.word;
      }
      return text + "; " + byDefault;
    }
    case Kind::kUnsigned:
    case Kind::kSigned: {
      std::string text = std::to_string(field.minimum) + " to " + std::to_string(field.maximum);
      if (!field.unit.empty()) text += " " + std::string(field.unit);
      return text + "; " + std::to_string(field.defaultValue);
    }
    case Kind::kFloat: {
      std::ostringstream number;
      number << "number; " << field.defaultFloat;
      return number.str();
    }
    case Kind::kText: {
      std::string text(field.syntax);
      text += ", at most " + std::to_string(field.size - 1) + " bytes";
      if (!field.defaultText.empty()) text += "; `" + std::string(field.defaultText) + "`";
      if (field.secret) text += "; secret";
      return text;
    }
    case Kind::kReference:
    case Kind::kTextReference: {
      std::string text = "name, from `" + std::string(findTable(field.target)->key) + "`";
      for (const G_CLI_GID other : field.alternatives) {
        text += " or `" + std::string(findTable(other)->key) + "`";
      }
      return text;
    }
    case Kind::kId:
      return "number; the next free one";
    case Kind::kConfigurationDomain:
      return "number; the next free one when there is a `configuration`";
    case Kind::kAddressMask:
      return "IP address, prefix or IPv4 range";
    case Kind::kStruct:
      return "map, see `" + std::string(field.element->name) + "`";
    case Kind::kList:
    case Kind::kArray: {
      std::string text = "list, see `" + std::string(field.element->name) + "`";
      if (field.capacity != 0) text += "; at most " + std::to_string(field.capacity);
      return text;
    }
    default:
      return "";
  }
}

std::string help(const Field& field) {
  return field.kind == Kind::kId ? "Number in the store; kept as long as the name is."
                                 : std::string(field.help);
}

void writeFields(const RecordType& type, std::string_view hidden, std::ostream& out) {
  out << "| key | offset | value; default | meaning |\n|---|---|---|---|\n";
  for (const Criterion& criterion : type.criteria) {
    out << "| `" << criterion.name << "` | | whom it applies to; any | " << criterion.help
        << " |\n";
  }
  for (const Field* field : visibleFields(type, hidden)) {
    out << "| `" << field->name << "`" << (field->required ? " (required)" : "") << " | "
        << field->offset;
    if (field->kind == Kind::kBit) out << " bit " << static_cast<int>(field->bit);
    out << " | " << valueOf(*field) << " | " << help(*field) << " |\n";
  }
  out << '\n';
}

}  // namespace

std::string documentation() {
  std::ostringstream out;
  out << "# Records\n\n"
         "Every table of the configuration store and every key of its text form. This page is made "
         "from the\n"
         "field tables in `platform/config/records`; a test compares it with them.\n\n";
  std::vector<const RecordType*> elements;
  const auto note = [&](const RecordType* type) {
    for (const RecordType* known : elements) {
      if (known == type) return;
    }
    elements.push_back(type);
  };
  for (const Table& table : tables()) {
    out << "## " << table.key << "\n\n" << table.help << ' ';
    if (table.scope == Scope::kSystemSingle) {
      out << "One set of settings for the whole system";
    } else if (table.scope == Scope::kDomainList) {
      out << "A list, of the system and in the `configuration` of each domain";
    } else if (table.owner != 0) {
      out << "A list, written as `" << table.keyInOwner << "` inside `"
          << findTable(table.owner)->key << "`";
    } else {
      out << "A list of the system";
    }
    out << ". Table " << static_cast<unsigned>(table.gid) << ", record `" << table.type->name
        << "`, " << table.type->size << " bytes.\n\n";
    writeFields(*table.type, table.ownerField, out);
    for (const Field& field : table.type->fields) {
      if (field.element != nullptr) note(field.element);
    }
  }
  out << "## Entries of lists and embedded records\n\n";
  for (std::size_t i = 0; i < elements.size(); ++i) {
    const RecordType& type = *elements[i];
    for (const Field& field : type.fields) {
      if (field.element != nullptr) note(field.element);
    }
    out << "### " << type.name << "\n\n" << type.size << " bytes.\n\n";
    writeFields(type, {}, out);
  }
  return out.str();
}

}  // namespace Kestrav::Config::Text
