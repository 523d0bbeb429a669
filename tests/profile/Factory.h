// The process's profile factory, started over a store of known contents.
#pragma once

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "DLPRuleFactory.h"
#include "ProfileFactory.h"

namespace Kestrav::Testing {

// How the factory started. The store held the folders "Virus", "Content" and "Dlp", and "bulk"
// instead of "Bulk".
struct Start {
  std::vector<std::uint32_t> folderIdsBefore;  // spam, virus, content, dlp
  std::uint32_t virusFolder = 0;
  std::uint32_t contentFolder = 0;
  std::uint32_t dlpFolder = 0;
  bool deferredAtStart = false;  // the settings of a period of the whole day were in the store
  ProfileFactory* factory = nullptr;
};

// The first call starts the factory. Tests of a program with this header must not start it
// otherwise.
const Start& start();

inline ProfileFactory& factory() {
  return *start().factory;
}

inline ProfileAntiSpam antispam(std::uint32_t id, ngid_t domain = 0) {
  return factory().createProfileAntiSpam(static_cast<int>(id), domain);
}
inline ProfileWebFilter webFilter(std::uint32_t id) {
  return factory().createProfileWebFilter(static_cast<int>(id));
}
inline Ref<ProfileQuarantineFolder> folder(std::uint32_t id, ngid_t domain = 0) {
  return factory().createProfileQuarantineFolder(static_cast<int>(id), domain);
}

// Drops the profile of the record's kind, as after a change of the record.
template <class Rec>
void drop(std::uint32_t id) {
  factory().update(0, static_cast<int>(id), static_cast<const Rec*>(nullptr));
}

// Installed as the data loss prevention rules while it lives; calls `onClear` when they are
// cleared.
class DlpRules : public DLPRuleFactory {
 public:
  explicit DlpRules(std::function<void()> onClear)
      : onClear_(std::move(onClear)), installed_(std::exchange(s_instance, this)) {}
  ~DlpRules() override { s_instance = installed_; }
  void clearDLPRules() override { onClear_(); }

 private:
  const std::function<void()> onClear_;
  DLPRuleFactory* const installed_;
};

}  // namespace Kestrav::Testing
