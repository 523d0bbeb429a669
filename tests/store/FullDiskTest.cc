// A disk without room, and a limit on the size of files: documented errors, nothing lost, and
// business as usual when there is room again.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <csignal>
#include <fstream>

#include "Child.h"
#include "RawStore.h"
#include "Schema1Store.h"
#include "StoreRecords.h"
#include "tests/support/InChild.h"
#include "tests/support/StoreFixture.h"

namespace Kestrav::Config {
namespace {

using namespace StoreTesting;
namespace fs = std::filesystem;

constexpr int kSkipped = 77;
constexpr std::size_t kPage = 4096;
constexpr std::size_t kDiskSize = 3u << 20;

void require(bool condition, const std::string& what) {
  if (!condition) throw std::runtime_error(what);
}

bool writeFile(const char* path, const std::string& text) {
  std::ofstream out(path);
  return static_cast<bool>(out << text << std::flush);
}

// Gives this process mounts of its own: as root, or as root of a user namespace.
bool separateMounts() {
  const std::string uid = std::to_string(::geteuid());
  const std::string gid = std::to_string(::getegid());
  if (::unshare(CLONE_NEWNS) != 0) {
    if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
    if (!writeFile("/proc/self/setgroups", "deny") ||
        !writeFile("/proc/self/uid_map", uid + " " + uid + " 1") ||
        !writeFile("/proc/self/gid_map", gid + " " + gid + " 1")) {
      return false;
    }
  }
  return ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

// An empty disk of kDiskSize bytes in memory, mounted in this process only.
class Disk {
 public:
  explicit Disk(fs::path at) : at_(std::move(at)) {
    fs::create_directory(at_);
    const std::string options = "size=" + std::to_string(kDiskSize) + ",mode=755";
    mounted_ = ::mount("disk", at_.c_str(), "tmpfs", 0, options.c_str()) == 0;
  }
  ~Disk() {
    if (mounted_) ::umount2(at_.c_str(), MNT_DETACH);
  }
  Disk(const Disk&) = delete;
  Disk& operator=(const Disk&) = delete;

  bool mounted() const { return mounted_; }
  fs::path store() const { return at_ / "store"; }

  // Leaves `left` bytes.
  void fill(std::size_t left) {
    struct statvfs figures {};
    require(::statvfs(at_.c_str(), &figures) == 0, "no figures of the disk");
    const std::size_t available = figures.f_bavail * figures.f_frsize;
    require(available >= left, "the disk is too small");
    const int fd = ::open(ballast().c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    const bool done =
        available == left || ::posix_fallocate(fd, 0, static_cast<off_t>(available - left)) == 0;
    ::close(fd);
    require(done, "the disk cannot be filled");
  }
  void free() { fs::remove(ballast()); }

 private:
  fs::path ballast() const { return at_ / "ballast"; }

  const fs::path at_;
  bool mounted_ = false;
};

// The code of the exception that `call` throws, 0 when it throws none.
template <class Call>
int codeOfFailure(Call call) {
  try {
    call();
    return 0;
  } catch (const Exception& exception) {
    if (exception.code() != StoreError::kFull) std::fprintf(stderr, "%s\n", exception.what());
    return exception.code();
  }
}

class FullDisk : public ::testing::Test {
 protected:
  // Runs `work` in a child that has its own mounts; `work` throws when something is wrong.
  void withDisk(const std::function<void(const fs::path& mountPoint)>& work) {
    const int result = Testing::inChild([&] {
      if (!separateMounts() || !Disk(folder_ / "disk").mounted()) return kSkipped;
      work(folder_ / "disk");
      return 0;
    });
    if (result == kSkipped) GTEST_SKIP() << "this process may not mount a disk";
    EXPECT_EQ(result, 0);
  }
  Testing::TemporaryFolder folder_;
};

void requireItems(ConfigStore& store, std::size_t count) {
  require(store.snapshot().size(kItems, 0) == static_cast<int>(count), "items are missing");
}

TEST_F(FullDisk, FailsACommitAndKeepsWhatWasCommitted) {
  withDisk([](const fs::path& at) {
    Disk disk(at);
    auto store = ConfigStore::open(disk.store());
    require(fillWithNoise(*store, 100) == 1, "no first revision");
    disk.fill(8 * kPage);
    int failed = 0;
    for (int count = 200; count > 0; count -= 20) {
      const int code = codeOfFailure([&] { fillWithNoise(*store, 100 + count); });
      require(code == 0 || code == StoreError::kFull, "code " + std::to_string(code));
      if (code == 0) break;
      ++failed;
      require(store->revision() == 1, "another revision");
      requireItems(*store, 100);
    }
    require(failed > 3, "nothing failed");
    store.reset();
    store = ConfigStore::open(disk.store());  // needs no room
    requireItems(*store, store->revision() == 1
                             ? 100
                             : static_cast<std::size_t>(store->snapshot().size(kItems, 0)));
    disk.free();
    const Revision before = store->revision();
    require(fillWithNoise(*store, 300) == before + 1, "no commit with room");
    requireItems(*store, 300);
    store.reset();
    requireItems(*ConfigStore::open(disk.store()), 300);
  });
}

// Also when there is room for the data, but none for the new lock file, without which nobody reads.
TEST_F(FullDisk, FailsACompactionAndKeepsTheStoreReadable) {
  withDisk([](const fs::path& at) {
    Disk disk(at);
    const auto store = ConfigStore::open(disk.store());
    require(fillWithNoise(*store, 20) == 1, "no first revision");
    int failed = 0;
    for (std::size_t pages = 0;; pages += 4) {
      require(pages < 100, "no compaction with room");
      disk.fill(pages * kPage);
      const int code = codeOfFailure([&] { store->compact(); });
      require(code == 0 || code == StoreError::kFull, "code " + std::to_string(code));
      requireItems(*store, 20);
      Child other({"open", disk.store()});
      require(other.line() == "1", "another process cannot open it");
      require(!fs::exists(disk.store() / "data.mdb.new"), "a file is left");
      require(!fs::exists(disk.store() / "lock.mdb.new"), "a file is left");
      disk.free();
      if (code == 0) break;
      ++failed;
    }
    require(failed > 3, "nothing failed");
  });
}

// Room that ends within each of the files that are made.
TEST_F(FullDisk, FailsToMakeAStoreAndMakesItLater) {
  withDisk([](const fs::path& at) {
    int failed = 0;
    bool opened = false;
    for (std::size_t left = 0; !opened; left += kPage) {
      Disk disk(at);
      disk.fill(left);
      const int code = codeOfFailure([&] { ConfigStore::open(disk.store()); });
      require(code == 0 || code == StoreError::kFull,
              "code " + std::to_string(code) + " with " + std::to_string(left) + " bytes");
      opened = code == 0;
      if (!opened) ++failed;
      disk.free();
      const auto store = ConfigStore::open(disk.store());
      require(putAll(*store, {1}) == 1, "no first revision");
      for (const char* name : {"status", "lock.mdb"}) {
        struct stat info {};
        ::stat((disk.store() / name).c_str(), &info);
        require(info.st_blocks * 512 >= info.st_size, std::string(name) + " has holes");
      }
      require(store->statistics().readerSlots == ConfigStore::Options().readerSlots,
              "another number of reader slots");
    }
    require(failed > 90, "made with " + std::to_string(failed) + " pages");
  });
}

TEST_F(FullDisk, FailsAMigrationAndMakesItLater) {
  withDisk([](const fs::path& at) {
    Disk disk(at);
    Schema1Store old;
    std::vector<Schema1Store::Change> changes;
    for (std::uint32_t id = 1; id <= 2000; ++id) {
      const Item record = item(id, std::string(100, static_cast<char>('a' + id % 26)));
      changes.push_back({kItems, 0, id, id, Schema1Store::bytesOf(record)});
    }
    old.commit(changes);
    old.write(disk.store());
    for (const std::size_t left : {100 * kPage, 101 * kPage, 110 * kPage}) {
      disk.fill(left);
      const int code = codeOfFailure([&] { ConfigStore::open(disk.store()); });
      require(code == StoreError::kFull, "code " + std::to_string(code));
      disk.free();
    }
    requireItems(*ConfigStore::open(disk.store()), 2000);
  });
}

class FileSizeLimit : public ::testing::Test {
 protected:
  std::string path() const { return (folder_ / "store").string(); }
  // In a child whose files may have `bytes` bytes, and which the signal would kill.
  template <class Work>
  static int limited(std::size_t bytes, Work work) {
    return Testing::inChild([&] {
      ::signal(SIGXFSZ, SIG_DFL);
      const rlimit limit{bytes, RLIM_INFINITY};
      if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) return 98;
      return codeOfFailure(work);
    });
  }
  Testing::TemporaryFolder folder_;
};

TEST_F(FileSizeLimit, FailsACommitAndKeepsWhatWasCommitted) {
  for (const std::size_t limit : {400'000u, 401'408u, 403'456u}) {
    SCOPED_TRACE(limit);
    fs::remove_all(path());
    fillWithNoise(*ConfigStore::open(path()), 100);
    const int code = limited(limit, [this] {
      const auto store = ConfigStore::open(path());
      for (int i = 0; i < 2; ++i) {
        require(codeOfFailure([&] { fillWithNoise(*store, 2000); }) == StoreError::kFull, "made");
        requireItems(*store, 100);
      }
      require(putAll(*store, {1}) == 2, "a small change does not fit");
      sigset_t pending;
      sigpending(&pending);
      require(sigismember(&pending, SIGXFSZ) == 0, "the signal is left over");
      fillWithNoise(*store, 2000);
    });
    EXPECT_EQ(code, StoreError::kFull);
    const auto store = ConfigStore::open(path());
    EXPECT_EQ(fillWithNoise(*store, 2000), 3u);
    EXPECT_EQ(store->snapshot().size(kItems, 0), 2001);
  }
}

TEST_F(FileSizeLimit, FailsToMakeAStoreAndMakesItLater) {
  for (const std::size_t limit : {0u, 4096u, 6000u, 8192u, 16384u, 65536u, 323'583u}) {
    SCOPED_TRACE(limit);
    fs::remove_all(path());
    EXPECT_EQ(limited(limit, [this] { ConfigStore::open(path()); }), StoreError::kFull);
    EXPECT_EQ(putAll(*ConfigStore::open(path()), {1}), 1u);
  }
}

// The lock and status files are there: the limit meets the data file.
TEST_F(FileSizeLimit, LeavesNoDataFileThatIsCutOff) {
  ConfigStore::open(path());
  for (const std::size_t limit : {0u, 4096u, 6000u, 8192u, 12'288u}) {
    SCOPED_TRACE(limit);
    fs::remove(path() + "/data.mdb");
    EXPECT_EQ(limited(limit, [this] { ConfigStore::open(path()); }), StoreError::kFull);
    EXPECT_EQ(ConfigStore::open(path())->revision(), 0u);
  }
}

}  // namespace
}  // namespace Kestrav::Config
