// Stores that exist for the length of one verb, to look at files as the store would hold them.
#pragma once

#include <filesystem>
#include <memory>
#include <vector>

#include "config/store/ConfigStore.h"
#include "tools/Verbs.h"

namespace Kestrav::Tool {

class Scratch {
 public:
  Scratch() = default;
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  // Removes the folders.
  ~Scratch();

  // A store that holds what the files say; null when there are mistakes, each of which has been
  // printed.
  std::shared_ptr<Config::ConfigStore> load(const Context& context, const Files& files);

 private:
  std::vector<std::shared_ptr<Config::ConfigStore>> stores_;
  std::vector<std::filesystem::path> folders_;
};

}  // namespace Kestrav::Tool
