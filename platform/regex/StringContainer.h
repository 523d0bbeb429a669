// A set of strings that ignores letter case. Filled once, then read by any number of threads.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "platform/common/Export.h"

namespace Kestrav {

class KESTRAV_API StringContainer {
 public:
  void add(const std::string& string);

  bool contains(std::string_view string) const;

  // Includes duplicates.
  std::size_t size() const { return strings_.size(); }
  bool empty() const { return strings_.empty(); }

  // In the order of add().
  const std::vector<std::string>& strings() const { return strings_; }

 private:
  std::vector<std::string> strings_;
  std::unordered_set<std::string> folded_;
};

}  // namespace Kestrav
