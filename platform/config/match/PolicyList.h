// An ordered list of policies of one table and domain at one revision, compiled for selection.
//
// Immutable; any number of threads may select. Traits give:
//
//   using Record, Subject
//   class Groups         reads the groups that policies name; constructor (Snapshot)
//   class Rules          both sides of a policy; its constructor (Record, Groups&) throws Exception
//                        when they do not compile
//     outcome(Subject)   kWon when both sides match, else the first side that does not
//     keys()             of both sides, see RarerSide
//   class Probes         which keys a query shows
//     add(Rules, side)   for each policy that is filed by keys of this side
//     keys(Subject)
#pragma once

#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/common/Exception.h"
#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/common/Strings.h"
#include "platform/config/match/CandidateIndex.h"
#include "platform/config/match/PolicySelection.h"
#include "platform/config/match/RarerSide.h"
#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Config {

template <class Traits>
class PolicyList {
 public:
  using Record = typename Traits::Record;
  using Subject = typename Traits::Subject;

  PolicyList(G_CLI_GID gid, ngid_t domain, const Snapshot& snapshot)
      : revision_(snapshot.revision()) {
    typename Traits::Groups groups(snapshot);
    snapshot.walk(gid, domain, [&](const StoredRecord& stored) {
      add(*stored.as<Record>(), domain, groups);
      return true;
    });
    RarerSide rarer;
    for (const Policy& policy : policies_) {
      if (canWin(policy)) rarer.count(policy.rules->keys());
    }
    for (CandidateIndex::Ordinal i = 0; i < policies_.size(); ++i) {
      if (canWin(policies_[i])) file(i, rarer);
    }
    index_.seal();
  }

  // That it was read at.
  Revision revision() const { return revision_; }

  // The winner's record, null when no policy matches.
  const Record* select(const Subject& subject) const {
    const std::vector<CandidateIndex::Key> keys = probes_.keys(subject);
    if (keys.size() > CandidateIndex::kMostKeys) return selectLinear(subject);
    const CandidateIndex::Ordinal winner = index_.first(keys, [&](CandidateIndex::Ordinal ordinal) {
      return outcome(policies_[ordinal], subject) == Outcome::kWon;
    });
    return winner == CandidateIndex::kNone ? nullptr : &policies_[winner].record;
  }

  // The same by a scan of every policy. With `considered`, appends the outcome of each.
  const Record* selectLinear(const Subject& subject,
                             std::vector<Considered>* considered = nullptr) const {
    const Record* winner = nullptr;
    for (const Policy& policy : policies_) {
      const Outcome what = winner ? Outcome::kNotReached : outcome(policy, subject);
      if (what == Outcome::kWon) winner = &policy.record;
      if (considered) {
        considered->push_back({static_cast<std::uint32_t>(policy.record.id), policy.domain,
                               std::string(boundedText(policy.record.name)), what});
      } else if (winner) {
        break;
      }
    }
    return winner;
  }

  std::size_t size() const { return policies_.size(); }

 private:
  struct Policy {
    Record record;
    ngid_t domain;
    std::optional<typename Traits::Rules> rules;  // none when they do not compile
  };

  static bool canWin(const Policy& policy) { return policy.record.enabled && policy.rules; }

  static Outcome outcome(const Policy& policy, const Subject& subject) {
    if (!policy.record.enabled) return Outcome::kDisabled;
    if (!policy.rules) return Outcome::kInvalid;
    return policy.rules->outcome(subject);
  }

  void add(const Record& record, ngid_t domain, typename Traits::Groups& groups) {
    Policy& policy = policies_.emplace_back(Policy{record, domain, std::nullopt});
    try {
      policy.rules.emplace(record, groups);
    } catch (const Exception& error) {
      Logger::instance(false).log(LogCode::kPolicyRecordSkipped, "%d\x01%s", policy.record.id,
                                  error.asString().c_str());
    }
  }

  void file(CandidateIndex::Ordinal ordinal, const RarerSide& rarer) {
    const typename Traits::Rules& rules = *policies_[ordinal].rules;
    const RarerSide::Keys keys = rules.keys();
    const std::size_t side = rarer.of(keys);
    if (keys[side].empty()) {
      index_.addUnderNoKey(ordinal);
      return;
    }
    for (const CandidateIndex::Key key : keys[side]) index_.add(key, ordinal);
    probes_.add(rules, side);
  }

  const Revision revision_;
  std::vector<Policy> policies_;
  typename Traits::Probes probes_;
  CandidateIndex index_;
};

}  // namespace Kestrav::Config
