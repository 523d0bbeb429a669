#include "tools/ReadFiles.h"

#include <ostream>
#include <vector>

#include "config/text/Text.h"

namespace Kestrav::Tool {

std::optional<Config::Text::Configuration> readFiles(const Context& context, const Files& files) {
  std::vector<Config::Text::Problem> problems;
  auto configuration = Config::Text::read(std::span<const std::filesystem::path>(files), problems);
  for (const auto& problem : problems) context.err << problem.toString() << "\n";
  if (!configuration) {
    context.err << "vexactl: " << problems.size()
                << (problems.size() == 1 ? " mistake" : " mistakes") << "; nothing was changed\n";
  }
  return configuration;
}

}  // namespace Kestrav::Tool
