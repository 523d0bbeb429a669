#include "ProfileGlobalSettings.h"

#include "ProfileFactory.h"

namespace Kestrav {

int ProfileGlobalSettings::deferredPeriod() { return ProfileFactory::instance()->deferredPeriod(); }

}  // namespace Kestrav
