#include "platform/config/store/PageCheck.h"

#include <algorithm>
#include <cstring>

namespace Kestrav::Config {
namespace {

using namespace Pages;

constexpr std::size_t kNodeHeader = 8;
constexpr std::size_t kLongestKey = 511;
constexpr int kDeepest = 32;
constexpr std::size_t kMostDamages = 10'000;

template <class T>
T numberAt(std::string_view bytes, std::size_t at) {
  T value;
  std::memcpy(&value, bytes.data() + at, sizeof value);
  return value;
}

std::string counted(std::uint64_t count, const char* what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

}  // namespace

PageCheck::PageCheck(const DataFile& file, const Meta& meta)
    : file_(file),
      meta_(meta),
      pageSize_(file.pageSize()),
      filePages_(file.size() / file.pageSize()),
      used_(std::min(filePages_, meta.lastPage + 1), false) {}

void PageCheck::damaged(const std::string& what) {
  if (damages_.size() < kMostDamages) damages_.push_back(what);
}

void PageCheck::damaged(std::uint64_t number, const std::string& what) {
  damaged("page " + std::to_string(number) + ": " + what);
}

void PageCheck::run(const Visitor& visit, std::string_view only) {
  only_ = only;
  visit_ = visit ? &visit : nullptr;
  for (std::uint64_t number = 0; number < kFirstOfTrees && number < used_.size(); ++number) {
    used_[number] = true;
    ++pages_;
    Header header{};
    if (!file_.read(&header, sizeof header, number * pageSize_) || header.number != number ||
        header.flags != Pages::kMeta) {
      damaged(number, "its header is wrong");
    }
  }
  if ((meta_.trees[0].flags & ~kWithoutFolder) != kIntegerKeys)
    damaged("the tree of free pages is of another kind");
  if (meta_.trees[0].pad != pageSize_) damaged("the page size is wrong");
  if (meta_.address != 0) damaged("the map has an address");
  if (meta_.mapSize % 4096 != 0) damaged("the size of the map is no multiple of a page");
  walk("", meta_.trees[1], kMainTree);
  walk("free pages", meta_.trees[0], kFreeTree);  // after all pages in use are known
}

void PageCheck::walk(std::string name, const Tree& tree, Kind kind) {
  Walk walking{std::move(name), tree, kind, {}};
  if (walking.kind != kFreeTree && (tree.flags != 0 || tree.pad != 0)) {
    damaged(label(walking) + " is of another kind");
  }
  if ((tree.root == kNone) != (tree.depth == 0)) damaged(label(walking) + " states a wrong depth");
  if (tree.root != kNone) page(walking, tree.root, 1, {});
  const Counts& counts = walking.counts;
  const auto compare = [&](std::uint64_t found, std::uint64_t stated, const char* what) {
    if (found == stated) return;
    damaged(label(walking) + " has " + counted(found, what) + " instead of " +
            std::to_string(stated));
  };
  compare(counts.branch, tree.branchPages, "branch page");
  compare(counts.leaf, tree.leafPages, "leaf page");
  compare(counts.overflow, tree.overflowPages, "overflow page");
  compare(counts.entries, tree.entries, "entry");
}

std::string PageCheck::label(const Walk& walk) {
  return walk.name.empty() ? "the main tree" : "the tree of " + walk.name;
}

bool PageCheck::take(std::uint64_t number, std::uint64_t count, const std::string& by) {
  if (number < kFirstOfTrees || number > meta_.lastPage || count > meta_.lastPage + 1 - number) {
    damaged(number, by + " refers to it, but it lies outside the data");
    return false;
  }
  if (number >= filePages_ || count > filePages_ - number) {
    damaged(number, by + " refers to it, but the file ends before it");
    return false;
  }
  for (std::uint64_t i = number; i < number + count; ++i) {
    if (used_[i]) {
      damaged(i, by + " refers to it, but it is used already");
      return false;
    }
  }
  for (std::uint64_t i = number; i < number + count; ++i) used_[i] = true;
  pages_ += count;
  return true;
}

bool PageCheck::less(const Walk& walk, std::string_view a, std::string_view b) const {
  if (walk.kind != kFreeTree) return a < b;
  return numberAt<std::uint64_t>(a, 0) < numberAt<std::uint64_t>(b, 0);
}

void PageCheck::page(Walk& walk, std::uint64_t number, int depth, const Bounds& bounds) {
  if (depth > kDeepest) return damaged(number, label(walk) + " is too deep");
  if (!take(number, 1, label(walk))) return;
  std::string bytes(pageSize_, '\0');
  if (!file_.read(bytes.data(), pageSize_, number * pageSize_)) {
    return damaged(number, "it cannot be read");
  }
  const auto header = numberAt<Header>(bytes, 0);
  const bool branch = header.flags == kBranch;
  if (header.number != number) return damaged(number, "it has the number of another page");
  if (!branch && header.flags != kLeaf) return damaged(number, "it is of the wrong kind");
  if (branch != (depth < walk.tree.depth)) {
    return damaged(number, "it is at the wrong depth of its tree");
  }
  ++(branch ? walk.counts.branch : walk.counts.leaf);
  std::vector<Node> found;
  if (!nodes(walk, number, bytes, branch, found)) return;
  // A key outside its bounds is not found by a search. The first key of a branch page is not used.
  for (std::size_t i = branch ? 1 : 0; i < found.size(); ++i) {
    const std::string_view key = found[i].key;
    if ((i > (branch ? 1 : 0) && !less(walk, found[i - 1].key, key)) ||
        (bounds.lower && less(walk, key, *bounds.lower)) ||
        (bounds.upper && !less(walk, key, *bounds.upper))) {
      damaged(number, "its keys are out of order");
      break;
    }
  }
  for (std::size_t i = 0; i < found.size(); ++i) {
    const Node& node = found[i];
    if (branch) {
      const std::uint64_t child =
          node.low | std::uint64_t{node.high} << 16 | std::uint64_t{node.flags} << 32;
      page(walk, child, depth + 1,
           {i > 0 ? node.key : bounds.lower,
            i + 1 < found.size() ? found[i + 1].key : bounds.upper});
    } else {
      ++walk.counts.entries;
      leaf(walk, number, bytes, node);
    }
  }
}

// Nodes fill the end of a page without gaps.
bool PageCheck::nodes(const Walk& walk, std::uint64_t number, const std::string& page, bool branch,
                      std::vector<Node>& found) {
  const auto header = numberAt<Header>(page, 0);
  const auto wrong = [&](const char* what) {
    damaged(number, what);
    return false;
  };
  if (header.lower < kHeaderSize || header.lower % 2 != 0 || header.lower > header.upper ||
      header.upper > pageSize_) {
    return wrong("its limits are wrong");
  }
  const std::size_t count = (header.lower - kHeaderSize) / 2;
  if (count < (branch ? 2U : 1U)) return wrong("it has too few entries");
  std::vector<std::pair<std::size_t, std::size_t>> extents;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t at = numberAt<std::uint16_t>(page, kHeaderSize + 2 * i);
    if (at < header.upper || at + kNodeHeader > pageSize_) return wrong("an entry lies outside it");
    Node node;
    node.low = numberAt<std::uint16_t>(page, at);
    node.high = numberAt<std::uint16_t>(page, at + 2);
    node.flags = numberAt<std::uint16_t>(page, at + 4);
    node.keySize = numberAt<std::uint16_t>(page, at + 6);
    node.valueAt = at + kNodeHeader + node.keySize;
    std::size_t size = kNodeHeader + node.keySize;
    if (!branch) {
      const std::size_t value = node.low | std::size_t{node.high} << 16;
      size += (node.flags & kBigValue) != 0 ? sizeof(std::uint64_t) : value;
    }
    size += size % 2;
    if (size > pageSize_ - at) return wrong("an entry is longer than the page");
    if (!(branch && i == 0) && (node.keySize == 0 || node.keySize > kLongestKey)) {
      return wrong("a key has a wrong length");
    }
    if (walk.kind == kFreeTree && node.keySize != sizeof(std::uint64_t) && !(branch && i == 0)) {
      return wrong("a key has a wrong length");
    }
    node.key = std::string_view(page).substr(at + kNodeHeader, node.keySize);
    extents.emplace_back(at, size);
    found.push_back(node);
  }
  std::sort(extents.begin(), extents.end());
  std::size_t end = header.upper;
  for (const auto& [at, size] : extents) {
    if (at != end) return wrong("its entries overlap or leave gaps");
    end += size;
  }
  return end == pageSize_ || wrong("its entries overlap or leave gaps");
}

void PageCheck::leaf(Walk& walk, std::uint64_t number, const std::string& page, const Node& node) {
  const std::uint64_t size = node.low | std::uint64_t{node.high} << 16;
  const std::string_view inlined =
      std::string_view(page).substr(node.valueAt, (node.flags & kBigValue) != 0 ? 8 : size);
  if (walk.kind == kMainTree) {
    Tree tree{};
    if (node.flags != kSubDatabase || size != sizeof tree) {
      return damaged(number, "an entry of the main tree is of the wrong kind");
    }
    std::memcpy(&tree, inlined.data(), sizeof tree);
    if (!only_.empty() && node.key != only_) return;
    return this->walk(std::string(node.key), tree, kDataTree);
  }
  if (node.flags != 0 && node.flags != kBigValue) {
    return damaged(number, "an entry is of the wrong kind");
  }
  std::string big;
  std::uint64_t first = 0;
  if (node.flags == kBigValue) {
    first = numberAt<std::uint64_t>(inlined, 0);
    Header header{};
    const std::uint64_t needed = (kHeaderSize - 1 + size) / pageSize_ + 1;
    if (first >= filePages_ || !file_.read(&header, sizeof header, first * pageSize_)) {
      return damaged(first, label(walk) + " refers to it, but the file ends before");
    }
    const std::uint64_t count = header.lower | std::uint64_t{header.upper} << 16;
    if (header.number != first || header.flags != kOverflow || count < needed) {
      return damaged(first, "it should hold a large value of the tree of " + walk.name);
    }
    if (!take(first, count, label(walk))) return;
    walk.counts.overflow += count;
  }
  const Value value = [&]() -> std::string_view {
    if (node.flags != kBigValue) return inlined;
    if (big.empty() && !readBig(first, size, big)) big.clear();
    return big;
  };
  if (walk.kind == kFreeTree) {
    freePages(number, value());
  } else if (visit_ != nullptr) {
    (*visit_)(walk.name, node.key, size, value);
  }
}

bool PageCheck::readBig(std::uint64_t first, std::uint64_t size, std::string& to) const {
  to.resize(size);
  return file_.read(to.data(), size, first * pageSize_ + kHeaderSize);
}

// A count and the pages, descending; the value may have room for more.
void PageCheck::freePages(std::uint64_t number, std::string_view value) {
  const std::size_t words = value.size() / sizeof(std::uint64_t);
  const std::uint64_t count = words == 0 ? 0 : numberAt<std::uint64_t>(value, 0);
  if (words == 0 || value.size() % sizeof(std::uint64_t) != 0 || count > words - 1) {
    return damaged(number, "a list of free pages states a wrong length");
  }
  std::uint64_t above = kNone;
  for (std::size_t i = 1; i <= count; ++i) {
    const auto page = numberAt<std::uint64_t>(value, i * sizeof(std::uint64_t));
    if (page < kFirstOfTrees || page > meta_.lastPage || page >= above) {
      return damaged(number, "a list of free pages is wrong");
    }
    above = page;
    if (page >= used_.size()) continue;  // never written
    if (used_[page]) {
      return damaged(page, "it is in use, but a list of free pages holds it");
    }
    used_[page] = true;
  }
}

}  // namespace Kestrav::Config
