#include "PolicyIPAddress.h"

#include <memory>

#include "ProfileFactory.h"
#include "platform/common/Strings.h"
#include "platform/config/client/OneRevision.h"
#include "platform/config/client/cmf.h"
#include "platform/config/records/Bits.h"
#include "platform/config/records/PolicyRecords.h"
#include "platform/config/store/Fork.h"
#include "profile/NullHandle.h"
#include "profile/policy/InspectionSwitches.h"
#include "profile/policy/PolicyIPAddressImpl.h"

namespace Kestrav {

namespace {

using Impl = PolicyIPAddressImpl;
constexpr const char* kSource = "PolicyIPAddress";

// IP policies and their profiles belong to the system.
constexpr ngid_t kSystemDomain = 0;

std::unique_ptr<PolicyIPAddressImpl> fromRecord(__qv_ip_policy& record) {
  auto impl = std::make_unique<PolicyIPAddressImpl>();
  impl->initialize(record);
  return impl;
}

}  // namespace

PolicyIPAddressImpl::~PolicyIPAddressImpl() = default;

void PolicyIPAddressImpl::initialize(__qv_ip_policy& record) {
  const ProfileFactory* factory = ProfileFactory::instance();
  id = record.id;
  ngid = record.ngid;
  name = boundedText(record.name);
  exclusive = Config::isSet(record, __qv_ip_policy::kExclusive);

  // While inspection is off, the session profiles stay null too.
  if (contentInspectionOn()) {
    // Requested even for id 0, which names no profile.
    antispam =
        factory->createProfileAntiSpam(static_cast<int>(record.antispam_profile), kSystemDomain);
  }

  access.authFlag1 = Config::isSet(record, __qv_ip_policy::kAuthFlag1);
  access.authFlag2 = Config::isSet(record, __qv_ip_policy::kAuthFlag2);
  access.authFlag3 = record.auth_flag_3 != 0;
  access.authValue = record.auth_value;
}

PolicyIPAddress::PolicyIPAddress(const IPAddress& client, const IPAddress& server) {
  if (client.isNull() || server.isNull()) return;
  Config::refuseParentsStore();
  std::unique_ptr<Impl> impl;
  Config::Client::atOneRevision([&] {
    impl.reset();
    __qv_ip_policy record{};
    if (cfg_ip_policy_match(server.asIpAddr(), client.asIpAddr(), &record) != 0) return;
    impl = fromRecord(record);
  });
  adopt(impl.release());
}

PolicyIPAddress::PolicyIPAddress(__qv_ip_policy& record) {
  Config::refuseParentsStore();
  std::unique_ptr<Impl> impl;
  Config::Client::atOneRevision([&] { impl = fromRecord(record); });
  adopt(impl.release());
}

const IPAddress& PolicyIPAddress::ipClient() const { return of<Impl>(*this, kSource, 40).ipClient; }
const IPAddress& PolicyIPAddress::ipServer() const { return of<Impl>(*this, kSource, 50).ipServer; }
bool PolicyIPAddress::exclusive() const { return of<Impl>(*this, kSource, 60).exclusive; }

}  // namespace Kestrav
