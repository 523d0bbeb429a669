// Answers of this library for differential.py. Reads one question a line: its kind and its
// arguments in hexadecimal, separated by blanks. Writes one line for each: the parts of the answer
// in hexadecimal, or "refused".
#include <iostream>
#include <list>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/common/Exception.h"
#include "platform/common/IPAddressMask.h"
#include "platform/common/Logger.h"
#include "platform/parser/EmailAddress.h"
#include "platform/parser/Rfc2047.h"
#include "platform/regex/StringPattern.h"

namespace {

using namespace Kestrav;
using Texts = std::vector<std::string>;

Texts mask(const Texts& arguments) {
  const IPAddressMask mask(arguments[0]);
  Texts answer{mask.asString(), ""};
  for (std::size_t i = 1; i < arguments.size(); ++i) {
    answer[1] += mask.matches(IPAddress(arguments[i])) ? '1' : '0';
  }
  return answer;
}

// The arguments: pattern, "i" to ignore case, subjects.
Texts pattern(const Texts& arguments, bool regularExpression) {
  const StringPattern pattern(arguments[0], arguments[1] == "i", regularExpression);
  Texts answer{""};
  for (std::size_t i = 2; i < arguments.size(); ++i) {
    constexpr char kLetters[] = "01lE";  // of MatchResult
    answer[0] += kLetters[static_cast<std::size_t>(pattern.match(arguments[i]))];
  }
  return answer;
}

Texts mailbox(const std::string& text) {
  const EmailAddress address = EmailAddress::rfc5321Parse(text, false);
  return {address.local(), address.domain()};
}

Texts addresses(const std::string& text) {
  Texts answer;
  for (const EmailAddress& address : EmailAddress::rfc5322ParseSet(text, true, false)) {
    answer.push_back(address.displayName());
    answer.push_back(address.address());
  }
  return answer;
}

Texts answer(const std::string& kind, const Texts& arguments) {
  if (kind == "address") return {IPAddress(arguments[0]).asString()};
  if (kind == "mask") return mask(arguments);
  if (kind == "wildcard") return pattern(arguments, false);
  if (kind == "expression") return pattern(arguments, true);
  if (kind == "decode") return {vexa_decode_rfc2047(arguments[0])};
  if (kind == "encode") return {vexa_encode_rfc2047(arguments[0], arguments[1])};
  if (kind == "mailbox") return mailbox(arguments[0]);
  if (kind == "addresses") return addresses(arguments[0]);
  throw std::invalid_argument(kind);
}

std::string fromHex(const std::string& hex) {
  std::string bytes;
  for (std::size_t i = 1; i + 1 < hex.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  }
  return bytes;
}

std::string toHex(const std::string& bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string hex = "x";  // so that an empty text is a word
  for (const char c : bytes) {
    const auto octet = static_cast<unsigned char>(c);
    hex += {kDigits[octet >> 4], kDigits[octet & 15]};
  }
  return hex;
}

}  // namespace

int main() {
  const auto quiet = Logger::instance().capture([](const auto&) {});
  for (std::string line; std::getline(std::cin, line);) {
    std::istringstream words(line);
    std::string kind;
    words >> kind;
    Texts arguments;
    for (std::string word; words >> word;) arguments.push_back(fromHex(word));
    std::string out;
    try {
      for (const std::string& part : answer(kind, arguments)) {
        out += (out.empty() ? "" : " ") + toHex(part);
      }
    } catch (const Exception&) {
      out = "refused";
    }
    std::cout << out << '\n';
  }
  return 0;
}
