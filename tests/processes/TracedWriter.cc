#include "tests/processes/TracedWriter.h"

#include <linux/futex.h>
#include <signal.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <climits>
#include <cstddef>
#include <stdexcept>

namespace Kestrav::Testing {

TracedWriter::TracedWriter(const std::string& store, std::uint32_t number)
    : process_({"write-traced", store, std::to_string(number)}) {
  if (process_.line() != "ready") return;
  int status = 0;
  ::waitpid(process_.pid(), &status, 0);
  if (!WIFSTOPPED(status)) throw std::runtime_error("the writer did not stop");
  traced_ = ::ptrace(PTRACE_SETOPTIONS, process_.pid(), nullptr,
                     static_cast<unsigned long>(PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL)) == 0;
}

bool TracedWriter::advance(int request) {
  if (::ptrace(static_cast<__ptrace_request>(request), process_.pid(), nullptr, nullptr) != 0) {
    throw std::runtime_error("cannot trace the writer");
  }
  // WNOWAIT: an exit is left for PeerProcess to reap.
  siginfo_t info{};
  if (::waitid(P_PID, static_cast<id_t>(process_.pid()), &info, WEXITED | WSTOPPED | WNOWAIT) !=
          0 ||
      info.si_code == CLD_EXITED) {
    return false;
  }
  int status = 0;
  ::waitpid(process_.pid(), &status, 0);
  if (!WIFSTOPPED(status)) throw std::runtime_error("the writer died");
  return true;
}

bool TracedWriter::toNextSystemCall() {
  return advance(PTRACE_SYSCALL);
}

bool TracedWriter::step() {
  return advance(PTRACE_SINGLESTEP);
}

bool TracedWriter::aboutToWake() const {
  __ptrace_syscall_info info{};
  ::ptrace(PTRACE_GET_SYSCALL_INFO, process_.pid(), sizeof info, &info);
  return info.op == PTRACE_SYSCALL_INFO_ENTRY && info.entry.nr == SYS_futex &&
         static_cast<int>(info.entry.args[1]) == FUTEX_WAKE &&
         static_cast<int>(info.entry.args[2]) == INT_MAX;
}

void TracedWriter::kill() {
  process_.kill();
}

bool TracedWriter::finished() {
  return process_.finish().empty();
}

}  // namespace Kestrav::Testing
