// Checks a whole store for damage.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Config {

struct KESTRAV_API Verification {
  Revision revision = 0;  // the one that was checked
  std::uint64_t pages = 0;
  std::uint64_t tables = 0;  // a table counts once for each domain that has records of it
  std::uint64_t rows = 0;
  std::uint64_t lists = 0;    // within rows; empty ones do not count
  std::uint64_t indexes = 0;  // entries of the index by id
  std::uint64_t revisions = 0;
  std::uint64_t entries = 0;         // of the journal
  std::vector<std::string> damages;  // one line each, without an end of line
};

// Checks the newest revision: pages, order and counts, every row, index entry and journal entry.
// Other processes may read and commit meanwhile. Damage is reported as far as it can be reached
// and never ends the process. Throws Exception kCannotOpen when there is no store, and kNewerSchema
// for a store of another schema. `group` as in ConfigStore::Options. The process opens no store
// meanwhile, unless `folder` is open.
KESTRAV_API Verification verifyStore(const std::filesystem::path& folder,
                                     const std::string& group = {});

class DataFile;

struct Structure {
  bool store = false;  // it has a schema number
  std::vector<std::string> damages;
};
// The part of it that reads no rows and no journal entries, for a file that no other process has
// open and that is not empty. Keys of other schemas are not checked.
Structure checkStructure(const std::filesystem::path& data);

}  // namespace Kestrav::Config
