#include "platform/config/store/StatusFile.h"

#include <fcntl.h>
#include <linux/futex.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

#include "platform/common/Exception.h"
#include "platform/config/store/Files.h"
#include "platform/config/store/ProcessLife.h"

namespace Kestrav::Config {
namespace {

constexpr std::uint64_t kMagic = 0x3153'5554'4154'534bULL;  // "KSTATUS1"
constexpr std::uint32_t kLayout = 1;
constexpr std::size_t kSlots = 256;
constexpr std::size_t kNameWords = 4;
constexpr std::size_t kNameBytes = kNameWords * 8;  // one for the NUL

}  // namespace

struct StatusFile::Slot {
  std::atomic<std::uint32_t> pid;  // 0: free
  std::uint32_t reserved;
  std::atomic<std::uint64_t> started;
  std::atomic<std::uint64_t> applied;
  std::atomic<std::uint64_t> name[kNameWords];
  std::uint64_t unused;
};

struct StatusFile::Control {
  std::atomic<std::uint64_t> magic;  // written last
  std::uint32_t layout;
  std::uint32_t slotCount;
  std::atomic<std::uint32_t> word;  // low bits of `revision`; the futex
  std::uint32_t reserved;
  std::atomic<std::uint64_t> revision;
  std::atomic<std::uint64_t> swaps;
  std::atomic<std::uint64_t> dataFile;
  std::uint64_t unused[10];
  Slot slots[kSlots];
};

namespace {
constexpr std::size_t kControlSize = 5 * 4096;
constexpr std::size_t kFileSize = Zone::kSize + kControlSize;
}  // namespace

std::shared_ptr<StatusFile> StatusFile::open(const std::filesystem::path& path) {
  static_assert(sizeof(Slot) == 64 && sizeof(Control) <= kControlSize);
  const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600);
  if (fd < 0) {
    throw Exception("Cannot open " + path.string() + ": " + std::strerror(errno), codeOf(errno));
  }
  std::shared_ptr<StatusFile> file(new StatusFile(fd, nullptr));
  const Lock lock(*file);
  struct stat info {};
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    throw Exception(path.string() + " is no file", StoreError::kForeignFile);
  }
  if (info.st_size != 0 && info.st_size != static_cast<off_t>(kFileSize)) {
    throw Exception(path.string() + " is no status file of a store: it has " +
                        std::to_string(info.st_size) + " bytes instead of " +
                        std::to_string(kFileSize),
                    StoreError::kForeignFile);
  }
  // A process that finds no room leaves a file of the right size, which the next one continues.
  if (::ftruncate(fd, kFileSize) != 0) {
    throw Exception("Cannot write " + path.string() + ": " + std::strerror(errno), codeOf(errno));
  }
  allocate(fd, kFileSize, path);
  void* map = ::mmap(nullptr, kFileSize, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  if (map == MAP_FAILED) {
    throw Exception("Cannot map " + path.string() + ": " + std::strerror(errno),
                    StoreError::kCannotOpen);
  }
  file->map_ = map;
  Control& control = file->control();
  if (control.magic.load() == 0) {
    // New, or left by a process that died in this function. Another program's file has other bytes
    // here.
    const auto* bytes = static_cast<const char*>(map) + Zone::kSize;
    if (std::any_of(bytes + sizeof(Control), bytes + kControlSize, [](char c) { return c != 0; })) {
      throw Exception(path.string() + " is no status file of a store", StoreError::kForeignFile);
    }
    initialiseZone(file->zone());
    control.layout = kLayout;
    control.slotCount = kSlots;
    control.magic.store(kMagic);
  } else if (control.magic.load() != kMagic || control.slotCount != kSlots) {
    throw Exception(path.string() + " is no status file of a store", StoreError::kForeignFile);
  } else if (control.layout != kLayout) {
    throw Exception(path.string() + " has layout " + std::to_string(control.layout) +
                        "; this version knows layout " + std::to_string(kLayout),
                    StoreError::kNewerSchema);
  }
  return file;
}

StatusFile::~StatusFile() {
  if (map_ != nullptr) ::munmap(map_, kFileSize);
  ::close(fd_);
}

StatusFile::Lock::Lock(StatusFile& file) : threads_(file.mutex_), fd_(file.fd_) {
  while (::flock(fd_, LOCK_EX) != 0 && errno == EINTR) {
  }
}

StatusFile::Lock::~Lock() {
  ::flock(fd_, LOCK_UN);
}

StatusFile::Control& StatusFile::control() const {
  return *reinterpret_cast<Control*>(static_cast<char*>(map_) + Zone::kSize);
}

bool StatusFile::isAt(const std::filesystem::path& path) const {
  struct stat own {};
  struct stat present {};
  return ::fstat(fd_, &own) == 0 && ::stat(path.c_str(), &present) == 0 &&
         own.st_dev == present.st_dev && own.st_ino == present.st_ino;
}

std::uint64_t StatusFile::swaps() const {
  return control().swaps.load();
}

void StatusFile::swapped() {
  control().swaps.fetch_add(1);
}

std::uint64_t StatusFile::dataFile() const {
  return control().dataFile.load();
}

void StatusFile::dataFile(std::uint64_t inode) {
  control().dataFile.store(inode);
}

Revision StatusFile::revision() const {
  return control().revision.load(std::memory_order_acquire);
}

bool StatusFile::publish(Revision revision) {
  Control& c = control();
  Revision old = c.revision.load(std::memory_order_relaxed);
  while (old < revision &&
         !c.revision.compare_exchange_weak(old, revision, std::memory_order_acq_rel)) {
  }
  // Two writers may get here in either order, so the word is set to the present revision. The later
  // one writes it too, because the other one may have died before it did.
  for (;;) {
    const Revision now = c.revision.load(std::memory_order_acquire);
    c.word.store(static_cast<std::uint32_t>(now), std::memory_order_seq_cst);
    if (c.revision.load(std::memory_order_seq_cst) == now) break;
  }
  wake();
  return old < revision;
}

void StatusFile::correct(Revision wrong, Revision revision) {
  Control& c = control();
  if (c.revision.compare_exchange_strong(wrong, revision)) {
    c.word.store(static_cast<std::uint32_t>(revision));
    wake();
  }
}

void StatusFile::wake() {
  ::syscall(SYS_futex, &control().word, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

bool StatusFile::wait(Revision seen, int timeoutMs) {
  Control& c = control();
  const std::uint32_t expected = c.word.load(std::memory_order_seq_cst);
  if (revision() != seen) return true;
  const timespec timeout{timeoutMs / 1000, (timeoutMs % 1000) * 1'000'000L};
  const long rc = ::syscall(SYS_futex, &c.word, FUTEX_WAIT, expected, &timeout, nullptr, 0);
  return rc == 0 || errno != ETIMEDOUT;
}

bool StatusFile::alive(const Slot& slot) {
  return isAlive(slot.pid.load(std::memory_order_acquire),
                 slot.started.load(std::memory_order_acquire));
}

int StatusFile::claim(std::string_view name, Revision applied) {
  const Lock lock(*this);
  const auto pid = static_cast<std::uint32_t>(::getpid());
  for (std::size_t i = 0; i < kSlots; ++i) {
    Slot& slot = control().slots[i];
    if (slot.pid.load() != 0 && alive(slot)) continue;
    slot.pid.store(0);
    char text[kNameBytes] = {};
    std::memcpy(text, name.data(), std::min(name.size(), kNameBytes - 1));
    for (std::size_t word = 0; word < kNameWords; ++word) {
      std::uint64_t bytes = 0;
      std::memcpy(&bytes, text + word * 8, 8);
      slot.name[word].store(bytes);
    }
    slot.started.store(startTime(pid).value_or(0));
    slot.applied.store(applied);
    slot.pid.store(pid, std::memory_order_release);
    return static_cast<int>(i);
  }
  throw Exception("All " + std::to_string(kSlots) + " places for processes are taken",
                  StoreError::kNoReaderSlot);
}

void StatusFile::release(int slot) {
  control().slots[slot].pid.store(0);
}

void StatusFile::applied(int slot, Revision revision) {
  control().slots[slot].applied.store(revision, std::memory_order_release);
}

std::vector<ConfigStore::Process> StatusFile::processes() const {
  std::vector<ConfigStore::Process> found;
  for (const Slot& slot : control().slots) {
    const std::uint32_t pid = slot.pid.load(std::memory_order_acquire);
    if (pid == 0 || !alive(slot)) continue;
    char text[kNameBytes];
    for (std::size_t word = 0; word < kNameWords; ++word) {
      const std::uint64_t bytes = slot.name[word].load();
      std::memcpy(text + word * 8, &bytes, 8);
    }
    text[kNameBytes - 1] = 0;
    const Revision applied = slot.applied.load(std::memory_order_acquire);
    if (slot.pid.load(std::memory_order_acquire) != pid) continue;  // another process has it now
    found.push_back({static_cast<int>(pid), text, applied});
  }
  return found;
}

std::optional<Revision> StatusFile::lowestApplied() const {
  std::optional<Revision> lowest;
  for (const Slot& slot : control().slots) {
    if (slot.pid.load(std::memory_order_acquire) == 0 || !alive(slot)) continue;
    const Revision applied = slot.applied.load(std::memory_order_acquire);
    lowest = std::min(lowest.value_or(applied), applied);
  }
  return lowest;
}

}  // namespace Kestrav::Config
