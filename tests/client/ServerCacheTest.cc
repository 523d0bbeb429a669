// The protected domains in memory.
#include "config/ServerCache.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <random>
#include <string>

#include "platform/common/Logger.h"
#include "platform/config/client/DomainIndex.h"
#include "tests/client/Listening.h"

namespace Kestrav::CMF {
namespace {

using Testing::ChangeSet;
using Testing::ConfigStore;
using Testing::domainRecord;
using Testing::OwnedRecord;
using Testing::Revision;

RefApsGwServer find(const std::string& domain) {
  return RefApsGwServerCache::instance(false).find(domain);
}

class ServerCache : public Testing::StoreTest {
 protected:
  Revision putDomain(std::uint32_t id, std::string_view name, ngid_t configuration = 0,
                     std::string_view aliasOf = {}) {
    return put(GID_PROTECTED_DOMAIN, domainRecord(id, name, configuration, aliasOf));
  }
};

TEST_F(ServerCache, FindsProtectedDomainsOnly) {
  putDomain(1, "a.example", 11);
  applied(putDomain(2, "b.example", 12));
  ASSERT_FALSE(find("a.example").isNull());
  EXPECT_EQ(find("a.example")->configurationDomain(), 11u);
  EXPECT_EQ(find("a.example")->record().configuration_domain, 11u);
  EXPECT_EQ(find("b.example")->record().id, 2u);
  for (const char* domain : {"", "example", "c.example", "a.exampl", "a.example.", "xa.example"}) {
    SCOPED_TRACE(domain);
    EXPECT_TRUE(find(domain).isNull());
  }
}

TEST_F(ServerCache, NothingIsProtectedWithoutAStore) {
  applied(putDomain(1, "a.example"));
  EXPECT_FALSE(find("a.example").isNull());
  ConfigStore::detach();
  EXPECT_TRUE(find("a.example").isNull());
}

TEST_F(ServerCache, NamesDifferInMoreThanCase) {
  applied(putDomain(1, "Mixed.Example", 5));
  EXPECT_EQ(find("mixed.example")->configurationDomain(), 5u);
  EXPECT_EQ(find("MIXED.EXAMPLE")->configurationDomain(), 5u);
  EXPECT_STREQ(find("mixed.EXAMPLE")->record().name, "Mixed.Example");
}

TEST_F(ServerCache, FollowsChanges) {
  applied(putDomain(1, "a.example", 1));
  EXPECT_EQ(find("a.example")->configurationDomain(), 1u);
  applied(putDomain(1, "a.example", 2));
  EXPECT_EQ(find("a.example")->configurationDomain(), 2u);
  applied(putDomain(1, "b.example", 3));  // renamed
  EXPECT_TRUE(find("a.example").isNull());
  EXPECT_EQ(find("b.example")->configurationDomain(), 3u);
  applied(erase(GID_PROTECTED_DOMAIN, 1));
  EXPECT_TRUE(find("b.example").isNull());
}

TEST_F(ServerCache, EntryStaysAsItWasLookedUp) {
  OwnedRecord record = domainRecord(1, "a.example", 1);
  record.as<__aps_gw_server>()->disclaimer_mode = 2;
  boundedCopy(record.as<__aps_gw_server>()->disclaimer.first_text, "ours");
  applied(put(GID_PROTECTED_DOMAIN, record));
  const RefApsGwServer before = find("a.example");
  applied(erase(GID_PROTECTED_DOMAIN, 1));
  EXPECT_TRUE(find("a.example").isNull());
  EXPECT_STREQ(before->record().disclaimer.first_text, "ours");  // decoded by this call
  EXPECT_EQ(before->configurationDomain(), 1u);
}

TEST_F(ServerCache, RecordIsGivenBackByteForByte) {
  OwnedRecord plain = domainRecord(1, "plain.example", 1, "x.example");
  OwnedRecord full = domainRecord(2, "full.example", 0xffffffff);
  __aps_gw_server& server = *full.as<__aps_gw_server>();
  server.disclaimer_mode = 2;
  server.disclaimer.first_text_enabled = 1;
  boundedCopy(server.disclaimer.second_html, std::string(3071, 'h'));
  boundedCopy(server.disclaimer.second_value, "v");
  put(GID_PROTECTED_DOMAIN, plain);
  applied(put(GID_PROTECTED_DOMAIN, full));
  EXPECT_EQ(std::memcmp(&find("plain.example")->record(), plain.data(), sizeof server), 0);
  EXPECT_EQ(std::memcmp(&find("full.example")->record(), full.data(), sizeof server), 0);
}

TEST_F(ServerCache, AliasAnswersWithItsTarget) {
  putDomain(1, "Target.example", 7);
  putDomain(2, "alias.example", 8, "target.EXAMPLE");
  applied(putDomain(3, "alias-of-alias.example", 9, "alias.example"));
  for (const char* name : {"alias.example", "alias-of-alias.example"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(find(name)->configurationDomain(), 7u);
    EXPECT_EQ(find(name)->record().id, 1u);
    EXPECT_EQ(find(name)->aliasKey(), "Target.example");
  }
  EXPECT_EQ(find("target.example")->aliasKey(), "");
  // A change of the target shows through the alias.
  applied(putDomain(1, "Target.example", 17));
  EXPECT_EQ(find("alias.example")->configurationDomain(), 17u);
}

TEST_F(ServerCache, AliasWithoutATargetStandsForItself) {
  putDomain(1, "lost.example", 1, "nowhere.example");
  putDomain(2, "self.example", 2, "self.example");
  putDomain(3, "left.example", 3, "right.example");
  putDomain(4, "right.example", 4, "left.example");
  applied(putDomain(5, "of-lost.example", 5, "lost.example"));
  const struct {
    const char* name;
    ngid_t configuration;
    const char* aliasKey;
  } cases[] = {{"lost.example", 1, ""},
               {"self.example", 2, ""},
               {"left.example", 3, ""},
               {"right.example", 4, ""},
               {"of-lost.example", 1, "lost.example"}};
  for (const auto& test : cases) {
    SCOPED_TRACE(test.name);
    EXPECT_EQ(find(test.name)->configurationDomain(), test.configuration);
    EXPECT_EQ(find(test.name)->aliasKey(), test.aliasKey);
  }
  // A target that is added later counts.
  applied(putDomain(6, "nowhere.example", 6));
  EXPECT_EQ(find("lost.example")->aliasKey(), "nowhere.example");
  EXPECT_EQ(find("of-lost.example")->configurationDomain(), 6u);
}

TEST_F(ServerCache, OfTwoRecordsWithOneNameTheLowerIdAnswers) {
  putDomain(9, "twice.example", 9);
  putDomain(4, "TWICE.example", 4);
  applied(putDomain(6, "twice.EXAMPLE", 6));
  EXPECT_EQ(find("twice.example")->configurationDomain(), 4u);
  applied(erase(GID_PROTECTED_DOMAIN, 4));
  EXPECT_EQ(find("twice.example")->configurationDomain(), 6u);
  applied(erase(GID_PROTECTED_DOMAIN, 6));
  EXPECT_EQ(find("twice.example")->configurationDomain(), 9u);
}

class ServerCacheWithAShortJournal : public Testing::StoreTest {
 protected:
  ServerCacheWithAShortJournal() : StoreTest(options()) {}
  static ConfigStore::Options options() {
    ConfigStore::Options options;
    options.journalEntries = 2;
    options.journalEntriesHard = 4;
    return options;
  }
};

TEST_F(ServerCacheWithAShortJournal, IsRebuiltAfterMissedChanges) {
  applied(put(GID_PROTECTED_DOMAIN, domainRecord(1, "gone.example", 1)));
  EXPECT_FALSE(find("gone.example").isNull());
  const auto quiet = Logger::instance().capture([](const Logger::Message&) {});
  Testing::dispatcher()->stop();
  erase(GID_PROTECTED_DOMAIN, 1);
  Revision last = 0;
  for (std::uint32_t id = 2; id < 30; ++id) {
    last = put(GID_PROTECTED_DOMAIN, domainRecord(id, "d" + std::to_string(id) + ".example", id));
  }
  Testing::dispatcher()->start();
  applied(last);
  EXPECT_TRUE(find("gone.example").isNull());
  for (std::uint32_t id = 2; id < 30; ++id) {
    EXPECT_EQ(find("d" + std::to_string(id) + ".example")->configurationDomain(), id);
  }
}

// ---- against a plain map

struct Domain {
  std::string name;
  std::string alias;
  ngid_t configuration;
};

// The expected answer, computed from all records.
const Domain* oracle(const std::map<std::uint32_t, Domain>& domains, const std::string& name) {
  const auto byName = [&](const std::string& wanted) -> const Domain* {
    for (const auto& [id, domain] : domains) {
      if (stringEqualsNoCase(domain.name, wanted)) return &domain;
    }
    return nullptr;
  };
  const Domain* found = byName(name);
  if (found == nullptr) return nullptr;
  const Domain* at = found;
  for (int hops = 0; hops < 8; ++hops) {
    const Domain* next = at->alias.empty() ? nullptr : byName(at->alias);
    if (next == nullptr) return at;
    at = next;
  }
  return found;  // a circle
}

TEST_F(ServerCache, AgreesWithAPlainMapUnderChanges) {
  std::mt19937 random(20240611);
  const auto any = [&](std::uint32_t below) {
    return static_cast<std::uint32_t>(random() % below);
  };
  const auto name = [](std::uint32_t number, bool upper) {
    return (upper ? "D" : "d") + std::to_string(number) + ".example";
  };
  constexpr std::uint32_t kNames = 60;
  std::map<std::uint32_t, Domain> domains;
  for (int round = 0; round < 150; ++round) {
    ChangeSet changes;
    for (std::uint32_t change = 0; change <= any(8); ++change) {
      const std::uint32_t id = 1 + any(80);
      if (any(3) == 0) {
        if (domains.erase(id) != 0) changes.erase(GID_PROTECTED_DOMAIN, 0, id);
        continue;
      }
      const Domain domain{name(any(kNames), any(2) == 0),
                          any(4) == 0 ? name(any(kNames), any(2) == 0) : "", any(1000)};
      domains[id] = domain;
      OwnedRecord record = domainRecord(id, domain.name, domain.configuration, domain.alias);
      if (any(3) == 0)
        boundedCopy(record.as<__aps_gw_server>()->disclaimer.first_html, domain.name);
      changes.put(GID_PROTECTED_DOMAIN, 0, record.data());
    }
    applied(store_->commit(std::move(changes)));
    for (std::uint32_t number = 0; number < kNames; ++number) {
      const std::string asked = name(number, number % 2 == 0);
      SCOPED_TRACE(asked + " in round " + std::to_string(round));
      const RefApsGwServer found = find(asked);
      const Domain* expected = oracle(domains, asked);
      ASSERT_EQ(found.isNull(), expected == nullptr);
      if (expected == nullptr) continue;
      ASSERT_EQ(found->configurationDomain(), expected->configuration);
      ASSERT_EQ(found->record().name, expected->name);
    }
  }
  EXPECT_EQ(RefApsGwServerCache::instance(false)->size(), domains.size());
}

// ---- the index alone

using Config::Client::DomainIndex;

TEST(DomainIndex, HoldsManyDomainsInLittleMemory) {
  constexpr std::uint32_t kDomains = 100'000;
  DomainIndex index;
  OwnedRecord record = domainRecord(0, "");
  for (std::uint32_t id = 1; id <= kDomains; ++id) {
    record.as<__aps_gw_server>()->id = id;
    record.as<__aps_gw_server>()->configuration_domain = id * 3;
    boundedCopy(record.as<__aps_gw_server>()->name, "customer-" + std::to_string(id) + ".example");
    index.put(*record.as<__aps_gw_server>());
  }
  EXPECT_EQ(index.size(), kDomains);
  EXPECT_LT(index.bytes() / kDomains, 100u);
  DomainIndex::Contents found;
  for (std::uint32_t id = 1; id <= kDomains; id += 97) {
    ASSERT_TRUE(index.find("Customer-" + std::to_string(id) + ".Example", found));
    ASSERT_EQ(found.id, id);
    ASSERT_EQ(found.configurationDomain, id * 3);
  }
  EXPECT_FALSE(index.find("customer-0.example", found));
}

TEST(DomainIndex, ForgetsErasedDomainsAndTheirMemory) {
  auto index = std::make_unique<DomainIndex>();
  OwnedRecord record = domainRecord(1, "a.example");
  boundedCopy(record.as<__aps_gw_server>()->disclaimer.first_text, std::string(3000, 'x'));
  std::size_t most = 0;
  for (int change = 0; change < 20'000; ++change) {
    record.as<__aps_gw_server>()->configuration_domain = static_cast<std::uint32_t>(change);
    index->put(*record.as<__aps_gw_server>());
    if (index->wasteful()) index = index->compacted();
    most = std::max(most, index->bytes());
  }
  EXPECT_EQ(index->size(), 1u);
  EXPECT_LT(most, 16u << 20);
  DomainIndex::Contents found;
  ASSERT_TRUE(index->find("a.example", found));
  EXPECT_EQ(found.configurationDomain, 19'999u);
  index->erase(*record.as<__aps_gw_server>());
  EXPECT_FALSE(index->find("a.example", found));
  EXPECT_EQ(index->size(), 0u);
}

TEST(DomainIndex, PassesOverRecordsWithoutAName) {
  DomainIndex index;
  index.put(*domainRecord(1, "").as<__aps_gw_server>());
  DomainIndex::Contents found;
  EXPECT_EQ(index.size(), 0u);
  EXPECT_FALSE(index.find("", found));
}

TEST(DomainIndex, NameWithoutAnEndIsBounded) {
  OwnedRecord record = domainRecord(1, "");
  std::memset(record.as<__aps_gw_server>()->name, 'n', sizeof(__aps_gw_server::name));
  DomainIndex index;
  index.put(*record.as<__aps_gw_server>());
  DomainIndex::Contents found;
  EXPECT_TRUE(index.find(std::string(sizeof(__aps_gw_server::name), 'N'), found));
}

}  // namespace
}  // namespace Kestrav::CMF
