// Any policies and questions: the index finds the policy that a scan of the list finds. Input, line
// by line, with fields separated by tabs; the first letter is the kind of the line:
//
//   G member ...                 a group of e-mail addresses; ids count from 1
//   N mask ...                   a group of IP addresses
//   R sender recipient switch    a recipient policy; a side is the digit of its kind and a text, or
//                                for a group the digit of its id; the policy is off with "off"
//   I client server switch       an IP policy
//   E sender recipient           asks for an envelope
//   C client server              asks for a connection
#include <stdlib.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "platform/common/IPAddressMask.h"
#include "platform/common/Logger.h"
#include "platform/common/Strings.h"
#include "platform/config/match/ConnectionTraits.h"
#include "platform/config/match/PolicyList.h"
#include "platform/config/match/RecipientTraits.h"
#include "tests/support/GroupRecords.h"
#include "tests/support/PolicyRecords.h"
#include "tests/support/StoreFixture.h"

namespace {

using namespace Kestrav;
using namespace Kestrav::Config;
using namespace Kestrav::Testing;

constexpr std::size_t kLargestInput = 4096;

void require(bool condition) {
  if (!condition) std::abort();
}

// In memory where there is such a folder: each input is a commit.
ConfigStore& store() {
  static const TemporaryFolder folder = [] {
    if (std::filesystem::is_directory("/dev/shm")) ::setenv("TMPDIR", "/dev/shm", 0);
    return TemporaryFolder();
  }();
  ConfigStore::Options options;
  options.initialMapSize = 256 << 20;
  options.journalEntries = 1000;
  static const std::shared_ptr<ConfigStore> opened = ConfigStore::open(folder / "store", options);
  return *opened;
}

// The kind and the text or the group of one side.
template <class Kind, std::size_t N>
void setSide(const std::string& side, Kind group, unsigned char& kind, char (&text)[N],
             std::uint32_t& id) {
  const char digit = side.empty() ? '0' : side.front();
  const std::string rest = side.empty() ? "" : side.substr(1);
  kind = static_cast<unsigned char>(digit - '0');
  boundedCopy(text, rest);
  if (kind == static_cast<unsigned char>(group)) {
    id = rest.empty() ? 0 : static_cast<std::uint32_t>(rest.front() - '0');
  }
}

struct Input {
  ChangeSet changes;
  std::uint32_t emailGroups = 0;
  std::uint32_t networkGroups = 0;
  std::int32_t recipientPolicies = 0;
  std::int32_t connectionPolicies = 0;
  std::vector<RecipientTraits::Subject> envelopes;
  std::vector<ConnectionTraits::Subject> connections;

  Input() {
    for (const G_CLI_GID gid :
         {GID_OUTGOING_POLICY, GID_IP_POLICY, GID_EMAIL_ADDRESS_GROUP, GID_IP_ADDRESS_GROUP}) {
      changes.order(gid, 0, {});
    }
  }

  void read(const std::string& line) {
    if (line.empty()) return;
    std::vector<std::string> fields = stringSplit(line.substr(1), '\t');
    switch (line.front()) {
      case 'G': {
        EmailGroupRecord group(++emailGroups);
        for (const std::string& member : fields) group.member(member);
        group.put(changes);
        break;
      }
      case 'N':
        addNetworks(fields);
        break;
      case 'R': {
        fields.resize(std::max<std::size_t>(fields.size(), 3));
        OutgoingPolicyRecord policy(++recipientPolicies);
        setSide(fields[0], AddressKind::kGroup, policy->sender_kind, policy->sender,
                policy->sender_group);
        setSide(fields[1], AddressKind::kGroup, policy->recipient_kind, policy->recipient,
                policy->recipient_group);
        policy->enabled = fields[2] != "off";
        policy.put(changes);
        break;
      }
      case 'I': {
        fields.resize(std::max<std::size_t>(fields.size(), 3));
        IpPolicyRecord policy(++connectionPolicies);
        setSide(fields[0], PeerKind::kGroup, policy->client_kind, policy->client,
                policy->client_group);
        setSide(fields[1], PeerKind::kGroup, policy->server_kind, policy->server,
                policy->server_group);
        policy->enabled = fields[2] != "off";
        policy.put(changes);
        break;
      }
      case 'E':
        fields.resize(std::max<std::size_t>(fields.size(), 2));
        envelopes.push_back({AddressSubject(fields[0]), AddressSubject(fields[1])});
        break;
      case 'C':
        fields.resize(std::max<std::size_t>(fields.size(), 2));
        if (IPAddress::isValidIPAddress(fields[0]) && IPAddress::isValidIPAddress(fields[1])) {
          connections.push_back({.server = IPAddress(fields[1]), .client = IPAddress(fields[0])});
        }
        break;
      default:
        break;
    }
  }

  void addNetworks(const std::vector<std::string>& masks) {
    std::vector<ip_mask_t> members;
    for (const std::string& text : masks) {
      ip_mask_t plain{};
      if (IPAddressMask::isValidIPAddressMask(text) && IPAddressMask(text).toIpMask(plain)) {
        members.push_back(plain);
      }
    }
    __vexa_ip_address_group group{};
    group.id = ++networkGroups;
    boundedCopy(group.name, "networks-" + std::to_string(group.id));
    group.member_count = members.size();
    group.members = members.data();
    changes.put(GID_IP_ADDRESS_GROUP, 0, &group);
  }
};

template <class Traits>
void check(const PolicyList<Traits>& list, const std::vector<typename Traits::Subject>& subjects,
           std::int32_t policies) {
  require(list.size() == static_cast<std::size_t>(policies));
  for (const auto& subject : subjects) require(list.select(subject) == list.selectLinear(subject));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto quiet = Logger::instance().capture([](const auto&) {});
  if (size > kLargestInput) return 0;
  Input input;
  for (const std::string& line :
       stringSplit(std::string(reinterpret_cast<const char*>(data), size), '\n')) {
    input.read(line);
  }
  if (input.envelopes.empty() && input.connections.empty()) return 0;
  try {
    store().commit(std::move(input.changes));
  } catch (const Exception& error) {
    require(error.code() == StoreError::kBadRecord);  // a kind that is out of range
    return 0;
  }
  const Snapshot snapshot = store().snapshot();
  check(PolicyList<RecipientTraits>(GID_OUTGOING_POLICY, 0, snapshot), input.envelopes,
        input.recipientPolicies);
  check(PolicyList<ConnectionTraits>(GID_IP_POLICY, 0, snapshot), input.connections,
        input.connectionPolicies);
  return 0;
}
