// Owners of what the multi-pattern engine allocates, for the sources of this folder only.
//
// A database is immutable and shared by all threads; a scan's working memory belongs to the thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct hs_database;

namespace Kestrav::Dictionary {

// Owns one database. Movable; empty after that.
class Database {
 public:
  explicit Database(hs_database* engine);

  const hs_database* engine() const { return engine_.get(); }
  // Differs from that of every other database there ever was.
  std::uint64_t serial() const { return serial_; }

 private:
  struct Free {
    void operator()(hs_database* engine) const;
  };
  std::unique_ptr<hs_database, Free> engine_;
  std::uint64_t serial_;
};

// Ends [0, kLongestText) are what a match can report.
inline constexpr std::size_t kLongestText = 0xFFFF'FFFF;

// Called for each match with its pattern's number and the offset of its end, ends ascending.
using OnMatch = void (*)(std::uint32_t pattern, std::size_t end, void* context);

// Scans at most the first kLongestText bytes. Throws Exception when there is no memory for it or
// the engine refuses the database.
void scanDatabase(const Database& database, std::string_view text, OnMatch onMatch, void* context);

}  // namespace Kestrav::Dictionary
