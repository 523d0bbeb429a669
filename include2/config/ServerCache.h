// The protected domains.
#pragma once

#include "platform/config/client/ServerCache.h"
