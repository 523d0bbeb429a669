#include "platform/config/store/DataFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "platform/common/Exception.h"
#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Config {
namespace {

// LMDB's data format version 1 on a 64-bit machine.
constexpr std::uint32_t kMagic = 0xBEEFC0DE;
constexpr std::uint32_t kDataVersion = 1;
constexpr std::uint64_t kNoPage = ~std::uint64_t{0};
constexpr std::size_t kPageHeader = 16;
constexpr std::uint16_t kBranchPage = 0x01;
constexpr std::uint16_t kLeafPage = 0x02;
constexpr std::uint16_t kOverflowPage = 0x04;
constexpr std::uint16_t kMetaPage = 0x08;
constexpr std::uint16_t kBigValue = 0x01;
constexpr std::uint16_t kSubDatabase = 0x02;
constexpr int kDeepest = 32;
constexpr int kAttempts = 100;

struct Tree {
  std::uint32_t pad;
  std::uint16_t flags;
  std::uint16_t depth;
  std::uint64_t branchPages, leafPages, overflowPages, entries;
  std::uint64_t root;
};
struct Meta {
  std::uint32_t magic;
  std::uint32_t version;
  std::uint64_t address;
  std::uint64_t mapSize;
  Tree trees[2];
  std::uint64_t lastPage;
  std::uint64_t transaction;
};
static_assert(sizeof(Tree) == 48 && sizeof(Meta) == 136);

struct PageHeader {
  std::uint64_t number;
  std::uint16_t pad;
  std::uint16_t flags;
  std::uint16_t lower, upper;  // a 32-bit page count in the first page of a big value
};
static_assert(sizeof(PageHeader) == kPageHeader);

class Reader {
 public:
  explicit Reader(const std::filesystem::path& path) : path_(path) {
    fd_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (fd_ < 0 && errno != ENOENT) fail(StoreError::kCannotOpen, std::strerror(errno));
  }
  ~Reader() {
    if (fd_ >= 0) ::close(fd_);
  }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  DataFileState run() {
    DataFileState state;
    if (fd_ < 0 || size() == 0) return state;
    state.present = true;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
      const Meta meta = newest();
      state.mapSize = meta.mapSize;
      // Pages beyond the end may be missing when nothing refers to them: LMDB does not write pages
      // that a transaction both allocated and freed.
      if (size() / pageSize_ > meta.lastPage || complete(meta)) return state;
      if (newest().transaction == meta.transaction) {
        foreign("it ends after " + std::to_string(size()) + " bytes, within its data");
      }
    }
    return state;  // other processes commit faster than this one reads, so the file is in use
  }

 private:
  [[noreturn]] void fail(int code, const std::string& what) const {
    throw Exception("Cannot open " + path_.string() + ": " + what, code);
  }
  [[noreturn]] void foreign(const std::string& what) const { fail(StoreError::kForeignFile, what); }

  std::uint64_t size() const {
    struct stat info {};
    if (::fstat(fd_, &info) != 0) fail(StoreError::kCannotOpen, std::strerror(errno));
    if (!S_ISREG(info.st_mode)) foreign("it is no file");
    return static_cast<std::uint64_t>(info.st_size);
  }

  bool read(void* to, std::size_t bytes, std::uint64_t offset) const {
    return ::pread(fd_, to, bytes, static_cast<off_t>(offset)) == static_cast<ssize_t>(bytes);
  }

  Meta metaAt(std::uint64_t offset) const {
    PageHeader header{};
    Meta meta{};
    if (!read(&header, sizeof header, offset) || !read(&meta, sizeof meta, offset + kPageHeader)) {
      foreign("it ends within its first pages");
    }
    if ((header.flags & kMetaPage) == 0 || meta.magic != kMagic) foreign("it is no store");
    if ((meta.version & 0x7fffffff) != kDataVersion) {
      foreign("its data format is " + std::to_string(meta.version & 0x7fffffff) + " instead of " +
              std::to_string(kDataVersion));
    }
    return meta;
  }

  Meta newest() {
    const Meta first = metaAt(0);
    pageSize_ = first.trees[0].pad;
    if (pageSize_ < 256 || pageSize_ > 65536 || (pageSize_ & (pageSize_ - 1)) != 0) {
      foreign("its page size is " + std::to_string(pageSize_));
    }
    const Meta second = metaAt(pageSize_);
    const Meta& meta = second.transaction > first.transaction ? second : first;
    if (meta.lastPage < 1 || meta.lastPage > (std::uint64_t{1} << 48)) {
      foreign("its first pages contradict themselves");
    }
    return meta;
  }

  bool complete(const Meta& meta) {
    pages_ = size() / pageSize_;
    return reachable(meta.trees[0].root, 0) && reachable(meta.trees[1].root, 0);
  }

  // True when the page and all that it refers to lie within the file.
  bool reachable(std::uint64_t number, int depth) {
    if (number == kNoPage) return true;
    if (number >= pages_ || depth > kDeepest) return false;
    std::vector<char> page(pageSize_);
    if (!read(page.data(), pageSize_, number * pageSize_)) return false;
    PageHeader header{};
    std::memcpy(&header, page.data(), sizeof header);
    const bool branch = (header.flags & kBranchPage) != 0;
    if (!branch && (header.flags & kLeafPage) == 0) return false;
    if (header.lower < kPageHeader || header.lower > pageSize_) return false;
    const std::size_t count = (header.lower - kPageHeader) / 2;
    for (std::size_t i = 0; i < count; ++i) {
      std::uint16_t at = 0;
      std::memcpy(&at, &page[kPageHeader + 2 * i], 2);
      if (at + 8u > pageSize_) return false;
      std::uint16_t node[4];  // low, high, flags, key size
      std::memcpy(node, &page[at], 8);
      if (branch) {
        const std::uint64_t child =
            node[0] | std::uint64_t{node[1]} << 16 | std::uint64_t{node[2]} << 32;
        if (!reachable(child, depth + 1)) return false;
      } else if (!leafComplete(page, at + 8u + node[3], node[2], depth)) {
        return false;
      }
    }
    return true;
  }

  bool leafComplete(const std::vector<char>& page, std::size_t value, std::uint16_t flags,
                    int depth) {
    if ((flags & kBigValue) != 0) {
      std::uint64_t first = 0;
      if (value + sizeof first > pageSize_) return false;
      std::memcpy(&first, &page[value], sizeof first);
      char header[kPageHeader];
      std::uint16_t kind = 0;
      std::uint32_t count = 0;
      if (first >= pages_ || !read(header, sizeof header, first * pageSize_)) return false;
      std::memcpy(&kind, header + 10, sizeof kind);
      std::memcpy(&count, header + 12, sizeof count);
      return (kind & kOverflowPage) != 0 && count <= pages_ - first;
    }
    if ((flags & kSubDatabase) != 0) {
      Tree tree{};
      if (value + sizeof tree > pageSize_) return false;
      std::memcpy(&tree, &page[value], sizeof tree);
      return reachable(tree.root, depth + 1);
    }
    return true;
  }

  std::filesystem::path path_;
  int fd_ = -1;
  std::size_t pageSize_ = 0;
  std::uint64_t pages_ = 0;
};

}  // namespace

DataFileState inspectDataFile(const std::filesystem::path& path) {
  return Reader(path).run();
}

}  // namespace Kestrav::Config
