// Names for ids of records and domains, as of one revision.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <tuple>

#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Tool {

// Names of records and domains that later revisions removed. Journal entries still refer to them.
struct RemovedNames {
  std::map<std::tuple<G_CLI_GID, ngid_t, std::uint32_t>, std::string> records;
  std::map<ngid_t, std::string> domains;
};
// Adds the names that the revisions in (after, upTo] removed.
void addRemovedNames(RemovedNames& names, Config::ConfigStore& store, Config::Revision after,
                     Config::Revision upTo);

class Names {
 public:
  // Keeps references. `removed` may be null; the snapshot goes first.
  explicit Names(const Config::Snapshot& snapshot, const RemovedNames* removed = nullptr)
      : snapshot_(snapshot), removed_(removed) {}

  struct Found {
    ngid_t domain;
    std::string name;
  };
  // Looks in domain 0 first and then in `domain`, as the factory does for profiles.
  std::optional<Found> find(G_CLI_GID gid, ngid_t domain, std::uint32_t id) const;

  // The name, or "#ID" when there is no such record.
  std::string nameOf(G_CLI_GID gid, ngid_t domain, std::uint32_t id) const;

  // "the system", or "example.com (configuration 3)".
  std::string domainName(ngid_t domain) const;

 private:
  const Config::Snapshot& snapshot_;
  const RemovedNames* removed_;
};

}  // namespace Kestrav::Tool
