#include "platform/config/records/QuarantineRecords.h"

#include "platform/config/records/FieldMakers.h"

namespace Kestrav::Config {
using namespace FieldMakers;

namespace of_aps_systemquarantine_folders {
using Record = ::__aps_systemquarantine_folders;
constexpr Field kFields[] = {
    text("name", AT(name)).required().help("Name of the folder, UTF-8."),
    ownId("id", AT(id)),
};
}  // namespace of_aps_systemquarantine_folders
constexpr RecordType kQuarantineFolderType{"__aps_systemquarantine_folders",
                                           sizeof(::__aps_systemquarantine_folders),
                                           of_aps_systemquarantine_folders::kFields};
static_assert(coversEveryByte(kQuarantineFolderType) && isWellFormed(kQuarantineFolderType));

}  // namespace Kestrav::Config
