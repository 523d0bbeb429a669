// The LMDB data file as bytes: it is read without a map, so damage does no harm. Access to a mapped
// file that is truncated ends the process with a signal.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

namespace Kestrav::Config {

// LMDB's data format version 1 on a 64-bit machine.
namespace Pages {
inline constexpr std::uint64_t kNone = ~std::uint64_t{0};
inline constexpr std::uint64_t kFirstOfTrees = 2;  // after the two meta pages
inline constexpr std::size_t kHeaderSize = 16;
inline constexpr std::uint16_t kBranch = 0x01;
inline constexpr std::uint16_t kLeaf = 0x02;
inline constexpr std::uint16_t kOverflow = 0x04;
inline constexpr std::uint16_t kMeta = 0x08;
inline constexpr std::uint16_t kBigValue = 0x01;
inline constexpr std::uint16_t kSubDatabase = 0x02;
inline constexpr std::uint16_t kIntegerKeys = 0x08;
inline constexpr std::uint16_t kWithoutFolder = 0x4000;  // how the file was made; no meaning here

struct Tree {
  std::uint32_t pad;  // of the first tree in a meta page: the page size
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
  Tree trees[2];  // of the free pages, and the main one
  std::uint64_t lastPage;
  std::uint64_t transaction;
};
static_assert(sizeof(Tree) == 48 && sizeof(Meta) == 136);

struct Header {
  std::uint64_t number;
  std::uint16_t pad;
  std::uint16_t flags;
  std::uint16_t lower, upper;  // a 32-bit page count in the first page of a big value
};
static_assert(sizeof(Header) == kHeaderSize);
}  // namespace Pages

// An open data file. All functions throw Exception kForeignFile when the file is not an LMDB data
// file. Other processes may write meanwhile.
class DataFile {
 public:
  // A file that does not exist is empty.
  explicit DataFile(const std::filesystem::path& path);
  // The same file, opened already. `descriptor` stays the caller's and open.
  DataFile(const std::filesystem::path& path, int descriptor)
      : path_(path), fd_(descriptor), owned_(false) {}
  ~DataFile();
  DataFile(const DataFile&) = delete;
  DataFile& operator=(const DataFile&) = delete;

  std::uint64_t size() const;
  // False when the file ends before.
  bool read(void* to, std::size_t bytes, std::uint64_t offset) const;

  struct Metas {
    Pages::Meta first, second;
    const Pages::Meta& newest() const {
      return second.transaction > first.transaction ? second : first;
    }
  };
  Metas metas();
  std::size_t pageSize() const { return pageSize_; }  // known after metas()

  [[noreturn]] void fail(int code, const std::string& what) const;

 private:
  Pages::Meta metaAt(std::uint64_t offset) const;

  std::filesystem::path path_;
  int fd_ = -1;
  const bool owned_ = true;
  std::size_t pageSize_ = 0;
};

struct DataFileState {
  bool present = false;     // it exists and is not empty
  std::size_t mapSize = 0;  // of the last writer
};

// Throws Exception kForeignFile when the file is not an LMDB data file, or when it is too short and
// a page in use lies beyond its end or is damaged.
DataFileState inspectDataFile(const std::filesystem::path& path);

}  // namespace Kestrav::Config
