// Typed access to the configuration store.
//
// Use these objects as short-lived locals of one thread. Each reads one revision of the store while
// it lives and frees its query in its destructor. A pointer to a record is valid until its query
// moves or ends: copy what you need. Table numbers may be given as numbers or as G_CLI_GID.
#pragma once

#include <string>

#include "VexaRefcounted.h"
#include "platform/common/Exception.h"
#include "platform/common/Export.h"
#include "platform/config/client/cmf.h"
#include "platform/config/records/Gid.h"

struct __aps_systemquarantine_folders;

namespace Kestrav::CMF {

// Holds the store's shared read lock, or not. A thread that holds it reads one revision only.
class KESTRAV_API Lock {
 public:
  Lock() = default;
  explicit Lock(bool take) {
    if (take) acquire();
  }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;
  ~Lock() { release(); }

  void acquire() {
    if (held_) return;
    cmf_shm_read_lock();
    held_ = true;
  }
  void release() {
    if (!held_) return;
    cmf_shm_read_unlock();
    held_ = false;
  }
  bool held() const { return held_; }

 private:
  bool held_ = false;
};
static_assert(sizeof(Lock) == 1);

// A position in a table. Positions are equal when their queries and indexes are.
template <class Rec>
class KESTRAV_API _iterator {
 public:
  _iterator(cmf_query* query, int index, int count) : query_(query), index_(index), count_(count) {}
  _iterator(const _iterator&) = default;
  _iterator& operator=(const _iterator&) = default;
  virtual ~_iterator() = default;

  // The record, null outside the table. Moves the query only when its row differs.
  const Rec* operator->() const { return record(); }
  const Rec* operator*() const { return record(); }

  _iterator& operator++() {
    if (count_ <= 0) {
      index_ = -1;
    } else if (index_ < count_) {
      ++index_;
    }
    return *this;
  }

  bool operator==(const _iterator& other) const {
    return query_ == other.query_ && index_ == other.index_;
  }
  bool operator!=(const _iterator& other) const { return !(*this == other); }

  int index() const { return index_; }

 private:
  const Rec* record() const {
    if (count_ < 1 || index_ < 0 || index_ >= count_) return nullptr;
    if (query_->current_row != index_) {
      query_->header[3] &= static_cast<unsigned char>(~CMF_QUERY_CACHED);
      query_->current_row = index_;
      cmf_set_query_cache_st(query_, 0, index_);
    }
    return static_cast<const Rec*>(cmf_query_update(query_));
  }

  cmf_query* query_;
  int index_;
  int count_;
};

// A table in one domain. The constructor never fails: a table that cannot be read is empty.
template <class Rec, unsigned int GID>
class KESTRAV_API TableQuery : public NonCopyable {
 public:
  class iterator : public _iterator<Rec> {
   public:
    using _iterator<Rec>::_iterator;
  };

  explicit TableQuery(ngid_t domain = 0)
      : domain_(domain), query_(cmf_query_create_withdomain(domain, GID)) {}
  // The query goes first, then the read lock.
  virtual ~TableQuery() { cmf_query_free(query_); }

  // Number of records; negative, which counts as empty, when the table cannot be read.
  int size() {
    if (size_ == -1) {
      size_ = cmf_query_do_table_size(query_, 0);
      if (size_ == -1) size_ = cmf_query_do_table_size(query_, 0);
    }
    return size_;
  }
  iterator begin() {
    const int count = size();
    return iterator(query_, count > 0 ? 0 : -1, count);
  }
  iterator end() {
    const int count = size();
    return iterator(query_, count > 0 ? count : -1, count);
  }

  // Writes the record at the query's position, changed in place by the caller, back to the store.
  // Does nothing when the table no longer has that position.
  void commit() {
    cmf_set_cur_domain_id(domain_);
    if (cmf_query_goto(nCfg_query(GID), query_ == nullptr ? -1 : query_->current_row) != 0) return;
    lock_.release();
    void* data = cmf_query_data(query_);
    cmf_query* shared = nCfg_query(GID);
    if (shared == nullptr) return;
    if (data == nullptr) data = cmf_query_data(shared);
    cmf_query_do_gui_commit(0, shared, data, (cmdb & kCommitFlag) != 0 ? 1 : 3);
  }

  ngid_t domain() const { return domain_; }
  cmf_query* query() const { return query_; }

 private:
  static constexpr unsigned int kCommitFlag = 1u << 2;  // of cmdb

  ngid_t domain_;
  cmf_query* query_;
  int size_ = -1;
  Lock lock_;
};

// A table that holds a single record of settings, in domain 0.
template <class Rec, unsigned int GID>
class KESTRAV_API ObjectQuery : public NonCopyable {
 public:
  ObjectQuery() : query_(cmf_query_create_withdomain(0, GID)) {}
  ~ObjectQuery() { cmf_query_free(query_); }

  // The record, or its defaults when it was never written. In a list: the first record, null when
  // the list is empty. Null when the store cannot be read.
  const Rec* update() const { return static_cast<const Rec*>(cmf_query_update(query_)); }
  const Rec* operator*() const { return update(); }
  const Rec* operator->() const { return update(); }

  cmf_query* query() const { return query_; }

 private:
  [[maybe_unused]] unsigned int unused_ = 0;
  cmf_query* query_;
};

// One record of a list in domain 0, chosen by its id.
template <class Rec, unsigned int GID>
class KESTRAV_API ObjectQueryById : public NonCopyable {
 public:
  explicit ObjectQueryById(unsigned int id) : id_(id), query_(cmf_query_create_withdomain(0, GID)) {
    if (query_ != nullptr && id_ != 0) cmf_query_do_get_by_gid(query_, id_);
  }
  ~ObjectQueryById() { cmf_query_free(query_); }

  // Null when there is no such record; id 0 names none.
  const Rec* update() const {
    return id_ == 0 ? nullptr : static_cast<const Rec*>(cmf_query_update(query_));
  }
  const Rec* operator*() const { return update(); }
  const Rec* operator->() const { return update(); }

  unsigned int id() const { return id_; }
  cmf_query* query() const { return query_; }

 private:
  unsigned int id_;
  [[maybe_unused]] unsigned int unused_ = 0;
  cmf_query* query_;
};

// A root entity: a single object rather than a table.
//
// A missing one is not an error and reads as null. A table throws Exception, code 2.
template <class Rec, unsigned int ID>
class KESTRAV_API Object {
 public:
  explicit Object(ngid_t domain = 0) : domain_(domain) {
    const Lock lock(true);
    const unsigned int* root = cmdb_find_root_entity(domain_, ID);
    if (root == nullptr) return;
    entity_ = cmf_ptr_from_shmid(*root, 0);
    if (entity_ != nullptr && *static_cast<const unsigned char*>(entity_) != CMDB_SHM_T_OBJ) {
      throw Exception("CMF::Object<T,ID>", Exception::kWrongEntity, "config/CMF", 116)
          .stringParameter("Entity is not a CMDB_SHM_T_OBJ");
    }
  }
  virtual ~Object() = default;

  // Null when the entity is missing. Valid until this thread reads the entity again after a change.
  const Rec* operator*() const {
    const Lock lock(lockWhileReading_);
    return entity_ == nullptr ? nullptr : static_cast<const Rec*>(cmf_get_obj_data(entity_));
  }
  const Rec* operator->() const { return **this; }

  bool lockWhileReading() const { return lockWhileReading_; }
  void lockWhileReading(bool lock) { lockWhileReading_ = lock; }
  ngid_t domain() const { return domain_; }

 private:
  bool lockWhileReading_ = true;
  ngid_t domain_ = 0;
  void* entity_ = nullptr;
};

// The record whose id is `id`, or end(). Does not move the query. Only the first call at a revision
// costs more for a larger table.
template <class Rec, unsigned int GID>
typename TableQuery<Rec, GID>::iterator find(TableQuery<Rec, GID>& table, unsigned int id) {
  const int count = table.size();
  const int index = count > 0 ? cmf_query_index_of(table.query(), id) : -1;
  if (index < 0 || index >= count) return table.end();
  return typename TableQuery<Rec, GID>::iterator(table.query(), index, count);
}

// The quarantine folder of this name, case-sensitive, or end().
inline TableQuery<__aps_systemquarantine_folders, GID_QUARANTINE_FOLDER>::iterator find(
    TableQuery<__aps_systemquarantine_folders, GID_QUARANTINE_FOLDER>& table,
    const std::string& name) {
  const int count = table.size();
  const int index = count > 0 ? cmf_query_index_of_name(table.query(), name.c_str()) : -1;
  if (index < 0 || index >= count) return table.end();
  return TableQuery<__aps_systemquarantine_folders, GID_QUARANTINE_FOLDER>::iterator(table.query(),
                                                                                     index, count);
}

}  // namespace Kestrav::CMF
