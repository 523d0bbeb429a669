#include "Profile.h"

#include "profile/NullHandle.h"
#include "profile/ProfileImpl.h"

namespace Kestrav {

template class RefCounted<ProfileImpl>;
template class Ref<ProfileImpl>;

ProfileImpl::~ProfileImpl() = default;

std::uint32_t Profile::type() const {
  if (isNull()) throwNullHandle("Profile", "Profile", 31);
  return holder_->impl()->type;
}

int Profile::id() const {
  if (isNull()) throwNullHandle("Profile", "Profile", 39);
  return holder_->impl()->id;
}

const std::string& Profile::name() const {
  if (isNull()) throwNullHandle("Profile", "Profile", 47);
  return holder_->impl()->name;
}

const ActionContainer& Profile::actions() const {
  if (isNull()) throwNullHandle("Profile", "Profile", 55);
  return holder_->impl()->actions;
}

std::uint32_t Profile::messageParseType() const {
  if (isNull()) throwNullHandle("Profile", "Profile", 73);
  return holder_->impl()->messageParseType;
}

}  // namespace Kestrav
