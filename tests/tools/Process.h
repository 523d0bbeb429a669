// vexactl as a process of its own.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace Kestrav::ToolTesting {

struct Result {
  int code = -1;    // exit code; -1 when a signal ended it
  int signal = 0;   // the signal that ended it
  std::string out;  // what it wrote to stdout
  std::string err;
};

// Where a standard stream goes. A path is opened for writing.
struct Streams {
  static constexpr const char* kPipe = "";                   // read by the test
  static constexpr const char* kClosed = "closed";           // not open at all
  static constexpr const char* kReaderGone = "reader gone";  // a pipe that nobody reads any more
  static constexpr const char* kTerminal = "terminal";       // a pseudo terminal, read by the test
  std::string out = kPipe;
  std::string err = kPipe;
  bool unprivileged = false;  // without root's right to pass over file permissions
};

// Killed, if still there, when the object goes. Used by one thread.
class Process {
 public:
  explicit Process(const std::vector<std::string>& arguments, const Streams& streams = {});
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  // Waits for the next line of stdout, without its end; empty when there are no more.
  std::string line();
  void signal(int number) const;
  // Waits for the end. `out` is what line() has not given yet.
  Result wait();

  pid_t pid() const { return pid_; }

 private:
  // Reads once from whichever of the two has something; false at the end of both.
  bool read();

  pid_t pid_ = -1;
  int outFd_ = -1;
  int errFd_ = -1;
  Result result_;
};

// Runs vexactl from start to end.
Result vexactl(const std::vector<std::string>& arguments, const Streams& streams = {});

}  // namespace Kestrav::ToolTesting
