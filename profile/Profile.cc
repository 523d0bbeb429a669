#include "Profile.h"

#include "profile/NullHandle.h"
#include "profile/ProfileImpl.h"

namespace Kestrav {

template class RefCounted<ProfileImpl>;
template class Ref<ProfileImpl>;

ProfileImpl::~ProfileImpl() = default;

namespace {
constexpr const char* kSource = "Profile";
}

std::uint32_t Profile::type() const { return of(*this, kSource, 31).type; }
int Profile::id() const { return of(*this, kSource, 39).id; }
const std::string& Profile::name() const { return of(*this, kSource, 47).name; }
const ActionContainer& Profile::actions() const { return of(*this, kSource, 55).actions; }
std::uint32_t Profile::messageParseType() const { return of(*this, kSource, 73).messageParseType; }

}  // namespace Kestrav
