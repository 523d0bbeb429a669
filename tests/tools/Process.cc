#include "Process.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

namespace Kestrav::ToolTesting {
namespace {

// The two ends of a standard stream; -1 for none.
struct Ends {
  int ours = -1;
  int theirs = -1;
};

Ends ends(const std::string& where) {
  int fds[2] = {-1, -1};
  if (where == Streams::kClosed) return {};
  if (where == Streams::kTerminal) {
    if (::openpty(&fds[0], &fds[1], nullptr, nullptr, nullptr) != 0) {
      throw std::runtime_error("no pseudo terminal");
    }
    termios mode{};
    ::tcgetattr(fds[1], &mode);
    ::cfmakeraw(&mode);
    ::tcsetattr(fds[1], TCSANOW, &mode);
    ::fcntl(fds[0], F_SETFD, FD_CLOEXEC);
    ::fcntl(fds[1], F_SETFD, FD_CLOEXEC);
    return {fds[0], fds[1]};
  }
  if (where == Streams::kPipe || where == Streams::kReaderGone) {
    if (::pipe2(fds, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    if (where == Streams::kPipe) return {fds[0], fds[1]};
    ::close(fds[0]);
    return {-1, fds[1]};
  }
  const int fd = ::open(where.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  if (fd < 0) throw std::runtime_error("cannot open " + where);
  return {-1, fd};
}

// Runs in the child: async-signal-safe calls only.
void connect(int theirs, int number) {
  if (theirs < 0) {
    ::close(number);
  } else if (::dup2(theirs, number) < 0) {
    ::_exit(127);
  }
}

void closeEnd(int& fd) {
  if (fd >= 0) ::close(fd);
  fd = -1;
}

// False at the end.
bool readSome(int& fd, std::string& text) {
  char block[4096];
  const ssize_t got = ::read(fd, block, sizeof block);
  if (got > 0) {
    text.append(block, static_cast<std::size_t>(got));
    return true;
  }
  if (got < 0 && errno == EINTR) return true;
  closeEnd(fd);  // a terminal fails instead of ending when its other side is closed
  return false;
}

}  // namespace

Process::Process(const std::vector<std::string>& arguments, const Streams& streams) {
  std::vector<std::string> words = arguments;
  words.insert(words.begin(), VEXACTL);
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);

  Ends out = ends(streams.out);
  Ends err = ends(streams.err);
  pid_ = ::fork();
  if (pid_ < 0) throw std::runtime_error("no process");
  if (pid_ == 0) {
    const int null = ::open("/dev/null", O_RDONLY);
    ::dup2(null, STDIN_FILENO);
    ::signal(SIGPIPE, SIG_DFL);
    if (streams.unprivileged) {
      ::prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE, 0, 0, 0);
      ::prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH, 0, 0, 0);
    }
    connect(out.theirs, STDOUT_FILENO);
    connect(err.theirs, STDERR_FILENO);
    if (null > STDERR_FILENO) ::close(null);
    ::execv(VEXACTL, argv.data());
    ::_exit(127);
  }
  closeEnd(out.theirs);
  closeEnd(err.theirs);
  outFd_ = out.ours;
  errFd_ = err.ours;
}

Process::~Process() {
  if (pid_ > 0) {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
  closeEnd(outFd_);
  closeEnd(errFd_);
}

bool Process::read() {
  pollfd waiting[2] = {{outFd_, POLLIN, 0},
                       {errFd_, POLLIN, 0}};  // poll() ignores a negative descriptor
  if (outFd_ < 0 && errFd_ < 0) return false;
  if (::poll(waiting, 2, -1) < 0) return errno == EINTR;
  if (waiting[0].revents != 0) readSome(outFd_, result_.out);
  if (waiting[1].revents != 0) readSome(errFd_, result_.err);
  return true;
}

std::string Process::line() {
  std::size_t end = 0;
  while ((end = result_.out.find('\n')) == std::string::npos) {
    if (outFd_ < 0 || !read()) {
      end = result_.out.size();
      break;
    }
  }
  std::string text = result_.out.substr(0, end);
  result_.out.erase(0, end + 1);
  return text;
}

void Process::signal(int number) const {
  ::kill(pid_, number);
}

Result Process::wait() {
  while (read()) {
  }
  int status = 0;
  while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
  }
  pid_ = -1;
  result_.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  result_.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  return result_;
}

Result vexactl(const std::vector<std::string>& arguments, const Streams& streams) {
  return Process(arguments, streams).wait();
}

}  // namespace Kestrav::ToolTesting
