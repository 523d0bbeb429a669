// The implementation of ProfileWebFilter.
#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>
#include <cstdint>
#include <map>

#include "platform/config/records/WebFilterRecords.h"
#include "profile/ProfileImpl.h"

namespace Kestrav {

class ProfileWebFilterImpl : public ProfileImpl {
 public:
  // A null record gives a profile without a name and without categories.
  explicit ProfileWebFilterImpl(const __aps_as_wf_profile* record);
  ~ProfileWebFilterImpl() override;

  std::map<std::uint8_t, boost::shared_ptr<const __aps_wcf_category>> categories;
};

}  // namespace Kestrav
