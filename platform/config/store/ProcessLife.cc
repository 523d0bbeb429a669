#include "platform/config/store/ProcessLife.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <climits>
#include <csignal>
#include <cstdio>
#include <string_view>

namespace Kestrav::Config {
namespace {

constexpr int kFirstField = 3;  // of those after the name: the state
constexpr int kStartField = 22;

struct Life {
  bool ended = false;
  std::uint64_t started = 0;
};

// The number at the end of `stat` that is wanted lies within the first 600 bytes, because a name
// has at most 64.
std::optional<Life> readLife(std::uint32_t pid) {
  char path[32];
  std::snprintf(path, sizeof path, "/proc/%u/stat", pid);
  const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0) return {};
  char bytes[1024];
  ssize_t count = 0;
  do {
    count = ::read(fd, bytes, sizeof bytes);
  } while (count < 0 && errno == EINTR);
  ::close(fd);
  if (count <= 0) return {};  // ESRCH: it ended after it was opened

  std::string_view text(bytes, static_cast<std::size_t>(count));
  const std::size_t name = text.rfind(')');  // the name before it may contain any character
  if (name == std::string_view::npos || name + 2 >= text.size()) return {};
  text.remove_prefix(name + 2);
  Life life;
  life.ended = text.front() == 'Z' || text.front() == 'X' || text.front() == 'x';
  for (int field = kFirstField; field < kStartField; ++field) {
    const std::size_t blank = text.find(' ');
    if (blank == std::string_view::npos) return {};
    text.remove_prefix(blank + 1);
  }
  const auto parsed = std::from_chars(text.data(), text.data() + text.size(), life.started);
  if (parsed.ec != std::errc()) return {};
  return life;
}

}  // namespace

std::optional<std::uint64_t> startTime(std::uint32_t pid) {
  const auto life = readLife(pid);
  return life ? std::optional(life->started) : std::nullopt;
}

bool isAlive(std::uint32_t pid, std::uint64_t started) {
  if (pid == 0 || pid > INT_MAX) return false;
  if (const auto life = readLife(pid)) {
    return !life->ended && (started == 0 || life->started == started);
  }
  return ::kill(static_cast<pid_t>(pid), 0) == 0 || errno != ESRCH;
}

}  // namespace Kestrav::Config
