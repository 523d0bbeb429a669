// How a data file is replaced while other processes have it open.
//
// The name data.mdb moves to the new file. LMDB's lock file belongs to one data file, so it is
// removed, and each process that opens the new file does so with a new lock file. The status file
// keeps the inode of the data file that the lock file belongs to. When it is another one, a process
// died between the two steps, and the next one finishes them.
//
// Every writer compares its file with the name before it changes anything. Readers compare them
// when the status file's number of swaps has changed.
#pragma once

#include <cstdint>
#include <filesystem>

#include "platform/config/store/StatusFile.h"

namespace Kestrav::Config {

std::uint64_t inodeOf(const std::filesystem::path& file);  // 0 when there is none

// After the data file was replaced: removes the lock file of the former one and announces the swap.
// Nothing otherwise. REQUIRES: StatusFile::Lock held, and the present data file not open in this
// process.
void finishSwap(const std::filesystem::path& folder, StatusFile& status);

}  // namespace Kestrav::Config
