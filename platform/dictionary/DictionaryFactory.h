// Creates and caches the scanners of configured dictionaries and dictionary groups; clean()
// invalidates them.
//
// Thread-safe. Reads the items without a lock; the first scan compiles them. A scanner whose items
// were read before a clean(), or at a revision older than that of the last clean(), is returned but
// not cached.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/common/Mutex.h"
#include "platform/dictionary/DictionaryScanner.h"

namespace Kestrav {

namespace Config {
class ConfigStore;
class Snapshot;
}  // namespace Config

template <class T>
class NoDestructor;

class KESTRAV_API DictionaryFactory : private NonCopyable {
 public:
  static DictionaryFactory& instance();

  // Existing callers write both instance().clean() and instance()->clean().
  DictionaryFactory* operator->() { return this; }

  // The scanner of a dictionary in domain 0, with its items in order. Logs and returns a null
  // handle when there is none of that name. Throws what the configuration store throws.
  Ref<DictionaryScannerImpl> createProfileScanner(const std::string& name);

  // The same for a dictionary group: the items of all its dictionaries. A dictionary that is listed
  // twice counts once.
  Ref<DictionaryScannerImpl> createGroupScanner(const std::string& name);

  // Existing handles stay valid.
  void clean();

 private:
  struct Scanner {
    Ref<DictionaryScannerImpl> handle;
    std::uint64_t revision;  // that its items were read at
  };
  using Scanners = std::map<std::string, Scanner>;
  using ReadItems = bool (*)(const Config::Snapshot& snapshot, const std::string& name,
                             std::vector<__vexa_dictionary_item>& items);

  friend class NoDestructor<DictionaryFactory>;
  DictionaryFactory() = default;
  Ref<DictionaryScannerImpl> create(Scanners DictionaryFactory::*cache, const std::string& name,
                                    ReadItems readItems, const char* missing);

  Mutex mutex_;  // guards what follows
  Scanners profileScanners_;
  Scanners groupScanners_;
  std::uint64_t generation_ = 0;              // incremented by clean()
  std::atomic<std::uint64_t> attachment_{0};  // number of the attachment that the scanners are of
  std::uint64_t cleanedRevision_ = 0;         // of the attached store at the last clean()
};

}  // namespace Kestrav
