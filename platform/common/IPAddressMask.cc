#include "platform/common/IPAddressMask.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <optional>
#include <tuple>
#include <utility>

#include "platform/common/Exception.h"
#include "platform/common/NoDestructor.h"

namespace Kestrav {

namespace {

using Bytes = IPAddress::Bytes;
using Family = IPAddress::Family;
using Range = IPAddressMask::Range;

constexpr int kAllBits = 128;
constexpr int kV4Bits = 32;
// An IPv4 prefix of n bits is a mapped one of kMappedBits + n.
constexpr int kMappedBits = kAllBits - kV4Bits;
constexpr std::size_t kV4Offset = kMappedBits / 8;

int familyBits(Family family) {
  return family == Family::kV4 ? kV4Bits : kAllBits;
}

// The addresses that share the first `bits` of 128 bits with `address`.
Range prefixRange(Family family, const Bytes& address, int bits) {
  Range range{family, address, address};
  for (int i = 0; i < 16; ++i) {
    const int kept = std::clamp(bits - 8 * i, 0, 8);
    const auto hostMask = static_cast<std::uint8_t>(0xFF >> kept);
    range.low[i] &= static_cast<std::uint8_t>(~hostMask);
    range.high[i] |= hostMask;
  }
  return range;
}

Range familyPrefix(Family family, const Bytes& address, int prefix) {
  return prefixRange(family, address, prefix + kAllBits - familyBits(family));
}

Bytes v4Bytes(const std::uint8_t* octets) {
  Bytes bytes{};
  bytes[kV4Offset - 2] = bytes[kV4Offset - 1] = 0xFF;
  std::copy_n(octets, 4, bytes.begin() + kV4Offset);
  return bytes;
}

IPAddress addressOf(Family family, const Bytes& bytes) {
  ip_addr_t plain{};
  std::copy(bytes.begin(), bytes.end(), plain.bytes);
  plain.family = static_cast<std::uint8_t>(family);
  return IPAddress(plain);
}

// A prefix written as IPv6; an IPv4 prefix inside the IPv4-mapped block.
Range prefixOfV6(const Bytes& address, int prefix) {
  const bool v4 = prefix >= kMappedBits && addressOf(Family::kV6, address).isV4();
  return prefixRange(v4 ? Family::kV4 : Family::kV6, address, prefix);
}

// The next address; false after the last one.
bool increment(Bytes& bytes) {
  for (int i = 15; i >= 0; --i) {
    if (++bytes[i] != 0) return true;
  }
  return false;
}

// Sorted, with overlapping and touching ranges joined.
std::vector<Range> normalised(std::vector<Range> ranges) {
  std::sort(ranges.begin(), ranges.end());
  std::vector<Range> joined;
  for (const Range& range : ranges) {
    if (!joined.empty() && joined.back().family == range.family) {
      Range& last = joined.back();
      Bytes next = last.high;
      if (!increment(next) || range.low <= next) {
        last.high = std::max(last.high, range.high);
        continue;
      }
    }
    joined.push_back(range);
  }
  return joined;
}

std::optional<IPAddress> parseAddress(std::string_view text) {
  if (!IPAddress::isValidIPAddress(text)) return std::nullopt;
  return IPAddress(text);
}

// Decimal without sign or leading zeros, at most `most`.
std::optional<int> parseNumber(std::string_view text, int most) {
  if (text.empty() || text.size() > 3 || (text.size() > 1 && text[0] == '0')) return std::nullopt;
  if (text.find_first_not_of("0123456789") != std::string_view::npos) return std::nullopt;
  int number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  if (number > most) return std::nullopt;
  return number;
}

// The number of leading ones of an IPv4 netmask; none when a one follows a zero.
std::optional<int> netmaskLength(const IPAddress& mask) {
  std::uint32_t bits = 0;
  for (std::size_t i = kV4Offset; i < 16; ++i) bits = bits << 8 | mask.bytes()[i];
  int ones = 0;
  for (; bits & 0x80000000u; bits <<= 1) ++ones;
  if (bits != 0) return std::nullopt;
  return ones;
}

std::optional<Range> parsePrefix(std::string_view addressText, std::string_view maskText) {
  const std::optional<IPAddress> address = parseAddress(addressText);
  if (!address) return std::nullopt;

  if (addressText.find(':') != std::string_view::npos) {
    const std::optional<int> prefix = parseNumber(maskText, kAllBits);
    if (!prefix) return std::nullopt;
    return prefixOfV6(address->bytes(), *prefix);
  }

  std::optional<int> prefix = parseNumber(maskText, kV4Bits);
  if (!prefix && maskText.find(':') == std::string_view::npos) {
    if (const std::optional<IPAddress> mask = parseAddress(maskText)) prefix = netmaskLength(*mask);
  }
  if (!prefix) return std::nullopt;
  return familyPrefix(Family::kV4, address->bytes(), *prefix);
}

std::optional<Range> parseRange(std::string_view lowText, std::string_view highText) {
  const std::optional<IPAddress> low = parseAddress(lowText);
  const std::optional<IPAddress> high = parseAddress(highText);
  if (!low || !high || high->bytes() < low->bytes()) return std::nullopt;
  // With one end inside the IPv4-mapped block and one outside, both must be written as IPv6.
  if (low->family() != high->family() && (lowText.find(':') == std::string_view::npos ||
                                          highText.find(':') == std::string_view::npos)) {
    return std::nullopt;
  }
  return Range{std::max(low->family(), high->family()), low->bytes(), high->bytes()};
}

// One to three octets, with or without a dot after the last.
std::optional<Range> parsePartial(std::string_view text) {
  if (!text.empty() && text.back() == '.') text.remove_suffix(1);
  std::uint8_t octets[4] = {};
  int count = 0;
  for (;;) {
    const std::size_t dot = text.find('.');
    const std::optional<int> octet = parseNumber(text.substr(0, dot), 255);
    if (!octet || count == 3) return std::nullopt;
    octets[count++] = static_cast<std::uint8_t>(*octet);
    if (dot == std::string_view::npos) break;
    text.remove_prefix(dot + 1);
  }
  return familyPrefix(Family::kV4, v4Bytes(octets), 8 * count);
}

// An IPv6 range may end in the IPv4-mapped block; the text must still parse as IPv6.
std::string endText(Family family, const Bytes& bytes) {
  const IPAddress address = addressOf(family, bytes);
  return (address.family() != family ? "::ffff:" : "") + address.asString();
}

std::string rangeText(const Range& range) {
  const std::string low = endText(range.family, range.low);
  const int prefix = range.prefixLength();
  if (prefix == familyBits(range.family)) return low;
  if (prefix >= 0) return low + "/" + std::to_string(prefix);
  return low + "-" + endText(range.family, range.high);
}

}  // namespace

int IPAddressMask::Range::prefixLength() const {
  int shared = 0;
  while (shared < kAllBits && ((low[shared / 8] ^ high[shared / 8]) & (0x80 >> shared % 8)) == 0) {
    ++shared;
  }
  if (family == Family::kNone || prefixRange(family, low, shared) != *this) return -1;
  return shared - (kAllBits - familyBits(family));
}

IPAddressMask::IPAddressMask(std::string_view text) {
  if (!parse(text, first_)) {
    throw Exception("not an IP address mask", Exception::kBadText)
        .stringParameter(std::string(text));
  }
}

IPAddressMask::IPAddressMask(const ip_mask_t& plain) {
  const auto bad = [](const char* message) { return Exception(message, Exception::kBadText); };
  if (plain.kind == kIpMaskNull) return;
  if (plain.kind == kIpMaskAny) {
    *this = any();
    return;
  }

  const auto family = static_cast<Family>(plain.family);
  if (family != Family::kV4 && family != Family::kV6) {
    throw bad("unknown family of an IP address mask");
  }
  if (plain.kind == kIpMaskPrefix) {
    if (plain.prefix > familyBits(family)) throw bad("prefix of an IP address mask too long");
    if (family == Family::kV4) {
      first_ = familyPrefix(family, v4Bytes(plain.bytes), plain.prefix);
    } else {
      Bytes bytes;
      std::copy(std::begin(plain.bytes), std::end(plain.bytes), bytes.begin());
      first_ = prefixOfV6(bytes, plain.prefix);
    }
  } else if (plain.kind == kIpMaskRange && family == Family::kV4) {
    first_ = Range{family, v4Bytes(plain.bytes), v4Bytes(plain.bytes + 4)};
    if (first_.high < first_.low) throw bad("range of an IP address mask upside down");
  } else {
    throw bad("unknown kind of an IP address mask");
  }
}

IPAddressMask::IPAddressMask(const IPAddress& address)
    : first_{address.family(), address.bytes(), address.bytes()} {}

IPAddressMask::IPAddressMask(const std::list<IPAddressMask>& masks)
    : IPAddressMask([&masks] {
        std::vector<Range> all;
        for (const IPAddressMask& mask : masks) all.insert(all.end(), mask.begin(), mask.end());
        return all;
      }()) {}

IPAddressMask::IPAddressMask(std::vector<Range> ranges) {
  ranges = normalised(std::move(ranges));
  if (ranges.empty()) return;
  if (ranges.size() == 1) {
    first_ = ranges.front();
  } else {
    ranges_ = std::make_shared<const std::vector<Range>>(std::move(ranges));
  }
}

IPAddressMask IPAddressMask::any() {
  static NoDestructor<IPAddressMask> everything(
      IPAddressMask({familyPrefix(Family::kV4, v4Bytes(Bytes{}.data()), 0),
                     familyPrefix(Family::kV6, Bytes{}, 0)}));
  return *everything;
}

bool IPAddressMask::isValidIPAddressMask(std::string_view text) {
  Range range;
  return parse(text, range);
}

bool IPAddressMask::isAny() const {
  return *this == any();
}

bool IPAddressMask::matches(const IPAddress& address) const {
  if (address.isNull()) return false;
  // The only candidate is the last range that does not start after the address.
  const Range probe{address.family(), address.bytes(), Bytes{}};
  const auto startsAfter = [](const Range& p, const Range& range) {
    return std::tie(p.family, p.low) < std::tie(range.family, range.low);
  };
  const Range* next = std::upper_bound(begin(), end(), probe, startsAfter);
  return next != begin() && next[-1].contains(address);
}

std::vector<IPAddressMask::Range> IPAddressMask::ranges() const {
  return {begin(), end()};
}

std::string IPAddressMask::asString() const {
  if (isAny()) return "any";
  std::string text;
  for (const Range& range : ranges()) {
    if (!text.empty()) text += ", ";
    text += rangeText(range);
  }
  return text;
}

bool IPAddressMask::toIpMask(ip_mask_t& plain) const {
  ip_mask_t result{};
  if (isAny()) {
    result.kind = kIpMaskAny;
  } else if (ranges_ != nullptr) {
    return false;
  } else if (!isNull()) {
    const bool v4 = first_.family == Family::kV4;
    const int prefix = first_.prefixLength();
    result.family = static_cast<std::uint8_t>(first_.family);
    const auto low = first_.low.begin() + (v4 ? kV4Offset : 0);
    std::copy(low, first_.low.end(), result.bytes);
    if (prefix >= 0) {
      result.kind = kIpMaskPrefix;
      result.prefix = static_cast<std::uint8_t>(prefix);
    } else if (v4) {
      result.kind = kIpMaskRange;
      std::copy(first_.high.begin() + kV4Offset, first_.high.end(), result.bytes + 4);
    } else {
      return false;
    }
  }
  plain = result;
  return true;
}

std::strong_ordering IPAddressMask::operator<=>(const IPAddressMask& other) const {
  return std::lexicographical_compare_three_way(begin(), end(), other.begin(), other.end());
}

bool IPAddressMask::parse(std::string_view text, Range& range) {
  std::optional<Range> parsed;
  if (const std::size_t slash = text.find('/'); slash != std::string_view::npos) {
    parsed = parsePrefix(text.substr(0, slash), text.substr(slash + 1));
  } else if (const std::size_t dash = text.find('-'); dash != std::string_view::npos) {
    parsed = parseRange(text.substr(0, dash), text.substr(dash + 1));
  } else if (const std::optional<IPAddress> address = parseAddress(text)) {
    parsed = Range{address->family(), address->bytes(), address->bytes()};
  } else {
    parsed = parsePartial(text);
  }
  if (parsed) range = *parsed;
  return parsed.has_value();
}

const IPAddressMask::Range* IPAddressMask::begin() const {
  return ranges_ != nullptr ? ranges_->data() : &first_;
}

const IPAddressMask::Range* IPAddressMask::end() const {
  if (ranges_ != nullptr) return ranges_->data() + ranges_->size();
  return isNull() ? &first_ : &first_ + 1;
}

}  // namespace Kestrav
