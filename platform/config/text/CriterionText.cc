#include "platform/config/text/CriterionText.h"

#include <utility>

#include "platform/common/IPAddressMask.h"

namespace Kestrav::Config::Text {
namespace {

constexpr std::pair<std::string_view, Criterion::FormOf> kNamedForms[] = {
    {"group:", Criterion::kGroup},       {"external:", Criterion::kExternal},
    {"address:", Criterion::kAddress},   {"domain:", Criterion::kDomain},
    {"wildcard:", Criterion::kWildcard}, {"subdomains:", Criterion::kDomainWithSubdomains},
    {"regex:", Criterion::kRegex},       {"mask:", Criterion::kMask},
};

bool has(const Criterion& criterion, Criterion::FormOf form) {
  return findForm(criterion, form) != nullptr;
}

std::string examples(const Criterion& criterion) {
  std::string text;
  const auto add = [&](Criterion::FormOf form, std::string_view example) {
    if (has(criterion, form)) (text += text.empty() ? "" : ", ") += example;
  };
  if (has(criterion, Criterion::kAny) || has(criterion, Criterion::kMask)) text = "any";
  add(Criterion::kMask, "an IP address, a mask or a range");
  add(Criterion::kAddress, "user@example.com, @example.com, .example.com");
  add(Criterion::kWildcard, "a pattern with *");
  add(Criterion::kRegex, "/regex/");
  add(Criterion::kGroup, "group:NAME");
  add(Criterion::kExternal, "external:NAME");
  return text;
}

// The form of a text without a prefix.
CriterionValue natural(const Criterion& criterion, const std::string& text) {
  if (text == "any") {
    if (has(criterion, Criterion::kAny)) return {Criterion::kAny, ""};
    if (has(criterion, Criterion::kMask)) return {Criterion::kMask, "any"};
    return {Criterion::kWildcard, "*"};
  }
  if (has(criterion, Criterion::kMask)) return {Criterion::kMask, text};
  if (text.size() > 2 && text.front() == '/' && text.back() == '/') {
    return {Criterion::kRegex, text.substr(1, text.size() - 2)};
  }
  if (!has(criterion, Criterion::kAddress)) return {Criterion::kWildcard, text};
  const bool literal = text.ends_with(']') && text.find("@[") != std::string::npos;
  if (!literal && text.find_first_of("*?[") != std::string::npos) {
    return {Criterion::kWildcard, text};
  }
  if (text.starts_with('@')) return {Criterion::kDomain, text.substr(1)};
  if (text.starts_with('.')) return {Criterion::kDomainWithSubdomains, text.substr(1)};
  if (text.find('@') != std::string::npos) return {Criterion::kAddress, text};
  return {Criterion::kDomain, text};
}

std::optional<Mistake> check(const CriterionValue& value) {
  switch (value.form) {
    case Criterion::kMask:
      if (value.text == "any") return std::nullopt;
      return checkSyntax("ip-mask", value.text);
    case Criterion::kAddress:
      return checkSyntax("email", value.text);
    case Criterion::kDomain:
    case Criterion::kDomainWithSubdomains:
      return checkSyntax("domain", value.text);
    case Criterion::kWildcard:
      return checkSyntax("pattern", value.text);
    case Criterion::kRegex:
      return checkSyntax("regex", value.text);
    case Criterion::kAny:
    case Criterion::kGroup:
    case Criterion::kExternal:
      return std::nullopt;
  }
  return std::nullopt;
}

}  // namespace

const Criterion::Form* findForm(const Criterion& criterion, Criterion::FormOf form) {
  for (const Criterion::Form& known : criterion.forms) {
    if (known.form == form) return &known;
  }
  return nullptr;
}

std::variant<CriterionValue, Mistake> parseCriterion(const Criterion& criterion,
                                                     const std::string& text) {
  CriterionValue value = natural(criterion, text);
  for (const auto& [prefix, form] : kNamedForms) {
    if (text.starts_with(prefix)) value = {form, text.substr(prefix.size())};
  }
  const std::string right = examples(criterion);
  if (auto mistake = checkSyntax("line", text)) return *mistake;
  // Written for a stored value that is not a form.
  if (text.starts_with("invalid:")) return Mistake{shown(text) + " applies to nothing", right};
  if (!has(criterion, value.form)) {
    return Mistake{shown(text) + " is not possible here", right};
  }
  if (value.text.empty() && value.form != Criterion::kAny && value.form != Criterion::kWildcard) {
    return Mistake{text.empty() ? "an empty text" : shown(text) + " names nothing", right};
  }
  if (auto mistake = check(value)) {
    // A text without "@" that is no domain is ambiguous.
    if (value.form == Criterion::kDomain) mistake->wouldBeRight = right;
    return *mistake;
  }
  return value;
}

std::string formatCriterion(const Criterion& criterion, const CriterionValue& value) {
  std::string text;
  switch (value.form) {
    case Criterion::kAny:
      return "any";
    case Criterion::kDomain:
      text = "@" + value.text;
      break;
    case Criterion::kDomainWithSubdomains:
      text = "." + value.text;
      break;
    case Criterion::kRegex:
      text = "/" + value.text + "/";
      break;
    case Criterion::kWildcard:
      text = value.text == "*" ? "any" : value.text;
      break;
    default:
      text = value.text;
  }
  const auto means = [&](const std::string& candidate) {
    const auto parsed = parseCriterion(criterion, candidate);
    return std::holds_alternative<CriterionValue>(parsed) &&
           std::get<CriterionValue>(parsed) == value;
  };
  if (means(text)) return text;
  for (const auto& [prefix, form] : kNamedForms) {
    if (form == value.form) return std::string(prefix) + value.text;
  }
  return text;
}

}  // namespace Kestrav::Config::Text
