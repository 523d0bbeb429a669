// Which elements of a sequence may stay where they are when it is sorted.
#pragma once

#include <cstdint>
#include <vector>

namespace Kestrav::Config {

// The heaviest increasing subsequence of `sequence`, whose numbers are distinct and below its size:
// true for its members. Moving the others sorts the sequence.
std::vector<bool> heaviestIncreasing(const std::vector<std::uint32_t>& sequence,
                                     const std::vector<std::uint64_t>& weights);

}  // namespace Kestrav::Config
