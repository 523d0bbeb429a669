// Stores of older schemas.
//
// A change of the bytes in a store raises kSchema by one and adds a step here. A program migrates
// an older store when it opens it, provided that no other process has it open: that process may be
// an older program, which would misread the new bytes. A newer program's store is refused.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include "platform/config/store/LmdbEnv.h"

namespace Kestrav::Config {

// The number of a process that has the LMDB environment in `folder` open; empty when there is none.
// REQUIRES: this process has not. Until it has, StatusFile::Lock keeps others from opening it.
std::optional<int> processUsing(const std::filesystem::path& folder);

// Rewrites the store in one write transaction: a process that is killed meanwhile leaves the old
// store. REQUIRES: StatusFile::Lock held since processUsing() returned empty, and
// kOldestSchema <= schema < kSchema. Throws Exception kFull when the map or the disk is too small.
void migrate(LmdbEnv& env, std::uint32_t schema);

}  // namespace Kestrav::Config
