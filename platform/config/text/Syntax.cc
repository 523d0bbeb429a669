#include "platform/config/text/Syntax.h"

#include <yaml-cpp/binary.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <vector>

#include "platform/common/Exception.h"
#include "platform/common/IPAddress.h"
#include "platform/common/IPAddressMask.h"
#include "platform/common/Strings.h"
#include "platform/config/text/Rewriting.h"
#include "platform/parser/EmailAddress.h"
#include "platform/parser/Utf8.h"
#include "platform/regex/StringPattern.h"

namespace Kestrav::Config::Text {
namespace {

using Answer = std::optional<Mistake>;

// Names and other texts that end in a header or in one line of output. Any bytes may occur.
Answer line(const std::string& text) {
  for (std::size_t pos = 0; pos < text.size();) {
    const char32_t c = nextCodePoint(text, pos);
    if (c != kIllFormed && isControl(c) && c != '\t') {
      return Mistake{shown(text) + " is more than one line", "one line without control characters"};
    }
  }
  return std::nullopt;
}

Answer pattern(const std::string& text, bool regularExpression) {
  try {
    StringPattern(text, true, regularExpression);
    return std::nullopt;
  } catch (const Exception& exception) {
    return Mistake{
        "the pattern " + shown(text) + " does not compile: " + reason(exception.message()),
        regularExpression ? "a regular expression" : "a pattern with *, ? and [...]"};
  }
}

// Splits at commas as file patterns do: drops blanks and empty pieces.
Answer patternList(const std::string& text, bool regularExpression) {
  for (std::string piece : stringSplit(text, ',')) {
    std::erase(piece, ' ');
    if (piece.empty()) continue;
    if (Answer answer = pattern(piece, regularExpression)) return answer;
  }
  return std::nullopt;
}

bool isLabel(std::string_view label) {
  if (label.empty() || label.size() > 63 || label.front() == '-' || label.back() == '-')
    return false;
  for (const char c : label) {
    const auto byte = static_cast<unsigned char>(c);
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                       c == '-' || c == '_' || byte >= 0x80;
    if (!plain) return false;
  }
  return true;
}

bool isDomain(std::string_view text) {
  if (text.empty() || text.size() > 253) return false;
  for (const std::string& label : stringSplit(text, '.')) {
    if (!isLabel(label)) return false;
  }
  return true;
}

Answer domain(const std::string& text) {
  if (isDomain(text)) return std::nullopt;
  return Mistake{shown(text) + " is no domain", "a domain name such as example.com"};
}

// A name, an address, or either with a port.
Answer host(const std::string& text) {
  if (isDomain(text) || IPAddress::isValidIPAddress(text)) return std::nullopt;
  if (text.front() == '[' && text.back() == ']' &&
      IPAddress::isValidIPAddress(text.substr(1, text.size() - 2))) {
    return std::nullopt;
  }
  const std::size_t colon = text.rfind(':');
  if (colon != std::string::npos && colon != 0) {
    const auto port = parseInteger(std::string_view(text).substr(colon + 1));
    const std::string name = text.substr(0, colon);
    if (port && *port > 0 && *port < 65536 && name.find(':') == std::string::npos &&
        isDomain(name)) {
      return std::nullopt;
    }
  }
  return Mistake{shown(text) + " is no host", "a host name or an IP address"};
}

Answer email(const std::string& text) {
  try {
    EmailAddress::rfc5321Parse(text, false);
    return std::nullopt;
  } catch (const Exception& exception) {
    return Mistake{shown(text) + " is no e-mail address", "an address such as user@example.com"};
  }
}

Answer emailList(const std::string& text) {
  try {
    EmailAddress::rfc5322ParseSet(text, true, false);
    return std::nullopt;
  } catch (const Exception& exception) {
    return Mistake{shown(text) + " is no list of e-mail addresses: " + reason(exception.message()),
                   "addresses separated by commas"};
  }
}

Answer localPart(const std::string& text) {
  if (text.find('@') == std::string::npos && !email(text + "@example.com")) return std::nullopt;
  return Mistake{shown(text) + " is no local part", "the part of an address before the @"};
}

Answer ipMask(const std::string& text) {
  if (IPAddressMask::isValidIPAddressMask(text)) return std::nullopt;
  return Mistake{shown(text) + " is no IP address or mask",
                 "192.0.2.1, 192.0.2.0/24, 192.0.2.1-192.0.2.9 or 2001:db8::/32"};
}

// A mask, an address with wildcards, or a domain. Users of the field drop surrounding blanks.
Answer addressEntry(const std::string& text) {
  std::string trimmed = text;
  stringTrim(trimmed);
  if (trimmed.empty()) {
    return Mistake{"an entry without text", "an address, a domain, an IP address or a mask"};
  }
  return pattern(trimmed, false);
}

Answer headerName(const std::string& text) {
  for (const char c : text) {
    if (c <= ' ' || c > '~' || c == ':') {
      return Mistake{shown(text) + " is no header name",
                     "ASCII letters, digits and signs without blanks and ':'"};
    }
  }
  return std::nullopt;
}

Answer headerValue(const std::string& text) {
  for (std::size_t pos = 0; pos < text.size();) {
    const char32_t c = nextCodePoint(text, pos);
    if (c == kIllFormed || (isControl(c) && c != '\t')) {
      return Mistake{shown(text) + " cannot stand in a header",
                     "one line without control characters"};
    }
  }
  return std::nullopt;
}

}  // namespace

std::optional<Mistake> checkSyntax(std::string_view syntax, const std::string& text) {
  if (text.empty() || syntax.empty() || syntax == "text") return std::nullopt;
  if (syntax == "pattern") return pattern(text, false);
  if (syntax == "regex") return pattern(text, true);
  if (syntax == "regex-list") return patternList(text, true);
  if (syntax == "header-value") return headerValue(text);
  if (syntax == "rewrite-text") return checkRewriting(text);
  if (syntax == "rewrite-template") {
    Answer answer = checkRewriting(text);
    return answer ? answer : checkRewritten(text);
  }
  if (Answer answer = line(text)) return answer;
  if (syntax == "line") return std::nullopt;
  if (syntax == "pattern-list") return patternList(text, false);
  if (syntax == "email") return email(text);
  if (syntax == "email-list") return emailList(text);
  if (syntax == "ip-mask") return ipMask(text);
  if (syntax == "host") return host(text);
  if (syntax == "domain") return domain(text);
  if (syntax == "local-part") return localPart(text);
  if (syntax == "address-entry") return addressEntry(text);
  if (syntax == "header-name") return headerName(text);
  throw Exception("no check for texts of the form '" + std::string(syntax) + "'",
                  Exception::kBadText, "Syntax", __LINE__);
}

std::optional<std::string> parseBinary(std::string_view text) {
  std::string digits(text);
  std::erase_if(digits, [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; });
  const std::size_t end = std::min(digits.find('='), digits.size());
  const bool whole = digits.size() % 4 == 0 && digits.size() - end <= 2 &&
                     digits.find_first_not_of('=', end) == std::string::npos;
  const bool plain =
      std::all_of(digits.begin(), digits.begin() + static_cast<std::ptrdiff_t>(end),
                  [](char c) { return isAsciiLetterOrDigit(c) || c == '+' || c == '/'; });
  if (!whole || !plain) return std::nullopt;
  const std::vector<unsigned char> bytes = YAML::DecodeBase64(digits);
  return std::string(bytes.begin(), bytes.end());
}

std::optional<std::int64_t> parseInteger(std::string_view text) {
  const bool negative = !text.empty() && text.front() == '-';
  if (!text.empty() && (text.front() == '-' || text.front() == '+')) text.remove_prefix(1);
  int base = 10;
  if (text.starts_with("0x") || text.starts_with("0X")) {
    base = 16;
    text.remove_prefix(2);
  }
  if (text.empty() || text.front() == '-' || text.front() == '+') return std::nullopt;
  std::uint64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  if (value > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
    return std::nullopt;
  }
  return negative ? -static_cast<std::int64_t>(value) : static_cast<std::int64_t>(value);
}

std::optional<double> parseReal(const std::string& text) {
  if (text == ".nan") return std::numeric_limits<double>::quiet_NaN();
  if (text == ".inf") return std::numeric_limits<double>::infinity();
  if (text == "-.inf") return -std::numeric_limits<double>::infinity();
  double value = 0;
  const char* first = text.data() + (text.starts_with('+') ? 1 : 0);
  const char* last = text.data() + text.size();
  const auto [end, error] = std::from_chars(first, last, value);
  if (error != std::errc() || end != last || !std::isfinite(value)) return std::nullopt;
  return value;
}

std::optional<bool> parseBoolean(std::string_view text) {
  for (const std::string_view word : {"on", "true", "yes"}) {
    if (stringEqualsNoCase(text, word)) return true;
  }
  for (const std::string_view word : {"off", "false", "no"}) {
    if (stringEqualsNoCase(text, word)) return false;
  }
  return std::nullopt;
}

}  // namespace Kestrav::Config::Text
