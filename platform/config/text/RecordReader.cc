#include <algorithm>
#include <map>
#include <variant>

#include "platform/config/records/DictionaryRecords.h"
#include "platform/config/records/FieldAccess.h"
#include "platform/config/text/CriterionText.h"
#include "platform/config/text/Nearest.h"
#include "platform/config/text/Reader.h"
#include "platform/config/text/Rewriting.h"
#include "platform/config/text/Text.h"

namespace Kestrav::Config::Text {
namespace {

std::string inQuotes(std::string_view text) {
  return "'" + std::string(text) + "'";
}

// "1 to 65535 minutes"
std::string rangeOf(const Field& field) {
  std::string text = std::to_string(field.minimum) + " to " + std::to_string(field.maximum);
  if (!field.unit.empty()) text += " " + std::string(field.unit);
  return text;
}

std::string expectation(const Field& field) {
  switch (field.kind) {
    case Kind::kBool:
    case Kind::kBit:
      return "on or off";
    case Kind::kUnsigned:
    case Kind::kSigned:
    case Kind::kId:
    case Kind::kConfigurationDomain:
      return "a whole number";
    case Kind::kFloat:
      return "a number";
    case Kind::kReference:
    case Kind::kTextReference:
      return "a name";
    case Kind::kList:
    case Kind::kArray:
      return "a list";
    case Kind::kStruct:
      return "a map of 'key: value' lines";
    default:
      return "a text";
  }
}

}  // namespace

std::vector<RecordReader::Pair> RecordReader::read(const YamlNode& node, const Table& table,
                                                   const std::vector<std::string>& extras) {
  std::vector<Pair> found;
  readFields(*table.type, record().data(), node, {}, std::string(table.singular), table.ownerField,
             extras, &found);
  checkRewriting(*table.type, node);
  return found;
}

void RecordReader::readFields(const RecordType& type, void* base, const YamlNode& node,
                              const Path& path, const std::string& what, std::string_view hidden,
                              const std::vector<std::string>& extras, std::vector<Pair>* found) {
  const std::vector<const Field*> fields = visibleFields(type, hidden);
  std::map<std::string_view, bool> given;
  if (node.kind == YamlNode::Kind::kScalar) {
    const Field& lone = loneField(type, hidden);
    readField(type, lone, base, node, path);
    given[lone.name] = true;
  } else {
    reader_.walk(node, "the " + what, &type, [&](const YamlNode& key, const YamlNode& value) {
      const auto named = [&](const Field* field) { return field->name == key.text; };
      const auto field = std::find_if(fields.begin(), fields.end(), named);
      given[key.text] = true;
      if (field != fields.end()) {
        readField(type, **field, base, value, path);
      } else if (const Criterion* criterion = findCriterion(type, key.text)) {
        readCriterion(type, *criterion, base, value, path);
      } else if (std::find(extras.begin(), extras.end(), key.text) != extras.end()) {
        found->push_back({&key, &value});
      } else {
        const Phrase shownKey = Reader::shownKey(key, value, &type);
        reader_.problem(key, "unknown key " + shownKey + " in the " + what, [&] {
          std::vector<std::string> known(extras);
          for (const Field* other : fields) known.emplace_back(other->name);
          for (const Criterion& other : type.criteria) known.emplace_back(other.name);
          std::sort(known.begin(), known.end());
          return reader_.suggestion(key.text, std::move(known));
        });
      }
    });
    if (node.kind == YamlNode::Kind::kSequence) return;
  }
  for (const Field* field : fields) {
    if (field->required && !given[field->name]) {
      reader_.problem(node, "the " + what + " has no " + inQuotes(field->name),
                      inQuotes(std::string(field->name) + ": ...") + ", " + expectation(*field));
    }
  }
  if (&type == &kDictionaryItemType) checkPattern(type, base, node);
}

void RecordReader::readField(const RecordType& type, const Field& field, void* base,
                             const YamlNode& node, const Path& path) {
  switch (field.kind) {
    case Kind::kStruct: {
      Path inner = path;
      inner.push_back({&field, 0});
      if (node.kind == YamlNode::Kind::kScalar) {
        reader_.problem(node, inQuotes(field.name) + " is a single value", expectation(field));
        return;
      }
      readFields(*field.element, readStruct(field, base), node, inner, std::string(field.name), {},
                 {}, nullptr);
      return;
    }
    case Kind::kList:
    case Kind::kArray:
      readEntries(field, base, node, path);
      return;
    default:
      readScalar(type, field, base, node, path);
  }
}

void RecordReader::readScalar(const RecordType&, const Field& field, void* base,
                              const YamlNode& node, const Path& path) {
  if (node.kind != YamlNode::Kind::kScalar) {
    const bool nothing = node.kind == YamlNode::Kind::kNull;
    reader_.problem(
        node, inQuotes(field.name) + (nothing ? " has no value" : " is no single value"),
        expectation(field) + (nothing ? ", or no " + inQuotes(field.name) + " at all" : ""));
    return;
  }
  const bool takesBytes = field.kind == Kind::kText || field.kind == Kind::kTextReference ||
                          field.kind == Kind::kReference;
  if (node.binary && !takesBytes) {
    reader_.problem(node, inQuotes(field.name) + " is given as bytes", expectation(field));
    return;
  }
  switch (field.kind) {
    case Kind::kText:
      readText(field, base, node);
      return;
    case Kind::kBool:
    case Kind::kBit:
      if (const auto value = parseBoolean(node.text)) {
        writeNumber(field, base, *value ? 1 : 0);
      } else {
        reader_.problem(node, shown(node.text) + " is neither on nor off", "on or off");
      }
      return;
    case Kind::kFloat:
      if (const auto value = parseReal(node.text)) {
        writeReal(field, base, *value);
      } else {
        reader_.problem(node, shown(node.text) + " is no number", "a number such as 95.5");
      }
      return;
    case Kind::kEnum:
      readWord(field, base, node);
      return;
    case Kind::kReference:
    case Kind::kTextReference:
      readReference(field, base, node, path);
      return;
    case Kind::kAddressMask:
      if (auto mistake = node.text == "any" ? std::nullopt : checkSyntax("ip-mask", node.text)) {
        reader_.problem(node, *mistake);
      } else if (!writeMask(field, base, node.text)) {
        reader_.problem(node, shown(node.text) + " has no room here",
                        "one address, a prefix, or an IPv4 range");
      }
      return;
    default:
      readNumber(field, base, node);
  }
}

void RecordReader::readText(const Field& field, void* base, const YamlNode& node) {
  const std::string& text = node.text;
  if (text == kMaskedSecret) {
    reader_.problem(node,
                    "the secret " + inQuotes(field.name) + " was masked when this was written",
                    "the secret itself; write the configuration with its secrets");
    return;
  }
  if (text.empty() && field.required) {
    reader_.problem(node, inQuotes(field.name) + " is empty", expectation(field));
    return;
  }
  if (!field.secret && findPrivateKey(text) != std::string::npos) {
    reader_.problem(node, inQuotes(field.name) + " holds a private key",
                    "a text without it; dumps mask a private key only under 'private-key'");
    return;
  }
  if (auto mistake = checkSyntax(field.syntax, text)) {
    reader_.problem(node, *mistake);
    return;
  }
  if (text.find('\0') != std::string::npos) {
    reader_.problem(node, inQuotes(field.name) + " holds a NUL byte", "a text without it");
  } else if (!writeText(field, base, text)) {
    reader_.problem(node,
                    inQuotes(field.name) + " is " + std::to_string(text.size()) + " bytes long",
                    "at most " + std::to_string(field.size - 1) + " bytes");
  }
}

void RecordReader::readNumber(const Field& field, void* base, const YamlNode& node) {
  std::string right = rangeOf(field);
  std::int64_t low = field.minimum;
  std::int64_t high = field.maximum;
  if (field.kind == Kind::kId || field.kind == Kind::kConfigurationDomain) {
    low = 1;
    high = kGreatestId;
    right = "a whole number from 1 to " + std::to_string(kGreatestId);
  }
  const auto value = parseInteger(node.text);
  if (!value) {
    reader_.problem(node, shown(node.text) + " is no whole number", right);
  } else if (*value < low || *value > high || !writeNumber(field, base, *value)) {
    reader_.problem(node, inQuotes(field.name) + " cannot be " + shown(node.text), right);
  } else if (field.kind == Kind::kId) {
    reader_.configuration_.records_[record_].id = static_cast<std::uint32_t>(*value);
  }
}

void RecordReader::readWord(const Field& field, void* base, const YamlNode& node) {
  std::vector<std::string> words;
  for (const Choice& choice : field.choices) {
    if (choice.word == node.text) {
      writeNumber(field, base, choice.value);
      return;
    }
    words.emplace_back(choice.word);
  }
  // A value without a word is read as a number.
  const auto value = field.wordsOnly ? std::nullopt : parseInteger(node.text);
  if (value && *value >= field.minimum && *value <= field.maximum &&
      writeNumber(field, base, *value)) {
    return;
  }
  reader_.problem(node, inQuotes(field.name) + " cannot be " + shown(node.text), [&] {
    ++reader_.effort_.suggestions;
    const std::string near = nearest(node.text, words);
    return near.empty() ? alternatives(words) : inQuotes(near);
  });
}

void RecordReader::readReference(const Field& field, void* base, const YamlNode& node,
                                 const Path& path) {
  if (auto mistake = checkSyntax("line", node.text)) {
    reader_.problem(node, *mistake);
    return;
  }
  if (field.kind == Kind::kTextReference) {
    if (node.text.empty()) return;
    if (!writeText(field, base, node.text)) {
      reader_.problem(
          node, inQuotes(field.name) + " is " + std::to_string(node.text.size()) + " bytes long",
          "at most " + std::to_string(field.size - 1) + " bytes");
      return;
    }
  } else if (node.text.starts_with('#')) {
    // "#7": a reference to a record that does not exist.
    const auto value = parseInteger(std::string_view(node.text).substr(1));
    if (value && *value >= 0 && writeNumber(field, base, *value)) return;
  } else if (node.text == "none" || node.text.empty()) {
    return;
  }
  reader_.references_.push_back({record_, path, &field, node.text, reader_.placeOf(node)});
}

void RecordReader::readEntries(const Field& field, void* base, const YamlNode& node,
                               const Path& path) {
  if (node.kind == YamlNode::Kind::kNull) return;
  if (node.kind != YamlNode::Kind::kSequence) {
    reader_.problem(node, inQuotes(field.name) + " is no list", "a list, each entry after '- '");
    return;
  }
  if (field.capacity != 0 && node.items.size() > field.capacity) {
    reader_.problem(node.items[field.capacity],
                    inQuotes(field.name) + " has " + std::to_string(node.items.size()) + " entries",
                    "at most " + std::to_string(field.capacity));
    return;
  }
  std::uint64_t index = 0;
  for (const YamlNode& item : node.items) {
    void* entry = nullptr;
    if (field.kind == Kind::kList) {
      entry = record().append(field);
    } else {
      // An array may be part of a list entry, so it is filled in place.
      Field count = field;
      count.kind = Kind::kUnsigned;
      count.size = 8;
      writeNumber(count, base, static_cast<std::int64_t>(index + 1));
      entry = static_cast<std::byte*>(base) + field.offset + 8 + index * field.element->size;
      fillDefaults(*field.element, entry);
    }
    Path inner = path;
    inner.push_back({&field, index++});
    readFields(*field.element, entry, item, inner, "entry of " + inQuotes(field.name), {}, {},
               nullptr);
  }
}

void RecordReader::readCriterion(const RecordType& type, const Criterion& criterion, void* base,
                                 const YamlNode& node, const Path& path) {
  if (node.kind != YamlNode::Kind::kScalar) {
    reader_.problem(node, inQuotes(criterion.name) + " is no single value", "one text");
    return;
  }
  const auto parsed = parseCriterion(criterion, node.text);
  if (const auto* mistake = std::get_if<Mistake>(&parsed)) {
    reader_.problem(node, *mistake);
    return;
  }
  const CriterionValue& value = std::get<CriterionValue>(parsed);
  writeNumber(*findField(type, criterion.kind), base, findForm(criterion, value.form)->value);
  const Field& text = *findField(type, criterion.text);
  if (value.form == Criterion::kGroup) {
    if (text.kind == Kind::kText) writeText(text, base, {});
    reader_.references_.push_back(
        {record_, path, findField(type, criterion.group), value.text, reader_.placeOf(node)});
    return;
  }
  const Field& target =
      value.form == Criterion::kExternal ? *findField(type, criterion.external) : text;
  if (&target != &text && text.kind == Kind::kText) writeText(text, base, {});
  if (target.kind == Kind::kAddressMask) {
    if (!writeMask(target, base, value.text)) {
      reader_.problem(node, shown(value.text) + " has no room here",
                      "one address, a prefix, or an IPv4 range");
    }
  } else if (!writeText(target, base, value.text)) {
    reader_.problem(node, inQuotes(criterion.name) + " is too long",
                    "at most " + std::to_string(target.size - 1) + " bytes");
  }
}

// Another field gives the syntax of a dictionary's pattern.
void RecordReader::checkPattern(const RecordType& type, const void* base, const YamlNode& node) {
  const auto kind =
      static_cast<DictionaryPatternKind>(Config::readNumber(*findField(type, "kind"), base));
  const std::string text(Config::readText(*findField(type, "pattern"), base));
  std::optional<Mistake> mistake;
  if (kind == DictionaryPatternKind::kRegex) mistake = checkSyntax("regex", text);
  if (kind == DictionaryPatternKind::kWildcard) mistake = checkSyntax("pattern", text);
  if (mistake) reader_.problem(node, *mistake);
}

void RecordReader::checkRewriting(const RecordType& type, const YamlNode& node) {
  const auto pattern = rewritingOf(type, record().data());
  if (!pattern) return;
  if (auto mistake = Text::checkRewriting(*pattern)) {
    reader_.problem(node, *mistake);
  } else if (auto warning = checkRewritten(*pattern)) {
    reader_.problem(reader_.placeOf(node), warning->what, warning->wouldBeRight,
                    Severity::kWarning);
  }
}

}  // namespace Kestrav::Config::Text
