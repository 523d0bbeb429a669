#include "tools/ReadFiles.h"

#include <ostream>
#include <vector>

#include "platform/config/text/Text.h"
#include "tools/Messages.h"
#include "tools/Progress.h"

namespace Kestrav::Tool {

std::optional<Config::Text::Configuration> readFiles(const Context& context, const Files& files,
                                                     const char* consequence) {
  using Config::Text::Severity;
  Progress progress(context);
  progress.stage("reading " + counted(files.size(), "file"));
  std::vector<Config::Text::Problem> problems;
  auto configuration = Config::Text::read(std::span<const std::filesystem::path>(files), problems);
  progress.clear();
  for (const auto& problem : problems) context.err << oneLine(problem.toString()) << "\n";
  const std::size_t mistakes = countOf(Severity::kMistake, problems);
  const std::size_t warnings = countOf(Severity::kWarning, problems);
  std::string summary;
  if (!configuration) {
    summary = mistakes < Config::Text::kMaximumProblems ? "" : "at least ";
    summary += counted(mistakes, "mistake");
  }
  if (warnings != 0) summary += (summary.empty() ? "" : ", ") + counted(warnings, "warning");
  if (!configuration) summary += consequence;
  if (!summary.empty()) context.err << "vexactl: " << summary << "\n";
  return configuration;
}

}  // namespace Kestrav::Tool
