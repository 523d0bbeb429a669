// KESTRAV_API marks what the two shared libraries offer; everything else stays hidden.
#pragma once

#define KESTRAV_API __attribute__((visibility("default")))
