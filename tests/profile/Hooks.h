// The functions that tests of the profile library hook with Before<> (Hooks.cc).
#pragma once

#include "ProfileFactory.h"
#include "config/Event.h"
#include "config/ServerCache.h"
#include "platform/config/client/cmf.h"
#include "platform/config/store/ConfigStore.h"
#include "platform/dictionary/DictionaryFactory.h"
#include "tests/support/Interposed.h"

namespace Kestrav::Testing {

// The overload of ProfileFactory::update for this record.
template <class Rec>
inline constexpr void (ProfileFactory::*kUpdate)(ngid_t, int,
                                                 const Rec*) const = &ProfileFactory::update;

}  // namespace Kestrav::Testing
