// Runs vexactl as a separate process.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace Kestrav::ToolTesting {

struct Result {
  int code = -1;    // exit code; -1 after a signal
  int signal = 0;   // the signal that ended the process; 0: none
  std::string out;  // of stdout
  std::string err;
};

// Where a standard stream goes. A path is opened for writing.
struct Streams {
  static constexpr const char* kPipe = "";                   // read by the test
  static constexpr const char* kClosed = "closed";           // not open
  static constexpr const char* kReaderGone = "reader gone";  // a pipe without a reader
  static constexpr const char* kTerminal = "terminal";       // a pseudo terminal, read by the test
  std::string out = kPipe;
  std::string err = kPipe;
  bool unprivileged = false;  // without root's right to ignore file permissions
};

// The destructor kills the process when it still runs. Used by one thread.
class Process {
 public:
  explicit Process(const std::vector<std::string>& arguments, const Streams& streams = {});
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  // Waits for the next line of stdout, without the line break; empty at the end.
  std::string line();
  void signal(int number) const;
  // Waits for the end. `out` holds what line() has not returned.
  Result wait();

  pid_t pid() const { return pid_; }

 private:
  // Waits for output of either stream and reads it; false at the end of both.
  bool read();

  pid_t pid_ = -1;
  int outFd_ = -1;
  int errFd_ = -1;
  Result result_;
};

// Runs vexactl from start to end.
Result vexactl(const std::vector<std::string>& arguments, const Streams& streams = {});

}  // namespace Kestrav::ToolTesting
