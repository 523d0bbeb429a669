// Any bytes as the status file: it is opened or refused with a reason, and every question to it has
// an answer. Input: one byte N, then the bytes. N = 0: they are the whole file. N < 128: they
// replace those of a new file from word N - 1 after the zone on. Else: from word 8 * (N - 127) on,
// in the slots of processes.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "platform/common/Exception.h"
#include "platform/config/store/StatusArea.h"
#include "platform/config/store/StatusFile.h"

namespace {

using namespace Kestrav::Config;

void require(bool condition) {
  if (!condition) std::abort();
}

// In memory where there is such a folder. Each process has its own.
const std::string& path() {
  static const std::string file = [] {
    std::error_code error;
    const bool memory = std::filesystem::is_directory("/dev/shm", error);
    return std::string(memory ? "/dev/shm" : "/tmp") + "/kestrav-fuzz-status-" +
           std::to_string(::getpid());
  }();
  static const struct Removed {
    ~Removed() { ::unlink(path().c_str()); }
  } removed;
  return file;
}

// The bytes of a new file.
const std::string& newFile() {
  static const std::string bytes = [] {
    const std::string made = path() + "-new";
    ::unlink(made.c_str());
    StatusFile::open(made);
    std::string read(std::filesystem::file_size(made), '\0');
    const int fd = ::open(made.c_str(), O_RDONLY | O_CLOEXEC);
    require(::pread(fd, read.data(), read.size(), 0) == static_cast<ssize_t>(read.size()));
    ::close(fd);
    ::unlink(made.c_str());
    return read;
  }();
  return bytes;
}

void write(std::string_view bytes, std::size_t at) {
  static const int fd = ::open(path().c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (at == 0) require(::ftruncate(fd, static_cast<off_t>(bytes.size())) == 0);
  require(::pwrite(fd, bytes.data(), bytes.size(), static_cast<off_t>(at)) ==
          static_cast<ssize_t>(bytes.size()));
}

// The control pages of a new file, from `at` on with `input`. The zone keeps what ask() left in it.
void writeControl(std::size_t at, std::string_view input) {
  std::string control = newFile().substr(Zone::kSize);
  const std::size_t count = std::min(input.size(), control.size() - at);
  control.replace(at, count, input.substr(0, count));
  write(control, Zone::kSize);
}

void ask(StatusFile& status) {
  for (const auto& process : status.processes()) {
    require(process.pid > 0 && process.name.size() < 32);
    require(status.lowestApplied() <= process.applied);
  }
  try {
    const int slot = status.claim("fuzz", 5);
    status.applied(slot, 7);
    const auto found = status.processes();
    require(std::any_of(found.begin(), found.end(), [](const auto& process) {
      return process.pid == ::getpid() && process.name == "fuzz" && process.applied == 7;
    }));
    require(status.lowestApplied() <= 7u);
    status.release(slot);
  } catch (const Kestrav::Exception& exception) {
    require(exception.code() == StoreError::kNoReaderSlot);
  }
  const Revision revision = status.revision();
  require(!status.publish(revision));
  require(status.publish(revision + 1) == (revision + 1 != 0));
  require(status.wait(revision + 2, 0));
  StatusArea area(status.zone());
  area.contentInspection(!area.contentInspection());
  area.setDirty(1);
  require(area.clearDirty(~0u) != 0 && area.dirtyFlags() == 0);
  area.disclaimerReload(!area.disclaimerReload());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view input(reinterpret_cast<const char*>(data) + 1, size - 1);
  static bool foreign = true;  // the file may have another size
  if (data[0] == 0) {
    write(input, 0);
    foreign = true;
  } else {
    if (foreign) write(newFile(), 0);
    foreign = false;
    writeControl((data[0] < 128 ? data[0] - 1u : (data[0] - 127u) * 8) * 8, input);
  }
  try {
    ask(*StatusFile::open(path()));
  } catch (const Kestrav::Exception& exception) {
    require(exception.code() == StoreError::kForeignFile ||
            exception.code() == StoreError::kNewerSchema);
    require(!exception.message().empty());
  }
  return 0;
}
