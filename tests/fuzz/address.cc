// Any text as a mailbox and as an address list: it is refused with an Exception, or the result is
// within the limits, contains no control character and parses to the same result again. Input: one
// byte of flags, the text.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <string>

#include "platform/common/Exception.h"
#include "platform/parser/EmailAddress.h"

namespace {

using Kestrav::EmailAddress;
using Kestrav::Exception;

void require(bool condition) {
  if (!condition) std::abort();
}

bool hasControlByte(const std::string& text) {
  return std::any_of(text.begin(), text.end(),
                     [](char c) { return (c >= 0 && c < 0x20) || c == 0x7F; });
}

void checkAddress(const EmailAddress& address, bool special) {
  if (address.isNull()) {
    require(special && address.address().empty());
    return;
  }
  require(address.local().size() <= EmailAddress::kLongestLocal);
  require(address.domain().size() <= EmailAddress::kLongestDomain);
  require(address.address().size() <= EmailAddress::kLongestAddress);
  require(!hasControlByte(address.asString()));
  require(!address.domain().empty() || special);
  const EmailAddress again = EmailAddress::rfc5321Parse(address.address(), special);
  require(again == address);
  require(again.local() == address.local());
  require(again.domain() == address.domain());
  require(again.address() == address.address());
}

void checkRefusal(const Exception& e) {
  require(e.code() == EmailAddress::kInvalidAddress);
  require(!hasControlByte(e.asString()));
}

void tryMailbox(const std::string& text, bool special) {
  try {
    checkAddress(EmailAddress::rfc5321Parse(text, special), special);
  } catch (const Exception& e) {
    checkRefusal(e);
  }
}

void tryList(const std::string& text, bool acceptGroups, bool skipInvalid) {
  std::set<EmailAddress> found;
  try {
    found = EmailAddress::rfc5322ParseSet(text, acceptGroups, skipInvalid);
  } catch (const Exception& e) {
    checkRefusal(e);
    return;
  }
  require(!found.empty());
  std::string list;
  for (const EmailAddress& address : found) {
    checkAddress(address, false);
    list += (list.empty() ? "" : ", ") + address.address();
  }
  require(EmailAddress::rfc5322ParseSet(list, false, false) == found);
  require(EmailAddress::rfc5322ParseSet(text, true, true).size() >= found.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  tryMailbox(text, (data[0] & 1) != 0);
  tryList(text, (data[0] & 2) != 0, (data[0] & 4) != 0);
  return 0;
}
