// Makes the scanners of configured dictionaries and dictionary groups, and keeps them until the
// configuration of dictionaries changes.
//
// One for the process. Any number of threads may ask and clean; a scanner is built without any lock
// held, and one that began to be built before a clean(), or from an older revision of the
// configuration than that clean() knew, is given to its caller but not kept.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "platform/common/Mutex.h"
#include "platform/dictionary/DictionaryScanner.h"

namespace Kestrav {

namespace Config {
class ConfigStore;
class Snapshot;
}  // namespace Config

class ProfileDictionaryScanner;

class KESTRAV_API DictionaryFactory : private NonCopyable {
 public:
  static DictionaryFactory& instance();

  // Callers write both instance().clean() and instance()->clean(); kept on purpose.
  DictionaryFactory* operator->() { return this; }

  // A scanner of the dictionary of that name in domain 0, with its items in their order. A null
  // handle, logged, when there is none. Throws what the configuration store throws.
  Ref<DictionaryScannerImpl> createProfileScanner(const std::string& name);

  // The same for the dictionary group of that name: the items of all its dictionaries. A dictionary
  // that is listed twice counts once.
  Ref<DictionaryScannerImpl> createGroupScanner(const std::string& name);

  // Forgets all scanners. Handles given out stay valid.
  void clean();

 private:
  using Scanners = std::map<std::string, Ref<DictionaryScannerImpl>>;
  using Fill = bool (*)(const Config::Snapshot& snapshot, const std::string& name,
                        ProfileDictionaryScanner& scanner);

  DictionaryFactory() = default;
  Ref<DictionaryScannerImpl> create(Scanners DictionaryFactory::*kept, const std::string& name,
                                    Fill fill, const char* missing);

  Mutex mutex_;  // guards what follows
  Scanners profileScanners_;
  Scanners groupScanners_;
  std::uint64_t generation_ = 0;                           // raised by clean()
  std::weak_ptr<const Config::ConfigStore> cleanedStore_;  // attached at the last clean()
  std::uint64_t cleanedRevision_ = 0;                      // its revision then
};

}  // namespace Kestrav
