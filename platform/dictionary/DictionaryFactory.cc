#include "platform/dictionary/DictionaryFactory.h"

#include <set>
#include <utility>
#include <vector>

#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/common/NoDestructor.h"
#include "platform/common/Strings.h"
#include "platform/common/Synchronized.h"
#include "platform/config/records/Gid.h"
#include "platform/config/store/Attachment.h"
#include "platform/config/store/Fork.h"
#include "platform/config/store/RevisionScope.h"
#include "platform/dictionary/ProfileDictionaryScanner.h"

namespace Kestrav {
namespace {

using Config::RevisionScope;
using Config::Snapshot;
using Config::StoredRecord;

constexpr ngid_t kSystemDomain = 0;
constexpr std::uint32_t kNoId = 0;

// Of the first record of that name; kNoId when there is none.
template <class Rec>
std::uint32_t idByName(const Snapshot& snapshot, G_CLI_GID table, const std::string& name) {
  std::uint32_t id = kNoId;
  snapshot.walk(table, kSystemDomain, [&](const StoredRecord& record) {
    if (boundedText(record.as<Rec>()->name) != name) return true;
    id = record.as<Rec>()->id;
    return false;
  });
  return id;
}

using Items = std::vector<__vexa_dictionary_item>;

void addItems(const Snapshot& snapshot, const std::set<std::uint32_t>& dictionaries, Items& items) {
  snapshot.walk(GID_DICTIONARY_ITEM, kSystemDomain, [&](const StoredRecord& record) {
    const auto* item = record.as<__vexa_dictionary_item>();
    if (dictionaries.contains(item->dictionary_id)) items.push_back(*item);
    return true;
  });
}

bool itemsOfDictionary(const Snapshot& snapshot, const std::string& name, Items& items) {
  const auto id = idByName<__vexa_dictionary>(snapshot, GID_DICTIONARY, name);
  if (id == kNoId) return false;
  addItems(snapshot, {id}, items);
  return true;
}

bool itemsOfGroup(const Snapshot& snapshot, const std::string& name, Items& items) {
  const auto id = idByName<__vexa_dictionary_group>(snapshot, GID_DICTIONARY_GROUP, name);
  if (id == kNoId) return false;
  std::set<std::uint32_t> dictionaries;
  snapshot.walk(GID_DICTIONARY_GROUP_ITEM, kSystemDomain, [&](const StoredRecord& record) {
    const auto* member = record.as<__vexa_dictionary_group_item>();
    if (member->group_id == id) dictionaries.insert(member->dictionary_id);
    return true;
  });
  addItems(snapshot, dictionaries, items);
  return true;
}

}  // namespace

DictionaryFactory& DictionaryFactory::instance() {
  static NoDestructor<DictionaryFactory> factory;
  return *factory;
}

Ref<DictionaryScannerImpl> DictionaryFactory::createProfileScanner(const std::string& name) {
  return create(&DictionaryFactory::profileScanners_, name, &itemsOfDictionary,
                "there is no dictionary of this name");
}

Ref<DictionaryScannerImpl> DictionaryFactory::createGroupScanner(const std::string& name) {
  return create(&DictionaryFactory::groupScanners_, name, &itemsOfGroup,
                "there is no dictionary group of this name");
}

Ref<DictionaryScannerImpl> DictionaryFactory::create(Scanners DictionaryFactory::*cache,
                                                     const std::string& name, ReadItems readItems,
                                                     const char* missing) {
  Config::refuseParentsStore();
  if (attachment_ != Config::attachmentNumber()) clean();
  std::uint64_t generation;
  {
    Synchronized guard(mutex_);
    const auto found = (this->*cache).find(name);
    if (found != (this->*cache).end() && RevisionScope::usable(found->second.revision)) {
      return found->second.handle;
    }
    generation = generation_;
  }
  if (!RevisionScope::mayRead()) return {};

  Items items;
  const std::shared_ptr<Config::ConfigStore> store = Config::ConfigStore::attached();
  Config::Revision revision = 0;
  bool found = false;
  if (store) {
    const Snapshot snapshot = store->snapshot();
    revision = snapshot.revision();
    found = readItems(snapshot, name, items);
  }
  if (!found) {
    Logger::instance(false).log(LogCode::kDictionaryScanFailed, "%s\x01%s", name.c_str(), missing);
    return {};
  }
  // The caller may hold locks that others wait for: the first scan compiles.
  const Ref<DictionaryScannerImpl> handle(new ProfileDictionaryScanner(name, std::move(items)));

  Synchronized guard(mutex_);
  if (generation != generation_) return handle;
  // This thread may have pinned a snapshot that is older than the change that caused clean().
  if (revision < cleanedRevision_) return handle;
  // Another thread may have been faster; all callers share its scanner.
  Scanner& kept = (this->*cache).emplace(name, Scanner{handle, revision}).first->second;
  if (RevisionScope::usable(kept.revision)) return kept.handle;
  if (kept.revision < revision) kept = Scanner{handle, revision};
  return handle;
}

void DictionaryFactory::clean() {
  const std::shared_ptr<Config::ConfigStore> store = Config::ConfigStore::attached();
  const Config::Revision revision = store ? store->revision() : 0;
  // Scanners without other handles are destroyed after the unlock.
  Scanners profileScanners;
  Scanners groupScanners;
  Synchronized guard(mutex_);
  ++generation_;
  attachment_ = Config::attachmentNumber();
  cleanedRevision_ = revision;
  profileScanners.swap(profileScanners_);
  groupScanners.swap(groupScanners_);
}

}  // namespace Kestrav
