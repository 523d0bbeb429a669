// Finds the words and patterns of a dictionary, or of a group of dictionaries, in the texts of a
// message and adds up their scores.
//
// Used through Ref<DictionaryScannerImpl>. A change of the configuration does not change an
// existing scanner. Any number of threads may scan; the same text and area give the same result.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "VexaRefcounted.h"
#include "platform/common/Export.h"
#include "platform/config/records/DictionaryRecords.h"

namespace Kestrav {

// The part of a message that a text is from: a combination of kDictionaryScopeBodyText,
// kDictionaryScopeSubject and kDictionaryScopeBodyHtml. An item with scope bits applies where its
// scope and the area share a bit, an item without any applies everywhere.
using ScanArea = std::uint32_t;
inline constexpr ScanArea kScanEverywhere =
    kDictionaryScopeBodyText | kDictionaryScopeSubject | kDictionaryScopeBodyHtml;

// The matches of one item.
struct ScanHit {
  std::size_t item = 0;           // index in the scanner
  std::string pattern;            // as configured
  std::uint32_t count = 0;        // at most the item's maximum
  std::int64_t contribution = 0;  // count times the item's score
};

struct ScanResult {
  std::int64_t score = 0;     // sum of the contributions
  std::vector<ScanHit> hits;  // of items with matches, ascending by item
  // False when matches may be missing: an item of the scanner was left out (logged when the scanner
  // is compiled), a search was given up, or the text exceeds 4 GiB (logged each time).
  bool complete = true;
};

class KESTRAV_API DictionaryScannerImpl : public virtual RefImpl, private NonCopyable {
 public:
  ~DictionaryScannerImpl() override;

  virtual const std::string& name() const = 0;
  // Number of items.
  virtual std::size_t size() const = 0;

  ScanResult scan(std::string_view text, ScanArea area = kScanEverywhere) const {
    ScanResult result;
    scan(text, area, result);
    return result;
  }

  // Adds the matches in `text` to the result of the message's other texts; an item's maximum
  // applies to all texts together. REQUIRES: `result` is empty or from this scanner. Throws
  // std::bad_alloc only.
  virtual void scan(std::string_view text, ScanArea area, ScanResult& result) const = 0;
};

}  // namespace Kestrav
