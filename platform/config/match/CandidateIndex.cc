#include "platform/config/match/CandidateIndex.h"

#include <bit>

namespace Kestrav::Config {

void CandidateIndex::seal() {
  std::sort(filed_.begin(), filed_.end());
  filed_.erase(std::unique(filed_.begin(), filed_.end()), filed_.end());
  always_.erase(std::unique(always_.begin(), always_.end()), always_.end());

  std::size_t keys = 0;
  for (std::size_t i = 0; i < filed_.size(); ++i)
    keys += i == 0 || filed_[i].first != filed_[i - 1].first;
  slots_.assign(keys == 0 ? 0 : std::bit_ceil(keys * 2), Slot());
  ordinals_.reserve(filed_.size());
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t i = 0; i < filed_.size();) {
    const Key key = filed_[i].first;
    const auto begin = static_cast<std::uint32_t>(ordinals_.size());
    for (; i < filed_.size() && filed_[i].first == key; ++i) ordinals_.push_back(filed_[i].second);
    std::size_t at = key & mask;
    while (slots_[at].length != 0) at = (at + 1) & mask;
    slots_[at] = {key, begin, static_cast<std::uint32_t>(ordinals_.size() - begin)};
  }
  filed_ = {};
}

CandidateIndex::Run CandidateIndex::find(Key key) const {
  if (slots_.empty()) return {};
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t at = key & mask; slots_[at].length != 0; at = (at + 1) & mask) {
    if (slots_[at].key == key) return Run(ordinals_).subspan(slots_[at].begin, slots_[at].length);
  }
  return {};
}

}  // namespace Kestrav::Config
