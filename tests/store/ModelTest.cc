// Random changes against a plain model: records, order, revisions, and the journal as the way from
// one to the next.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <random>
#include <set>

#include "StoreRecords.h"
#include "platform/config/store/IncreasingSubsequence.h"
#include "tests/support/StoreFixture.h"

namespace Kestrav::Config {
namespace {

using namespace StoreTesting;

// What one table of one domain holds, in order.
using Model = std::vector<std::pair<std::uint32_t, std::string>>;

auto at(Model& model, std::uint32_t id) {
  return std::find_if(model.begin(), model.end(),
                      [id](const auto& row) { return row.first == id; });
}

Policy policyNamed(std::uint32_t id, const std::string& text) {
  Policy record = policy(id);
  std::memcpy(reinterpret_cast<char*>(&record) + 8, text.c_str(), text.size());
  return record;
}

std::string textOf(const StoredRecord& record) {
  return std::string(static_cast<const char*>(record.data()) + 8);
}

class StoreModel : public ::testing::Test {
 protected:
  StoreModel() {
    ConfigStore::Options options;
    options.initialMapSize = 1 << 20;
    store_ = ConfigStore::open(folder_ / "store", options);
  }

  // One random change, to the model and to the set.
  void change(Model& model, ngid_t domain, ChangeSet& changes) {
    const std::uint32_t id = 1 + random_() % 30;
    const std::string text = std::to_string(random_() % 3);
    const Policy record = policyNamed(id, text);
    const auto found = at(model, id);
    switch (random_() % 6) {
      case 0:
      case 1:
        changes.put(kPolicies, domain, &record);
        if (found != model.end()) {
          found->second = text;
        } else {
          model.emplace_back(id, text);
        }
        break;
      case 2:
      case 3: {
        std::uint32_t before = model.empty() ? 0 : model[random_() % model.size()].first;
        if (random_() % 4 == 0) before = 0;
        changes.putBefore(kPolicies, domain, &record, before);
        if (before == id) {
          found->second = text;
          break;
        }
        if (found != model.end()) model.erase(found);
        model.insert(before == 0 ? model.end() : at(model, before), {id, text});
        break;
      }
      case 4:
        changes.erase(kPolicies, domain, id);
        if (found != model.end()) model.erase(found);
        break;
      default: {
        if (random_() % 3 == 0) std::shuffle(model.begin(), model.end(), random_);
        if (random_() % 3 == 0 && !model.empty()) model.pop_back();
        if (model.size() > 2) std::swap(model[0], model[random_() % model.size()]);
        std::vector<std::uint32_t> ids;
        for (const auto& row : model) ids.push_back(row.first);
        changes.order(kPolicies, domain, ids);
      }
    }
  }

  static Model read(const Snapshot& snapshot, ngid_t domain) {
    Model found;
    snapshot.walk(kPolicies, domain, [&found](const StoredRecord& record) {
      found.emplace_back(record.id(), textOf(record));
      return true;
    });
    return found;
  }

  void expectSame(const Model& model, ngid_t domain) {
    const Snapshot snapshot = store_->snapshot();
    ASSERT_EQ(read(snapshot, domain), model);
    ASSERT_EQ(snapshot.size(kPolicies, domain), static_cast<int>(model.size()));
    const auto index = snapshot.index(kPolicies, domain);
    ASSERT_EQ(index->size(), static_cast<int>(model.size()));
    for (int i = 0; i < index->size(); ++i) {
      const auto& [id, text] = model[static_cast<std::size_t>(i)];
      ASSERT_EQ(index->idAt(i), id);
      ASSERT_EQ(index->indexOf(id), i);
      ASSERT_EQ(snapshot.at(kPolicies, domain, i).id(), id);
      ASSERT_EQ(textOf(snapshot.byId(kPolicies, domain, id)), text);
    }
  }

  // The journal of one revision leads from `before` to `after`.
  void expectJournal(Revision revision, std::map<ngid_t, Model> before,
                     const std::map<ngid_t, Model>& after) {
    std::map<ngid_t, std::set<std::uint32_t>> named;
    std::map<ngid_t, std::set<std::uint32_t>> moved;
    ASSERT_TRUE(store_->journal(revision - 1, revision, [&](const JournalEntry& entry) {
      ASSERT_EQ(entry.revision, revision);
      ASSERT_TRUE(named[entry.domain].insert(entry.id).second) << "one entry for each record";
      Model& model = before[entry.domain];
      const auto row = at(model, entry.id);
      ASSERT_EQ(row != model.end(), bool(entry.before));
      if (entry.before) {
        ASSERT_EQ(textOf(entry.before), row->second);
      }
      if (entry.before && entry.after) {
        row->second = textOf(entry.after);
        moved[entry.domain].insert(entry.id);
      } else if (entry.before) {
        model.erase(row);
      } else {
        model.emplace_back(entry.id, textOf(entry.after));
        moved[entry.domain].insert(entry.id);
      }
    }));
    for (auto& [domain, model] : before) {
      Model sorted = model;
      Model wanted = after.at(domain);
      // Those not named keep their order among themselves.
      Model quiet;
      for (const auto& row : wanted) {
        if (!moved[domain].contains(row.first)) quiet.push_back(row);
      }
      std::erase_if(model, [&](const auto& row) { return moved[domain].contains(row.first); });
      ASSERT_EQ(model, quiet);
      std::sort(sorted.begin(), sorted.end());
      std::sort(wanted.begin(), wanted.end());
      ASSERT_EQ(sorted, wanted);
    }
  }

  struct Put {
    ngid_t domain;
    std::string text;
    std::optional<std::uint32_t> next;
  };

  // The journal of one revision as a change set: forwards, as a follower applies it, or backwards,
  // as it is taken back.
  ChangeSet changesOf(Revision revision, bool forwards) {
    ChangeSet changes;
    std::map<std::pair<ngid_t, std::uint32_t>, Put> puts;
    EXPECT_TRUE(store_->journal(revision - 1, revision, [&](const JournalEntry& entry) {
      const StoredRecord& record = forwards ? entry.after : entry.before;
      if (record) {
        puts[{entry.domain, entry.id}] = {entry.domain, textOf(record),
                                          forwards ? entry.nextAfter : entry.nextBefore};
      } else {
        changes.erase(kPolicies, entry.domain, entry.id);
      }
    }));
    // A record goes to its place after the one that follows it.
    while (!puts.empty()) {
      const auto ready = std::find_if(puts.begin(), puts.end(), [&puts](const auto& put) {
        const auto& [domain, text, next] = put.second;
        return !next || !puts.contains({domain, *next});
      });
      if (ready == puts.end()) {
        ADD_FAILURE() << "records that follow each other in a circle";
        break;
      }
      const auto& [domain, text, next] = ready->second;
      const Policy record = policyNamed(ready->first.second, text);
      if (next) {
        changes.putBefore(kPolicies, domain, &record, *next);
      } else {
        changes.put(kPolicies, domain, &record);
      }
      puts.erase(ready);
    }
    return changes;
  }

  std::mt19937 random_{20260101};
  Testing::TemporaryFolder folder_;
  std::shared_ptr<ConfigStore> store_;
};

TEST_F(StoreModel, RandomChangesAgree) {
  std::map<ngid_t, Model> models{{0, {}}, {6, {}}};
  Revision revision = 0;
  for (int round = 0; round < 1500; ++round) {
    SCOPED_TRACE(round);
    std::map<ngid_t, Model> next = models;
    ChangeSet changes;
    for (unsigned i = 0, count = random_() % 6; i < count; ++i) {
      const ngid_t domain = random_() % 2 == 0 ? 0 : 6;
      change(next[domain], domain, changes);
    }
    const Revision committed = store_->commit(std::move(changes));
    ASSERT_EQ(committed, revision + (next == models ? 0 : 1)) << "a revision for real differences";
    ASSERT_EQ(store_->snapshot().revision(), committed);
    if (committed > revision) {
      ASSERT_NO_FATAL_FAILURE(expectJournal(committed, models, next));
    }
    if (committed > revision && round % 2 == 0) {
      store_->commit(changesOf(committed, false));
      for (const auto& [domain, model] : models) ASSERT_NO_FATAL_FAILURE(expectSame(model, domain));
      ASSERT_EQ(store_->commit(changesOf(committed, true)), committed + 2);
    }
    revision = store_->revision();
    models = next;
    for (const auto& [domain, model] : models) ASSERT_NO_FATAL_FAILURE(expectSame(model, domain));
    if (round % 300 == 299) {
      store_.reset();
      store_ = ConfigStore::open(folder_ / "store");
    }
  }
}

TEST(HeaviestIncreasing, AgreesWithTryingAll) {
  std::mt19937 random(5);
  for (int round = 0; round < 500; ++round) {
    const std::size_t n = random() % 9;
    std::vector<std::uint32_t> sequence(n);
    std::vector<std::uint64_t> weights(n);
    for (std::size_t i = 0; i < n; ++i) {
      sequence[i] = static_cast<std::uint32_t>(i);
      weights[i] = 1 + random() % 4;
    }
    std::shuffle(sequence.begin(), sequence.end(), random);
    std::uint64_t best = 0;
    for (unsigned mask = 0; mask < 1u << n; ++mask) {
      std::uint64_t weight = 0;
      std::int64_t last = -1;
      for (std::size_t i = 0; i < n; ++i) {
        if ((mask >> i & 1) == 0) continue;
        if (sequence[i] < last) weight = 0, last = 1 << 20;
        if (last == 1 << 20) continue;
        last = sequence[i];
        weight += weights[i];
      }
      if (last != 1 << 20) best = std::max(best, weight);
    }
    const std::vector<bool> members = heaviestIncreasing(sequence, weights);
    std::uint64_t weight = 0;
    std::int64_t last = -1;
    for (std::size_t i = 0; i < n; ++i) {
      if (!members[i]) continue;
      ASSERT_GT(sequence[i], last);
      last = sequence[i];
      weight += weights[i];
    }
    ASSERT_EQ(weight, best);
  }
}

}  // namespace
}  // namespace Kestrav::Config
