// A new store for each test, in a temporary folder, attached to the process. Removed after the
// test.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>

#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Testing {

// Removed with its contents. Used by one thread.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    ::umask(022);  // a store's folder that a group can write to is refused
    const char* base = ::getenv("TMPDIR");
    std::string name = std::string(base != nullptr ? base : "/tmp") + "/kestrav-XXXXXX";
    if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder: " + name);
    path_ = name;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

// For use outside of a test fixture.
class AttachedStore {
 public:
  AttachedStore() : store_(Config::ConfigStore::open(folder_ / "store")) {
    Config::ConfigStore::attach(store_);
  }
  ~AttachedStore() { Config::ConfigStore::detach(); }
  AttachedStore(const AttachedStore&) = delete;
  AttachedStore& operator=(const AttachedStore&) = delete;

  Config::ConfigStore& store() { return *store_; }
  const std::shared_ptr<Config::ConfigStore>& shared() { return store_; }
  const TemporaryFolder& folder() const { return folder_; }

  // Each commits one revision and returns it.
  template <class Rec>
  Config::Revision put(G_CLI_GID gid, ngid_t domain, const Rec& record) {
    Config::ChangeSet changes;
    changes.put(gid, domain, &record);
    return store_->commit(std::move(changes));
  }
  Config::Revision erase(G_CLI_GID gid, ngid_t domain, unsigned id) {
    Config::ChangeSet changes;
    changes.erase(gid, domain, id);
    return store_->commit(std::move(changes));
  }

 private:
  TemporaryFolder folder_;
  std::shared_ptr<Config::ConfigStore> store_;
};

class StoreFixture : public ::testing::Test {
 protected:
  Config::ConfigStore& store() { return attached_.store(); }
  const std::shared_ptr<Config::ConfigStore>& sharedStore() { return attached_.shared(); }
  const TemporaryFolder& folder() const { return attached_.folder(); }

  template <class Rec>
  Config::Revision put(G_CLI_GID gid, ngid_t domain, const Rec& record) {
    return attached_.put(gid, domain, record);
  }
  Config::Revision erase(G_CLI_GID gid, ngid_t domain, unsigned id) {
    return attached_.erase(gid, domain, id);
  }

 private:
  AttachedStore attached_;
};

}  // namespace Kestrav::Testing
