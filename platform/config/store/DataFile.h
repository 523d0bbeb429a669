// Checks the LMDB data file before LMDB maps it: access to a mapped file that is truncated ends the
// process with a signal.
#pragma once

#include <cstddef>
#include <filesystem>

namespace Kestrav::Config {

struct DataFileState {
  bool present = false;     // it exists and is not empty
  std::size_t mapSize = 0;  // of the last writer
};

// Throws Exception kForeignFile when the file is not an LMDB data file, or when a page in use lies
// beyond its end. Other processes may write meanwhile.
DataFileState inspectDataFile(const std::filesystem::path& path);

}  // namespace Kestrav::Config
