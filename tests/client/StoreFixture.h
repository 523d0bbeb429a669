// A store for each test, attached to the process, and short functions for common operations.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "config/Event.h"
#include "platform/common/Strings.h"
#include "platform/config/records/DomainRecords.h"
#include "platform/config/records/Field.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/OwnedRecord.h"
#include "platform/config/records/QuarantineRecords.h"
#include "platform/config/records/Tables.h"
#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Testing {

using Config::ChangeSet;
using Config::ConfigStore;
using Config::OwnedRecord;
using Config::Revision;

// Only a failure takes so long.
inline constexpr int kForeverMs = 120'000;

inline CMF::Event::Dispatcher dispatcher() {
  return CMF::Event::Dispatcher::instance("", false, false);
}

class Folder {
 public:
  Folder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "client-XXXXXX").string();
    path_ = ::mkdtemp(pattern.data());
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

inline OwnedRecord defaults(G_CLI_GID gid) {
  return OwnedRecord(*Config::findTable(gid)->type);
}

inline OwnedRecord folderRecord(std::uint32_t id, std::string_view name) {
  OwnedRecord record = defaults(GID_QUARANTINE_FOLDER);
  record.as<__aps_systemquarantine_folders>()->id = id;
  boundedCopy(record.as<__aps_systemquarantine_folders>()->name, name);
  return record;
}

inline OwnedRecord domainRecord(std::uint32_t id, std::string_view name, ngid_t configuration = 0,
                                std::string_view aliasOf = {}) {
  OwnedRecord record = defaults(GID_PROTECTED_DOMAIN);
  record.as<__aps_gw_server>()->id = id;
  record.as<__aps_gw_server>()->configuration_domain = configuration;
  boundedCopy(record.as<__aps_gw_server>()->name, name);
  boundedCopy(record.as<__aps_gw_server>()->alias_of, aliasOf);
  return record;
}

// Detaches its store at the end.
class StoreTest : public testing::Test {
 protected:
  explicit StoreTest(const ConfigStore::Options& options = {})
      : store_(ConfigStore::open(folder_.path() / "store", options)) {
    ConfigStore::attach(store_);
  }
  ~StoreTest() override { ConfigStore::detach(); }

  Revision put(G_CLI_GID gid, const OwnedRecord& record, ngid_t domain = 0) {
    ChangeSet changes;
    changes.put(gid, domain, record.data());
    return store_->commit(std::move(changes));
  }
  Revision erase(G_CLI_GID gid, std::uint32_t id, ngid_t domain = 0) {
    ChangeSet changes;
    changes.erase(gid, domain, id);
    return store_->commit(std::move(changes));
  }
  Revision putFolder(std::uint32_t id, std::string_view name, ngid_t domain = 0) {
    return put(GID_QUARANTINE_FOLDER, folderRecord(id, name), domain);
  }
  static void applied(Revision revision) {
    ASSERT_TRUE(dispatcher()->waitApplied(revision, kForeverMs));
  }

  Folder folder_;
  std::shared_ptr<ConfigStore> store_;
};

}  // namespace Kestrav::Testing
