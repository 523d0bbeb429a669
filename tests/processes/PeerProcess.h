// Another process of the gateway: the program "peer", started in one of its roles and spoken to
// line by line. Killed, if still there, when the object goes.
//
// Used by one thread. A peer that does not answer for a minute is an exception.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace Kestrav::Testing {

class PeerProcess {
 public:
  // The arguments of the program, its role first.
  explicit PeerProcess(std::vector<std::string> arguments);
  ~PeerProcess();
  PeerProcess(const PeerProcess&) = delete;
  PeerProcess& operator=(const PeerProcess&) = delete;

  // What a dead peer is told is lost.
  void send(const std::string& line);
  // Its next line; empty at the end of its output.
  std::string line();
  // Sends, and returns the one line of the answer.
  std::string ask(const std::string& command);
  // Sends, and returns the lines of the answer up to the one that says ".".
  std::string askAll(const std::string& command);

  void signal(int number);
  // Stops it; returns when no thread of it runs any more.
  void suspend();
  void resume();

  // Kills it. Returns what it had to complain about before: empty when the signal was what ended
  // it.
  std::string kill();
  // Lets it end by itself. Returns what it had to complain about.
  std::string finish();

  pid_t pid() const { return pid_; }

 private:
  std::string reap(bool killed);

  pid_t pid_ = -1;
  int socket_ = -1;
  std::string unread_;
};

// What `program` printed and its exit code.
struct Outcome {
  int code;
  std::string output;
};
Outcome runProgram(const std::string& program, std::vector<std::string> arguments);

}  // namespace Kestrav::Testing
