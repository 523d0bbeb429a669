// The files of a configuration.
#pragma once

#include <filesystem>
#include <span>
#include <vector>

#include "platform/config/text/Problem.h"
#include "platform/config/text/Text.h"

namespace Kestrav::Config::Text {

// Reads each file up to its end and ignores the size that the file system reports. A folder means
// its *.yaml files in alphabetical order. What cannot be read is a problem and left out.
std::vector<Source> readFiles(std::span<const std::filesystem::path> paths,
                              std::vector<Problem>& problems);

}  // namespace Kestrav::Config::Text
