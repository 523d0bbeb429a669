// Any item on any text: it is added or refused, and a scan ends, never throws, and gives the same
// result twice. Input: four bytes (kind, flags, maximum, area), the item's text up to a line feed,
// the text to scan.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "platform/common/Logger.h"
#include "platform/common/Strings.h"
#include "platform/dictionary/ProfileDictionaryScanner.h"

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto quiet = Kestrav::Logger::instance(false).capture([](const auto&) {});
  if (size < 4) return 0;
  const std::string_view input(reinterpret_cast<const char*>(data) + 4, size - 4);
  const std::size_t end = std::min(input.find('\n'), input.size());
  const std::string_view text = input.substr(std::min(end + 1, input.size()));

  __vexa_dictionary_item item{};
  Kestrav::boundedCopy(item.text, input.substr(0, end));
  item.kind = data[0] % 5;
  item.score = 3;
  item.enabled = 1;
  item.case_sensitive = data[1] & 1;
  item.whole_words = data[1] >> 1 & 1;
  item.scope = data[1] >> 2 & 7;
  item.max_count = data[2];

  Kestrav::ProfileDictionaryScanner scanner("fuzz");
  const bool added = scanner.add_pattern(item);
  require(scanner.size() == (added ? 1u : 0u));
  const Kestrav::ScanArea area = data[3] & 7;
  const Kestrav::ScanResult once = scanner.scan(text, area);
  const Kestrav::ScanResult again = scanner.scan(text, area);
  require(once.score == again.score && once.hits.size() == again.hits.size());
  require(once.complete == again.complete);
  require(once.hits.size() <= 1);
  for (const Kestrav::ScanHit& hit : once.hits) {
    require(added && hit.count > 0 && hit.contribution == 3 * std::int64_t{hit.count});
    require(item.max_count == 0 || hit.count <= item.max_count);
    require(hit.count <= text.size());
  }
  return 0;
}
