// The text form of a configuration: YAML with names where the store has numbers.
//
// A text is always a whole configuration. Loading it erases records that it does not name and sets
// everything that it leaves out to its default. Loading changes nothing unless the whole text is
// right, and then only the real differences, in one change set.
//
//   antispam-profiles:
//     - name: strict
//       rbl: on
//       rbl-servers: [bl.example.net]
//       default-action: tag
//   antispam-actions:
//     - name: tag
//       tag-subject: on
//   domains:
//     - name: example.com
//       configuration:
//         incoming-policies:
//           - name: everyone
//             from: any
//             antispam: strict
//
// Names are looked up in the domain's own configuration, then in the system's. A record keeps its
// number as long as it keeps its name. A new record gets a number that no record of its table has
// in any domain. Any thread may call these functions.
#pragma once

#include <filesystem>
#include <iosfwd>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/common/Export.h"
#include "platform/config/store/ConfigStore.h"
#include "platform/config/text/Configuration.h"
#include "platform/config/text/Problem.h"

namespace Kestrav::Config::Text {

inline constexpr std::size_t kMaximumSource = 64u << 20;  // bytes of one file
inline constexpr std::size_t kMaximumLine = 1u << 20;     // bytes of one line
inline constexpr int kMaximumDepth = 24;                  // of nested lists and maps
inline constexpr std::size_t kMaximumNodes = 8'000'000;   // values of one file
inline constexpr std::size_t kMaximumProblems = 1000;     // of each severity, that are reported

// Replaces a secret in a text that was written without secrets. Cannot be loaded.
inline constexpr std::string_view kMaskedSecret = "<masked>";

struct Source {
  std::string name;  // for messages
  std::string content;
};

// Reads several texts as one configuration, in the given order: lists are joined, a setting may
// occur once. With mistakes the result is empty. `problems` holds mistakes and warnings by text and
// place.
KESTRAV_API std::optional<Configuration> read(std::span<const Source> sources,
                                              std::vector<Problem>& problems);

// The same from files, which may be pipes. A folder means its *.yaml files in alphabetical order.
KESTRAV_API std::optional<Configuration> read(std::span<const std::filesystem::path> paths,
                                              std::vector<Problem>& problems);

// The changes after which the store holds exactly `configuration`; empty when it already does.
// Valid for the snapshot's revision. Throws Exception, code kBadText, when numbers in the text
// collide with those of the store.
KESTRAV_API ChangeSet differences(const Configuration& configuration, const Snapshot& snapshot);

struct WriteOptions {
  bool secrets = false;  // write them instead of masking them
};

// The whole configuration as text. Loaded into an empty store, it gives the same records. Leaves
// out fields with default values; the order is that of the store.
KESTRAV_API void write(const Snapshot& snapshot, std::ostream& out, const WriteOptions& options);

// One record as text: a map without its table's key.
KESTRAV_API void writeRecord(const Snapshot& snapshot, const StoredRecord& record,
                             std::ostream& out, const WriteOptions& options);

// JSON schema (draft 2020-12) of the text form, for editors.
KESTRAV_API std::string schema();

// Reference of all tables and fields, in Markdown.
KESTRAV_API std::string documentation();

}  // namespace Kestrav::Config::Text
