// The multi-pattern engine, for the sources of this folder only.
//
// A database is immutable and shared by all threads; scratch memory belongs to the thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct hs_database;

namespace Kestrav::Dictionary {

// Owns one database. Movable.
class Database {
 public:
  explicit Database(hs_database* engine);

  const hs_database* engine() const { return engine_.get(); }
  // Never reused.
  std::uint64_t serial() const { return serial_; }

 private:
  struct Free {
    void operator()(hs_database* engine) const;
  };
  std::unique_ptr<hs_database, Free> engine_;
  std::uint64_t serial_;
};

inline constexpr std::size_t kLongestText = 0xFFFF'FFFF;

// Called for each match with the pattern's number and the offset of its end, ascending.
using OnMatch = void (*)(std::uint32_t pattern, std::size_t end, void* context);

// Scans at most kLongestText bytes. Throws std::bad_alloc, or Exception when the engine fails.
void scanDatabase(const Database& database, std::string_view text, OnMatch onMatch, void* context);

}  // namespace Kestrav::Dictionary
