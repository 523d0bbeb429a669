#include "platform/dictionary/Hyperscan.h"

#include <hs/hs.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <new>
#include <unordered_set>

#include "platform/common/Exception.h"

namespace Kestrav::Dictionary {
namespace {

void check(hs_error_t error, const char* operation) {
  if (error == HS_SUCCESS) return;
  if (error == HS_NOMEM) throw std::bad_alloc();
  throw Exception(std::string(operation) + " failed with error " + std::to_string(error),
                  Exception::kBadText, "Hyperscan");
}

// The scratch memory of a thread; it grows to the largest size that a database needs.
class Scratch {
 public:
  static Scratch& ofThisThread() {
    thread_local Scratch scratch;
    return scratch;
  }
  ~Scratch() { hs_free_scratch(memory_); }

  hs_scratch_t* fitting(const Database& database) {
    // The engine's own check takes some 20 us, a hundred times as long as a short scan.
    if (fits_.contains(database.serial())) return memory_;
    if (fits_.size() >= kMostRemembered) fits_.clear();
    const hs_error_t result = hs_alloc_scratch(database.engine(), &memory_);
    if (result != HS_SUCCESS) fits_.clear();  // the old memory may be gone
    check(result, "allocating working memory");
    fits_.insert(database.serial());
    return memory_;
  }

 private:
  static constexpr std::size_t kMostRemembered = 4'096;
  hs_scratch_t* memory_ = nullptr;
  std::unordered_set<std::uint64_t> fits_;  // serials of databases for which it is large enough
};

struct Forward {
  OnMatch onMatch;
  void* context;
  std::exception_ptr failure;
};

int forwardMatch(unsigned int pattern, unsigned long long, unsigned long long end, unsigned int,
                 void* context) {
  auto* forward = static_cast<Forward*>(context);
  // An exception through the engine would leave the scratch memory marked as in use.
  try {
    forward->onMatch(pattern, static_cast<std::size_t>(end), forward->context);
    return 0;
  } catch (...) {
    forward->failure = std::current_exception();
    return 1;  // ends the scan
  }
}

}  // namespace

Database::Database(hs_database* engine) : engine_(engine) {
  static std::atomic<std::uint64_t> last = 0;
  serial_ = ++last;
}

void Database::Free::operator()(hs_database* engine) const {
  hs_free_database(engine);
}

void scanDatabase(const Database& database, std::string_view text, OnMatch onMatch, void* context) {
  hs_scratch_t* scratch = Scratch::ofThisThread().fitting(database);
  Forward forward{onMatch, context, nullptr};
  const auto length = static_cast<unsigned int>(std::min(text.size(), kLongestText));
  // The engine refuses null, which an empty view may contain.
  const hs_error_t result = hs_scan(database.engine(), text.empty() ? "" : text.data(), length, 0,
                                    scratch, &forwardMatch, &forward);
  if (forward.failure) std::rethrow_exception(forward.failure);
  check(result, "scanning");
}

}  // namespace Kestrav::Dictionary
