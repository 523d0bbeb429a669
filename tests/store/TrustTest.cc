// A store's folder and files that somebody else could have prepared: refused before anything is
// written.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

#include "StoreRecords.h"
#include "tests/support/InChild.h"
#include "tests/support/StoreFixture.h"

namespace Kestrav::Config {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using namespace StoreTesting;
namespace fs = std::filesystem;

constexpr const char* kFiles[] = {"data.mdb", "lock.mdb", "status"};
constexpr const char* kVictim = "the bytes of another file";
constexpr uid_t kSomebody = 12345;
constexpr gid_t kTheirs = 54321;

class Trust : public ::testing::Test {
 protected:
  fs::path path() const { return folder_ / "store"; }
  fs::path victim() const { return folder_ / "victim"; }

  void makeStore() { putAll(*ConfigStore::open(path()), {1}); }
  void makeFolder(mode_t mode) {
    fs::create_directory(path());
    ASSERT_EQ(::chmod(path().c_str(), mode), 0);
  }
  static std::string read(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }

  void expectRefused(int code, const std::string& named, const std::string& why,
                     const std::string& group = {}) {
    for (const bool create : {true, false}) {
      ConfigStore::Options options;
      options.create = create;
      options.group = group;
      try {
        ConfigStore::open(path(), options);
        ADD_FAILURE() << "opened";
      } catch (const Exception& exception) {
        EXPECT_EQ(exception.code(), code) << exception.asString();
        EXPECT_THAT(exception.message(), AllOf(HasSubstr(named), HasSubstr(why)));
      }
    }
  }
  void expectOpened(const std::string& group = {}) {
    ConfigStore::Options options;
    options.group = group;
    EXPECT_NE(ConfigStore::open(path(), options), nullptr);
  }

  Testing::TemporaryFolder folder_;
};

// In a new folder, and in the place of a file of a whole store.
TEST_F(Trust, FilesThatAreNone) {
  const struct {
    const char* what;
    const char* why;
    std::function<int(const fs::path&)> make;
  } cases[] = {
      {"link to a file", "symbolic link",
       [this](const fs::path& at) { return ::symlink(victim().c_str(), at.c_str()); }},
      {"link to nothing", "symbolic link",
       [](const fs::path& at) { return ::symlink("nothing", at.c_str()); }},
      {"FIFO", "no file", [](const fs::path& at) { return ::mkfifo(at.c_str(), 0600); }},
      {"folder", "no file", [](const fs::path& at) { return ::mkdir(at.c_str(), 0700); }},
      {"hard link", "second name",
       [this](const fs::path& at) { return ::link(victim().c_str(), at.c_str()); }},
  };
  for (const auto& [what, why, make] : cases) {
    for (const char* name : kFiles) {
      for (const bool whole : {false, true}) {
        SCOPED_TRACE(std::string(what) + " as " + name + (whole ? " of a store" : ""));
        fs::remove_all(path());
        fs::remove(victim());
        std::ofstream(victim()) << kVictim;
        if (whole) {
          makeStore();
          fs::remove(path() / name);
        } else {
          makeFolder(0700);
        }
        ASSERT_EQ(make(path() / name), 0);
        const auto before = std::distance(fs::directory_iterator(path()), {});
        expectRefused(StoreError::kForeignFile, (path() / name).string(), why);
        EXPECT_EQ(read(victim()), kVictim);
        EXPECT_FALSE(fs::exists(path() / "nothing"));
        EXPECT_EQ(std::distance(fs::directory_iterator(path()), {}), before) << "files were made";
      }
    }
  }
}

TEST_F(Trust, ADeviceIsNoFile) {
  makeFolder(0700);
  if (::mknod((path() / "lock.mdb").c_str(), S_IFCHR | 0600, 0) != 0) {
    GTEST_SKIP() << "only root makes devices";
  }
  expectRefused(StoreError::kForeignFile, "lock.mdb", "no file");
}

TEST_F(Trust, FoldersThatOthersCanWriteTo) {
  const std::string own = std::to_string(::getegid());
  const std::string another = std::to_string(::getegid() + 1);
  const struct {
    mode_t mode;
    std::string group;
    const char* why;  // null: opened
  } cases[] = {
      {0700, "", nullptr},
      {0755, "", nullptr},
      {0750, another, nullptr},
      {0777, "", "everybody can write to it, mode 0777"},
      {01777, "", "mode 1777"},
      {0777, own, "everybody"},
      {0702, "", "everybody"},
      {0770, "", "can write to it, mode 0770"},
      {02770, another, "is not the group of the store's options"},
      {0770, own, nullptr},
      {02775, own, nullptr},
  };
  for (const auto& [mode, group, why] : cases) {
    SCOPED_TRACE(mode);
    SCOPED_TRACE("group \"" + group + "\"");
    fs::remove_all(path());
    makeFolder(mode);
    if (why == nullptr) {
      expectOpened(group);
    } else {
      expectRefused(StoreError::kCannotOpen, path().string(), why, group);
      EXPECT_TRUE(fs::is_empty(path()));
    }
  }
}

TEST_F(Trust, FilesThatOthersCanWriteTo) {
  const std::string own = std::to_string(::getegid());
  makeStore();
  for (const char* name : kFiles) {
    SCOPED_TRACE(name);
    const fs::path file = path() / name;
    ASSERT_EQ(::chmod(file.c_str(), 0606), 0);
    expectRefused(StoreError::kCannotOpen, file.string(), "everybody", own);
    ASSERT_EQ(::chmod(file.c_str(), 0660), 0);
    expectRefused(StoreError::kCannotOpen, file.string(), "group " + own);
    expectOpened(own);
    ASSERT_EQ(::chmod(file.c_str(), 0644), 0);
    expectOpened();
    ASSERT_EQ(::chmod(file.c_str(), 0600), 0);
  }
}

TEST_F(Trust, GroupsByName) {
  makeFolder(0770);
  expectRefused(StoreError::kCannotOpen, "no-such-group", "no group", "no-such-group");
  if (::chown(path().c_str(), static_cast<uid_t>(-1), 0) != 0) {
    GTEST_SKIP() << "only root gives folders away";
  }
  expectOpened("root");
}

TEST_F(Trust, FoldersOfOtherUsers) {
  makeFolder(0755);
  if (::geteuid() != 0 || ::chown(path().c_str(), kSomebody, kTheirs) != 0) {
    GTEST_SKIP() << "only root gives folders away";
  }
  expectRefused(StoreError::kCannotOpen, path().string(),
                "belongs to user " + std::to_string(kSomebody));
  expectOpened(std::to_string(kTheirs));

  // An ordinary user: in a folder of root, and in one of its own.
  ASSERT_EQ(::chmod(folder_.path().c_str(), 0755), 0);
  const auto asUser = [this](int code) {
    return Testing::inChild([&] {
      if (::setresgid(kTheirs, kTheirs, kTheirs) != 0) return 98;
      if (::setresuid(kSomebody, kSomebody, kSomebody) != 0) return 98;
      try {
        ConfigStore::open(path());
        return 0;
      } catch (const Exception& exception) {
        return exception.code() == code ? 1 : 97;
      }
    });
  };
  fs::remove_all(path());
  makeFolder(0700);
  ASSERT_EQ(::chown(path().c_str(), kSomebody, kTheirs), 0);
  EXPECT_EQ(asUser(0), 0);
  ASSERT_EQ(::chown(path().c_str(), kSomebody + 1, kTheirs), 0);
  ASSERT_EQ(::chmod(path().c_str(), 0755), 0);
  EXPECT_EQ(asUser(StoreError::kCannotOpen), 1);
}

TEST_F(Trust, FoldersOnTheWayAreNotMadeForEverybody) {
  const mode_t former = ::umask(0);
  ConfigStore::open(folder_ / "a" / "b" / "store");
  ::umask(former);
  struct stat info {};
  for (const fs::path& made : {folder_ / "a", folder_ / "a" / "b"}) {
    ASSERT_EQ(::stat(made.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0755u) << made;
  }
}

}  // namespace
}  // namespace Kestrav::Config
