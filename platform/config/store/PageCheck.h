// Checks the pages of an LMDB data file, and reads the entries that it can reach.
//
// Checked: the headers of all pages in use, the places and sizes of their nodes, the order of the
// keys within and across pages, the counts that the trees state, and that no page is used twice.
// The bytes of values are not checked.
//
// Used by one thread. The pages of the transaction must not be reused meanwhile: keep writers out,
// or hold a read transaction of it.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/config/store/DataFile.h"

namespace Kestrav::Config {

class PageCheck {
 public:
  PageCheck(const DataFile& file, const Pages::Meta& meta);

  // Called with the sub-database's name, the key, the size of the value and a function that reads
  // it; in key order. The views are valid during the call.
  using Value = std::function<std::string_view()>;
  using Visitor = std::function<void(std::string_view database, std::string_view key,
                                     std::uint64_t size, const Value& value)>;
  // With `only`, the other sub-databases are left out.
  void run(const Visitor& visit = {}, std::string_view only = {});

  // One line each.
  const std::vector<std::string>& damages() const { return damages_; }
  std::uint64_t pages() const { return pages_; }  // in use, checked

 private:
  struct Counts {
    std::uint64_t branch = 0, leaf = 0, overflow = 0, entries = 0;
  };
  enum Kind { kFreeTree, kMainTree, kDataTree };
  struct Walk {
    std::string name;
    const Pages::Tree& tree;
    Kind kind;
    Counts counts;
  };
  // The keys of a page are not below `lower` and are below `upper`.
  struct Bounds {
    std::optional<std::string_view> lower, upper;
  };
  struct Node {
    std::uint16_t low = 0, high = 0, flags = 0, keySize = 0;
    std::string_view key = {};
    std::size_t valueAt = 0;
  };

  void walk(std::string name, const Pages::Tree& tree, Kind kind);
  void page(Walk& walk, std::uint64_t number, int depth, const Bounds& bounds);
  static std::string label(const Walk& walk);
  bool nodes(const Walk& walk, std::uint64_t number, const std::string& page, bool branch,
             std::vector<Node>& found);
  void leaf(Walk& walk, std::uint64_t number, const std::string& page, const Node& node);
  void freePages(std::uint64_t number, std::string_view value);
  // False, and reported, when the pages are in use already or lie outside the file.
  bool take(std::uint64_t number, std::uint64_t count, const std::string& by);
  bool less(const Walk& walk, std::string_view a, std::string_view b) const;
  bool readBig(std::uint64_t first, std::uint64_t size, std::string& to) const;
  void damaged(std::uint64_t number, const std::string& what);
  void damaged(const std::string& what);

  const DataFile& file_;
  const Pages::Meta& meta_;
  const std::size_t pageSize_;
  const std::uint64_t filePages_;
  const Visitor* visit_ = nullptr;
  std::string_view only_;
  std::vector<bool> used_;
  std::vector<std::string> damages_;
  std::uint64_t pages_ = 0;
};

}  // namespace Kestrav::Config
