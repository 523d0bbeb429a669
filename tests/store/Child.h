// Another process that works on a store: store_child, started with a verb and driven through its
// pipes.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

namespace Kestrav::Config::StoreTesting {

// Killed, if still there, when the object goes.
class Child {
 public:
  explicit Child(std::vector<std::string> arguments) {
    int in[2];
    int out[2];
    if (::pipe2(in, O_CLOEXEC) != 0 || ::pipe2(out, O_CLOEXEC) != 0) {
      throw std::runtime_error("no pipe");
    }
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, in[0], 0);
    ::posix_spawn_file_actions_adddup2(&actions, out[1], 1);
    arguments.insert(arguments.begin(), STORE_CHILD);
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    const int rc = ::posix_spawn(&pid_, STORE_CHILD, &actions, nullptr, argv.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(in[0]);
    ::close(out[1]);
    input_ = in[1];
    output_ = ::fdopen(out[0], "r");
    if (rc != 0) throw std::runtime_error("cannot start " STORE_CHILD);
  }
  ~Child() {
    if (pid_ > 0) kill();
    std::fclose(output_);
    if (input_ >= 0) ::close(input_);
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  // Waits for the next line; empty at the end of the output.
  std::string line() {
    char text[512] = {};
    if (std::fgets(text, sizeof text, output_) == nullptr) return "";
    std::string read = text;
    while (!read.empty() && read.back() == '\n') read.pop_back();
    return read;
  }

  // Lets a child that waits go on.
  void release() {
    ::close(input_);
    input_ = -1;
  }

  void kill() {
    ::kill(pid_, SIGKILL);
    wait();
  }

  // The exit code; -1 when it died by a signal.
  int wait() {
    int status = 0;
    ::waitpid(pid_, &status, 0);
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  int pid() const { return pid_; }

 private:
  pid_t pid_ = -1;
  int input_ = -1;
  std::FILE* output_ = nullptr;
};

}  // namespace Kestrav::Config::StoreTesting
