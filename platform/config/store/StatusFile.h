// The status file: the zone that readers see through StatusArea, followed by the control pages: the
// revision word on which processes wait, and one slot for each process that follows the store.
//
// Shared between processes, mapped for the life of the object. Any thread may call any function.
// All accesses are atomic; claiming a slot additionally locks the file.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/config/store/ConfigStore.h"
#include "platform/config/store/StatusArea.h"

namespace Kestrav::Config {

class StatusFile {
 public:
  // Opens the file or makes it. Throws Exception kForeignFile for a truncated file and for one of
  // another program, and kFull.
  static std::shared_ptr<StatusFile> open(const std::filesystem::path& path);
  ~StatusFile();
  StatusFile(const StatusFile&) = delete;
  StatusFile& operator=(const StatusFile&) = delete;

  // While it is held, no other process or thread opens the store or claims a slot.
  class Lock {
   public:
    explicit Lock(StatusFile& file);
    ~Lock();
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

   private:
    std::unique_lock<std::mutex> threads_;  // the file's lock does not exclude threads
    int fd_;
  };

  // Whether this is the file of that name.
  bool isAt(const std::filesystem::path& path) const;

  // Counts replacements of the data file that may have happened. A process that sees a new number
  // looks whether it has the present file open.
  std::uint64_t swaps() const;
  void swapped();
  // Inode of the data file that the lock file belongs to; 0: unknown. Guarded by Lock.
  std::uint64_t dataFile() const;
  void dataFile(std::uint64_t inode);

  char* zone() const { return static_cast<char*>(map_); }

  Revision revision() const;
  // Raises the revision, never lowers it, and wakes everyone who waits. True when it was lower.
  bool publish(Revision revision);
  // Replaces `wrong` by `revision`, for a status file that is ahead of the data.
  void correct(Revision wrong, Revision revision);
  // Ends the waits of all threads and processes.
  void wake();
  // Returns when the revision differs from `seen`, when woken, or after `timeoutMs`; false after a
  // timeout.
  bool wait(Revision seen, int timeoutMs);

  // A slot of this process; throws kNoReaderSlot when all are taken by live processes.
  int claim(std::string_view name, Revision applied);
  void release(int slot);
  void applied(int slot, Revision revision);
  std::vector<ConfigStore::Process> processes() const;
  // The lowest revision applied by a live process; none when no process is registered.
  std::optional<Revision> lowestApplied() const;

 private:
  struct Control;
  struct Slot;
  StatusFile(int fd, void* map) : fd_(fd), map_(map) {}
  Control& control() const;
  static bool alive(const Slot& slot);

  int fd_;
  void* map_;
  std::mutex mutex_;  // held by Lock
};

}  // namespace Kestrav::Config
