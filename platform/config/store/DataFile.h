// A look at the LMDB data file before LMDB maps it: mapped, a truncated file would end the process
// by a signal.
#pragma once

#include <cstddef>
#include <filesystem>

namespace Kestrav::Config {

struct DataFileState {
  bool present = false;     // there, and not empty
  std::size_t mapSize = 0;  // what the last writer had mapped
};

// Throws Exception kForeignFile when the file is no LMDB data file, or when a page in use lies
// beyond its end. May be called while other processes write.
DataFileState inspectDataFile(const std::filesystem::path& path);

}  // namespace Kestrav::Config
