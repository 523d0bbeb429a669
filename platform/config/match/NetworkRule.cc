#include "platform/config/match/NetworkRule.h"

#include <algorithm>
#include <utility>

namespace Kestrav::Config {
namespace {

__extension__ using Number = unsigned __int128;

constexpr int kBits = 128;
// A mask of more networks has no keys: it would fill the index and rule out few addresses.
constexpr std::size_t kMostNetworks = 16'384;

Number numberOf(const IPAddress::Bytes& bytes) {
  Number number = 0;
  for (const std::uint8_t byte : bytes) number = number << 8 | byte;
  return number;
}

IPAddress::Bytes bytesOf(Number number) {
  IPAddress::Bytes bytes;
  for (std::size_t i = bytes.size(); i-- > 0; number >>= 8)
    bytes[i] = static_cast<std::uint8_t>(number);
  return bytes;
}

Number lowestBits(int count) {
  return count >= kBits ? ~Number{0} : (Number{1} << count) - 1;
}

// IPv4 addresses follow 96 fixed bits.
int headOf(IPAddress::Family family) {
  return family == IPAddress::Family::kV4 ? 96 : 0;
}

CandidateIndex::Key keyOf(char side, IPAddress::Family family, int length,
                          const IPAddress::Bytes& bytes) {
  std::array<char, 18> text;
  text[0] = static_cast<char>(family);
  text[1] = static_cast<char>(length);
  std::copy(bytes.begin(), bytes.end(), text.begin() + 2);
  return candidateKey(side, text);
}

}  // namespace

void NetworkLengths::keys(char side, const IPAddress& address,
                          std::vector<CandidateIndex::Key>& keys) const {
  const Lengths& lengths = address.isV4() ? v4_ : v6_;
  const int head = headOf(address.family());
  const Number number = numberOf(address.bytes());
  for (int length = 0; head + length <= kBits; ++length) {
    if (!lengths[static_cast<std::size_t>(length)]) continue;
    const Number network = number & ~lowestBits(kBits - head - length);
    keys.push_back(keyOf(side, address.family(), length, bytesOf(network)));
  }
}

NetworkRule::NetworkRule(IPAddressMask mask) : any_(mask.isAny()), mask_(std::move(mask)) {
  if (any_) return;
  for (const IPAddressMask::Range& range : mask_.ranges()) {
    const int head = headOf(range.family);
    Number low = numberOf(range.low);
    const Number high = numberOf(range.high);
    // Takes the largest aligned block from the low end until the range is used up.
    for (;;) {
      int size = 0;
      while (size < kBits - head && (low & lowestBits(size + 1)) == 0 &&
             (low | lowestBits(size + 1)) <= high)
        ++size;
      const int length = kBits - size;
      networks_.push_back({range.family, bytesOf(low), length - head});
      if ((low | lowestBits(size)) >= high) break;
      low = (low | lowestBits(size)) + 1;
    }
  }
  const bool holdsFamily = std::any_of(networks_.begin(), networks_.end(),
                                       [](const Network& network) { return network.length == 0; });
  if (holdsFamily || networks_.size() > kMostNetworks) networks_ = {};
}

std::vector<CandidateIndex::Key> NetworkRule::keys(char side) const {
  std::vector<CandidateIndex::Key> keys;
  keys.reserve(networks_.size());
  for (const Network& network : networks_) {
    keys.push_back(keyOf(side, network.family, network.length, network.bytes));
  }
  return keys;
}

void NetworkRule::addLengths(NetworkLengths& lengths) const {
  for (const Network& network : networks_) lengths.add(network.family, network.length);
}

}  // namespace Kestrav::Config
