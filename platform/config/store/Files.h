// The folder of a store and the files in it, as far as LMDB does not handle them itself.
//
// LMDB opens the files by name, and a user who can write to the folder can replace them. So a
// folder is used only when nobody else can write to it, and each file is checked before LMDB opens
// it.
#pragma once

#include <signal.h>
#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>

namespace Kestrav::Config {

using FolderId = std::pair<std::uint64_t, std::uint64_t>;  // device and inode
using Group = std::optional<gid_t>;

// StoreError::kFull for errors that say that there is no room, else kCannotOpen.
int codeOf(int error);

// `name` is a name or a number; empty: none. Throws Exception kCannotOpen when there is no such
// group.
Group groupNamed(const std::string& name);

// Makes the folder when `create` is set and there is none. Throws Exception kCannotOpen for a
// folder that another user owns or that others than its owner and `group` can write to, and kFull.
FolderId prepareFolder(const std::filesystem::path& folder, bool create, Group group);

// Throws Exception kForeignFile when one of the store's files is something else than a file with
// one name, and kCannotOpen when others than its owner and `group` can write to it.
void checkFiles(const std::filesystem::path& folder, Group group);

// Takes the blocks of the file's first bytes: a write through a map to a block that a full disk
// does not have ends the process with a signal. Throws Exception.
void allocate(int fd, std::size_t bytes, const std::filesystem::path& path);

// Makes LMDB's lock file, with room for `readers`, and takes its blocks, because LMDB maps it. A
// new one gets owner, group and mode of the data file, so that everybody who uses that can use it.
// The file keeps its size when another process has it open (`inUse`). REQUIRES: this process has
// not.
void prepareLockFile(const std::filesystem::path& folder, unsigned readers, bool inUse);

// While it exists, a write of this thread beyond RLIMIT_FSIZE fails with EFBIG and raises no
// signal.
class FileSizeSignalBlocked {
 public:
  FileSizeSignalBlocked();
  ~FileSizeSignalBlocked();
  FileSizeSignalBlocked(const FileSizeSignalBlocked&) = delete;
  FileSizeSignalBlocked& operator=(const FileSizeSignalBlocked&) = delete;

 private:
  sigset_t signal_;
  sigset_t before_;
};

}  // namespace Kestrav::Config
