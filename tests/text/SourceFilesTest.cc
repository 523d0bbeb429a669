// Files of all kinds: without a size, without an end, without permission, in a circle.
#include "platform/config/text/SourceFiles.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <thread>

#include "tests/support/StoreFixture.h"

using namespace Kestrav::Config::Text;

namespace {

namespace fs = std::filesystem;

class SourceFiles : public testing::Test {
 protected:
  std::vector<Source> read(const fs::path& path) {
    problems_.clear();
    return readFiles(std::span<const fs::path>(&path, 1), problems_);
  }
  // The whole message, with FOLDER for the test's folder.
  std::string problemOf(const fs::path& path) {
    EXPECT_TRUE(read(path).empty());
    if (problems_.size() != 1) return std::to_string(problems_.size()) + " problems";
    std::string text = problems_.front().toString();
    const std::string folder = folder_.path().string();
    const std::size_t at = text.find(folder);
    return at == text.npos ? text : text.replace(at, folder.size(), "FOLDER");
  }
  fs::path file(const std::string& name, const std::string& content) {
    std::ofstream(folder_ / name, std::ios::binary) << content;
    return folder_ / name;
  }

  Kestrav::Testing::TemporaryFolder folder_;
  std::vector<Problem> problems_;
};

}  // namespace

TEST_F(SourceFiles, WithAReportedSizeOfZeroAreReadToTheirEnd) {
  ASSERT_EQ(fs::file_size("/proc/self/status"), 0u);
  const auto sources = read("/proc/self/status");
  ASSERT_EQ(sources.size(), 1u);
  EXPECT_EQ(sources.front().content.substr(0, 5), "Name:");
}

TEST_F(SourceFiles, MayBePipes) {
  const std::string content(300'000, '#');  // more than a pipe holds
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  std::thread writer([&] {
    for (std::size_t at = 0; at < content.size();) {
      at += static_cast<std::size_t>(::write(ends[1], content.data() + at, content.size() - at));
    }
    ::close(ends[1]);
  });
  const auto sources = read("/dev/fd/" + std::to_string(ends[0]));
  writer.join();
  ::close(ends[0]);
  ASSERT_EQ(sources.size(), 1u);
  EXPECT_EQ(sources.front().content, content);
}

TEST_F(SourceFiles, WithoutAnEndAreReadUpToTheLimit) {
  const auto sources = read("/dev/zero");
  ASSERT_EQ(sources.size(), 1u);
  EXPECT_EQ(sources.front().content.size(), kMaximumSource + 1);
}

TEST_F(SourceFiles, InACircleOfLinksAreAProblem) {
  fs::create_symlink("loop.yaml", folder_ / "loop.yaml");
  const std::string expected =
      "FOLDER/loop.yaml: cannot be read: Too many levels of symbolic links; a YAML file";
  EXPECT_EQ(problemOf(folder_ / "loop.yaml"), expected);
  EXPECT_EQ(problemOf(folder_.path()), expected);
}

TEST_F(SourceFiles, OfAFolderAreItsYamlFilesInOrder) {
  file("b.yaml", "b");
  file("a.yaml", "a");
  file("c.txt", "c");
  fs::create_directory(folder_ / "d.yaml");
  const auto sources = read(folder_.path());
  EXPECT_TRUE(problems_.empty());
  ASSERT_EQ(sources.size(), 2u);
  EXPECT_EQ(sources[0].content, "a");
  EXPECT_EQ(sources[1].content, "b");
}

TEST_F(SourceFiles, OfAFolderAreNoPipes) {
  ASSERT_EQ(::mkfifo((folder_ / "pipe.yaml").c_str(), 0600), 0);
  EXPECT_EQ(problemOf(folder_.path()),
            "FOLDER/pipe.yaml: is neither a file nor a folder; a YAML file");
}
