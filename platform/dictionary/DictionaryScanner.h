// A dictionary scanner: finds the words and patterns of one dictionary, or of a group of them, in
// the texts of a message and adds up their scores.
//
// Handed out as Ref<DictionaryScannerImpl>. A scanner outlives every change of the configuration
// that it was built from: whoever holds one goes on scanning with the words that it had. Any number
// of threads may scan with one; the same text and area always give the same result.
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

// Which part of a message a text is: kDictionaryScopeBodyText, kDictionaryScopeSubject,
// kDictionaryScopeBodyHtml or several of them. An item without any scope bit is looked for in every
// part; the others where their scope and the area share a bit.
using ScanArea = std::uint32_t;
inline constexpr ScanArea kScanEverywhere =
    kDictionaryScopeBodyText | kDictionaryScopeSubject | kDictionaryScopeBodyHtml;

// What one item contributed.
struct ScanHit {
  std::size_t item = 0;           // its place in the scanner, from 0 on
  std::string pattern;            // as configured
  std::uint32_t count = 0;        // matches that count: at most the item's maximum, if it has one
  std::int64_t contribution = 0;  // count times the item's score
};

struct ScanResult {
  std::int64_t score = 0;     // sum of the contributions
  std::vector<ScanHit> hits;  // by item, ascending; items without a match are not listed
  // False when some match may be missing: a search was given up because it needed too much work, or
  // the text is longer than 4 GiB. Logged as well.
  bool complete = true;
};

class KESTRAV_API DictionaryScannerImpl : public virtual RefImpl, private NonCopyable {
 public:
  ~DictionaryScannerImpl() override;

  virtual const std::string& name() const = 0;
  // Number of items looked for.
  virtual std::size_t size() const = 0;

  ScanResult scan(std::string_view text, ScanArea area = kScanEverywhere) const {
    ScanResult result;
    scan(text, area, result);
    return result;
  }

  // Adds what `text` holds to the result of the message's other texts: an item's maximum is that of
  // all of them together. REQUIRES: `result` is empty or comes from this scanner.
  // Never throws, except for want of memory for the result.
  virtual void scan(std::string_view text, ScanArea area, ScanResult& result) const = 0;
};

}  // namespace Kestrav
