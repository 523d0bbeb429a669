// The process-wide settings that ProfileAntiSpam hands out beside its profiles.
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ProfileAntiSpam.h"
#include "config/ClientSideCache.h"
#include "platform/common/Mutex.h"
#include "platform/common/NoDestructor.h"
#include "platform/common/Strings.h"
#include "platform/common/Synchronized.h"
#include "platform/config/records/AntispamRecords.h"
#include "platform/config/store/Attachment.h"
#include "platform/config/store/Fork.h"
#include "platform/parser/EmailAddress.h"

namespace Kestrav {

namespace {

using SystemAntispam = CMF::RefApsSysClientSideCache<__aps_sys_antispam, GID_SYSTEM_ANTISPAM>;

void fill(QuarantineControlSettings& settings, const __aps_sys_antispam& system) {
  settings.first = boundedText(system.quarantine_control_1);
  settings.second = boundedText(system.quarantine_control_2);
}

void fill(BayesianSystemSettings& settings, const __aps_sys_antispam& system) {
  settings.account1 = boundedText(system.bayesian_control_1);
  settings.account2 = boundedText(system.bayesian_control_2);
  settings.account3 = boundedText(system.bayesian_control_3);
  settings.account4 = boundedText(system.bayesian_control_4);
  settings.domain = boundedText(system.bayesian_domain);
}

template <class Settings>
struct Shared {
  Mutex mutex;  // guards what follows
  std::shared_ptr<const Settings> current;
  std::uint64_t attachment = 0;  // number of the attachment that `current` was read in
  // Of former attachments: callers may hold plain pointers to them, which only a reload ends.
  std::vector<std::shared_ptr<const Settings>> former;
};

// The settings stay valid while the result is held, also when another thread reloads them.
template <class Settings>
std::shared_ptr<const Settings> shared(bool reload) {
  Config::refuseParentsStore();
  static NoDestructor<Shared<Settings>> state;
  const Synchronized guard(state->mutex);
  if (reload) state->current.reset();
  if (const std::uint64_t present = Config::attachmentNumber(); state->attachment != present) {
    state->attachment = present;
    if (state->current != nullptr) state->former.push_back(std::move(state->current));
  }
  if (state->current == nullptr) {
    const SystemAntispam snapshot = SystemAntispam::instance(false);
    auto made = std::make_shared<Settings>();
    fill(*made, snapshot->record());
    state->current = std::move(made);
  }
  return state->current;
}

// Values of controlAccountType().
constexpr unsigned int kNoControlAccount = 0;
constexpr unsigned int kBayesianControl = 1;
constexpr unsigned int kQuarantineControl = 2;

}  // namespace

const QuarantineControlSettings* ProfileAntiSpam::quarantineControlSettings(bool reload) {
  return shared<QuarantineControlSettings>(reload).get();
}

const BayesianSystemSettings* ProfileAntiSpam::bayesianSystemSettings(bool reload) {
  return shared<BayesianSystemSettings>(reload).get();
}

unsigned int ProfileAntiSpam::controlAccountType(const EmailAddress& address) {
  const std::string& local = address.local();

  const auto quarantine = shared<QuarantineControlSettings>(false);
  for (const std::string* account : {&quarantine->first, &quarantine->second}) {
    if (stringEqualsNoCase(local, *account)) return kQuarantineControl;
  }
  const auto bayesian = shared<BayesianSystemSettings>(false);
  for (const std::string* account :
       {&bayesian->account1, &bayesian->account2, &bayesian->account3, &bayesian->account4}) {
    if (stringEqualsNoCase(local, *account)) return kBayesianControl;
  }
  return kNoControlAccount;
}

}  // namespace Kestrav
