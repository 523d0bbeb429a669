#include "tests/processes/Follower.h"

#include <algorithm>

#include "PolicyIPAddress.h"
#include "PolicyRecipient.h"
#include "ProfileFactory.h"
#include "TrustedMTASet.h"
#include "config/ServerCache.h"
#include "platform/common/Strings.h"
#include "platform/config/records/AntispamRecords.h"
#include "platform/config/records/DictionaryRecords.h"
#include "platform/config/records/DomainRecords.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/PolicyRecords.h"
#include "platform/config/records/SessionRecords.h"
#include "platform/config/records/SystemRecords.h"
#include "tests/processes/Answers.h"
#include "tests/support/Addresses.h"

namespace Kestrav::Testing {
namespace {

using Config::ConfigStore;
using Config::JournalEntry;
using Config::Revision;
using Config::Snapshot;

constexpr int kPatience = 60'000;  // ms; reached only when something hangs

std::uint32_t numberIn(const __aps_gw_as_profile& record) {
  return record.heuristic_first;
}
std::uint32_t numberIn(const __aps_antispam_action& record) {
  return trailingNumber(boundedText(record.alternate_host));
}
std::uint32_t numberIn(const __aps_gw_server& record) {
  return trailingNumber(boundedText(record.disclaimer.first_name));
}
std::uint32_t numberIn(const __vexa_recipient_policy& record) {
  return record.auth_value;
}
std::uint32_t numberIn(const __qv_ip_policy& record) {
  return record.auth_value;
}
std::uint32_t numberIn(const __vexa_dictionary_item& record) {
  return record.score;
}
std::uint32_t numberIn(const __aps_mailserver& record) {
  return trailingNumber(boundedText(record.host_name));
}

std::uint32_t idIn(const __aps_mailserver&) {
  return 0;
}
template <class Rec>
std::uint32_t idIn(const Rec& record) {
  return static_cast<std::uint32_t>(record.id);
}

template <class Rec, unsigned int GID>
class ChainHandler : public CMF::Event::HandlerTemplate<Rec, GID> {
 public:
  using CMF::Event::HandlerTemplate<Rec, GID>::message;
  explicit ChainHandler(Chains& chains) : chains_(chains) {}

  void message(unsigned int domain, const Rec* before, const Rec* after) override {
    const auto number = [](const Rec* record) {
      return record != nullptr ? Chains::Number(numberIn(*record)) : Chains::Number();
    };
    const Rec& named = before != nullptr ? *before : *after;
    chains_.change({GID, domain, idIn(named)}, number(before), number(after));
  }
  void resync() override { chains_.missed(GID); }

 private:
  Chains& chains_;
};

template <class Rec, unsigned int GID>
void listen(Chains& chains) {
  CMF::Event::Dispatcher::instance("", false, false)
      ->add(CMF::Event::RefHandler(new ChainHandler<Rec, GID>(chains), false), 127, 1);
}

std::string text(Chains::Number number) {
  return number ? std::to_string(*number) : "none";
}

}  // namespace

void Chains::change(const Key& key, Number before, Number after) {
  ++changes_;
  const auto [at, first] = last_.try_emplace(key, before);
  if (at->second != before) {
    complaint_("table " + std::to_string(std::get<0>(key)) + " domain " +
               std::to_string(std::get<1>(key)) + " id " + std::to_string(std::get<2>(key)) +
               ": received a change from " + text(before) + " to " + text(after) +
               " after one to " + text(at->second));
  }
  at->second = after;
}

void Chains::missed(unsigned gid) {
  ++missed_;
  std::erase_if(last_, [gid](const auto& entry) { return std::get<0>(entry.first) == gid; });
}

Follower::Follower(Chains::Complaint complaint)
    : complaint_(complaint),
      chains_(complaint),
      dispatcher_(CMF::Event::Dispatcher::instance("", false, false)) {
  ProfileFactory::instance();
  initializeTrustedMTASet();
  allAnswers();  // fills the caches, which subscribe
  listen<__aps_gw_as_profile, GID_ANTISPAM_PROFILE>(chains_);
  listen<__aps_antispam_action, GID_ANTISPAM_ACTION>(chains_);
  listen<__aps_gw_server, GID_PROTECTED_DOMAIN>(chains_);
  listen<__vexa_recipient_policy, GID_INCOMING_POLICY>(chains_);
  listen<__vexa_recipient_policy, GID_OUTGOING_POLICY>(chains_);
  listen<__qv_ip_policy, GID_IP_POLICY>(chains_);
  listen<__vexa_dictionary_item, GID_DICTIONARY_ITEM>(chains_);
  listen<__aps_mailserver, GID_MAIL_SERVER>(chains_);
  CMF::Event::Dispatcher(dispatcher_)->observe([this](const JournalEntry& e) { observed(e); });
}

// On the event thread, after the handlers.
void Follower::observed(const JournalEntry& entry) {
  const Change change{entry.revision, entry.gid, entry.domain, entry.id};
  const std::scoped_lock lock(mutex_);
  if (!changes_.empty()) {
    const Revision last = std::get<0>(changes_.back());
    const bool inTurn = entry.revision == last || entry.revision == last + 1 ||
                        (entry.revision > last && chains_.missedTables() > 0);
    if (!inTurn) {
      complaint_("revision " + std::to_string(entry.revision) + " came after " +
                 std::to_string(last));
    }
    if (entry.revision != last) ofThisRevision_.clear();
  }
  if (!ofThisRevision_.insert(change).second) {
    complaint_("a change of table " + std::to_string(entry.gid) + " came twice in revision " +
               std::to_string(entry.revision));
  }
  changes_.push_back(change);
  if (entry.gid == GID_ANTISPAM_PROFILE && entry.domain == 0 && entry.after) {
    for (int set = 0; set < kSets; ++set) {
      if (entry.id != firstId(set)) continue;
      floors_[set] = {entry.revision, entry.after.as<__aps_gw_as_profile>()->heuristic_first};
    }
  }
}

bool Follower::compareWithJournal() {
  std::vector<Change> observed;
  {
    const std::scoped_lock lock(mutex_);
    observed = changes_;
  }
  if (observed.empty()) return true;
  // Delivery of the first revision may have begun before the observer was registered.
  const Revision first = std::get<0>(observed.front());
  std::erase_if(observed, [first](const Change& change) { return std::get<0>(change) == first; });
  std::vector<Change> kept;
  const bool reached = ConfigStore::attached()->journal(
      first, observed.empty() ? first : std::get<0>(observed.back()),
      [&](const JournalEntry& entry) {
        kept.emplace_back(entry.revision, entry.gid, entry.domain, entry.id);
      });
  if (reached && kept != observed) {
    complaint_("observed " + std::to_string(observed.size()) + " changes after revision " +
               std::to_string(first) + ", the journal has " + std::to_string(kept.size()));
  }
  return reached;
}

void Follower::startAsking(int threads, const std::function<bool(unsigned)>& first) {
  for (int i = 0; i < threads; ++i) {
    threads_.emplace_back([this, i, first] { ask(static_cast<unsigned>(i), first); });
  }
}

void Follower::stopAsking() {
  stop_ = true;
  for (std::thread& thread : threads_) thread.join();
  threads_.clear();
}

void Follower::ask(unsigned seed, const std::function<bool(unsigned)>& first) try {
  for (unsigned turn = seed; !stop_; ++turn) {
    const int set = static_cast<int>(turn % kSets);
    if (first(turn)) {
      checkSnapshot(set);
      checkAnswers(set);
    }
    ++asked_;
  }
} catch (const std::exception& failure) {
  complaint_(std::string("asking failed: ") + failure.what());
}

// A snapshot taken after a revision was applied is not older, and its sets are whole.
void Follower::checkSnapshot(int set) {
  const Revision applied = dispatcher_->applied();
  const Snapshot snapshot = ConfigStore::attached()->snapshot();
  if (snapshot.revision() < applied) {
    complaint_("revision " + std::to_string(applied) +
               " was applied before there was a snapshot of it");
  }
  const std::string broken = brokenPart(snapshot, set);
  if (!broken.empty()) {
    complaint_("revision " + std::to_string(snapshot.revision()) + ": " + broken);
  }
}

// The set's number in its last change. Waits until that is applied.
Follower::Applied Follower::floorOf(int set) {
  Applied floor;
  {
    const std::scoped_lock lock(mutex_);
    floor = floors_[set];
  }
  if (!CMF::Event::Dispatcher(dispatcher_)->waitApplied(floor.revision, kPatience)) {
    complaint_("revision " + std::to_string(floor.revision) + " is not applied");
  }
  return floor;
}

void Follower::expectNew(const char* what, int set, std::uint32_t number, const Applied& floor) {
  if (number >= floor.number) return;
  complaint_(std::string(what) + " of set " + std::to_string(set) + " has number " +
             std::to_string(number) + ", but " + std::to_string(floor.number) +
             " has been applied with revision " + std::to_string(floor.revision));
}

void Follower::checkAnswers(int set) {
  const Applied floor = floorOf(set);
  checkProfile(set, firstId(set), 0, floor);
  checkProfile(set, ownId(set), kOwnDomain, floor);
  checkPolicies(set, floor);
  checkSettings(set, floor);
}

void Follower::checkProfile(int set, std::uint32_t id, ngid_t domain, const Applied& floor) {
  const ProfileAntiSpam profile =
      ProfileFactory::instance()->createProfileAntiSpam(static_cast<int>(id), domain);
  if (profile.isNull()) return complaint_("a profile of set " + std::to_string(set) + " is gone");
  const HeuristicSettings& heuristic = profile.heuristicSettings();
  const Action diversion =
      profile.individualAction(CLASSIFIER_RBL).find(ActionTypes::kAlternateHost);
  const std::uint32_t diverted = diversion.isNull() ? 0 : trailingNumber(diversion.alternateHost());
  if (heuristic.first != heuristic.second || heuristic.first != heuristic.third ||
      heuristic.first != diverted) {
    complaint_("a profile of set " + std::to_string(set) + " is made of numbers " +
               std::to_string(heuristic.first) + ", " + std::to_string(heuristic.second) + ", " +
               std::to_string(heuristic.third) + " and " + std::to_string(diverted));
  }
  expectNew("a profile", set, heuristic.first, floor);
  const auto score = profile.dictionaryScanner()->scan(wordOf(set)).score;
  expectNew("a profile's dictionary", set, static_cast<std::uint32_t>(score), floor);
}

void Follower::checkPolicies(int set, const Applied& floor) {
  const auto server = CMF::RefApsGwServerCache::instance(false).find(domainOf(set));
  if (server.isNull())
    return complaint_("protected domain of set " + std::to_string(set) + " is gone");
  expectNew("protected domain", set, numberIn(server->record()), floor);

  const EmailAddress inside = address("user@" + domainOf(set));
  const EmailAddress outside = address("someone@elsewhere.example");
  const PolicyRecipient incoming(outside, inside, false, false);
  if (incoming.isNull()) {
    complaint_("no incoming policy in set " + std::to_string(set));
  } else {
    expectNew("incoming policy", set, incoming.authenticationAndAccess().authValue, floor);
    if (incoming.antispamProfile().isNull()) {
      complaint_("the incoming policy of set " + std::to_string(set) + " has no antispam profile");
    } else {
      expectNew("incoming policy's profile", set,
                incoming.antispamProfile().heuristicSettings().first, floor);
    }
  }
  // Null at some numbers.
  const PolicyRecipient outgoing(inside, outside, false, false);
  if (!outgoing.isNull()) {
    expectNew("outgoing policy", set, outgoing.authenticationAndAccess().authValue % kSecondPolicy,
              floor);
  }
  const PolicyIPAddress connection(IPAddress("10." + std::to_string(set) + ".0.1"),
                                   IPAddress("192.0.2.1"));
  if (connection.isNull()) return complaint_("no IP policy in set " + std::to_string(set));
  expectNew("IP policy", set, connection.authenticationAndAccess().authValue, floor);
}

void Follower::checkSettings(int set, const Applied& floor) {
  const auto expect = [&](const char* what, std::string_view text) {
    expectNew(what, set, trailingNumber(text), floor);
  };
  switch (set) {
    case 0:
      return expect("mail server",
                    boundedText(settings<__aps_mailserver, GID_MAIL_SERVER>()->record().host_name));
    case 1:
      return expect(
          "system settings",
          boundedText(settings<__aps_sys_global, GID_SYSTEM_GLOBAL>()->record().host_name));
    case 2:
      return expect("address map",
                    boundedText(settings<__aps_vip_map, GID_ADDRESS_MAP>()->record().name));
    default:
      return expect("rules",
                    boundedText(settings<__aps_acl_ruleset, GID_ACL_RULESET>()->record().name));
  }
}

}  // namespace Kestrav::Testing
