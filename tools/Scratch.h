// Temporary stores for one verb. They have no name in the file system.
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
  std::shared_ptr<Config::ConfigStore> empty();

  // The same records with the same ids.
  std::shared_ptr<Config::ConfigStore> copy(const Config::Snapshot& original);

  // The configuration of the files. Null when there are mistakes; each is printed.
  std::shared_ptr<Config::ConfigStore> load(const Context& context, const Files& files);

 private:
  std::vector<std::shared_ptr<Config::ConfigStore>> stores_;
};

}  // namespace Kestrav::Tool
