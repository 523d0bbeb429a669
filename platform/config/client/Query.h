// One query of the client: a position in one table of one domain.
//
// A query of its own pins the store's revision for its life. A shared one (nCfg_query) pins nothing
// between calls: it keeps a copy of the record it stands on and reads the newest revision whenever
// it is fetched anew. Both belong to the thread that made them. Members throw Exception when the
// store fails; cmf.h's functions turn that into their results.
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
  ngid_t domain() const { return domain_; }
  Revision revision() const { return revision_; }

  // Answers from the newest revision from now on. The place stays: the row of the same record.
  void refresh();
  // As refresh, in another domain; the place is lost.
  void moveTo(ngid_t domain);

  int size();
  bool place(int row);
  bool placeById(std::uint32_t id);
  int indexOf(std::uint32_t id);
  int indexOf(std::string_view name);
  // Of the current row. A query never placed stands on the first record.
  void* record();
  bool put(const void* data);

 private:
  class View;

  void open();
  const TableIndex& index(const Snapshot& snapshot);
  void follow(const Snapshot& snapshot);
  void load(const Snapshot& snapshot);
  void leave();
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
  bool nowhere_ = false;                // the last placing failed
  StoredRecord record_;
};

}  // namespace Kestrav::Config::Client
