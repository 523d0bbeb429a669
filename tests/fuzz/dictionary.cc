// Any item on any text: it is added or refused, and a scan finds what the plainest count finds,
// never throws and gives the same result twice. Input: four bytes (kind, flags, maximum, area), the
// item's text up to a line feed, the text to scan.
//
// Compiling for the multi-pattern engine takes most of the time. So what is compiled is kept, and
// most expressions are checked without it; which ones depends on the item only.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/common/Exception.h"
#include "platform/common/Strings.h"
#include "platform/dictionary/CompiledItems.h"
#include "platform/dictionary/RequiredLiterals.h"
#include "platform/regex/Characters.h"
#include "tests/dictionary/PlainCounts.h"

namespace {

using namespace Kestrav;
using namespace Kestrav::Dictionary;

// Longer ones find nothing else and take longer.
constexpr std::size_t kLongestItem = 48;
constexpr std::size_t kLongestScanned = 160;
// Steps from each start; expressions that need more are slow and say nothing about counting.
constexpr std::uint32_t kSteps = 1'000;

// Of all expressions with required literals, one in so many is compiled.
constexpr std::uint64_t kCompiledEvery = 8;
constexpr std::size_t kMostKept = 1'000;

void require(bool condition) {
  if (!condition) std::abort();
}

struct Prepared {
  std::shared_ptr<const Item> item;       // null when it was refused
  std::optional<CompiledItems> compiled;  // not of every expression
};

bool isSlow(const Item& item, const std::string& text) {
  const Pcre::Program program(item.text, {.ignoreCase = true, .utf8 = true});
  if (!program.compiled()) return false;
  const Pcre::Status status = program.search(text, kSteps).status;
  return status != Pcre::Status::kFound && status != Pcre::Status::kNotFound;
}

Prepared prepare(const __vexa_dictionary_item& record, std::uint64_t hash) {
  Prepared prepared;
  try {
    prepared.item = makeItem(record);
  } catch (const Exception&) {
  }
  if (prepared.item == nullptr) return prepared;
  const Item& item = *prepared.item;
  if (item.expression && !item.required.empty() && hash % kCompiledEvery != 0) {
    return prepared;
  }
  std::size_t leftOut = 0;
  prepared.compiled.emplace(CompiledItems::Items{prepared.item},
                            [&](const auto&, const auto&) { ++leftOut; });
  require(leftOut == 0);
  return prepared;
}

const Prepared& prepared(const __vexa_dictionary_item& record) {
  static std::map<std::string, Prepared> kept;
  if (kept.size() >= kMostKept) kept.clear();
  const std::string key(reinterpret_cast<const char*>(&record), sizeof record);
  const auto [at, added] = kept.try_emplace(key);
  if (added) at->second = prepare(record, std::hash<std::string>()(key));
  return at->second;
}

bool passesLiterals(const Item& item, const std::string& text) {
  if (item.required.empty()) return true;
  const std::string folded = foldedText(text);
  return std::any_of(item.required.begin(), item.required.end(), [&](const auto& literal) {
    return folded.find(literal) != std::string::npos;
  });
}

void requireScan(const CompiledItems& compiled, const std::string& text, ScanArea area,
                 std::uint32_t expected) {
  const auto onGivenUp = [](const auto&, const auto&) { std::abort(); };
  ScanResult once;
  compiled.scan(text, area, once, onGivenUp);
  require(once.complete && once.hits.size() == (expected == 0 ? 0 : 1));
  require(once.score == 3 * std::int64_t{expected});
  if (expected > 0) require(once.hits[0].count == expected);
  ScanResult again;
  compiled.scan(text, area, again, onGivenUp);
  require(again.score == once.score && again.hits.size() == once.hits.size());
}

}  // namespace

// The engine allocates much; the stack of each allocation would take most of the time.
extern "C" const char* __asan_default_options() {
  return "malloc_context_size=0:quarantine_size_mb=16";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 4) return 0;
  const std::string_view input(reinterpret_cast<const char*>(data) + 4, size - 4);
  const std::size_t end = std::min(input.find('\n'), input.size());
  const std::string text(input.substr(std::min(end + 1, input.size())).substr(0, kLongestScanned));

  __vexa_dictionary_item record{};
  boundedCopy(record.text, input.substr(0, std::min(end, kLongestItem)));
  record.kind = data[0] % 5;
  record.score = 3;
  record.enabled = 1;
  record.case_sensitive = data[1] & 1;
  record.whole_words = data[1] >> 1 & 1;
  record.scope = data[1] >> 2 & 7;
  record.max_count = data[2];
  const ScanArea area = data[3] & 7;
  const Prepared& ready = prepared(record);
  if (ready.item == nullptr) return 0;
  const Item& item = *ready.item;
  const std::string readable = Characters::isUtf8(text) ? text : asUtf8(text);
  if (item.expression && isSlow(item, readable)) return 0;

  std::optional<std::uint32_t> expected;
  if (item.scope != 0 && (item.scope & area) == 0) {
    expected = 0;
  } else if (!item.expression) {
    expected = Testing::plainCount(record, text);
  } else {
    const auto counted = item.expression->count(readable, item.mostMatches);
    if (counted.givenUp) return 0;
    expected = counted.matches;
    require(*expected == 0 || passesLiterals(item, readable));
    if (record.kind == static_cast<std::uint16_t>(DictionaryPatternKind::kRegex) &&
        record.whole_words == 0) {
      const auto plain = Testing::plainExpressionCount(record, readable);
      require(!plain || *expected == *plain);
    }
  }
  if (ready.compiled) requireScan(*ready.compiled, text, area, *expected);
  return 0;
}
