#include "tests/processes/PeerProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <stdexcept>
#include <utility>

namespace Kestrav::Testing {
namespace {

constexpr int kPatience = 60'000;  // ms

// `descriptor` becomes standard input and output.
pid_t start(const std::string& program, std::vector<std::string> arguments, int descriptor,
            bool errorsToo) {
  arguments.insert(arguments.begin(), program);
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, descriptor, STDIN_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, descriptor, STDOUT_FILENO);
  if (errorsToo) ::posix_spawn_file_actions_adddup2(&actions, descriptor, STDERR_FILENO);
  pid_t pid = -1;
  const int rc = ::posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  if (rc != 0) throw std::runtime_error("cannot start " + program);
  return pid;
}

// `otherEnd` is for the new process.
int socketTo(int& otherEnd) {
  int ends[2];
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
    throw std::runtime_error("no socket");
  }
  otherEnd = ends[1];
  return ends[0];
}

// Appends what has arrived. False at the end.
bool receive(int socket, std::string& text) {
  pollfd wait{socket, POLLIN, 0};
  int ready = 0;
  do {
    ready = ::poll(&wait, 1, kPatience);
  } while (ready < 0 && errno == EINTR);
  if (ready == 0) throw std::runtime_error("a process does not answer; so far: " + text);
  char bytes[4096];
  const ssize_t count = ::recv(socket, bytes, sizeof bytes, 0);
  if (count <= 0) return false;
  text.append(bytes, static_cast<std::size_t>(count));
  return true;
}

}  // namespace

PeerProcess::PeerProcess(std::vector<std::string> arguments) {
  int childs = -1;
  socket_ = socketTo(childs);
  pid_ = start(PEER_PROGRAM, std::move(arguments), childs, false);
  ::close(childs);
}

PeerProcess::~PeerProcess() {
  if (pid_ > 0) kill();
  ::close(socket_);
}

void PeerProcess::send(const std::string& line) {
  const std::string text = line + "\n";
  static_cast<void>(::send(socket_, text.data(), text.size(), MSG_NOSIGNAL));
}

std::string PeerProcess::line() {
  for (;;) {
    const std::size_t end = unread_.find('\n');
    if (end != std::string::npos) {
      std::string found = unread_.substr(0, end);
      unread_.erase(0, end + 1);
      return found;
    }
    if (!receive(socket_, unread_)) return std::exchange(unread_, {});
  }
}

std::optional<std::string> PeerProcess::lineIfAny() {
  char bytes[4096];
  for (ssize_t count = 0; (count = ::recv(socket_, bytes, sizeof bytes, MSG_DONTWAIT)) > 0;) {
    unread_.append(bytes, static_cast<std::size_t>(count));
  }
  return unread_.find('\n') != std::string::npos ? std::optional(line()) : std::nullopt;
}

std::string PeerProcess::ask(const std::string& command) {
  send(command);
  return line();
}

std::string PeerProcess::askAll(const std::string& command) {
  send(command);
  std::string all;
  for (std::string next = line(); next != "."; next = line()) {
    if (next.empty() && unread_.empty()) return all + "(it ended)\n";
    all += next + "\n";
  }
  return all;
}

void PeerProcess::signal(int number) {
  ::kill(pid_, number);
}

void PeerProcess::suspend() {
  signal(SIGSTOP);
  int status = 0;
  ::waitpid(pid_, &status, WUNTRACED);
  if (!WIFSTOPPED(status)) throw std::runtime_error("it ended instead of stopping");
}

void PeerProcess::resume() {
  signal(SIGCONT);
}

std::string PeerProcess::kill() {
  signal(SIGKILL);
  return reap(true);
}

std::string PeerProcess::finish() {
  ::shutdown(socket_, SHUT_WR);
  return reap(false);
}

std::string PeerProcess::reap(bool killed) {
  while (receive(socket_, unread_)) {
  }
  int status = 0;
  ::waitpid(std::exchange(pid_, -1), &status, 0);
  const bool asExpected = killed ? WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL
                                 : WIFEXITED(status) && WEXITSTATUS(status) == 0;
  if (asExpected) return {};
  return "ended with status " + std::to_string(status) + ": " + std::exchange(unread_, {});
}

void liveAtNoon() {
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
  ::gmtime_r(&now, &utc);
  ::setenv("TZ", ("NOON" + std::to_string(utc.tm_hour - 12)).c_str(), 1);
}

Outcome runProgram(const std::string& program, std::vector<std::string> arguments) {
  int childs = -1;
  const int socket = socketTo(childs);
  const pid_t pid = start(program, std::move(arguments), childs, true);
  ::close(childs);
  Outcome outcome{-1, {}};
  while (receive(socket, outcome.output)) {
  }
  ::close(socket);
  int status = 0;
  ::waitpid(pid, &status, 0);
  if (WIFEXITED(status)) outcome.code = WEXITSTATUS(status);
  return outcome;
}

}  // namespace Kestrav::Testing
