#include "dictionary/Hyperscan.h"

#include <hs/hs.h>

#include <algorithm>
#include <new>

#include "common/Exception.h"

namespace Kestrav::Dictionary {
namespace {

// Grows to the largest need of the databases that this thread scans with.
struct Scratch {
  ~Scratch() { hs_free_scratch(memory); }
  hs_scratch_t* memory = nullptr;
};

void check(hs_error_t error, const char* operation) {
  if (error == HS_SUCCESS) return;
  if (error == HS_NOMEM) throw std::bad_alloc();
  throw Exception(std::string(operation) + " failed with error " + std::to_string(error),
                  Exception::kBadText, "Hyperscan");
}

struct Forward {
  OnMatch onMatch;
  void* context;
};

int forwardMatch(unsigned int pattern, unsigned long long, unsigned long long end, unsigned int,
                 void* context) {
  const auto* forward = static_cast<const Forward*>(context);
  forward->onMatch(pattern, static_cast<std::size_t>(end), forward->context);
  return 0;
}

}  // namespace

void FreeDatabase::operator()(hs_database* database) const {
  hs_free_database(database);
}

void scanDatabase(const hs_database& database, std::string_view text, OnMatch onMatch,
                  void* context) {
  thread_local Scratch scratch;
  check(hs_alloc_scratch(&database, &scratch.memory), "allocating working memory");
  Forward forward{onMatch, context};
  const auto length = static_cast<unsigned int>(std::min(text.size(), kLongestText));
  // The engine refuses a null text, which an empty view may be.
  check(hs_scan(&database, text.empty() ? "" : text.data(), length, 0, scratch.memory,
                &forwardMatch, &forward),
        "scanning");
}

}  // namespace Kestrav::Dictionary
