// The part of a documentation page that a test generates: the lines between
//   <!-- generated from tests/... -->
// with the name of the test's source, and
//   <!-- end -->
// KESTRAV_UPDATE_GOLDEN=1 in the environment writes the part instead of comparing it.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

namespace Kestrav::Testing {

inline void expectGenerated(const std::string& path, const std::string& source,
                            const std::string& section) {
  const std::ifstream file(path, std::ios::binary);
  std::string page = (std::ostringstream() << file.rdbuf()).str();
  const std::string start = "<!-- generated from " + source + " -->\n";
  const std::size_t begin = page.find(start);
  const std::size_t end = page.find("<!-- end -->", begin);
  ASSERT_NE(end, std::string::npos) << path << " has no part generated from " << source;
  const std::size_t from = begin + start.size();
  if (std::getenv("KESTRAV_UPDATE_GOLDEN") != nullptr) {
    std::ofstream(path, std::ios::binary) << page.replace(from, end - from, section);
  } else {
    EXPECT_EQ(page.substr(from, end - from), section);
  }
}

}  // namespace Kestrav::Testing
