// The reference page and the schema, generated from the field tables.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "platform/config/records/Field.h"
#include "platform/config/records/Tables.h"
#include "platform/config/text/Reader.h"
#include "platform/config/text/Text.h"

using namespace Kestrav::Config;
using namespace Kestrav::Config::Text;

namespace {

std::string fileContent(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  std::ostringstream content;
  content << stream.rdbuf();
  return content.str();
}

// The keys of all records, in the syntax of a fuzzer's dictionary.
std::set<std::string> keysOf(const RecordType& type) {
  std::set<std::string> keys;
  for (const Criterion& criterion : type.criteria) keys.emplace(criterion.name);
  for (const Field* field : visibleFields(type)) {
    keys.emplace(field->name);
    if (field->element != nullptr) keys.merge(keysOf(*field->element));
  }
  return keys;
}

std::set<std::string> allKeys() {
  std::set<std::string> keys = {"configuration"};
  for (const Table& table : tables()) {
    if (table.owner == 0) keys.emplace(table.key);
    if (table.owner != 0) keys.emplace(table.keyInOwner);
    std::set<std::string> own = keysOf(*table.type);
    if (!table.ownerField.empty()) own.erase(std::string(table.ownerField));
    keys.merge(own);
  }
  return keys;
}

}  // namespace

// After a change of the field tables: KESTRAV_UPDATE_GOLDEN=1 text_tests
TEST(Documentation, ThePageIsThatOfTheFieldTables) {
  const std::string page = std::string(KESTRAV_DOCS) + "/records.md";
  if (std::getenv("KESTRAV_UPDATE_GOLDEN") != nullptr) std::ofstream(page) << documentation();
  EXPECT_EQ(fileContent(page), documentation());
}

TEST(Documentation, TheSchemaIsThatOfTheFieldTables) {
  const std::string path = std::string(KESTRAV_DOCS) + "/schema/gateway.schema.json";
  if (std::getenv("KESTRAV_UPDATE_GOLDEN") != nullptr) std::ofstream(path) << schema();
  EXPECT_EQ(fileContent(path), schema());
}

TEST(Documentation, TheFuzzersDictionaryHasEveryKey) {
  std::string expected = "# Generated from the field tables.\n";
  for (const std::string& key : allKeys()) expected += "\"" + key + ": \"\n";
  const std::string path = KESTRAV_FUZZ "/text.dict";
  if (std::getenv("KESTRAV_UPDATE_GOLDEN") != nullptr) std::ofstream(path) << expected;
  EXPECT_EQ(fileContent(path), expected);
}

TEST(Documentation, TheFuzzersSeedsHaveEveryKey) {
  std::string seeds;
  for (const auto& entry : std::filesystem::directory_iterator(KESTRAV_FUZZ "/corpus/text")) {
    seeds += fileContent(entry.path());
  }
  for (const std::string& key : allKeys()) {
    EXPECT_NE(seeds.find(key + ":"), std::string::npos) << key;
  }
}

TEST(Documentation, TheExamplesHaveNoMistakes) {
  const std::string page = fileContent(std::string(KESTRAV_DOCS) + "/configuration.md");
  int examples = 0;
  for (std::size_t at = 0; (at = page.find("```yaml\n", at)) != std::string::npos; ++at) {
    const std::size_t start = at + 8;
    const std::vector<Source> sources{
        {"configuration.md", page.substr(start, page.find("```", start) - start)}};
    std::vector<Problem> problems;
    EXPECT_TRUE(read(std::span<const Source>(sources), problems).has_value());
    for (const Problem& problem : problems) ADD_FAILURE() << problem.toString();
    ++examples;
  }
  EXPECT_GT(examples, 0);
}

TEST(Schema, KnowsEveryKey) {
  const auto json = nlohmann::json::parse(schema());
  for (const Table& table : tables()) {
    if (table.owner != 0) continue;
    EXPECT_TRUE(json["properties"].contains(std::string(table.key))) << table.key;
  }
  const auto& domain = json["properties"]["domains"]["items"]["anyOf"][0]["properties"];
  EXPECT_TRUE(domain["configuration"]["properties"].contains("incoming-policies"));
  EXPECT_FALSE(domain["configuration"]["properties"].contains("web-filters"));
  const auto& dictionary = json["properties"]["dictionaries"]["items"]["anyOf"][0]["properties"];
  EXPECT_EQ(dictionary["items"]["items"]["anyOf"][0]["required"][0], "pattern");
  const auto& action = json["properties"]["antispam-actions"]["items"]["anyOf"][0]["properties"];
  EXPECT_EQ(action["disposition"]["anyOf"][0]["enum"][1], "discard");
  EXPECT_EQ(action["tag-subject"]["anyOf"][0]["type"], "boolean");
  EXPECT_EQ(action["tag-subject"]["anyOf"][1]["enum"].size(), 4u);
}
