// The text form of criteria, one value each: "any", "user@example.com", "@example.com" or
// "example.com", ".example.com", "*@*.example.com", "/regex/", "192.0.2.0/24", "group:NAME",
// "external:NAME".
//
// A prefix can name the form: "address:", "domain:", "subdomains:", "wildcard:", "regex:", "mask:".
#pragma once

#include <optional>
#include <string>
#include <variant>

#include "platform/config/records/Field.h"
#include "platform/config/text/Syntax.h"

namespace Kestrav::Config::Text {

struct CriterionValue {
  Criterion::FormOf form;
  std::string
      text;  // a domain without "@" and leading dot, an expression without slashes, a group's name
  bool operator==(const CriterionValue&) const = default;
};

std::variant<CriterionValue, Mistake> parseCriterion(const Criterion& criterion,
                                                     const std::string& text);

// The shortest text that parseCriterion reads as this value.
std::string formatCriterion(const Criterion& criterion, const CriterionValue& value);

// Null when the criterion has no such form.
const Criterion::Form* findForm(const Criterion& criterion, Criterion::FormOf form);

}  // namespace Kestrav::Config::Text
