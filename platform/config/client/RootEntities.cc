// The read lock and root entities.
#include <exception>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include "platform/common/NoDestructor.h"
#include "platform/config/client/StoreAccess.h"
#include "platform/config/client/cmf.h"
#include "platform/config/records/Field.h"
#include "platform/config/records/Tables.h"
#include "platform/config/store/Attachment.h"

using namespace Kestrav::Config;
using Kestrav::Config::Client::isDamage;
using Kestrav::Config::Client::logStoreFailure;
using Kestrav::Config::Client::newestSnapshot;

namespace {

thread_local int readLocks = 0;
thread_local std::uint64_t pinnedAt = 0;  // number of the attachment

struct Pinned {
  std::shared_ptr<ConfigStore> store;
  Snapshot snapshot;
};

// Created after the thread's first snapshot, so it is destroyed before the store's own thread-local
// data.
std::optional<Pinned>& pinned() {
  thread_local std::optional<Pinned> snapshot;
  return snapshot;
}

// A root entity. Entities live as long as the process.
struct Entity {
  unsigned char kind;
  unsigned int shmid;  // its place in the list, from 1 on
  const Table* table;
};

const std::vector<Entity>& entities() {
  static Kestrav::NoDestructor<const std::vector<Entity>> list([] {
    std::vector<Entity> made;
    for (const Table& table : tables()) {
      const bool single = table.scope == Scope::kSystemSingle;
      made.push_back({single ? CMDB_SHM_T_OBJ : CMDB_SHM_T_TABLE,
                      static_cast<unsigned int>(made.size() + 1), &table});
    }
    return made;
  }());
  return *list;
}

// A thread's copy of an entity's record.
struct EntityRecord {
  std::uint64_t attachment = 0;
  Revision readAt = 0;
  StoredRecord record;

  void refresh(const Table& table);
};

void EntityRecord::refresh(const Table& table) {
  const std::uint64_t present = attachmentNumber();
  const Snapshot snapshot = newestSnapshot();
  const Revision now = snapshot.revision();
  // A pinned snapshot may be older than the copy.
  if (!record || attachment != present || now < readAt ||
      snapshot.lastChanged(table.gid) > readAt) {
    record = snapshot.byId(table.gid, 0, 0);
  }
  readAt = now;
  attachment = present;
}

}  // namespace

void cmf_shm_read_lock() {
  // After a fork and an attachment the lock of the parent's store pins nothing.
  if (readLocks++ > 0 && pinnedAt == attachmentNumber()) return;
  pinnedAt = attachmentNumber();
  try {
    std::shared_ptr<ConfigStore> store = ConfigStore::attached();
    if (store == nullptr) return;
    Snapshot snapshot = store->snapshot();
    pinned().emplace(Pinned{std::move(store), std::move(snapshot)});
  } catch (const std::exception& reason) {
    logStoreFailure("cmf_shm_read_lock", reason);
  }
}

void cmf_shm_read_unlock() {
  if (readLocks > 0 && --readLocks == 0) pinned().reset();
}

const unsigned int* cmdb_find_root_entity(ngid_t domain, unsigned int id) {
  for (const Entity& entity : entities()) {
    if (entity.table->gid != id) continue;
    // Single records are the system's; lists of any domain are there, if only empty.
    return entity.kind == CMDB_SHM_T_OBJ && domain != 0 ? nullptr : &entity.shmid;
  }
  return nullptr;
}

void* cmf_ptr_from_shmid(unsigned int shmid, int) {
  const std::vector<Entity>& list = entities();
  return shmid == 0 || shmid > list.size() ? nullptr : const_cast<Entity*>(&list[shmid - 1]);
}

const void* cmf_get_obj_data(void* entity) {
  thread_local std::unordered_map<const void*, EntityRecord> records;
  if (entity == nullptr || static_cast<const Entity*>(entity)->kind != CMDB_SHM_T_OBJ)
    return nullptr;
  try {
    EntityRecord& copy = records[entity];
    copy.refresh(*static_cast<const Entity*>(entity)->table);
    return copy.record.data();
  } catch (const std::exception& reason) {
    if (isDamage(reason)) throw;
    logStoreFailure("cmf_get_obj_data", reason);
    return nullptr;
  }
}
