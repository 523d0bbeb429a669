// The dictionary scanner that is filled item by item.
//
//   auto* scanner = new ProfileDictionaryScanner("strict-bannedwords");
//   Ref<DictionaryScannerImpl> handle(scanner);
//   scanner->add_pattern(item);
//
// Items are texts, wildcards and regular expressions (see DictionaryItem.h).
// The first scan compiles what was added; compile() does so ahead of it. Any number of threads may
// scan and compile; items may be added meanwhile and take part in scans that begin later.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "platform/common/Mutex.h"
#include "platform/dictionary/DictionaryScanner.h"

namespace Kestrav {

namespace Dictionary {
struct Item;
class CompiledItems;
}  // namespace Dictionary

class KESTRAV_API ProfileDictionaryScanner : public DictionaryScannerImpl {
 public:
  explicit ProfileDictionaryScanner(std::string name);
  ~ProfileDictionaryScanner() override;

  // Adds one item; its id and dictionary do not matter. Disabled and empty items are left out.
  // Items that cannot be looked for (an unknown kind, an expression that does not compile) are left
  // out and logged. True when it was added.
  bool add_pattern(const __vexa_dictionary_item& item);

  // Does the work of the first scan now.
  void compile() const;

  const std::string& name() const override { return name_; }
  std::size_t size() const override;
  using DictionaryScannerImpl::scan;
  void scan(std::string_view text, ScanArea area, ScanResult& result) const override;

 private:
  using Items = std::vector<std::shared_ptr<const Dictionary::Item>>;

  const Dictionary::CompiledItems& compiled() const;

  const std::string name_;
  // Null until compiled, and again when an item was added.
  mutable std::atomic<const Dictionary::CompiledItems*> current_{nullptr};
  mutable Mutex mutex_;  // guards what follows; never held while scanning
  Items items_;
  // The current one and those before it, which scans may still be using.
  mutable std::vector<std::unique_ptr<const Dictionary::CompiledItems>> built_;
};

}  // namespace Kestrav
