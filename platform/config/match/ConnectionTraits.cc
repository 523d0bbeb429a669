#include "platform/config/match/ConnectionTraits.h"

#include <list>
#include <string>

#include "platform/common/Exception.h"
#include "platform/common/Strings.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/GroupRecords.h"

namespace Kestrav::Config {
namespace {

constexpr char kClient = 'c';
constexpr char kServer = 'v';

template <std::size_t N>
NetworkRule makeRule(unsigned char kind, const char (&text)[N], std::uint32_t group,
                     ConnectionTraits::Groups& groups) {
  switch (static_cast<PeerKind>(kind)) {
    case PeerKind::kAny:
      return NetworkRule::any();
    case PeerKind::kMask:
      return NetworkRule(IPAddressMask(boundedText(text)));
    case PeerKind::kGroup:
      return NetworkRule(groups.members(group));
  }
  throw Exception("unknown kind of address rule " + std::to_string(kind), Exception::kWrongEntity);
}

}  // namespace

const IPAddressMask& ConnectionTraits::Groups::members(std::uint32_t id) {
  const auto known = read_.find(id);
  if (known != read_.end()) return known->second;
  const StoredRecord stored = snapshot_.byId(GID_IP_ADDRESS_GROUP, 0, id);
  if (!stored)
    throw Exception("no IP address group has the id " + std::to_string(id), Exception::kNullHandle);
  const auto& group = *stored.as<__vexa_ip_address_group>();
  std::list<IPAddressMask> masks;
  for (std::uint64_t i = 0; i < group.member_count; ++i) masks.emplace_back(group.members[i]);
  return read_.emplace(id, IPAddressMask(masks)).first->second;
}

ConnectionTraits::Rules::Rules(const Record& record, Groups& groups)
    : client_(makeRule(record.client_kind, record.client, record.client_group, groups)),
      server_(makeRule(record.server_kind, record.server, record.server_group, groups)) {}

RarerSide::Keys ConnectionTraits::Rules::keys() const {
  return {client_.keys(kClient), server_.keys(kServer)};
}

void ConnectionTraits::Probes::add(const Rules& rules, std::size_t side) {
  if (side == 0) {
    rules.client_.addLengths(clients_);
  } else {
    rules.server_.addLengths(servers_);
  }
}

std::vector<CandidateIndex::Key> ConnectionTraits::Probes::keys(const Subject& subject) const {
  std::vector<CandidateIndex::Key> keys;
  keys.reserve(32);
  clients_.keys(kClient, subject.client, keys);
  servers_.keys(kServer, subject.server, keys);
  return keys;
}

}  // namespace Kestrav::Config
