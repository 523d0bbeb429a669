#include "ToolFixture.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "platform/config/records/Field.h"
#include "platform/config/records/Tables.h"
#include "platform/config/store/RowCodec.h"

namespace Kestrav::ToolTesting {

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

int linesIn(const std::string& text) {
  return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}

std::string fileContent(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in) << path;
  std::ostringstream content;
  content << in.rdbuf();
  return content.str();
}

void expectGolden(const std::string& name, const std::string& output) {
  const std::filesystem::path path = std::filesystem::path(KESTRAV_GOLDEN) / name;
  if (std::getenv("KESTRAV_UPDATE_GOLDEN") != nullptr) {
    std::ofstream(path, std::ios::binary) << output;
    return;
  }
  EXPECT_EQ(output, fileContent(path)) << name << "; KESTRAV_UPDATE_GOLDEN=1 rewrites it";
}

std::vector<std::string> rowsOf(const Config::Snapshot& snapshot) {
  std::vector<std::string> rows;
  for (const Config::Table& table : Config::tables()) {
    const auto add = [&](ngid_t domain, const Config::StoredRecord& record) {
      rows.push_back(std::string(table.key) + " " + std::to_string(domain) + " " +
                     std::to_string(record.id()) + " " +
                     Config::RowCodec::encode(table, record.data()));
      return true;
    };
    if (table.scope == Config::Scope::kSystemSingle) {
      add(0, snapshot.byId(table.gid, 0, 0));
      continue;
    }
    for (const ngid_t domain : snapshot.domains(table.gid)) {
      snapshot.walk(table.gid, domain,
                    [&](const Config::StoredRecord& record) { return add(domain, record); });
    }
  }
  return rows;
}

std::string ToolFixture::file(const std::string& name, const std::string& content) const {
  const std::filesystem::path path = folder() / name;
  std::ofstream(path, std::ios::binary) << content;
  return path;
}

std::vector<std::string> ToolFixture::withStore(std::vector<std::string> arguments) const {
  arguments.insert(arguments.begin(), {"--store", store()});
  return arguments;
}

Result ToolFixture::run(std::vector<std::string> arguments, const Streams& streams) const {
  return vexactl(withStore(std::move(arguments)), streams);
}

void ToolFixture::load(const std::string& path) const {
  const Result result = run({"load", path});
  ASSERT_EQ(result.code, 0) << result.err;
}

void ToolFixture::loadText(const std::string& text) const {
  load(file("loaded.yaml", text));
}

std::string ToolFixture::placeless(const std::string& output) const {
  return replaced(output, folder(), "FOLDER");
}

std::shared_ptr<Config::ConfigStore> ToolFixture::open() const {
  Config::ConfigStore::Options options;
  options.create = false;
  return Config::ConfigStore::open(store(), options);
}

std::vector<std::string> ToolFixture::rows() const {
  const auto opened = open();
  return rowsOf(opened->snapshot());
}

Config::Revision ToolFixture::revision() const {
  return open()->revision();
}

}  // namespace Kestrav::ToolTesting
