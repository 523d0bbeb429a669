// The protected domains, kept in memory for up to millions of them.
//
// The first use reads the table and registers for its changes; from then on a change costs what it
// changes. Any thread may look up at any time. Names are compared without regard to case (of ASCII
// letters). Should two records carry one name, the one with the lower id answers.
#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "VexaRefcounted.h"
#include "platform/common/Export.h"
#include "platform/config/records/Forward.h"

struct __aps_gw_server;

namespace Kestrav::CMF {

// A protected domain as it was when it was looked up.
//
// An alias answers with the record of the domain that it is an alias of, so that its mail gets that
// domain's policies, profiles and disclaimers. An alias of a domain that is not protected, or of
// itself, stands for itself.
class KESTRAV_API ApsGwServer : public virtual RefImpl, public NonCopyable {
 public:
  // What is kept of a record. `row` is empty when all the rest of the record is zero.
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

  // Put together by the first call.
  const __aps_gw_server& record() const;
  ngid_t configurationDomain() const { return contents_.configurationDomain; }
  // Name of the domain that the one asked for is an alias of; empty when it is none.
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
  // Number of records known and bytes of memory taken by them.
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

  // The one cache of the process. The flag is accepted for the callers' sake and makes no
  // difference.
  static RefApsGwServerCache instance(bool);
  RefApsGwServer find(const std::string& domain) const { return (*this)->find(domain); }
};

}  // namespace Kestrav::CMF
