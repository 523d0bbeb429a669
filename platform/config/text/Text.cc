#include "platform/config/text/Text.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <system_error>

#include "platform/config/text/Reader.h"
#include "platform/config/text/YamlTree.h"

namespace Kestrav::Config::Text {
namespace {

namespace fs = std::filesystem;

void addFile(const fs::path& path, std::vector<Source>& sources, std::vector<Problem>& problems) {
  std::error_code error;
  const auto size = fs::file_size(path, error);
  if (error) {
    problems.push_back({path.string(), 0, 0, "cannot be read: " + error.message(), "a YAML file"});
    return;
  }
  if (size > kMaximumSource) {
    problems.push_back({path.string(), 0, 0, "the file is too large",
                        "at most " + std::to_string(kMaximumSource >> 20) + " MiB; split it"});
    return;
  }
  std::ifstream stream(path, std::ios::binary);
  std::string content(static_cast<std::size_t>(size), '\0');
  stream.read(content.data(), static_cast<std::streamsize>(size));
  if (!stream && !stream.eof()) {
    problems.push_back({path.string(), 0, 0, "cannot be read", "a file with read permission"});
    return;
  }
  content.resize(static_cast<std::size_t>(stream.gcount()));
  sources.push_back({path.string(), std::move(content)});
}

void addFolder(const fs::path& folder, std::vector<Source>& sources,
               std::vector<Problem>& problems) {
  std::vector<fs::path> files;
  std::error_code error;
  for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
    if (at->path().extension() == ".yaml" && !at->is_directory()) files.push_back(at->path());
  }
  if (error) {
    problems.push_back({folder.string(), 0, 0, "cannot be read: " + error.message(),
                        "a folder with read permission"});
    return;
  }
  if (files.empty()) {
    problems.push_back({folder.string(), 0, 0, "a folder without *.yaml files",
                        "a file, or a folder with at least one"});
  }
  std::sort(files.begin(), files.end());
  for (const fs::path& file : files) addFile(file, sources, problems);
}

}  // namespace

std::string Problem::toString() const {
  std::string text = file;
  if (line > 0) text += ":" + std::to_string(line) + ":" + std::to_string(column);
  return text + ": " + what + "; " + wouldBeRight;
}

std::optional<Configuration> read(std::span<const Source> sources, std::vector<Problem>& problems) {
  const std::size_t before = problems.size();
  Reader reader(problems);
  for (const Source& source : sources) {
    if (const auto root = parseYaml(source.name, source.content, problems)) {
      reader.readDocument(source.name, *root);
    }
  }
  Configuration configuration = reader.finish();
  if (problems.size() == before) return configuration;

  std::map<std::string_view, std::size_t> order;
  for (const Source& source : sources) order.emplace(source.name, order.size());
  std::stable_sort(problems.begin() + static_cast<std::ptrdiff_t>(before), problems.end(),
                   [&](const Problem& a, const Problem& b) {
                     return std::tuple(order[a.file], a.line, a.column) <
                            std::tuple(order[b.file], b.line, b.column);
                   });
  return std::nullopt;
}

std::optional<Configuration> read(std::span<const std::filesystem::path> paths,
                                  std::vector<Problem>& problems) {
  const std::size_t before = problems.size();
  std::vector<Source> sources;
  for (const fs::path& path : paths) {
    if (fs::is_directory(path)) {
      addFolder(path, sources, problems);
    } else {
      addFile(path, sources, problems);
    }
  }
  auto configuration = read(std::span<const Source>(sources), problems);
  if (problems.size() != before) return std::nullopt;
  return configuration;
}

}  // namespace Kestrav::Config::Text
