#include "TrustedMTASet.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "platform/common/NoDestructor.h"
#include "platform/common/ProcessWide.h"
#include "platform/common/Synchronized.h"
#include "platform/config/store/Attachment.h"
#include "platform/config/store/Fork.h"
#include "profile/sets/TrustedMTATables.h"

namespace Kestrav {

template class RefCounted<TrustedMTASet>;
template class Ref<TrustedMTASet>;

void TrustedAddresses::insert(const IPAddressMask& mask) {
  Synchronized guard(mutex_);
  ++changes_;
  masks_.insert(mask);
}

void TrustedAddresses::erase(const IPAddressMask& mask) {
  Synchronized guard(mutex_);
  ++changes_;
  masks_.erase(mask);
}

std::uint64_t TrustedAddresses::changes() const {
  Synchronized guard(mutex_);
  return changes_;
}

bool TrustedAddresses::add(const std::set<IPAddressMask>& masks, std::uint64_t changes) {
  Synchronized guard(mutex_);
  if (changes != changes_) return false;
  masks_.insert(masks.begin(), masks.end());
  return true;
}

bool TrustedAddresses::assign(std::set<IPAddressMask> masks, std::uint64_t changes) {
  Synchronized guard(mutex_);
  if (changes != changes_) return false;
  ++changes_;
  masks_.swap(masks);
  return true;
}

bool TrustedAddresses::contains(const IPAddressMask& mask) const {
  Synchronized guard(mutex_);
  return masks_.find(mask) != masks_.end();
}

bool TrustedAddresses::matches(const IPAddress& address) const {
  Synchronized guard(mutex_);
  return std::any_of(masks_.begin(), masks_.end(),
                     [&](const IPAddressMask& mask) { return mask.matches(address); });
}

std::size_t TrustedAddresses::size() const {
  Synchronized guard(mutex_);
  return masks_.size();
}

std::list<IPAddressMask> TrustedAddresses::list() const {
  Synchronized guard(mutex_);
  return std::list<IPAddressMask>(masks_.begin(), masks_.end());
}

TrustedMTASet::~TrustedMTASet() = default;

namespace {

void empty(TrustedAddresses& set) {
  while (!set.assign({}, set.changes())) {
  }
}

}  // namespace

TrustedMTASetRef TrustedMTASetRef::instance(bool) {
  Config::refuseParentsStore();
  static NoDestructor<ProcessWide<TrustedMTASetRef>> sets;
  static Mutex emptying;
  // Number of the attachment that the sets are of; written when they are empty.
  static std::atomic<std::uint64_t> attachment{0};
  TrustedMTASetRef found = sets->get([] { return TrustedMTASetRef(new TrustedMTASet); });
  const std::uint64_t present = Config::attachmentNumber();
  if (attachment.load(std::memory_order_acquire) == present) return found;
  const Synchronized guard(emptying);
  if (attachment.load(std::memory_order_relaxed) == present) return found;
  empty(found->trustedMTAs());
  empty(found->trustedAntispamMTAs());
  attachment.store(present, std::memory_order_release);
  return found;
}

void initializeTrustedMTASet() {
  static Mutex mutex;
  Synchronized guard(mutex);
  addTrusted<GID_TRUSTED_MTA>();
  addTrusted<GID_TRUSTED_ANTISPAM_MTA>();
}

}  // namespace Kestrav
