// Names for the ids that records and profiles carry, as of one revision.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <tuple>

#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Tool {

// Names of what a change removed: changes speak of records that are no longer there.
struct RemovedNames {
  std::map<std::tuple<G_CLI_GID, ngid_t, std::uint32_t>, std::string> records;
  std::map<ngid_t, std::string> domains;
};
// Adds those of the revisions in (after, upTo].
void addRemovedNames(RemovedNames& names, Config::ConfigStore& store, Config::Revision after,
                     Config::Revision upTo);

class Names {
 public:
  // `removed` may be null; it is asked after the snapshot.
  explicit Names(const Config::Snapshot& snapshot, const RemovedNames* removed = nullptr)
      : snapshot_(snapshot), removed_(removed) {}

  // Where a record stands, looked for in domain 0 first and then in `domain`, as profiles are.
  struct Found {
    ngid_t domain;
    std::string name;
  };
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
