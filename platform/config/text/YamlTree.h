// A YAML text as a tree of values that know where they stand.
//
// Only what configurations need: one document, no anchors and aliases (an alias may stand for any
// amount of text), bounded in size and depth.
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
  bool binary = false;  // the text is base64
  int line = 0;         // from 1
  int column = 0;
  std::vector<YamlNode> items;  // of a sequence; of a map: key, value, key, value ...
};

// Empty, with at least one problem added, when the text is no such YAML. An empty text is a null
// node.
std::optional<YamlNode> parseYaml(const std::string& file, const std::string& content,
                                  std::vector<Problem>& problems);

}  // namespace Kestrav::Config::Text
