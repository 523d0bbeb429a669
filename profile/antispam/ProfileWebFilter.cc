#include "ProfileWebFilter.h"

#include <algorithm>
#include <boost/smart_ptr/make_shared.hpp>
#include <iterator>

#include "platform/common/Strings.h"
#include "platform/config/client/cmf.h"
#include "platform/config/records/Gid.h"
#include "platform/config/store/Fork.h"
#include "profile/NullHandle.h"
#include "profile/antispam/ProfileWebFilterImpl.h"

namespace Kestrav {

ProfileWebFilterImpl::ProfileWebFilterImpl(const __aps_as_wf_profile* record)
    : ProfileImpl(Profile::kWebFilter) {
  Config::refuseParentsStore();  // the categories come from the store
  if (record == nullptr) return;
  name = boundedText(record->name);
  // A count beyond the record's room is damaged.
  const std::uint64_t count =
      std::min<std::uint64_t>(record->category_id_count, std::size(record->category_ids));
  for (std::uint64_t i = 0; i < count; ++i) {
    cmf_query* table = nCfg_query(GID_WEB_CATEGORY);
    if (table == nullptr) continue;
    const std::uint32_t category = record->category_ids[i];
    if (category == 0) continue;
    if (cmf_query_do_get_by_gid(table, category) != 0) continue;
    const auto* found = static_cast<const __aps_wcf_category*>(cmf_query_update(table));
    if (found == nullptr) continue;
    // The first record of a number is kept.
    categories.emplace(found->number, boost::make_shared<const __aps_wcf_category>(*found));
  }
}

ProfileWebFilterImpl::~ProfileWebFilterImpl() = default;

ProfileWebFilter::ProfileWebFilter(const void* record)
    : Profile(new ProfileWebFilterImpl(static_cast<const __aps_as_wf_profile*>(record))) {}

bool ProfileWebFilter::isSpam(unsigned char category) const {
  return of<ProfileWebFilterImpl>(*this, "ProfileWebFilter").categories.contains(category);
}

}  // namespace Kestrav
