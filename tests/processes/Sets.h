// Sets of records in many tables and two configuration domains. All records of a set carry the same
// number, which also determines which of them exist and in which order. A reader of a set can
// therefore check that the set is whole, and how old it is.
//
// A set is always written whole, in one change set.
#pragma once

#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "platform/config/records/Forward.h"
#include "platform/config/records/OwnedRecord.h"
#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Testing {

inline constexpr int kSets = 4;
// The configuration domain of the sets' own policies and profiles.
inline constexpr ngid_t kOwnDomain = 7;

// Ids of a set's records: the first of a table, the second one, and that in the own domain.
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

// Added to the number in the second outgoing policy, which distinguishes it from the first.
inline constexpr std::uint32_t kSecondPolicy = 1'000'000;

struct Part {
  const Config::Table* table;
  ngid_t domain;
  std::uint32_t id;
  std::optional<Config::OwnedRecord> record;  // none when there must be no such record
  std::uint32_t before = 0;                   // id of the record after it; 0 for any place

  void putInto(Config::ChangeSet& changes) const;
};

std::vector<Part> partsOf(int set, std::uint32_t number);

void putSet(Config::ChangeSet& changes, int set, std::uint32_t number);
// All sets with number 1, and the records that they share, which never change.
Config::Revision putAllSets(Config::ConfigStore& store);

// 0 when there is no such set.
std::uint32_t numberOf(const Config::Snapshot& snapshot, int set);
// The first record that does not agree with the set's number. Empty when the set is whole.
std::string brokenPart(const Config::Snapshot& snapshot, int set);

// Writes some of the sets. Their number is that of the new revision. Any number of writers may call
// it at once.
Config::Revision writeSomeSets(Config::ConfigStore& store, std::mt19937& random);

// The number at the end of a text such as "mx-12".
std::uint32_t trailingNumber(std::string_view text);

}  // namespace Kestrav::Testing
