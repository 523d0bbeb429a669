// A process that runs the program "peer" in one of its roles. Destroying the object kills it.
//
// Used by one thread. Throws when the peer does not answer for a minute.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace Kestrav::Testing {

class PeerProcess {
 public:
  // The program's arguments, the role first.
  explicit PeerProcess(std::vector<std::string> arguments);
  ~PeerProcess();
  PeerProcess(const PeerProcess&) = delete;
  PeerProcess& operator=(const PeerProcess&) = delete;

  // Lost when the peer is dead.
  void send(const std::string& line);
  // The next line of output, empty at the end.
  std::string line();
  // The next line if it has arrived. Does not wait. Works after the end of the process, too.
  std::optional<std::string> lineIfAny();
  // Sends a command whose answer is one line.
  std::string ask(const std::string& command);
  // Sends a command whose answer ends with the line ".".
  std::string askAll(const std::string& command);

  void signal(int number);
  // Returns when no thread of the process runs any more.
  void suspend();
  void resume();

  // Kills it. Returns its error report, empty if there was none before the signal.
  std::string kill();
  // Waits for it to end by itself. Returns its error report, empty if all is well.
  std::string finish();

  pid_t pid() const { return pid_; }

 private:
  std::string reap(bool killed);

  pid_t pid_ = -1;
  int socket_ = -1;
  std::string unread_;
};

// Gives the processes that are started from now on a time zone in which it is about noon: far from
// the bounds of the deferred periods in the sets.
void liveAtNoon();

// Exit code and output, stderr too, of a program.
struct Outcome {
  int code;
  std::string output;
};
Outcome runProgram(const std::string& program, std::vector<std::string> arguments);

}  // namespace Kestrav::Testing
