#include "platform/config/store/Files.h"

#include <fcntl.h>
#include <grp.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <vector>

#include "platform/common/Exception.h"
#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Config {
namespace {

constexpr std::size_t kLargestGroup = 1u << 24;  // bytes of a group's entry, with its members
constexpr std::size_t kLockLine = 64;            // LMDB's unit: two for itself, one a reader

[[noreturn]] void cannotOpen(const std::filesystem::path& folder, const std::string& why,
                             int code = StoreError::kCannotOpen) {
  throw Exception("Cannot open the store in " + folder.string() + ": " + why, code);
}

[[noreturn]] void cannotOpen(const std::filesystem::path& folder, int error) {
  cannotOpen(folder, std::strerror(error), codeOf(error));
}

[[noreturn]] void cannot(const char* operation, const std::filesystem::path& path, int error) {
  throw Exception(
      std::string("Cannot ") + operation + " " + path.string() + ": " + std::strerror(error),
      codeOf(error));
}

// Who else may write to it, empty if nobody.
std::string foreignWriters(const struct stat& info, Group group) {
  char mode[16];
  std::snprintf(mode, sizeof mode, "%04o", static_cast<unsigned>(info.st_mode & 07777));
  if ((info.st_mode & S_IWOTH) != 0) return std::string("everybody can write to it, mode ") + mode;
  if ((info.st_mode & S_IWGRP) == 0 || group == info.st_gid) return {};
  return "group " + std::to_string(info.st_gid) + " can write to it, mode " + mode +
         ", and is not the group of the store's options (vexactl --group)";
}

void makeParents(const std::filesystem::path& folder) {
  const std::filesystem::path parent = folder.parent_path();
  if (parent.empty() || parent == folder || ::mkdir(parent.c_str(), 0755) == 0) return;
  if (errno != ENOENT) return;  // mostly EEXIST; the last folder says what is wrong
  makeParents(parent);
  ::mkdir(parent.c_str(), 0755);
}

void checkFile(const std::filesystem::path& path, Group group) {
  const auto refuse = [&path](const std::string& why, int code) {
    throw Exception("Cannot open " + path.string() + ": " + why, code);
  };
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0) {
    if (errno != ENOENT) cannot("open", path, errno);
    return;
  }
  if (S_ISLNK(info.st_mode)) refuse("it is a symbolic link", StoreError::kForeignFile);
  if (!S_ISREG(info.st_mode)) refuse("it is no file", StoreError::kForeignFile);
  // A second store under the other name would not know of this one's locks.
  if (info.st_nlink > 1) refuse("it has a second name (hard link)", StoreError::kForeignFile);
  const std::string writers = foreignWriters(info, group);
  if (!writers.empty()) refuse(writers, StoreError::kCannotOpen);
}

// Best effort: only root gives files away, and a user gives them to own groups only. Then the lock
// file is for the user of this process.
void makeLikeDataFile(int fd, const std::filesystem::path& folder) {
  struct stat own {};
  struct stat data {};
  if (::fstat(fd, &own) != 0 || ::stat((folder / "data.mdb").c_str(), &data) != 0) return;
  const uid_t owner = ::geteuid() == 0 ? data.st_uid : own.st_uid;
  if ((owner != own.st_uid || data.st_gid != own.st_gid) && ::fchown(fd, owner, data.st_gid) != 0) {
    return;
  }
  static_cast<void>(!::fchmod(fd, data.st_mode & 0777));
}

}  // namespace

int codeOf(int error) {
  switch (error) {
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return StoreError::kFull;
    default:
      return StoreError::kCannotOpen;
  }
}

Group groupNamed(const std::string& name) {
  if (name.empty()) return {};
  gid_t number = 0;
  const auto parsed = std::from_chars(name.data(), name.data() + name.size(), number);
  if (parsed.ec == std::errc() && parsed.ptr == name.data() + name.size()) return number;
  ::group entry{};
  ::group* found = nullptr;
  for (std::vector<char> buffer(1024); buffer.size() <= kLargestGroup;
       buffer.resize(buffer.size() * 2)) {
    const int rc = ::getgrnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found);
    if (rc != ERANGE) break;
  }
  if (found == nullptr) {
    throw Exception("There is no group \"" + name + "\"", StoreError::kCannotOpen);
  }
  return entry.gr_gid;
}

FolderId prepareFolder(const std::filesystem::path& folder, bool create, Group group) {
  struct stat info {};
  if (::stat(folder.c_str(), &info) != 0) {
    if (errno != ENOENT || !create) cannotOpen(folder, errno);
    makeParents(folder);
    if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) cannotOpen(folder, errno);
    if (::stat(folder.c_str(), &info) != 0) cannotOpen(folder, errno);
  }
  if (!S_ISDIR(info.st_mode)) cannotOpen(folder, "it is no folder");
  const std::string writers = foreignWriters(info, group);
  if (!writers.empty()) cannotOpen(folder, writers);
  // Only root and members give a folder to a group.
  if (info.st_uid != 0 && info.st_uid != ::geteuid() && group != info.st_gid) {
    cannotOpen(folder, "it belongs to user " + std::to_string(info.st_uid) +
                           ", not to root or to the user of this process; act as that user");
  }
  return {info.st_dev, info.st_ino};
}

void checkFiles(const std::filesystem::path& folder, Group group) {
  for (const char* name : {"status", "lock.mdb", "data.mdb"}) checkFile(folder / name, group);
}

void allocate(int fd, std::size_t bytes, const std::filesystem::path& path) {
  int error = 0;
  do {
    error = ::posix_fallocate(fd, 0, static_cast<off_t>(bytes));
  } while (error == EINTR);
  if (error != 0) cannot("write", path, error);
}

void prepareLockFile(const std::filesystem::path& folder, unsigned readers, bool inUse) {
  const std::filesystem::path path = folder / "lock.mdb";
  const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600);
  if (fd < 0) cannot("open", path, errno);
  try {
    struct stat info {};
    if (::fstat(fd, &info) != 0) cannot("open", path, errno);
    auto size = static_cast<std::size_t>(info.st_size);
    if (size == 0) makeLikeDataFile(fd, folder);
    if (!inUse) size = std::max(size, (std::size_t{readers} + 2) * kLockLine);
    if (size != 0) allocate(fd, size, path);
  } catch (...) {
    ::close(fd);
    throw;
  }
  ::close(fd);
}

FileSizeSignalBlocked::FileSizeSignalBlocked() {
  sigemptyset(&signal_);
  sigaddset(&signal_, SIGXFSZ);
  pthread_sigmask(SIG_BLOCK, &signal_, &before_);
}

FileSizeSignalBlocked::~FileSizeSignalBlocked() {
  if (sigismember(&before_, SIGXFSZ) == 1) return;
  const timespec now{};
  while (::sigtimedwait(&signal_, nullptr, &now) < 0 && errno == EINTR) {
  }
  pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

}  // namespace Kestrav::Config
