#include "tools/ReadFiles.h"

#include <ostream>
#include <vector>

#include "platform/config/text/Text.h"
#include "tools/Messages.h"
#include "tools/Progress.h"

namespace Kestrav::Tool {

std::optional<Config::Text::Configuration> readFiles(const Context& context, const Files& files,
                                                     const char* consequence) {
  Progress progress(context);
  progress.stage("reading " + counted(files.size(), "file"));
  std::vector<Config::Text::Problem> problems;
  auto configuration = Config::Text::read(std::span<const std::filesystem::path>(files), problems);
  progress.clear();
  for (const auto& problem : problems) context.err << oneLine(problem.toString()) << "\n";
  if (!configuration) {
    context.err << "vexactl: " << counted(problems.size(), "mistake") << consequence << "\n";
  }
  return configuration;
}

}  // namespace Kestrav::Tool
