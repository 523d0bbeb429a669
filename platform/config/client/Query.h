// One query of the client: a position in one table of one domain.
//
// An own query pins the store's revision while it lives. A shared query (nCfg_query) pins nothing
// between calls: it keeps a copy of its current record, and each nCfg_query makes it read the
// newest revision. Both belong to the thread that made them. Members throw Exception when the store
// fails; the functions of cmf.h turn that into results.
#pragma once

#include <memory>
#include <optional>

#include "platform/config/client/cmf.h"
#include "platform/config/store/Attachment.h"

namespace Kestrav::Config::Client {

class Query : public cmf_query {
 public:
  enum class Life { kOwn, kShared };

  Query(unsigned int gid, ngid_t domain, Life life);

  bool shared() const { return life_ == Life::kShared; }
  Revision revision() const { return revision_; }

  // Answers from the newest revision from now on, in the thread's current domain or, for a table
  // that only the system has, in the system. The query loses its record when its domain changes.
  void refresh(ngid_t current);

  int size();
  bool place(int row);
  bool placeById(std::uint32_t id);
  int indexOf(std::uint32_t id);
  int indexOf(std::string_view name);
  // Of the current row; of the first row when the query was never placed.
  void* record();
  bool put(const void* data);

 private:
  class View;

  void open();
  const TableIndex& index(const Snapshot& snapshot);
  void follow(const Snapshot& snapshot);
  void load(const Snapshot& snapshot);
  void leave();
  void forget();
  bool cached() const { return (header[3] & CMF_QUERY_CACHED) != 0; }
  void cached(bool on);

  const G_CLI_GID gid_;
  ngid_t domain_;
  const Life life_;
  std::optional<Snapshot> snapshot_;  // own
  std::uint64_t attachment_ = 0;      // shared: whose store row and index are of
  Revision revision_ = 0;
  std::shared_ptr<const TableIndex> index_;
  std::optional<std::uint32_t> place_;  // id of the record that the query was last placed on
  bool lost_ = false;                   // the last placing failed
  StoredRecord record_;
};

}  // namespace Kestrav::Config::Client
