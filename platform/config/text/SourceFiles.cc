#include "platform/config/text/SourceFiles.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <string>
#include <system_error>

namespace Kestrav::Config::Text {
namespace {

namespace fs = std::filesystem;

std::string messageOf(int error) {
  return std::generic_category().message(error);
}

class Descriptor {
 public:
  explicit Descriptor(const fs::path& path) : number_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
  ~Descriptor() {
    if (number_ >= 0) ::close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int number() const { return number_; }

 private:
  const int number_;
};

// At most kMaximumSource + 1 bytes; nothing, with the errno, when the file cannot be read.
std::optional<std::string> contentOf(const fs::path& path, int& error) {
  constexpr std::size_t kStep = 1u << 16;
  const Descriptor file(path);
  error = errno;
  if (file.number() < 0) return std::nullopt;
  std::string content;
  while (content.size() <= kMaximumSource) {
    const std::size_t before = content.size();
    content.resize(before + std::max(kStep, before / 2));
    const ssize_t count = ::read(file.number(), content.data() + before, content.size() - before);
    error = errno;
    content.resize(before + (count > 0 ? static_cast<std::size_t>(count) : 0));
    if (count == 0) return content;
    if (count < 0 && error != EINTR) return std::nullopt;
  }
  content.resize(kMaximumSource + 1);
  return content;
}

class FileReader {
 public:
  explicit FileReader(std::vector<Problem>& problems) : problems_(problems) {}

  void path(const fs::path& path) {
    std::error_code error;
    if (fs::is_directory(path, error)) {
      folder(path);
    } else {
      file(path);
    }
  }

  std::vector<Source> take() { return std::move(sources_); }

 private:
  void problem(const fs::path& path, std::string what, std::string right) {
    problems_.push_back({path.string(), 0, 0, std::move(what), std::move(right)});
  }

  void file(const fs::path& path) {
    int error = 0;
    if (auto content = contentOf(path, error)) {
      sources_.push_back({path.string(), std::move(*content)});
      return;
    }
    if (error == EACCES) {
      problem(path, "cannot be read", "a file with read permission");
    } else {
      problem(path, "cannot be read: " + messageOf(error), "a YAML file");
    }
  }

  void folder(const fs::path& folder) {
    std::vector<fs::path> files;
    std::error_code error;
    for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
      if (at->path().extension() == ".yaml") files.push_back(at->path());
    }
    if (error) {
      problem(folder, "cannot be read: " + error.message(), "a folder with read permission");
      return;
    }
    std::erase_if(files, [](const fs::path& path) {
      std::error_code ignored;
      return fs::is_directory(path, ignored);
    });
    if (files.empty()) {
      problem(folder, "a folder without *.yaml files", "a file, or a folder with at least one");
    }
    std::sort(files.begin(), files.end());
    for (const fs::path& path : files) {
      // A named pipe in a folder would hold up the reader until somebody writes to it.
      std::error_code status;
      if (fs::is_other(path, status)) {
        problem(path, "is neither a file nor a folder", "a YAML file");
      } else {
        file(path);
      }
    }
  }

  std::vector<Problem>& problems_;
  std::vector<Source> sources_;
};

}  // namespace

std::vector<Source> readFiles(std::span<const fs::path> paths, std::vector<Problem>& problems) {
  FileReader reader(problems);
  for (const fs::path& path : paths) reader.path(path);
  return reader.take();
}

}  // namespace Kestrav::Config::Text
