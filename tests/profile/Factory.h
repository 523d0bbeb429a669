// The process's profile factory, made over a store of which the tests know what it held then.
#pragma once

#include <cstdint>
#include <vector>

#include "ProfileFactory.h"

namespace Kestrav::Testing {

// How the factory started. Folders "Virus", "Content" and "Dlp" were there, and "bulk", but no
// "Bulk".
struct Start {
  std::vector<std::uint32_t> folderIdsBefore;  // spam, virus, content, dlp
  std::uint32_t virusFolder = 0;
  std::uint32_t contentFolder = 0;
  std::uint32_t dlpFolder = 0;
  bool deferredAtStart = false;  // settings of a period that is the whole day were there
  ProfileFactory* factory = nullptr;
};

// Makes the factory when it is not there yet. Tests of a program with this header reach the factory
// through it only.
const Start& start();

inline ProfileFactory& factory() {
  return *start().factory;
}

}  // namespace Kestrav::Testing
