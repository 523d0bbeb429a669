// Sets of records that belong together. All records of a set, over many tables and two
// configuration domains, carry one number, and the number alone says which of them there are and in
// which order. So whoever reads a set can tell whether it is whole, and how old it is.
//
// A set is only ever written whole, in one change set.
#pragma once

#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "platform/config/records/Field.h"
#include "platform/config/records/OwnedRecord.h"
#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Testing {

inline constexpr int kSets = 4;
// Where the sets' own policies and profiles stand.
inline constexpr ngid_t kOwnDomain = 7;

// Ids of a set's records: the first, a second of the same table, and that of the own domain.
constexpr std::uint32_t firstId(int set) {
  return 100 + static_cast<std::uint32_t>(set);
}
constexpr std::uint32_t secondId(int set) {
  return 150 + static_cast<std::uint32_t>(set);
}
constexpr std::uint32_t ownId(int set) {
  return 200 + static_cast<std::uint32_t>(set);
}
std::string domainOf(int set);
std::string wordOf(int set);

// Carried by the second outgoing policy, so that the two can be told apart.
inline constexpr std::uint32_t kSecondPolicy = 1'000'000;

struct Part {
  const Config::Table* table;
  ngid_t domain;
  std::uint32_t id;
  std::optional<Config::OwnedRecord> record;  // none: there must be no such record
  std::uint32_t before = 0;                   // the record's place, when it matters
};

std::vector<Part> partsOf(int set, std::uint32_t number);

void putSet(Config::ChangeSet& changes, int set, std::uint32_t number);
// All sets at number 1, and what they share, which never changes.
Config::Revision putAllSets(Config::ConfigStore& store);

// 0 when the set is not there.
std::uint32_t numberOf(const Config::Snapshot& snapshot, int set);
// What is not as the set's number says; empty when the set is whole.
std::string brokenPart(const Config::Snapshot& snapshot, int set);

// Writes some of the sets, with the number of the revision that this makes. Any number of writers
// may call it.
Config::Revision writeSomeSets(Config::ConfigStore& store, std::mt19937& random);

// The number at the end of a text such as "mx-12".
std::uint32_t trailingNumber(std::string_view text);

}  // namespace Kestrav::Testing
