// The order of one table in one domain, with the positions of its rows. Immutable.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Config {

class TableOrder final : public TableIndex {
 public:
  TableOrder() = default;
  // Both in table order.
  TableOrder(std::vector<std::uint32_t> ids, std::vector<std::uint64_t> positions);

  int size() const override { return static_cast<int>(ids_.size()); }
  std::uint32_t idAt(int index) const override;  // 0 for an index out of range
  int indexOf(std::uint32_t id) const override;
  // REQUIRES: 0 <= index < size().
  std::uint64_t positionAt(int index) const { return positions_[static_cast<std::size_t>(index)]; }

 private:
  std::vector<std::uint32_t> ids_;
  std::vector<std::uint64_t> positions_;
  std::vector<std::pair<std::uint32_t, int>> byId_;  // empty when the ids ascend anyway
};

}  // namespace Kestrav::Config
