// Any text as a list of IP masks, against a comparison of bits that reads the text by itself; the
// text form, the plain form and the union give the same masks again. Any bytes as a plain mask.
// Input: masks separated by commas up to a line feed, then a plain mask, then addresses of 16 bytes
// each.
#include <arpa/inet.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <list>
#include <string>
#include <utility>
#include <vector>

#include "platform/common/Exception.h"
#include "platform/common/IPAddressMask.h"
#include "platform/common/Strings.h"

namespace {

using Kestrav::Exception;
using Kestrav::IPAddress;
using Kestrav::IPAddressMask;
__extension__ using Number = unsigned __int128;

constexpr Number kAll = ~Number{0};
constexpr Number kMapped = Number{0xffff} << 32;  // ::ffff:0:0

void require(bool condition) {
  if (!condition) std::abort();
}

Number numberOf(const std::uint8_t* bytes) {
  Number number = 0;
  for (int i = 0; i < 16; ++i) number = number << 8 | bytes[i];
  return number;
}

bool isMapped(Number number) {
  return number >> 32 == 0xffff;
}

Number lowestBits(unsigned count) {
  return count >= 128 ? kAll : (Number{1} << count) - 1;
}

// The addresses whose bits under `mask` are those of `network`, or those from `low` to `high`; of
// one family.
struct Oracle {
  bool v4 = false;
  Number network = 0;
  Number mask = 0;
  Number low = 0;
  Number high = kAll;

  bool matches(Number address) const {
    return isMapped(address) == v4 && (address & mask) == (network & mask) && low <= address &&
           address <= high;
  }
};

// False unless `text` is an address. IPv4 addresses are mapped.
bool read(const std::string& text, Number& number) {
  std::uint8_t bytes[16];
  if (inet_pton(AF_INET, text.c_str(), bytes) == 1) {
    number = kMapped | Number{bytes[0]} << 24 | Number{bytes[1]} << 16 | Number{bytes[2]} << 8 |
             Number{bytes[3]};
    return true;
  }
  if (inet_pton(AF_INET6, text.c_str(), bytes) != 1) return false;
  number = numberOf(bytes);
  return true;
}

// REQUIRES: a text that IPAddressMask accepts.
Oracle oracleOf(const std::string& text) {
  Oracle oracle;
  const bool colons = text.find(':') != text.npos;
  const std::size_t slash = text.find('/');
  const std::size_t dash = text.find('-');
  if (slash != text.npos) {
    require(read(text.substr(0, slash), oracle.network));
    const std::string bits = text.substr(slash + 1);
    if (bits.find('.') != bits.npos) {
      require(read(bits, oracle.mask));
      oracle.mask |= kAll << 32;
    } else {
      const auto length = static_cast<unsigned>(std::stoi(bits)) + (colons ? 0u : 96u);
      oracle.mask = ~lowestBits(128 - length);
    }
    oracle.v4 = isMapped(oracle.network) && (oracle.mask & kMapped) == kMapped &&
                oracle.mask >> 32 == kAll >> 32;
  } else if (dash != text.npos) {
    require(read(text.substr(0, dash), oracle.low));
    require(read(text.substr(dash + 1), oracle.high));
    oracle.v4 = isMapped(oracle.low) && isMapped(oracle.high);
  } else if (read(text, oracle.network)) {
    oracle.mask = kAll;
    oracle.v4 = isMapped(oracle.network);
  } else {
    unsigned octets = 0;
    oracle.network = kMapped >> 32;
    for (const std::string& octet : Kestrav::stringSplit(text, '.')) {
      if (octet.empty()) continue;
      oracle.network = oracle.network << 8 | static_cast<unsigned>(std::stoi(octet));
      ++octets;
    }
    require(octets >= 1 && octets <= 3);
    oracle.network <<= 8 * (4 - octets);
    oracle.mask = ~lowestBits(8 * (4 - octets));
    oracle.v4 = true;
  }
  return oracle;
}

IPAddress addressOf(Number number) {
  ip_addr_t plain{};
  plain.family = isMapped(number) ? kIpFamilyV4 : kIpFamilyV6;
  for (int i = 16; i-- > 0; number >>= 8) plain.bytes[i] = static_cast<std::uint8_t>(number);
  return IPAddress(plain);
}

bool anyMatches(const std::vector<Oracle>& oracles, Number address) {
  for (const Oracle& oracle : oracles) {
    if (oracle.matches(address)) return true;
  }
  return false;
}

// The text form and the plain form give an equal mask.
void checkForms(const IPAddressMask& mask) {
  const std::string text = mask.asString();
  std::list<IPAddressMask> again;
  if (text == "any") {
    again.push_back(IPAddressMask::any());
  } else if (!text.empty()) {
    for (const std::string& part : Kestrav::stringSplit(text, ',')) {
      again.emplace_back(part.substr(part.front() == ' ' ? 1 : 0));
    }
  }
  require(IPAddressMask(again) == mask);
  require(again.size() == mask.ranges().size() || mask.isAny());

  ip_mask_t plain{};
  if (mask.toIpMask(plain)) {
    require(IPAddressMask(plain) == mask);
  } else {
    require(mask.ranges().size() > 1 || mask.ranges().front().prefixLength() < 0);
  }
}

void checkPlain(const ip_mask_t& plain) {
  try {
    checkForms(IPAddressMask(plain));
  } catch (const Exception& error) {
    require(error.code() == Exception::kBadText);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const std::size_t end = std::min(input.find('\n'), input.size());

  std::list<IPAddressMask> masks;
  std::vector<Oracle> oracles;
  std::vector<Number> addresses = {0, kAll, kMapped, kMapped | 0xffffffff};
  for (const std::string& text : Kestrav::stringSplit(input.substr(0, end), ',')) {
    if (!IPAddressMask::isValidIPAddressMask(text)) {
      try {
        const IPAddressMask refused(text);
        require(false);
      } catch (const Exception& error) {
        require(error.code() == Exception::kBadText && error.stringParameter() == text);
      }
      continue;
    }
    masks.emplace_back(text);
    oracles.push_back(oracleOf(text));
    checkForms(masks.back());
    for (const IPAddressMask::Range& range : masks.back().ranges()) {
      for (const auto& bytes : {range.low, range.high}) {
        const Number edge = numberOf(bytes.data());
        addresses.insert(addresses.end(), {edge - 1, edge, edge + 1});
      }
    }
  }

  std::size_t position = std::min(end + 1, size);
  ip_mask_t plain{};
  const std::size_t plainSize = std::min(size - position, sizeof plain);
  std::memcpy(&plain, data + position, plainSize);
  checkPlain(plain);
  for (position += plainSize; size - position >= 16; position += 16) {
    addresses.push_back(numberOf(data + position));
  }

  const IPAddressMask all(masks);
  checkForms(all);
  for (const Number address : addresses) {
    const IPAddress asked = addressOf(address);
    require(all.matches(asked) == anyMatches(oracles, address));
    for (auto [mask, oracle] = std::pair(masks.begin(), oracles.begin()); mask != masks.end();
         ++mask, ++oracle) {
      require(mask->matches(asked) == oracle->matches(address));
    }
    require(asked == IPAddress(asked.asString()));
  }
  return 0;
}
