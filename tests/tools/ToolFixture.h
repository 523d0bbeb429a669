// A folder and a store of its own for each test of vexactl, and outputs to compare with.
//
// The outputs are in golden/. When one is meant to change, KESTRAV_UPDATE_GOLDEN=1 tools_tests
// writes them anew; what changed is then to be read in the diff.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "Process.h"
#include "platform/config/store/ConfigStore.h"
#include "tests/support/StoreFixture.h"

namespace Kestrav::ToolTesting {

// The text with each `from` replaced.
std::string replaced(std::string text, const std::string& from, const std::string& to);
bool contains(const std::string& text, const std::string& part);
int linesIn(const std::string& text);

std::string fileContent(const std::filesystem::path& path);

// Compares with golden/NAME, or writes it.
void expectGolden(const std::string& name, const std::string& output);

// Every table, domain, id and row of a store, one line each.
std::vector<std::string> rowsOf(const Config::Snapshot& snapshot);

class ToolFixture : public ::testing::Test {
 protected:
  std::filesystem::path folder() const { return folder_.path(); }
  std::string store() const { return folder_ / "store"; }
  static std::string example() { return KESTRAV_EXAMPLES "/gateway.yaml"; }

  // A file in the test's folder; gives its path.
  std::string file(const std::string& name, const std::string& content) const;

  // vexactl --store STORE ARGUMENTS
  Result run(std::vector<std::string> arguments, const Streams& streams = {}) const;
  std::vector<std::string> withStore(std::vector<std::string> arguments) const;
  // Loads a file and expects that to succeed.
  void load(const std::string& path) const;
  void loadText(const std::string& text) const;

  // The output with the test's folder written as FOLDER.
  std::string placeless(const std::string& output) const;

  // What the store holds, and its revision; opened here.
  std::vector<std::string> rows() const;
  Config::Revision revision() const;
  std::shared_ptr<Config::ConfigStore> open() const;

 private:
  Testing::TemporaryFolder folder_;
};

}  // namespace Kestrav::ToolTesting
