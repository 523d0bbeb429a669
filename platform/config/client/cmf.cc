// The plain functions over queries. A failure of the store is logged here and becomes an empty
// answer.
#include "platform/config/client/cmf.h"

#include <exception>
#include <memory>
#include <unordered_map>

#include "platform/common/Exception.h"
#include "platform/config/client/Query.h"
#include "platform/config/client/StoreAccess.h"

using Kestrav::Config::Client::Query;

unsigned int cmdb = 0;

namespace {

// What `call` answers; `failure` when it throws. Damage is passed on.
template <class Result, class Call>
Result answer(const char* operation, Result failure, Call call) {
  try {
    return call();
  } catch (const std::exception& reason) {
    if (Kestrav::Config::Client::isDamage(reason)) throw;
    Kestrav::Config::Client::logStoreFailure(operation, reason);
    return failure;
  }
}

// A query may be placed on a damaged record: reading it throws.
template <class Call>
int placed(const char* operation, cmf_query* query, Call call) {
  try {
    return answer(operation, query, -1, [&](Query& of) { return call(of) ? 0 : -1; });
  } catch (const Kestrav::Exception&) {
    return 0;
  }
}

// As above with the query; `failure` without one.
template <class Result, class Call>
Result answer(const char* operation, cmf_query* query, Result failure, Call call) {
  if (query == nullptr) return failure;
  return answer(operation, failure, [&] { return call(*static_cast<Query*>(query)); });
}

struct SharedQueries {
  ngid_t domain = 0;
  std::unordered_map<unsigned int, std::unique_ptr<Query>> byTable;
};

SharedQueries& sharedQueries() {
  thread_local SharedQueries queries;
  return queries;
}

}  // namespace

cmf_query* cmf_query_create_withdomain(ngid_t domain, unsigned int gid) {
  auto* query = new Query(gid, domain, Query::Life::kOwn);
  // Pins the revision now; a store that fails is tried again when the query is used.
  answer("cmf_query_create_withdomain", query, 0, [](Query& made) { return made.size(); });
  return query;
}

void cmf_query_free(cmf_query* query) {
  if (query != nullptr && !static_cast<Query*>(query)->shared()) delete static_cast<Query*>(query);
}

int cmf_query_do_table_size(cmf_query* query, int) {
  return answer("cmf_query_do_table_size", query, -1, [](Query& of) { return of.size(); });
}

int cmf_set_query_cache_st(cmf_query* query, int, int index) {
  return placed("cmf_set_query_cache_st", query,
                [&](Query& of) { return of.place(index) && of.record() != nullptr; });
}

const void* cmf_query_update(cmf_query* query) {
  return cmf_query_data(query);
}

int cmf_query_do_get_by_gid(cmf_query* query, unsigned int id) {
  return placed("cmf_query_do_get_by_gid", query, [&](Query& of) { return of.placeById(id); });
}

cmf_query* nCfg_query(unsigned int gid) {
  SharedQueries& queries = sharedQueries();
  std::unique_ptr<Query>& query = queries.byTable[gid];
  if (query == nullptr) query = std::make_unique<Query>(gid, 0, Query::Life::kShared);
  query->refresh(queries.domain);
  return query.get();
}

int cmf_query_index_of(cmf_query* query, unsigned int id) {
  return answer("cmf_query_index_of", query, -1, [&](Query& of) { return of.indexOf(id); });
}

int cmf_query_index_of_name(cmf_query* query, const char* name) {
  if (name == nullptr) return -1;
  return answer("cmf_query_index_of_name", query, -1,
                [&](Query& of) { return of.indexOf(std::string_view(name)); });
}

unsigned long long cmf_query_revision(const cmf_query* query) {
  return query == nullptr ? 0 : static_cast<const Query*>(query)->revision();
}

void cmf_set_cur_domain_id(ngid_t domain) {
  sharedQueries().domain = domain;
}

int cmf_query_goto(cmf_query* query, int index) {
  return answer("cmf_query_goto", query, -1, [&](Query& of) { return of.place(index) ? 0 : -1; });
}

void* cmf_query_data(cmf_query* query) {
  return answer("cmf_query_data", query, static_cast<void*>(nullptr),
                [](Query& of) { return of.record(); });
}

int cmf_query_do_gui_commit(int, cmf_query* query, void* data, int) {
  return answer("cmf_query_do_gui_commit", query, -1,
                [&](Query& of) { return of.put(data) ? 0 : -1; });
}
