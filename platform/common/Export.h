// KESTRAV_API marks the exported symbols of both shared libraries; all others are hidden.
#pragma once

#define KESTRAV_API __attribute__((visibility("default")))
