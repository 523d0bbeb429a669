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

struct FreeDatabase {
  void operator()(hs_database* database) const;
};
using Database = std::unique_ptr<hs_database, FreeDatabase>;

// Ends [0, kLongestText) are what a match can report.
inline constexpr std::size_t kLongestText = 0xFFFF'FFFF;

// Called for each match with its pattern's number and the offset of its end, ends ascending.
using OnMatch = void (*)(std::uint32_t pattern, std::size_t end, void* context);

// Scans at most the first kLongestText bytes. Throws Exception when there is no memory for it or
// the engine refuses the database.
void scanDatabase(const hs_database& database, std::string_view text, OnMatch onMatch,
                  void* context);

}  // namespace Kestrav::Dictionary
