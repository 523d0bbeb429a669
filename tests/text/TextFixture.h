// A temporary store, and texts loaded into it.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "platform/config/store/ConfigStore.h"
#include "platform/config/text/Text.h"

namespace Kestrav::Config::Text {

inline std::string dataFile(const std::string& name) {
  std::ifstream stream(std::string(KESTRAV_TEXT_DATA) + "/" + name, std::ios::binary);
  std::ostringstream content;
  content << stream.rdbuf();
  return content.str();
}

// All messages, one per line.
inline std::string mistakesOf(const std::vector<Source>& sources) {
  std::vector<Problem> problems;
  const auto configuration = read(std::span<const Source>(sources), problems);
  std::string lines;
  for (const Problem& problem : problems) lines += problem.toString() + "\n";
  EXPECT_EQ(configuration.has_value(), problems.empty());
  return lines;
}

inline std::string mistakesOf(const std::string& text) {
  return mistakesOf(std::vector<Source>{{"gateway.yaml", text}});
}

class TextFixture : public testing::Test {
 protected:
  TextFixture() : store_(open()) {}
  ~TextFixture() override {
    store_.reset();
    for (const std::filesystem::path& folder : folders_) std::filesystem::remove_all(folder);
  }

  std::shared_ptr<ConfigStore> open() {
    static std::atomic<int> counter{0};
    const auto folder =
        std::filesystem::temp_directory_path() /
        ("kestrav-text-" + std::to_string(::getpid()) + "-" + std::to_string(counter.fetch_add(1)));
    folders_.push_back(folder);
    return ConfigStore::open(folder);
  }

  static Configuration parse(const std::string& text) {
    std::vector<Problem> problems;
    const std::vector<Source> sources{{"gateway.yaml", text}};
    auto configuration = read(std::span<const Source>(sources), problems);
    for (const Problem& problem : problems) ADD_FAILURE() << problem.toString();
    return configuration ? std::move(*configuration) : Configuration();
  }

  static void load(ConfigStore& store, const std::string& text) {
    const Configuration configuration = parse(text);
    const Snapshot snapshot = store.snapshot();
    store.commit(differences(configuration, snapshot));
  }
  void load(const std::string& text) { load(*store_, text); }

  static std::string dump(ConfigStore& store, bool secrets = true) {
    std::ostringstream out;
    write(store.snapshot(), out, {secrets});
    return out.str();
  }
  std::string dump(bool secrets = true) { return dump(*store_, secrets); }

  bool changes(const std::string& text) {
    return !differences(parse(text), store_->snapshot()).empty();
  }

  std::vector<std::filesystem::path> folders_;
  std::shared_ptr<ConfigStore> store_;
};

}  // namespace Kestrav::Config::Text
