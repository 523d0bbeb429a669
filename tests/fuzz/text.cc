// Any text is either told to be wrong or becomes a configuration.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "platform/config/text/Text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace Kestrav::Config::Text;
  const std::vector<Source> sources{
      {"fuzz.yaml", std::string(reinterpret_cast<const char*>(data), size)}};
  std::vector<Problem> problems;
  const auto configuration = read(std::span<const Source>(sources), problems);
  if (configuration.has_value() != problems.empty()) std::abort();
  for (const Problem& problem : problems) {
    if (problem.toString().find('\n') != std::string::npos) std::abort();
  }
  return 0;
}
