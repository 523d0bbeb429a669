// Change events of the configuration store: handlers and the dispatcher that calls them.
#pragma once

#include "platform/config/client/Event.h"
