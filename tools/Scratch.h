// Stores without a name in the file system that exist for the length of one verb, to look at files
// as the store would hold them.
#pragma once

#include <memory>
#include <vector>

#include "platform/config/store/ConfigStore.h"
#include "tools/Verbs.h"

namespace Kestrav::Tool {

class Scratch {
 public:
  Scratch() = default;
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  // A store that holds nothing yet.
  std::shared_ptr<Config::ConfigStore> empty();

  // A store that holds the same records with the same numbers.
  std::shared_ptr<Config::ConfigStore> copy(const Config::Snapshot& original);

  // A store that holds what the files say; null when there are mistakes, each of which has been
  // printed.
  std::shared_ptr<Config::ConfigStore> load(const Context& context, const Files& files);

 private:
  std::vector<std::shared_ptr<Config::ConfigStore>> stores_;
};

}  // namespace Kestrav::Tool
