// A dictionary scanner that is filled item by item.
//
//   auto* scanner = new ProfileDictionaryScanner("strict-bannedwords");
//   Ref<DictionaryScannerImpl> handle(scanner);
//   scanner->add_pattern(item);
//
// Items are texts, wildcards and regular expressions (see DictionaryItem.h). The first scan after
// an addition, or compile(), compiles them; other threads that scan meanwhile wait for it. Any
// number of threads may add, compile and scan; an added item takes part in scans that begin later.
// When an item is left out, the log says why and every result says that it is not complete.
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
  // Adds the items when they are first needed: reading expressions takes time.
  ProfileDictionaryScanner(std::string name, std::vector<__vexa_dictionary_item> items);
  ~ProfileDictionaryScanner() override;

  // True when the item was added. Disabled and empty items are not. An unknown kind or an
  // expression that does not compile is logged and not added. The item's id and dictionary are not
  // used.
  bool add_pattern(const __vexa_dictionary_item& item);

  // Compiles now instead of in the next scan.
  void compile() const;

  const std::string& name() const override { return name_; }
  std::size_t size() const override;
  using DictionaryScannerImpl::scan;
  void scan(std::string_view text, ScanArea area, ScanResult& result) const override;

 private:
  using Items = std::vector<std::shared_ptr<const Dictionary::Item>>;

  const Dictionary::CompiledItems& compiled() const;
  // REQUIRES: mutex_ is held.
  void addWaiting() const;
  bool add(const __vexa_dictionary_item& item) const;

  const std::string name_;
  // Null until compiled and after an addition.
  mutable std::atomic<const Dictionary::CompiledItems*> current_{nullptr};
  mutable Mutex mutex_;  // guards the members below; held while compiling, not while scanning
  mutable std::vector<__vexa_dictionary_item> waiting_;  // to be added
  mutable std::size_t nextWaiting_ = 0;                  // the first one that is not added yet
  mutable Items items_;
  mutable bool leavesOut_ = false;  // an item could not be added
  // The current one and its predecessors, which running scans may use.
  mutable std::vector<std::unique_ptr<const Dictionary::CompiledItems>> built_;
};

}  // namespace Kestrav
