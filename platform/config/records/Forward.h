// What most code needs to know of records: the type names, without their definitions.
//
// Headers that pass table numbers on, or a record's description by reference, include this one.
// Gid.h has the numbers, Field.h the descriptions.
#pragma once

// Configuration domain identifier; 0 is the system domain.
typedef unsigned int ngid_t;

enum G_CLI_GID : unsigned int;

namespace Kestrav::Config {

struct Field;
struct RecordType;
struct Table;

}  // namespace Kestrav::Config
