#include <nlohmann/json.hpp>
#include <ostream>

#include "tools/Changes.h"
#include "tools/Compare.h"
#include "tools/JsonText.h"
#include "tools/Messages.h"
#include "tools/Progress.h"
#include "tools/Scratch.h"

namespace Kestrav::Tool {
namespace {

bool isStore(const std::filesystem::path& path) {
  std::error_code error;
  return std::filesystem::exists(path / "data.mdb", error);
}

}  // namespace

int diff(const Context& context, const DiffOptions& options) {
  Scratch scratch;
  const auto side = [&](const std::filesystem::path& path) -> std::shared_ptr<Config::ConfigStore> {
    if (path == context.store || isStore(path)) {
      Config::ConfigStore::Options existing;
      existing.create = false;
      existing.group = context.group;
      return Config::ConfigStore::open(path, existing);
    }
    std::error_code error;
    if (!std::filesystem::exists(path, error) && !error) {
      context.err << oneLine(path.string())
                  << ": does not exist; a file, a folder of files or a store\n";
      return nullptr;
    }
    return scratch.load(context, {path});
  };
  const auto from = side(options.from);
  const auto to = side(options.to.empty() ? context.store : std::filesystem::path(options.to));
  if (!from || !to) return kBadInput;
  Progress progress(context);
  progress.stage("comparing");
  const RenderOptions render{.secrets = options.secrets};
  const nlohmann::ordered_json differences = compare(from->snapshot(), to->snapshot(), render);
  progress.clear();
  if (options.json) {
    context.out << indented(differences);
  } else {
    for (const auto& difference : differences) printChange(difference, context.out);
  }
  return differences.empty() ? kDone : kNo;
}

}  // namespace Kestrav::Tool
