// A YAML text as a tree of values with their places.
//
// Supports what configurations need: one document, bounded in size and depth, without anchors,
// aliases (a few can expand to any amount of text) and tags, except !!binary.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/config/text/Problem.h"

namespace Kestrav::Config::Text {

struct YamlNode {
  enum class Kind { kNull, kScalar, kSequence, kMap };
  Kind kind = Kind::kNull;
  std::string text;     // of a scalar
  bool binary = false;  // the text was given as base64
  int line = 0;         // from 1
  int column = 0;
  std::vector<YamlNode> items;  // of a sequence; of a map: key, value, key, value ...
};

// Empty, with at least one problem added, when the text is not such YAML. An empty text is a null
// node.
std::optional<YamlNode> parseYaml(const std::string& file, const std::string& content,
                                  std::vector<Problem>& problems);

}  // namespace Kestrav::Config::Text
