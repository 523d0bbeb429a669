#include "platform/parser/EmailAddress.h"

#include <algorithm>
#include <utility>

#include "platform/common/NoDestructor.h"
#include "platform/common/Strings.h"
#include "platform/parser/MailboxBuilder.h"
#include "platform/parser/Utf8.h"

namespace Kestrav {
namespace {

constexpr std::size_t kLongestQuotedText = 320;  // of an error's string parameter, in octets

// Valid before and after main(): static objects contain null addresses.
const std::string& emptyText() {
  static NoDestructor<std::string> text;
  return *text;
}

bool isDotString(std::string_view local) {
  if (local.empty() || local.front() == '.' || local.back() == '.') return false;
  if (local.find("..") != std::string_view::npos) return false;
  return std::all_of(local.begin(), local.end(), [](char c) { return c == '.' || isAtomOctet(c); });
}

bool isPhraseOfAtoms(std::string_view name) {
  return std::all_of(name.begin(), name.end(), [](char c) { return c == ' ' || isAtomOctet(c); });
}

}  // namespace

EmailAddress::EmailAddress(std::shared_ptr<const Parts> parts) : parts_(std::move(parts)) {}

const std::string& EmailAddress::local() const {
  return parts_ ? parts_->local : emptyText();
}

const std::string& EmailAddress::domain() const {
  return parts_ ? parts_->domain : emptyText();
}

const std::string& EmailAddress::address() const {
  return parts_ ? parts_->address : emptyText();
}

const std::string& EmailAddress::displayName() const {
  return parts_ ? parts_->displayName : emptyText();
}

std::string EmailAddress::asString() const {
  if (displayName().empty()) return address();
  return (isPhraseOfAtoms(displayName()) ? displayName() : quotedText(displayName())) + " <" +
         address() + ">";
}

std::weak_ordering EmailAddress::operator<=>(const EmailAddress& other) const {
  if (parts_ == other.parts_) return std::weak_ordering::equivalent;
  if (isNull() != other.isNull()) return other.isNull() <=> isNull();
  if (const int order = stringCompareNoCase(domain(), other.domain())) return order <=> 0;
  return stringCompareNoCase(local(), other.local()) <=> 0;
}

EmailAddress MailboxBuilder::build(std::string local, std::string domain) {
  auto parts = std::make_shared<EmailAddress::Parts>();
  parts->address = isDotString(local) ? local : quotedText(local);
  if (!domain.empty()) parts->address += '@' + domain;
  parts->local = std::move(local);
  parts->domain = std::move(domain);
  return EmailAddress(std::move(parts));
}

EmailAddress MailboxBuilder::named(const EmailAddress& address, std::string displayName) {
  auto parts = std::make_shared<EmailAddress::Parts>(*address.parts_);
  parts->displayName = std::move(displayName);
  return EmailAddress(std::move(parts));
}

Exception invalidAddress(const std::string& reason, std::string_view text) {
  std::string shown = printableUtf8(text.substr(0, kLongestQuotedText));
  std::replace(shown.begin(), shown.end(), '\t', ' ');
  if (text.size() > kLongestQuotedText) shown += "...";
  return Exception("Not an email address: " + reason, EmailAddress::kInvalidAddress)
      .stringParameter(shown);
}

std::string quotedText(std::string_view text) {
  std::string out = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out + '"';
}

bool isAtomOctet(char c) {
  return !isAscii({&c, 1}) || isAsciiLetterOrDigit(c) ||
         std::string_view("!#$%&'*+-/=?^_`{|}~").find(c) != std::string_view::npos;
}

}  // namespace Kestrav
