// The protected domains, kept in memory for up to millions of them.
//
// The first use registers for changes and reads the table. After that, the cost of a change does
// not depend on the size of the table. Any thread may look up at any time. Names are compared
// ignoring the case of ASCII letters. Of two records with one name, the one with the lower id
// answers.
#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "VexaRefcounted.h"
#include "platform/common/Export.h"
#include "platform/config/records/Forward.h"

struct __aps_gw_server;

namespace Kestrav::CMF {

// A protected domain at the time of its lookup.
//
// An alias answers with the record of its target domain, so its mail gets the policies, profiles
// and disclaimers of the target. An alias of itself, or of a domain that is not protected, answers
// with its own record.
class KESTRAV_API ApsGwServer : public virtual RefImpl, public NonCopyable {
 public:
  // The parts of a record. `row` is empty when all other fields of the record are zero.
  struct Contents {
    std::string name;
    std::string aliasOf;
    std::uint32_t id = 0;
    std::uint32_t disclaimerMode = 0;
    ngid_t configurationDomain = 0;
    std::string row;
  };
  ApsGwServer(Contents contents, std::string aliasKey);
  ~ApsGwServer() override;

  // Decoded by the first call.
  const __aps_gw_server& record() const;
  ngid_t configurationDomain() const { return contents_.configurationDomain; }
  // Name of the target domain when the lookup found an alias, else empty.
  const std::string& aliasKey() const { return aliasKey_; }

 private:
  const Contents contents_;
  const std::string aliasKey_;
  mutable std::once_flag once_;
  mutable std::unique_ptr<__aps_gw_server> record_;
};

class KESTRAV_API RefApsGwServer : public Ref<ApsGwServer> {
 public:
  using Ref<ApsGwServer>::Ref;
};

class KESTRAV_API ApsGwServerCache : public virtual RefImpl, public NonCopyable {
 public:
  ApsGwServerCache();
  ~ApsGwServerCache() override;

  // Null when the domain is not protected. Throws Exception when the store cannot be read.
  RefApsGwServer find(const std::string& domain) const;
  // Number of records and the memory that they take.
  std::size_t size() const;
  std::size_t bytes() const;

 private:
  friend class ApsGwServerHandler;
  friend class RefApsGwServerCache;
  struct State;
  const std::unique_ptr<State> state_;
};

class KESTRAV_API RefApsGwServerCache : public Ref<ApsGwServerCache> {
 public:
  using Ref<ApsGwServerCache>::Ref;

  // The cache of the process. Throws Exception kForked in a child that uses its parent's store. The
  // flag makes no difference.
  static RefApsGwServerCache instance(bool);
  RefApsGwServer find(const std::string& domain) const { return (*this)->find(domain); }
};

}  // namespace Kestrav::CMF
