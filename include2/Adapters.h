// Copy the fixed-size text lists of configuration records to the containers that profiles use.
//
// Any thread may call them; the caller has the container to itself.
#pragma once

#include <list>
#include <string>

#include "platform/common/Export.h"

struct __aps_hideheader_list_t;
struct aps_bounded_string;
struct aps_fqdn_t;

namespace Kestrav {

class PatternContainer;
class StringContainer;

// Each adds the first `count` entries of `list` in order and skips empty ones; a count below 1 adds
// nothing. An entry without a NUL takes its whole field.

KESTRAV_API void adapter(StringContainer& out, int count, const __aps_hideheader_list_t* list);
KESTRAV_API void adapter(std::list<std::string>& out, int count, const aps_fqdn_t* list);

// Entries are patterns of addresses and hosts. White space around them is removed. An entry adds:
//   an IP address                        that address
//   a mask or a part of an IP address    the entry and ".*"
//   a text with an at sign               that pattern
//   anything else, a domain              every address in the domain and in its subdomains
KESTRAV_API void adapter(PatternContainer& out, int count, const aps_bounded_string* list);

}  // namespace Kestrav
