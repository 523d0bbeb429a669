// Calls of the functions that the installed headers declare, for tests that make all of them under
// one condition. A new function gets a row.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "ProfileFactory.h"
#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Testing {

struct EntryPoint {
  std::string name;
  std::function<void()> call;
};

// Those that need the attached store, or one that this process opened: a child that uses its
// parent's store may not call them. Without `store`, only the others.
std::vector<EntryPoint> storeEntryPoints(const std::function<ProfileFactory*()>& factory,
                                         std::uint32_t id, Config::ConfigStore* store);

// Those of the C face.
std::vector<EntryPoint> plainEntryPoints(std::uint32_t id);

// Those that take a text.
std::vector<EntryPoint> textEntryPoints(const std::string& text, Config::ConfigStore* store);

// Those that take an id, a table, a domain, an index or a revision.
std::vector<EntryPoint> numberEntryPoints(std::uint64_t number, Config::ConfigStore* store);

// Those of handlers and of the dispatcher.
std::vector<EntryPoint> handlerEntryPoints();

// Those of the factory, the sets and the handles that storeEntryPoints() does not have.
std::vector<EntryPoint> factoryEntryPoints(std::uint32_t id);

}  // namespace Kestrav::Testing
