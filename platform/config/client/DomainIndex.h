// A compact table of protected domains by name: one block of bytes per domain in large chunks,
// found through an open-addressed table of 32-bit references. About 60 bytes per domain.
//
// Not synchronised: any number of threads may read while none writes.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/config/client/ServerCache.h"

namespace Kestrav::Config::Client {

class DomainIndex {
 public:
  using Contents = CMF::ApsGwServer::Contents;

  DomainIndex();

  // Adds the record, or replaces the one with the same name and id. Ignores a record without a
  // name.
  void put(const __aps_gw_server& record);
  void erase(const __aps_gw_server& record);
  // The record of this name with the lowest id; false when there is none.
  bool find(std::string_view name, Contents& contents) const;

  std::size_t size() const { return live_; }
  std::size_t bytes() const;
  // True when much of the memory is taken by erased records; compacted() is the same without them.
  bool wasteful() const;
  std::unique_ptr<DomainIndex> compacted() const;

 private:
  struct Head;
  using Place = std::uint32_t;  // in units of kUnit
  static constexpr Place kFree = 0;
  static constexpr Place kErased = 1;

  const Head& head(Place place) const;
  std::size_t slotOf(std::string_view name, std::uint32_t hash, std::uint32_t id) const;
  Place allocate(std::size_t bytes);
  void insert(const Head& made, std::string_view name, std::string_view alias,
              std::string_view row);
  void rehash();

  std::vector<std::unique_ptr<std::byte[]>> chunks_;
  std::size_t used_ = 0;      // units taken in all chunks, the skipped ends included
  std::size_t waste_ = 0;     // units of erased records
  std::vector<Place> slots_;  // a power of two
  std::size_t live_ = 0;
  std::size_t filled_ = 0;  // slots that are not free
};

}  // namespace Kestrav::Config::Client
