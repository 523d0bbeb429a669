#include "config/match/PolicySelection.h"
