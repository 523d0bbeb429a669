// Names for the ids that records and profiles carry, as of one revision.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "config/store/ConfigStore.h"

namespace Kestrav::Tool {

class Names {
 public:
  explicit Names(const Config::Snapshot& snapshot) : snapshot_(snapshot) {}

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
};

}  // namespace Kestrav::Tool
