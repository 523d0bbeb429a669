// One line on a terminal: the current stage of a long-running verb, and how long it has taken.
//
// Shown only when stderr is a terminal; removed when the verb ends. One thread uses it; a second,
// internal thread updates the seconds.
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

  // Starts a stage, "reading 3 files", and ends the previous one.
  void stage(const std::string& what);
  // Removes the line before other output; the next stage shows it again.
  void clear();

 private:
  void keepTime();
  void draw();

  std::ostream* const out_;  // null: stderr is no terminal
  std::mutex mutex_;         // guards the members below and writing to *out_
  std::condition_variable ended_;
  bool end_ = false;
  std::string what_;  // empty: no line is shown
  std::chrono::steady_clock::time_point since_;
  std::thread clock_;
};

// "1 file", "3 files".
std::string counted(std::size_t number, const std::string& thing);

}  // namespace Kestrav::Tool
