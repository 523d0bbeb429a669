// EmailAddress::rfc5321Parse: the mailbox of RFC 5321 section 4.1.2 with the extensions of RFC
// 6531.
#include <arpa/inet.h>
#include <unicode/uidna.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

#include "platform/common/Strings.h"
#include "platform/parser/EmailAddress.h"
#include "platform/parser/MailboxBuilder.h"
#include "platform/parser/Utf8.h"

namespace Kestrav {
namespace {

// The "::" of an IPv6 literal replaces two groups or more.
constexpr std::size_t kMostGroupsBesideGap = 6;

std::string_view trimBlanks(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

// Parses one text; every failure throws an exception with the whole text.
class MailboxParser {
 public:
  MailboxParser(std::string_view text, bool acceptSpecialPaths)
      : text_(text), acceptSpecialPaths_(acceptSpecialPaths) {}

  EmailAddress parse() {
    std::string_view path = trimBlanks(text_);
    checkCharacters(path);
    path = withoutBrackets(path);
    if (path.empty()) {
      if (acceptSpecialPaths_) return EmailAddress();
      fail("there is no text");
    }
    if (path.front() == '@') {
      fail(path.find(':') == std::string_view::npos ? "the local part is missing"
                                                    : "source routes are not accepted");
    }
    rest_ = path;
    std::string local = path.front() == '"' ? quotedString() : dotString();
    if (path.size() - rest_.size() > EmailAddress::kLongestLocal) {
      fail("the local part is longer than 64 octets");
    }
    if (rest_.empty() && acceptSpecialPaths_ && stringEqualsNoCase(path, "postmaster")) {
      return MailboxBuilder::build(std::move(local), {});
    }
    if (rest_.empty()) fail("there is no @ and domain after the local part");
    if (rest_.front() != '@') fail("something other than @ follows the local part");
    rest_.remove_prefix(1);
    checkDomain();
    if (path.size() > EmailAddress::kLongestAddress) fail("it is longer than 254 octets");
    return MailboxBuilder::build(std::move(local), std::string(rest_));
  }

 private:
  [[noreturn]] void fail(const std::string& reason) const { throw invalidAddress(reason, text_); }

  void checkCharacters(std::string_view path) const {
    for (std::size_t pos = 0; pos < path.size();) {
      const char32_t c = nextCodePoint(path, pos);
      if (c == kIllFormed) fail("it is not well-formed UTF-8");
      if (isControl(c)) fail("it holds a control character");
    }
  }

  std::string_view withoutBrackets(std::string_view path) const {
    if (path.empty() || path.front() != '<') return path;
    if (path.size() < 2 || path.back() != '>') fail("the angle bracket is not closed");
    return path.substr(1, path.size() - 2);
  }

  // dotString and quotedString move rest_ to the end of the local part.
  std::string dotString() {
    std::size_t length = 0;
    bool dotAllowed = false;
    for (; length < rest_.size() && rest_[length] != '@'; ++length) {
      const char c = rest_[length];
      if (c == '.' && !dotAllowed) {
        fail(length == 0 ? "the local part begins with a dot" : "there are two dots in a row");
      }
      if (c != '.' && !isAtomOctet(c)) {
        fail(std::string("the character '") + c + "' needs a quoted local part");
      }
      dotAllowed = c != '.';
    }
    if (length == 0) fail("the local part is missing");
    if (!dotAllowed) fail("the local part ends with a dot");
    std::string local(rest_.substr(0, length));
    rest_.remove_prefix(length);
    return local;
  }

  std::string quotedString() {
    std::string local;
    for (std::size_t i = 1; i < rest_.size(); ++i) {
      if (rest_[i] == '"') {
        rest_.remove_prefix(i + 1);
        return local;
      }
      if (rest_[i] == '\\') {
        if (++i == rest_.size()) break;
        if (rest_[i] < 0) fail("only ASCII characters can be escaped by a backslash");
      }
      local += rest_[i];
    }
    fail("the quoted local part has no end");
  }

  void checkDomain() const {
    if (rest_.empty()) fail("the domain is missing");
    if (rest_.size() > EmailAddress::kLongestDomain) fail("the domain is longer than 255 octets");
    if (rest_.front() == '[') {
      checkLiteral();
      return;
    }
    std::size_t asciiLength = 0;
    for (const std::string& label : stringSplit(rest_, '.')) asciiLength += checkLabel(label) + 1;
    if (asciiLength - 1 > EmailAddress::kLongestDomain) {
      fail("the domain is longer than 255 octets in its ASCII form");
    }
  }

  // The label's length in its ASCII form.
  std::size_t checkLabel(std::string_view label) const {
    if (label.empty()) fail("a label of the domain is empty");
    if (label.front() == '-' || label.back() == '-') {
      fail("a label of the domain begins or ends with a hyphen");
    }
    for (const char c : label) {
      if (c >= 0 && c != '-' && !isAsciiLetterOrDigit(c)) {
        fail(std::string("the character '") + c + "' cannot be in a domain");
      }
    }
    if (!isAscii(label)) return checkUnicodeLabel(label);
    if (label.size() > EmailAddress::kLongestLabel) {
      fail("a label of the domain is longer than 63 octets");
    }
    return label.size();
  }

  std::size_t checkUnicodeLabel(std::string_view label) const {
    static const UIDNA* const idna = [] {
      UErrorCode error = U_ZERO_ERROR;
      return uidna_openUTS46(UIDNA_USE_STD3_RULES | UIDNA_CHECK_BIDI | UIDNA_CHECK_CONTEXTJ |
                                 UIDNA_CHECK_CONTEXTO | UIDNA_NONTRANSITIONAL_TO_ASCII,
                             &error);
    }();
    std::array<char, 256> ascii;
    UIDNAInfo info = UIDNA_INFO_INITIALIZER;
    UErrorCode error = U_ZERO_ERROR;
    const std::int32_t length =
        uidna_labelToASCII_UTF8(idna, label.data(), static_cast<std::int32_t>(label.size()),
                                ascii.data(), ascii.size(), &info, &error);
    if ((info.errors & UIDNA_ERROR_LABEL_TOO_LONG) != 0 || error == U_BUFFER_OVERFLOW_ERROR) {
      fail("a label of the domain is longer than 63 octets in its ASCII form");
    }
    // A label that maps to plain ASCII would name another domain than the one written.
    const bool isInternational = length > 4 && std::string_view(ascii.data(), 4) == "xn--";
    if (U_FAILURE(error) || info.errors != 0 || !isInternational) {
      fail("a label of the domain is no valid international name");
    }
    return static_cast<std::size_t>(length);
  }

  void checkLiteral() const {
    if (rest_.back() != ']' || rest_.size() < 2) fail("the address literal has no end");
    const std::string content(rest_.substr(1, rest_.size() - 2));
    if (!isAscii(content)) fail("an address literal is ASCII");
    const std::size_t colon = content.find(':');
    if (colon == std::string::npos) {
      in_addr address{};
      if (inet_pton(AF_INET, content.c_str(), &address) != 1) {
        fail("the address literal is no IPv4 address");
      }
      return;
    }
    const std::string_view tag = std::string_view(content).substr(0, colon);
    if (stringEqualsNoCase(tag, "IPv6")) {
      checkIPv6(content.substr(colon + 1));
    } else {
      checkGeneralLiteral(content, colon);
    }
  }

  void checkIPv6(const std::string& text) const {
    in6_addr address{};
    if (inet_pton(AF_INET6, text.c_str(), &address) != 1) {
      fail("the address literal is no IPv6 address");
    }
    if (text.find("::") == std::string::npos) return;
    std::size_t groups = text.find('.') == std::string::npos ? 0 : 1;  // an IPv4 tail is two groups
    for (const std::string& piece : stringSplit(text, ':')) groups += piece.empty() ? 0 : 1;
    if (groups > kMostGroupsBesideGap) fail("\"::\" stands for less than two groups");
  }

  void checkGeneralLiteral(const std::string& content, std::size_t colon) const {
    in6_addr address{};
    if (inet_pton(AF_INET6, content.c_str(), &address) == 1) {
      fail("an IPv6 address literal begins with \"IPv6:\"");
    }
    const std::string_view tag = std::string_view(content).substr(0, colon);
    const bool tagIsValid = !tag.empty() && isAsciiLetterOrDigit(tag.back()) &&
                            std::all_of(tag.begin(), tag.end(),
                                        [](char c) { return c == '-' || isAsciiLetterOrDigit(c); });
    if (!tagIsValid) fail("the address literal has no valid tag");
    const std::string_view value = std::string_view(content).substr(colon + 1);
    if (value.empty()) fail("the address literal is empty after its tag");
    if (value.find_first_of(" [\\]") != std::string_view::npos) {
      fail("a blank, bracket or backslash is inside the address literal");
    }
  }

  std::string_view text_;
  std::string_view rest_;
  bool acceptSpecialPaths_;
};

}  // namespace

EmailAddress EmailAddress::rfc5321Parse(const std::string& text, bool acceptSpecialPaths) {
  return MailboxParser(text, acceptSpecialPaths).parse();
}

}  // namespace Kestrav
