#include "platform/config/store/DataFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/common/Exception.h"
#include "platform/config/store/ConfigStore.h"
#include "platform/config/store/PageCheck.h"

namespace Kestrav::Config {
namespace {

constexpr std::uint32_t kMagic = 0xBEEFC0DE;
constexpr std::uint32_t kDataVersion = 1;
constexpr std::uint64_t kLargest = std::uint64_t{1} << 46;  // of a map, in bytes
constexpr int kAttempts = 100;

}  // namespace

DataFile::DataFile(const std::filesystem::path& path) : path_(path) {
  fd_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
  if (fd_ < 0 && errno != ENOENT) fail(StoreError::kCannotOpen, std::strerror(errno));
}

DataFile::~DataFile() {
  if (owned_ && fd_ >= 0) ::close(fd_);
}

void DataFile::fail(int code, const std::string& what) const {
  throw Exception("Cannot open " + path_.string() + ": " + what, code);
}

std::uint64_t DataFile::size() const {
  if (fd_ < 0) return 0;
  struct stat info {};
  if (::fstat(fd_, &info) != 0) fail(StoreError::kCannotOpen, std::strerror(errno));
  if (!S_ISREG(info.st_mode)) fail(StoreError::kForeignFile, "it is no file");
  return static_cast<std::uint64_t>(info.st_size);
}

bool DataFile::read(void* to, std::size_t bytes, std::uint64_t offset) const {
  return ::pread(fd_, to, bytes, static_cast<off_t>(offset)) == static_cast<ssize_t>(bytes);
}

Pages::Meta DataFile::metaAt(std::uint64_t offset) const {
  Pages::Header header{};
  Pages::Meta meta{};
  if (!read(&header, sizeof header, offset) ||
      !read(&meta, sizeof meta, offset + Pages::kHeaderSize)) {
    fail(StoreError::kForeignFile, "it ends within its first pages");
  }
  if ((header.flags & Pages::kMeta) == 0 || meta.magic != kMagic) {
    fail(StoreError::kForeignFile, "it is no store");
  }
  if ((meta.version & 0x7fffffff) != kDataVersion) {
    fail(StoreError::kForeignFile, "its data format is " +
                                       std::to_string(meta.version & 0x7fffffff) + " instead of " +
                                       std::to_string(kDataVersion));
  }
  return meta;
}

DataFile::Metas DataFile::metas() {
  Metas metas{};
  metas.first = metaAt(0);
  pageSize_ = metas.first.trees[0].pad;
  if (pageSize_ < 256 || pageSize_ > 65536 || (pageSize_ & (pageSize_ - 1)) != 0) {
    fail(StoreError::kForeignFile, "its page size is " + std::to_string(pageSize_));
  }
  metas.second = metaAt(pageSize_);
  const Pages::Meta& meta = metas.newest();
  if (meta.lastPage < 1 || meta.lastPage >= kLargest / pageSize_ || meta.mapSize > kLargest ||
      metas.second.trees[0].pad != pageSize_) {
    fail(StoreError::kForeignFile, "its first pages contradict themselves");
  }
  return metas;
}

DataFileState inspectDataFile(const std::filesystem::path& path) {
  DataFile file(path);
  DataFileState state;
  if (file.size() == 0) return state;
  state.present = true;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const Pages::Meta meta = file.metas().newest();
    state.mapSize = meta.mapSize;
    // Pages beyond the end may be missing when nothing refers to them: LMDB does not write pages
    // that a transaction both allocated and freed.
    if (file.size() / file.pageSize() > meta.lastPage) return state;
    PageCheck check(file, meta);
    check.run();
    if (check.damages().empty()) return state;
    if (file.metas().newest().transaction == meta.transaction) {
      file.fail(StoreError::kForeignFile, "it ends after " + std::to_string(file.size()) +
                                              " bytes, and " + check.damages().front());
    }
  }
  return state;  // other processes commit faster than this one reads, so the file is in use
}

}  // namespace Kestrav::Config
