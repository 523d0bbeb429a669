// The process-wide settings that ProfileAntiSpam hands out beside its profiles.
#include <memory>
#include <string>

#include "ProfileAntiSpam.h"
#include "config/ClientSideCache.h"
#include "platform/common/Mutex.h"
#include "platform/common/Strings.h"
#include "platform/common/Synchronized.h"
#include "platform/config/records/AntispamRecords.h"
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

// One process-wide object, made when it is asked for; never destroyed, like all that threads may
// still be using at the end.
template <class Settings>
class Shared {
 public:
  const Settings* get(bool reload) {
    Synchronized guard(mutex_);
    if (reload) settings_.reset();
    return &current();
  }

  // Good whoever reloads meanwhile.
  Settings copy() {
    Synchronized guard(mutex_);
    return current();
  }

 private:
  const Settings& current() {
    if (settings_ == nullptr) {
      const SystemAntispam snapshot = SystemAntispam::instance(false);
      auto made = std::make_unique<Settings>();
      fill(*made, snapshot->record());
      settings_ = std::move(made);
    }
    return *settings_;
  }

  Mutex mutex_;
  std::unique_ptr<Settings> settings_;  // guarded by mutex_
};

Shared<QuarantineControlSettings>& quarantineControl() {
  static auto* const settings = new Shared<QuarantineControlSettings>;
  return *settings;
}

Shared<BayesianSystemSettings>& bayesianSystem() {
  static auto* const settings = new Shared<BayesianSystemSettings>;
  return *settings;
}

// Values of controlAccountType().
constexpr unsigned int kNoControlAccount = 0;
constexpr unsigned int kBayesianControl = 1;
constexpr unsigned int kQuarantineControl = 2;

}  // namespace

const QuarantineControlSettings* ProfileAntiSpam::quarantineControlSettings(bool reload) {
  return quarantineControl().get(reload);
}

const BayesianSystemSettings* ProfileAntiSpam::bayesianSystemSettings(bool reload) {
  return bayesianSystem().get(reload);
}

unsigned int ProfileAntiSpam::controlAccountType(const EmailAddress& address) {
  const std::string& local = address.local();

  const QuarantineControlSettings quarantine = quarantineControl().copy();
  for (const std::string* account : {&quarantine.first, &quarantine.second}) {
    if (stringEqualsNoCase(local, *account)) return kQuarantineControl;
  }
  const BayesianSystemSettings bayesian = bayesianSystem().copy();
  for (const std::string* account :
       {&bayesian.account1, &bayesian.account2, &bayesian.account3, &bayesian.account4}) {
    if (stringEqualsNoCase(local, *account)) return kBayesianControl;
  }
  return kNoControlAccount;
}

}  // namespace Kestrav
