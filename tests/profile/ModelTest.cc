// The library against a model of the configuration, while the configuration changes.
//
// A writer commits random change sets and records the right answers for each revision. Readers ask
// without pause. An answer must be that of a revision between the one that was applied when the
// question was asked and the newest one. Handles that a reader keeps never change. Another thread
// marks caches stale and clears them, which must have no visible effect.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "PolicyIPAddress.h"
#include "PolicyRecipient.h"
#include "tests/profile/Factory.h"
#include "tests/profile/Gateway.h"
#include "tests/support/Addresses.h"
#include "tests/support/AntispamRecords.h"
#include "tests/support/DomainRecords.h"
#include "tests/support/PolicyRecords.h"
#include "tests/support/QuarantineRecords.h"
#include "tests/support/WebFilterRecords.h"

using namespace Kestrav;
using namespace Kestrav::Testing;

namespace {

constexpr int kCommits = 300;
constexpr int kReaders = 3;
constexpr int kQuestions = 40;     // the least number between two commits
constexpr std::size_t kHeld = 32;  // handles kept by each reader
constexpr ngid_t kDomain = 4242;
constexpr std::uint32_t kBase = 900'000;  // ids of the model's records
constexpr int kProfiles = 4;
constexpr int kWebFilters = 2;
constexpr int kFolders = 2;
constexpr int kClients = 3;
constexpr int kDomains = 3;
const char* const kNone = "none";

std::uint32_t profileId(int n) {
  return kBase + static_cast<std::uint32_t>(n);
}
std::uint32_t webFilterId(int n) {
  return kBase + 100 + static_cast<std::uint32_t>(n);
}
std::uint32_t folderId(int n) {
  return kBase + 200 + static_cast<std::uint32_t>(n);
}
std::uint32_t actionId(int n) {
  return kBase + 300 + static_cast<std::uint32_t>(n);
}
std::string client(int n) {
  return "172.16.0." + std::to_string(n + 1);
}
std::string domain(int n) {
  return "model" + std::to_string(n) + ".example";
}

using Answers = std::map<std::string, std::string>;  // by question

// The configuration as version numbers. 0 means that there is no such record.
struct Model {
  int systemProfile[kProfiles] = {};
  int domainProfile[kProfiles] = {};
  int systemAction[kProfiles] = {};
  int domainAction[kProfiles] = {};
  int level = 1;
  int webFilter[kWebFilters] = {};
  int folder[kFolders] = {};
  int policy[kClients] = {};
  int policyProfile[kClients] = {};
  int incoming[kDomains] = {};
  int outgoing[kDomains] = {};
  bool isProtected[kDomains] = {};

  Answers answers() const {
    Answers all;
    for (int n = 0; n < kProfiles; ++n) {
      const bool system = systemProfile[n] != 0;
      const int version = system ? systemProfile[n] : domainProfile[n];
      const int action = !system && domainAction[n] != 0 ? domainAction[n] : systemAction[n];
      all["profile " + std::to_string(n)] = version == 0 ? kNone
                                                         : "version " + std::to_string(version) +
                                                               " action " + std::to_string(action) +
                                                               " level " + std::to_string(level);
      all["profile's web filter " + std::to_string(n)] =
          version == 0 ? kNone : webFilterName(n % kWebFilters);
    }
    for (int n = 0; n < kWebFilters; ++n) all["web filter " + std::to_string(n)] = webFilterName(n);
    for (int n = 0; n < kFolders; ++n) {
      all["folder " + std::to_string(n)] = folder[n] == 0 ? kNone : std::to_string(folder[n]);
    }
    for (int n = 0; n < kClients; ++n) {
      all["client " + std::to_string(n)] =
          policy[n] == 0
              ? kNone
              : std::to_string(policy[n]) + " profile " + std::to_string(policyProfile[n]);
    }
    for (int n = 0; n < kDomains; ++n) {
      all["direction " + std::to_string(n)] = isProtected[n] ? "1" : "2";
      all["incoming " + std::to_string(n)] = std::to_string(incoming[n]);
      all["outgoing " + std::to_string(n)] = std::to_string(outgoing[n]);
    }
    return all;
  }

 private:
  std::string webFilterName(int n) const {
    return webFilter[n] == 0 ? kNone : "filter " + std::to_string(webFilter[n]);
  }
};

// --- Asking the library

std::string describe(const ProfileAntiSpam& profile) {
  if (profile.isNull()) return kNone;
  return "version " + profile.name() + " action " +
         std::to_string(profile.actions().find(0x100000).isNull()
                            ? 0
                            : profile.actions().find(0x100000).archiveRecipientId()) +
         " level " + std::to_string(profile.deepHeaderSettings().level);
}
std::string describe(const ProfileWebFilter& profile) {
  return profile.isNull() ? kNone : profile.name();
}

using Held = std::function<std::string()>;  // describes a handle again

// The answers to one question, and a function that describes the returned handle again.
struct Reply {
  Answers answers;
  Held again;
};

Reply askProfile(int n) {
  const ProfileAntiSpam profile = antispam(profileId(n), kDomain);
  Reply reply;
  reply.answers["profile " + std::to_string(n)] = describe(profile);
  reply.answers["profile's web filter " + std::to_string(n)] =
      profile.isNull() ? kNone : describe(profile.profileWebFilter());
  reply.again = [profile] {
    return describe(profile) + (profile.isNull() ? "" : describe(profile.profileWebFilter()));
  };
  return reply;
}

Reply askWebFilter(int n) {
  const ProfileWebFilter profile = webFilter(webFilterId(n));
  Reply reply;
  reply.answers["web filter " + std::to_string(n)] = describe(profile);
  reply.again = [profile] { return describe(profile); };
  return reply;
}

Reply askFolder(int n) {
  const Ref<ProfileQuarantineFolder> found = folder(folderId(n), kDomain);
  Reply reply;
  reply.again = [found] { return found.isNull() ? std::string(kNone) : found->name(); };
  reply.answers["folder " + std::to_string(n)] = reply.again();
  return reply;
}

Reply askClient(int n) {
  const PolicyIPAddress policy(IPAddress(client(n)), IPAddress("192.0.2.25"));
  Reply reply;
  std::string& answer = reply.answers["client " + std::to_string(n)];
  answer = kNone;
  if (!policy.isNull()) {
    answer = std::to_string(policy.authenticationAndAccess().authValue) + " profile " +
             std::to_string((policy.id() - 1000) % 10);
  }
  reply.again = [policy] {
    if (policy.isNull()) return std::string(kNone);
    return std::to_string(policy.id()) + describe(policy.antispamProfile()) +
           std::to_string(policy.messageParsingRequired());
  };
  return reply;
}

Reply askRecipient(int n) {
  const EmailAddress sender = address("from@sender.example");
  const EmailAddress recipient = address("user@" + domain(n));
  const PolicyRecipient policy(sender, recipient, false, true);
  Reply reply;
  const std::string number = std::to_string(n);
  if (policy.isNull()) {
    reply.answers["no policy"] = "";  // wrong: every recipient has an incoming and an outgoing one
    return reply;
  }
  reply.answers["direction " + number] = std::to_string(policy.direction());
  reply.answers[(policy.direction() == 1 ? "incoming " : "outgoing ") + number] =
      std::to_string(policy.authenticationAndAccess().authValue);
  const PolicyRecipient further(address("other@x.example"), policy);
  reply.again = [policy, further] {
    return std::to_string(policy.direction()) + policy.policyDomain() +
           describe(policy.antispamProfile()) + std::to_string(further.messageParsingRequired());
  };
  return reply;
}

Reply ask(std::mt19937& random) {
  const auto pick = [&](int bound) {
    return static_cast<int>(random() % static_cast<unsigned>(bound));
  };
  switch (pick(5)) {
    case 0:
      return askProfile(pick(kProfiles));
    case 1:
      return askWebFilter(pick(kWebFilters));
    case 2:
      return askFolder(pick(kFolders));
    case 3:
      return askClient(pick(kClients));
    default:
      return askRecipient(pick(kDomains));
  }
}

// --- The writer

class Writer {
 public:
  // The first revision: all policies are there.
  Writer() {
    Config::ChangeSet changes;
    for (int n = 0; n < kClients; ++n) putPolicy(n, changes);
    for (int n = 0; n < kDomains; ++n) {
      putIncoming(n, changes);
      putOutgoing(n, changes);
    }
    for (int n = 0; n < kProfiles; ++n) putProfile(n, 0, changes);
    putLevel(changes);
    commit(std::move(changes));
  }

  // A revision of one to four random changes.
  void commitSome() {
    Config::ChangeSet changes;
    for (unsigned left = 1 + random_() % 4; left > 0; --left) changeOne(changes);
    commit(std::move(changes));
  }

  // Whether `answer` is right at a revision from `from` to `to`.
  bool isRight(const std::string& question, const std::string& answer, Config::Revision from,
               Config::Revision to) const {
    const std::lock_guard guard(mutex_);
    for (auto at = history_.lower_bound(from); at != history_.end() && at->first <= to; ++at) {
      const auto found = at->second.find(question);
      if (found != at->second.end() && found->second == answer) return true;
    }
    return false;
  }

  Answers newest() const {
    const std::lock_guard guard(mutex_);
    return history_.rbegin()->second;
  }
  Config::Revision revision() const {
    const std::lock_guard guard(mutex_);
    return history_.rbegin()->first;
  }

 private:
  int pick(int bound) { return static_cast<int>(random_() % static_cast<unsigned>(bound)); }

  void commit(Config::ChangeSet changes) {
    // Locked over the commit: no reader looks up a revision that is not recorded yet.
    const std::lock_guard guard(mutex_);
    const Config::Revision revision = store().commit(std::move(changes));
    history_[revision] = model_.answers();
  }

  void changeOne(Config::ChangeSet& changes) {
    switch (pick(11)) {
      case 0:
      case 1:
        return putProfile(pick(kProfiles), 0, changes);
      case 2:
        return putProfile(pick(kProfiles), kDomain, changes);
      case 3: {
        const int n = pick(kProfiles);
        const bool system = pick(2) == 0;
        (system ? model_.systemProfile : model_.domainProfile)[n] = 0;
        return changes.erase(GID_ANTISPAM_PROFILE, system ? 0 : kDomain, profileId(n));
      }
      case 4:
        return putAction(pick(kProfiles), pick(2) == 0 ? 0 : kDomain, changes);
      case 5:
        return putLevel(changes);
      case 6:
        return putWebFilter(pick(kWebFilters), changes);
      case 7:
        return putFolder(pick(kFolders), changes);
      case 8:
        return putPolicy(pick(kClients), changes);
      case 9: {
        const int n = pick(kDomains);
        return pick(2) == 0 ? putIncoming(n, changes) : putOutgoing(n, changes);
      }
      default:
        return flipProtection(pick(kDomains), changes);
    }
  }

  void putProfile(int n, ngid_t where, Config::ChangeSet& changes) {
    const int version = ++version_;
    (where == 0 ? model_.systemProfile : model_.domainProfile)[n] = version;
    AntispamRecord(profileId(n))
        .name(std::to_string(version))
        .defaultAction(actionId(n))
        .deepHeader()
        .cloud()
        .uriCategoryCheck(webFilterId(n % kWebFilters))
        .put(changes, where);
  }
  void putAction(int n, ngid_t where, Config::ChangeSet& changes) {
    const int version = ++version_;
    (where == 0 ? model_.systemAction : model_.domainAction)[n] = version;
    AntispamActionRecord(actionId(n))
        .archive(static_cast<std::uint32_t>(version))
        .put(changes, where);
  }
  void putLevel(Config::ChangeSet& changes) {
    model_.level = 1 + pick(9);
    DeepHeaderRecord(static_cast<std::uint32_t>(model_.level), 95.0f).put(changes);
  }
  void putWebFilter(int n, Config::ChangeSet& changes) {
    if (model_.webFilter[n] != 0 && pick(4) == 0) {
      model_.webFilter[n] = 0;
      return changes.erase(GID_WEB_FILTER_PROFILE, 0, webFilterId(n));
    }
    model_.webFilter[n] = ++version_;
    WebFilterRecord(webFilterId(n)).name("filter " + std::to_string(version_)).put(changes);
  }
  void putFolder(int n, Config::ChangeSet& changes) {
    if (model_.folder[n] != 0 && pick(4) == 0) {
      model_.folder[n] = 0;
      return changes.erase(GID_QUARANTINE_FOLDER, 0, folderId(n));
    }
    model_.folder[n] = ++version_;
    QuarantineFolderRecord(folderId(n), std::to_string(version_)).put(changes);
  }
  void putPolicy(int n, Config::ChangeSet& changes) {
    const int profile = pick(kProfiles);
    model_.policy[n] = ++version_;
    model_.policyProfile[n] = profile;
    // The record's id includes the profile's number, so another profile means another record.
    for (int other = 0; other < kProfiles; ++other) {
      if (other != profile && policyIds_.erase(policyId(n, other)) != 0) {
        changes.erase(GID_IP_POLICY, 0, policyId(n, other));
      }
    }
    policyIds_.insert(policyId(n, profile));
    IpPolicyRecord(static_cast<std::int32_t>(policyId(n, profile)))
        .client(client(n))
        .antispam(profileId(profile))
        .authValue(static_cast<std::uint32_t>(version_))
        .put(changes);
  }
  static std::uint32_t policyId(int n, int profile) {
    return static_cast<std::uint32_t>(1000 + profile + 10 * n);
  }
  void putIncoming(int n, Config::ChangeSet& changes) {
    model_.incoming[n] = ++version_;
    IncomingPolicyRecord(static_cast<std::int32_t>(kBase) + n)
        .recipient(AddressKind::kDomain, domain(n))
        .antispam(profileId(n))
        .authValue(static_cast<std::uint32_t>(version_))
        .put(changes);
  }
  void putOutgoing(int n, Config::ChangeSet& changes) {
    model_.outgoing[n] = ++version_;
    OutgoingPolicyRecord(static_cast<std::int32_t>(kBase) + n)
        .recipient(AddressKind::kDomain, domain(n))
        .antispam(profileId(n))
        .authValue(static_cast<std::uint32_t>(version_))
        .put(changes);
  }
  void flipProtection(int n, Config::ChangeSet& changes) {
    const auto id = kBase + static_cast<std::uint32_t>(n);
    if (std::exchange(model_.isProtected[n], !model_.isProtected[n])) {
      return changes.erase(GID_PROTECTED_DOMAIN, 0, id);
    }
    ProtectedDomainRecord(id, domain(n)).configurationDomain(kDomain).put(changes);
  }

  std::mt19937 random_{20'240'229};
  int version_ = 0;
  Model model_;
  std::set<std::uint32_t> policyIds_;
  mutable std::mutex mutex_;  // guards history_
  std::map<Config::Revision, Answers> history_;
};

// --- Readers

class Complaints {
 public:
  void add(std::string text) {
    const std::lock_guard guard(mutex_);
    if (texts_.size() < 10) texts_.push_back(std::move(text));
  }
  const std::vector<std::string>& texts() const { return texts_; }

 private:
  std::mutex mutex_;
  std::vector<std::string> texts_;
};

void read(unsigned seed, const Writer& writer, const std::atomic<bool>& done,
          std::atomic<int>& asked, Complaints& complaints) {
  std::mt19937 random(seed);
  std::vector<std::pair<Held, std::string>> held;
  while (!done) {
    const Config::Revision from = dispatcher()->applied();
    Reply reply = ask(random);
    ++asked;
    // From the store itself: a commit can be read before the revision word is raised.
    const Config::Revision to = store().snapshot().revision();
    for (const auto& [question, answer] : reply.answers) {
      if (!writer.isRight(question, answer, from, to)) {
        complaints.add(question + ": " + answer + " at none of the revisions " +
                       std::to_string(from) + " to " + std::to_string(to));
      }
    }
    if (!reply.again) continue;
    if (held.size() < kHeld) {
      std::string now = reply.again();
      held.emplace_back(std::move(reply.again), std::move(now));
      continue;
    }
    auto& [again, before] = held[random() % kHeld];
    if (const std::string now = again(); now != before) {
      complaints.add("held: " + before + " became " + now);
    }
    again = std::move(reply.again);
    before = again();
  }
}

// Clears caches without a change of the configuration.
void sweep(const std::atomic<bool>& done) {
  std::mt19937 random(7);
  const __attachment_file_pattern* const noPattern = nullptr;
  const __aps_gw_as_profile* const noAntispam = nullptr;
  const __aps_as_wf_profile* const noWebFilter = nullptr;
  const __aps_systemquarantine_folders* const noFolder = nullptr;
  while (!done) {
    const int n = static_cast<int>(random() % kProfiles);
    switch (random() % 9) {
      case 0:
        store().status().setDirty(Config::Zone::kAntispamDirty);
        break;
      case 1:
        store().status().setDirty(Config::Zone::kAntispamDirty | Config::Zone::kContentDirty);
        factory().clearContentProfiles();
        break;
      case 2:
        factory().update(0, n, noPattern);
        break;
      case 3:
        factory().clearFilePatternProfiles();
        break;
      case 4:
        factory().update(0, static_cast<int>(profileId(n)), noAntispam);
        break;
      case 5:
        factory().update(0, static_cast<int>(webFilterId(n % kWebFilters)), noWebFilter);
        break;
      case 6:
        factory().update(0, static_cast<int>(folderId(n % kFolders)), noFolder);
        break;
      case 7:
        factory().clearWebFilterProfiles();
        factory().clearSessionProfiles();
        break;
      default:
        factory().clearDLPProfiles();
        factory().deferredPeriod();
        break;
    }
    std::this_thread::yield();
  }
}

}  // namespace

TEST(ProfileModel, AnswersFollowTheConfiguration) {
  factory();
  Writer writer;
  awaitApplied(writer.revision());
  Complaints complaints;
  std::atomic<bool> done{false};
  std::atomic<int> asked{0};
  std::vector<std::thread> threads;
  for (unsigned i = 0; i < kReaders; ++i) {
    threads.emplace_back([&, i] { read(100 + i, writer, done, asked, complaints); });
  }
  threads.emplace_back([&] { sweep(done); });
  bool followed = true;
  for (int i = 0; i < kCommits; ++i) {
    writer.commitSome();
    for (const int before = asked; asked < before + kQuestions;) std::this_thread::yield();
    // Readers mostly see several unapplied revisions, and sometimes none.
    if (i % 8 == 0)
      followed = followed && dispatcher()->waitApplied(writer.revision(), kPatienceMs);
  }
  followed = followed && dispatcher()->waitApplied(writer.revision(), kPatienceMs);
  done = true;
  for (std::thread& thread : threads) thread.join();
  EXPECT_TRUE(followed);
  for (const std::string& complaint : complaints.texts()) ADD_FAILURE() << complaint;

  // At the end cached and fresh answers are those of the newest revision.
  const Answers newest = writer.newest();
  for (const bool fresh : {false, true}) {
    SCOPED_TRACE(fresh ? "fresh" : "cached");
    if (fresh) {
      factory().clearAntispamProfiles();
      factory().clearWebFilterProfiles();
    }
    const auto check = [&](const Reply& reply) {
      for (const auto& [question, answer] : reply.answers) {
        ASSERT_EQ(newest.count(question), 1u) << question;
        EXPECT_EQ(answer, newest.at(question)) << question;
      }
    };
    for (int n = 0; n < kProfiles; ++n) check(askProfile(n));
    for (int n = 0; n < kWebFilters; ++n) check(askWebFilter(n));
    for (int n = 0; n < kFolders; ++n) check(askFolder(n));
    for (int n = 0; n < kClients; ++n) check(askClient(n));
    for (int n = 0; n < kDomains; ++n) check(askRecipient(n));
  }
}
