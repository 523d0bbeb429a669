#include "platform/config/text/Text.h"

#include <algorithm>
#include <iterator>
#include <map>

#include "platform/config/text/Reader.h"
#include "platform/config/text/SourceFiles.h"
#include "platform/config/text/YamlTree.h"

namespace Kestrav::Config::Text {
std::string Problem::toString() const {
  std::string text = file;
  if (line > 0) text += ":" + std::to_string(line) + ":" + std::to_string(column);
  text += severity == Severity::kWarning ? ": warning: " : ": ";
  return text + what + "; " + wouldBeRight;
}

std::size_t countOf(Severity severity, std::span<const Problem> problems) {
  return static_cast<std::size_t>(
      std::count_if(problems.begin(), problems.end(),
                    [severity](const Problem& problem) { return problem.severity == severity; }));
}

std::optional<Configuration> read(std::span<const Source> sources, std::vector<Problem>& problems) {
  std::vector<Problem> found;
  Reader reader(found);
  for (const Source& source : sources) {
    if (const auto root = parseYaml(source.name, source.content, found)) {
      reader.readDocument(source, *root);
    }
  }
  Configuration configuration = reader.finish();

  std::map<std::string_view, std::size_t> order;
  for (const Source& source : sources) order.emplace(source.name, order.size());
  std::stable_sort(found.begin(), found.end(), [&](const Problem& a, const Problem& b) {
    return std::tuple(order[a.file], a.line, a.column) <
           std::tuple(order[b.file], b.line, b.column);
  });
  const bool refused = countOf(Severity::kMistake, found) != 0;
  problems.insert(problems.end(), std::make_move_iterator(found.begin()),
                  std::make_move_iterator(found.end()));
  if (refused) return std::nullopt;
  return configuration;
}

std::optional<Configuration> read(std::span<const std::filesystem::path> paths,
                                  std::vector<Problem>& problems) {
  std::vector<Problem> unreadable;
  const std::vector<Source> sources = readFiles(paths, unreadable);
  problems.insert(problems.end(), unreadable.begin(), unreadable.end());
  auto configuration = read(std::span<const Source>(sources), problems);
  if (!unreadable.empty()) return std::nullopt;
  return configuration;
}

}  // namespace Kestrav::Config::Text
