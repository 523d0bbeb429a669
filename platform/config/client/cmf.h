// The configuration client's plain functions: the C face of the store attached to this process.
//
// A query pins the calling thread's snapshot while it lives and belongs to that thread. Pointers to
// records are valid until their query is moved or freed. Without an attached store every list is
// empty and single-record tables hold their defaults. When the store fails, the functions log
// (0x4000301) and answer as an empty table. A child after fork that uses its parent's store logs
// that once. A damaged record is no missing one: functions that give a record, and those that search
// for a name or find the order of a table, throw Exception kDamaged.
#pragma once

#include "platform/common/Export.h"
#include "platform/common/IpTypes.h"
#include "platform/config/records/Forward.h"

struct __qv_ip_policy;
struct __vexa_recipient_policy;

// Head of every query. The high bit of the fourth byte says that the record at current_row is
// cached.
struct cmf_query {
  unsigned char header[4];
  int current_row;
};
inline constexpr unsigned char CMF_QUERY_CACHED = 0x80;  // in header[3]

extern "C" {

// Never null. A table that does not exist is empty.
KESTRAV_API cmf_query* cmf_query_create_withdomain(ngid_t domain, unsigned int gid);
KESTRAV_API void cmf_query_free(cmf_query* query);
// Number of records; negative on an error. The second argument is 0.
KESTRAV_API int cmf_query_do_table_size(cmf_query* query, int unused);
// Positions the query on record `index`; 0, or -1 when there is none. The second argument is 0.
KESTRAV_API int cmf_set_query_cache_st(cmf_query* query, int unused, int index);
// The record at the current position, null if none.
KESTRAV_API const void* cmf_query_update(cmf_query* query);
// Positions the query on the record whose id is `id`; 0, or -1 when there is none.
KESTRAV_API int cmf_query_do_get_by_gid(cmf_query* query, unsigned int id);
// This thread's shared query of a table, over the domain of cmf_set_cur_domain_id (0 at first). A
// table that only the system has is read in domain 0 always.
KESTRAV_API cmf_query* nCfg_query(unsigned int gid);

// Index of the first record whose id is `id`, -1 when there is none. Does not move the query.
KESTRAV_API int cmf_query_index_of(cmf_query* query, unsigned int id);
// The same by name, case-sensitive; -1 in a table whose records have no name.
KESTRAV_API int cmf_query_index_of_name(cmf_query* query, const char* name);
// The store's revision that the query answers from; 0 when it answers from no store.
KESTRAV_API unsigned long long cmf_query_revision(const cmf_query* query);

// Writing back to the store.
KESTRAV_API void cmf_set_cur_domain_id(ngid_t domain);
KESTRAV_API int cmf_query_goto(cmf_query* query, int index);
KESTRAV_API void* cmf_query_data(cmf_query* query);
// Writes the record; 0, or -1 when it was not written because it was erased, or another writer has
// changed it since this thread read it. Both modes do the same.
KESTRAV_API int cmf_query_do_gui_commit(int unused, cmf_query* query, void* data, int mode);

// Pins and releases the thread's snapshot; calls nest.
KESTRAV_API void cmf_shm_read_lock();
KESTRAV_API void cmf_shm_read_unlock();

// Root entities. The first word of what cmdb_find_root_entity returns is the entity's shmid; the
// first byte of the entity is its kind.
inline constexpr unsigned char CMDB_SHM_T_TABLE = 1;
inline constexpr unsigned char CMDB_SHM_T_OBJ = 2;
KESTRAV_API const unsigned int* cmdb_find_root_entity(ngid_t domain, unsigned int id);
KESTRAV_API void* cmf_ptr_from_shmid(unsigned int shmid, int unused);
KESTRAV_API const void* cmf_get_obj_data(void* entity);

// Flag word of this process; bit 2 selects the commit mode.
KESTRAV_API extern unsigned int cmdb;
// The status zone of the attached store, or a private one while none is attached.
KESTRAV_API extern char* nCfg_debug_zone;

// Policy selection; 0 when a policy matched and the record was filled. The first enabled match in
// order wins. Throws Exception when the store cannot be read.
KESTRAV_API int cfg_ip_policy_match(ip_addr_t server, ip_addr_t client, __qv_ip_policy* record);
// `sender` may be null: no sender. Addresses as EmailAddress::address() gives them.
KESTRAV_API int cfg_get_incoming_policy(const char* sender, const char* recipient,
                                        __vexa_recipient_policy* record);
KESTRAV_API int cfg_get_outgoing_policy(const char* sender, const char* recipient,
                                        __vexa_recipient_policy* record);

}  // extern "C"
