// Gives each test of vexactl a folder with a store, and compares outputs with golden files.
//
// KESTRAV_UPDATE_GOLDEN=1 tools_tests rewrites golden/. Read the diff afterwards.
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

// One line per record: table, domain, id and row.
std::vector<std::string> rowsOf(const Config::Snapshot& snapshot);

class ToolFixture : public ::testing::Test {
 protected:
  std::filesystem::path folder() const { return folder_.path(); }
  std::string store() const { return folder_ / "store"; }
  static std::string example() { return KESTRAV_EXAMPLES "/gateway.yaml"; }

  // Writes a file in the test's folder and returns its path.
  std::string file(const std::string& name, const std::string& content) const;

  // vexactl --store STORE ARGUMENTS
  Result run(std::vector<std::string> arguments, const Streams& streams = {}) const;
  std::vector<std::string> withStore(std::vector<std::string> arguments) const;
  // Loads a file and expects success.
  void load(const std::string& path) const;
  void loadText(const std::string& text) const;

  // The output with FOLDER for the test's folder.
  std::string placeless(const std::string& output) const;

  // The records and the revision of the store. Open it in this process.
  std::vector<std::string> rows() const;
  Config::Revision revision() const;
  std::shared_ptr<Config::ConfigStore> open() const;

 private:
  Testing::TemporaryFolder folder_;
};

}  // namespace Kestrav::ToolTesting
