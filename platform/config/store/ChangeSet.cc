#include "platform/common/Exception.h"
#include "platform/config/records/Field.h"
#include "platform/config/records/Tables.h"
#include "platform/config/store/Changes.h"
#include "platform/config/store/RowCodec.h"

namespace Kestrav::Config {
namespace {

const Table& tableFor(G_CLI_GID gid, ngid_t domain) {
  const Table* table = findTable(gid);
  if (table == nullptr) {
    throw Exception("There is no table " + std::to_string(gid), StoreError::kBadRecord);
  }
  if (table->scope != Scope::kDomainList && domain != 0) {
    throw Exception("Table " + std::string(table->key) + " belongs to the system, not to domain " +
                        std::to_string(domain),
                    StoreError::kBadRecord);
  }
  return *table;
}

}  // namespace

ChangeSet::ChangeSet() : changes_(std::make_unique<Changes>()) {}
ChangeSet::ChangeSet(ChangeSet&&) noexcept = default;
ChangeSet& ChangeSet::operator=(ChangeSet&&) noexcept = default;
ChangeSet::~ChangeSet() = default;

ChangeSet::Changes& ChangeSet::changes() {
  if (changes_ == nullptr) changes_ = std::make_unique<Changes>();  // moved from
  return *changes_;
}

void ChangeSet::add(bool placed, G_CLI_GID gid, ngid_t domain, const void* record,
                    std::uint32_t beforeId) {
  const Table& table = tableFor(gid, domain);
  std::string row = RowCodec::encode(table, record);
  const std::uint32_t id = RowCodec::idOf(table, record);
  const bool single = table.scope == Scope::kSystemSingle;
  if (id == 0 && !single) {
    throw Exception("Record of table " + std::string(table.key) + ": its id is 0",
                    StoreError::kBadRecord);
  }
  changes().list.push_back(
      {placed && !single ? Changes::Operation::kPutBefore : Changes::Operation::kPut,
       &table,
       domain,
       id,
       beforeId,
       std::move(row),
       {}});
}

void ChangeSet::put(G_CLI_GID gid, ngid_t domain, const void* record) {
  add(false, gid, domain, record, 0);
}

void ChangeSet::putBefore(G_CLI_GID gid, ngid_t domain, const void* record,
                          std::uint32_t beforeId) {
  add(true, gid, domain, record, beforeId);
}

void ChangeSet::erase(G_CLI_GID gid, ngid_t domain, std::uint32_t id) {
  const Table& table = tableFor(gid, domain);
  changes().list.push_back({Changes::Operation::kErase,
                            &table,
                            domain,
                            table.scope == Scope::kSystemSingle ? 0 : id,
                            0,
                            {},
                            {}});
}

void ChangeSet::order(G_CLI_GID gid, ngid_t domain, std::vector<std::uint32_t> ids) {
  const Table& table = tableFor(gid, domain);
  if (table.scope == Scope::kSystemSingle) {
    throw Exception("Table " + std::string(table.key) + " holds one record and has no order",
                    StoreError::kBadRecord);
  }
  changes().list.push_back({Changes::Operation::kOrder, &table, domain, 0, 0, {}, std::move(ids)});
}

bool ChangeSet::empty() const {
  return changes_ == nullptr || changes_->list.empty();
}

}  // namespace Kestrav::Config
