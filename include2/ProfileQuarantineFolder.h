// A system quarantine folder: its name, and the name of its mailbox on disk.
//
// This is the shared implementation; its handle is Ref<ProfileQuarantineFolder>. Immutable; any
// number of threads may read it.
#pragma once

#include <string>

#include "VexaRefcounted.h"
#include "platform/common/Export.h"

namespace Kestrav {

class KESTRAV_API ProfileQuarantineFolder : public virtual RefImpl, public NonCopyable {
 public:
  // From a record of table 1682.
  explicit ProfileQuarantineFolder(const void* record);
  ~ProfileQuarantineFolder() override;

  // UTF-8, as configured.
  const std::string& name() const { return name_; }

  // The name in the mailbox form of IMAP (modified UTF-7), written in base64.
  const std::string& encodedName() const { return encodedName_; }

 private:
  std::string name_;
  std::string encodedName_;
};

extern template class KESTRAV_API RefCounted<ProfileQuarantineFolder>;
extern template class KESTRAV_API Ref<ProfileQuarantineFolder>;

}  // namespace Kestrav
