#include "tools/JsonText.h"

#include <nlohmann/json.hpp>

#include "tools/Messages.h"

namespace Kestrav::Tool {
namespace {

constexpr auto kReplace = nlohmann::ordered_json::error_handler_t::replace;

}  // namespace

std::string compact(const nlohmann::ordered_json& value) {
  return value.dump(-1, ' ', false, kReplace);
}

std::string indented(const nlohmann::ordered_json& value) {
  return value.dump(2, ' ', false, kReplace) + "\n";
}

std::string plain(const nlohmann::ordered_json& value) {
  if (value.is_string()) return escaped(value.get_ref<const std::string&>());
  if (value.is_boolean()) return value.get<bool>() ? "on" : "off";
  return compact(value);
}

}  // namespace Kestrav::Tool
