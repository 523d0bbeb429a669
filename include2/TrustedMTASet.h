// The mail transfer agents that the gateway trusts, by IP address: one set is trusted to name the
// origin of a message, the other its spam verdict.
//
// One pair of sets per process, filled by initializeTrustedMTASet() and kept up to date by the
// profile factory's event handlers. Any number of threads may read and change the sets; each
// operation is atomic on its own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <set>

#include "VexaRefcounted.h"
#include "platform/common/Export.h"
#include "platform/common/IPAddress.h"
#include "platform/common/IPAddressMask.h"
#include "platform/common/Mutex.h"

namespace Kestrav {

// An ordered set of address masks without duplicates.
class KESTRAV_API TrustedAddresses : public NonCopyable {
 public:
  void insert(const IPAddressMask& mask);
  void erase(const IPAddressMask& mask);

  // The number of calls of insert and erase. To store addresses read from the store: take the
  // number, read, then add or assign with the number. Both do nothing and return false when the set
  // has changed since.
  std::uint64_t changes() const;
  [[nodiscard]] bool add(const std::set<IPAddressMask>& masks, std::uint64_t changes);
  [[nodiscard]] bool assign(std::set<IPAddressMask> masks, std::uint64_t changes);

  // Whether `mask` itself is an element.
  bool contains(const IPAddressMask& mask) const;
  // Whether any element covers `address`.
  bool matches(const IPAddress& address) const;
  std::size_t size() const;
  // In the order of IPAddressMask.
  std::list<IPAddressMask> list() const;

 private:
  mutable Mutex mutex_;
  // Guarded by mutex_.
  std::set<IPAddressMask> masks_;
  std::uint64_t changes_ = 0;
};

class KESTRAV_API TrustedMTASet : public virtual RefImpl, public NonCopyable {
 public:
  ~TrustedMTASet() override;

  TrustedAddresses& trustedMTAs() { return trustedMTAs_; }
  const TrustedAddresses& trustedMTAs() const { return trustedMTAs_; }
  TrustedAddresses& trustedAntispamMTAs() { return trustedAntispamMTAs_; }
  const TrustedAddresses& trustedAntispamMTAs() const { return trustedAntispamMTAs_; }

 private:
  TrustedAddresses trustedMTAs_;
  TrustedAddresses trustedAntispamMTAs_;
};

extern template class KESTRAV_API RefCounted<TrustedMTASet>;
extern template class KESTRAV_API Ref<TrustedMTASet>;

class KESTRAV_API TrustedMTASetRef : public Ref<TrustedMTASet> {
 public:
  // The process's sets, initially empty. The argument is ignored.
  static TrustedMTASetRef instance(bool unused = false);

 private:
  explicit TrustedMTASetRef(TrustedMTASet* set) : Ref(set) {}
};

// Adds every address of the two tables to the sets. A text that is no address is logged and
// skipped. Do not call it from a thread that holds an older revision of the store open: it would
// add addresses that were erased since.
KESTRAV_API void initializeTrustedMTASet();

}  // namespace Kestrav
