// One line on a terminal that says what a long-running verb is at, and since when.
//
// Shown only when stderr is a terminal, and gone when the verb ends. Made, told and destroyed by
// one thread; a thread of its own keeps the seconds going.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <ostream>
#include <string>
#include <thread>

#include "tools/Verbs.h"

namespace Kestrav::Tool {

class Progress {
 public:
  explicit Progress(const Context& context);
  // Removes the line.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // "reading 3 files"; the former stage ends.
  void stage(const std::string& what);
  // Removes the line, before something else is printed; the next stage brings it back.
  void clear();

 private:
  void keepTime();
  void draw();

  std::ostream* const out_;  // null: nobody looks
  std::mutex mutex_;         // guards all that follows, and writing to *out_
  std::condition_variable ended_;
  bool end_ = false;
  std::string what_;  // empty: no line is shown
  std::chrono::steady_clock::time_point since_;
  std::thread clock_;
};

// "1 file", "3 files".
std::string counted(std::size_t number, const std::string& thing);

}  // namespace Kestrav::Tool
