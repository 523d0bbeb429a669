#include "tools/Scratch.h"

#include <cstdlib>
#include <string>
#include <system_error>

#include "common/Exception.h"
#include "config/text/Text.h"
#include "tools/ReadFiles.h"

namespace Kestrav::Tool {

Scratch::~Scratch() {
  stores_.clear();
  for (const std::filesystem::path& folder : folders_) {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }
}

std::shared_ptr<Config::ConfigStore> Scratch::load(const Context& context, const Files& files) {
  const auto configuration = readFiles(context, files);
  if (!configuration) return nullptr;
  std::string folder = (std::filesystem::temp_directory_path() / "vexactl-XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr) {
    throw Exception("no temporary folder can be made", Exception::kFileFailure)
        .stringParameter(folder);
  }
  folders_.emplace_back(folder);
  auto store = Config::ConfigStore::open(folders_.back() / "store");
  store->commit(Config::Text::differences(*configuration, store->snapshot()));
  return stores_.emplace_back(std::move(store));
}

}  // namespace Kestrav::Tool
