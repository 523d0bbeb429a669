#include "ProfileQuarantineFolder.h"

#include "platform/common/Buffer.h"
#include "platform/common/Strings.h"
#include "platform/config/records/QuarantineRecords.h"
#include "platform/parser/VexaConv.h"

namespace Kestrav {

// The constructor reads the name from the start of the record.
static_assert(offsetof(__aps_systemquarantine_folders, name) == 0);
constexpr std::size_t kNameSize = sizeof(__aps_systemquarantine_folders::name);

template class RefCounted<ProfileQuarantineFolder>;
template class Ref<ProfileQuarantineFolder>;

ProfileQuarantineFolder::ProfileQuarantineFolder(const void* record)
    : name_(boundedText(static_cast<const char*>(record), kNameSize)),
      encodedName_(VexaConv::fromUtf8(name_, "IMAP-mailbox-name", 0).toBase64String()) {}

ProfileQuarantineFolder::~ProfileQuarantineFolder() = default;

}  // namespace Kestrav
