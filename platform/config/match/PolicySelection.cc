#include "platform/config/match/PolicySelection.h"

#include <string>
#include <tuple>

#include "platform/common/NoDestructor.h"
#include "platform/config/client/Event.h"
#include "platform/config/client/OneRevision.h"
#include "platform/config/client/ServerCache.h"
#include "platform/config/client/cmf.h"
#include "platform/config/match/ConnectionTraits.h"
#include "platform/config/match/PolicyLists.h"
#include "platform/config/match/RecipientTraits.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/GroupRecords.h"

namespace Kestrav::Config {
namespace {

using CMF::Event::Dispatcher;
using CMF::Event::HandlerTemplate;
using CMF::Event::RefHandler;

// Drops one domain's list when a policy of it changes.
template <class Rec, unsigned int GID, class Lists>
class PolicyChanged : public HandlerTemplate<Rec, GID> {
 public:
  explicit PolicyChanged(Lists& lists) : lists_(lists) {}
  void message(unsigned int domain, const Rec*, const Rec*) override { lists_.drop(domain); }
  void resync() override { lists_.dropAll(); }

 private:
  Lists& lists_;
};

// Groups belong to the system, and a policy of any domain may name one.
template <class Rec, unsigned int GID, class... Lists>
class GroupChanged : public HandlerTemplate<Rec, GID> {
 public:
  explicit GroupChanged(Lists&... lists) : lists_(lists...) {}
  void message(unsigned int, const Rec*, const Rec*) override {
    std::apply([](auto&... lists) { (lists.dropAll(), ...); }, lists_);
  }

 private:
  std::tuple<Lists&...> lists_;
};

using ConnectionLists = PolicyLists<ConnectionTraits>;
using RecipientLists = PolicyLists<RecipientTraits>;

// Handlers refer to it until the process ends.
struct AllLists {
  ConnectionLists connections{GID_IP_POLICY};
  RecipientLists incoming{GID_INCOMING_POLICY};
  RecipientLists outgoing{GID_OUTGOING_POLICY};

  // Handlers are registered before the first list is made, so that no change is missed.
  AllLists() {
    add(new PolicyChanged<__qv_ip_policy, GID_IP_POLICY, ConnectionLists>(connections));
    add(new PolicyChanged<__vexa_recipient_policy, GID_INCOMING_POLICY, RecipientLists>(incoming));
    add(new PolicyChanged<__vexa_recipient_policy, GID_OUTGOING_POLICY, RecipientLists>(outgoing));
    add(new GroupChanged<__vexa_ip_address_group, GID_IP_ADDRESS_GROUP, ConnectionLists>(
        connections));
    add(new GroupChanged<__vexa_email_address_group, GID_EMAIL_ADDRESS_GROUP, RecipientLists,
                         RecipientLists>(incoming, outgoing));
    // Nothing announces changes of revisions before these registrations.
    connections.dropAll();
    incoming.dropAll();
    outgoing.dropAll();
  }

  static void add(CMF::Event::Handler* handler) {
    Dispatcher::instance("", false, false)->add(RefHandler(handler, false), 127, 1);
  }
};

AllLists& all() {
  static NoDestructor<AllLists> lists;
  return *lists;
}

template <class Traits>
bool select(PolicyLists<Traits>& lists, ngid_t domain, const typename Traits::Subject& subject,
            typename Traits::Record* record, std::vector<Considered>* considered) {
  const auto list = lists.of(domain);
  if (!list) return false;
  const auto* winner = considered ? list->selectLinear(subject, considered) : list->select(subject);
  if (!winner) return false;
  *record = *winner;
  return true;
}

RecipientTraits::Subject envelope(const char* sender, const char* recipient) {
  return {AddressSubject(sender ? sender : ""), AddressSubject(recipient)};
}

}  // namespace

bool selectIpPolicy(const IPAddress& server, const IPAddress& client, __qv_ip_policy* record,
                    std::vector<Considered>* considered) {
  return select(all().connections, 0, {server, client}, record, considered);
}

bool selectIncomingPolicy(const char* sender, const char* recipient,
                          __vexa_recipient_policy* record, std::vector<Considered>* considered) {
  const RecipientTraits::Subject subject = envelope(sender, recipient);
  const std::string name(subject.recipient.domain());
  bool found = false;
  Client::atOneRevision([&] {
    if (considered) considered->clear();
    const auto server = CMF::RefApsGwServerCache::instance(false)->find(name);
    const ngid_t domain = server.isNull() ? 0 : server->configurationDomain();
    found = (domain != 0 && select(all().incoming, domain, subject, record, considered)) ||
            select(all().incoming, 0, subject, record, considered);
  });
  return found;
}

bool selectOutgoingPolicy(const char* sender, const char* recipient,
                          __vexa_recipient_policy* record, std::vector<Considered>* considered) {
  return select(all().outgoing, 0, envelope(sender, recipient), record, considered);
}

}  // namespace Kestrav::Config

int cfg_ip_policy_match(ip_addr_t server, ip_addr_t client, __qv_ip_policy* record) {
  Kestrav::IPAddress serverAddress;
  Kestrav::IPAddress clientAddress;
  try {
    serverAddress = Kestrav::IPAddress(server);
    clientAddress = Kestrav::IPAddress(client);
  } catch (const Kestrav::Exception&) {
    return -1;  // null or malformed
  }
  return Kestrav::Config::selectIpPolicy(serverAddress, clientAddress, record) ? 0 : -1;
}

int cfg_get_incoming_policy(const char* sender, const char* recipient,
                            __vexa_recipient_policy* record) {
  return Kestrav::Config::selectIncomingPolicy(sender, recipient, record) ? 0 : -1;
}

int cfg_get_outgoing_policy(const char* sender, const char* recipient,
                            __vexa_recipient_policy* record) {
  return Kestrav::Config::selectOutgoingPolicy(sender, recipient, record) ? 0 : -1;
}
