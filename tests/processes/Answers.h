// All answers of this process about the sets, as text, cached or not. Two processes with the same
// configuration give the same text.
#pragma once

#include <string>

#include "config/ClientSideCache.h"

namespace Kestrav::Testing {

std::string allAnswers();

// The cached record of a single-record table.
template <class Rec, unsigned int GID>
CMF::RefApsSysClientSideCache<Rec, GID> settings() {
  return CMF::RefApsSysClientSideCache<Rec, GID>::instance(false);
}

}  // namespace Kestrav::Testing
