// Turns action records into actions.
//
// The kinds of action records differ in where things stand, in which dispositions they know and in
// the order of the actions they make; what the actions are is the same. Each kind describes its
// record once, in an ActionLayout.
#pragma once

#include <cstdint>
#include <span>

#include "ActionContainer.h"
#include "config/CMF.h"

namespace Kestrav {

// Where something stands, from the start of the record.
struct ActionFlag {
  std::uint32_t offset = 0;
  unsigned char mask = 0xFF;
};
struct ActionText {
  std::uint32_t offset = 0;
  std::uint32_t size = 0;
};

struct ActionLayout {
  // What can come of a record; `steps` gives the order.
  enum class Step : std::uint8_t {
    kDisposition,
    kAlternateHost,
    kBlindCopy,
    kArchive,
    kNotification,
    kHeader,
    kSubject,
  };
  // What becomes of the message itself. The type says which further fields are read: the folder,
  // the rewriting rule or the encryption profile (0 in the latter means no action).
  struct Disposition {
    unsigned char kind;
    ActionType type;
  };
  using Flag = ActionFlag;
  using Text = ActionText;

  std::span<const Step> steps = {};

  std::uint32_t disposition = 0;  // one byte
  std::span<const Disposition> dispositions = {};
  std::uint32_t rewriteLocal = 0;  // cfg_as_email_address_modification_
  std::uint32_t rewriteDomain = 0;
  std::uint32_t folderId = 0;
  std::uint32_t encryptionProfileId = 0;

  Flag useAlternateHost = {};
  Text alternateHost = {};

  Flag useBlindCopy = {};
  Text blindCopy = {};
  std::uint32_t blindCopyFailed = 0;  // message code for a list that cannot be read

  Flag archive = {};
  std::uint32_t archiveRecipientId = 0;

  Flag notify = {};
  std::uint32_t notificationProfileId = 0;

  Flag insertHeader = {};
  Text headerName = {};
  Text headerValue = {};

  Flag tagSubject = {};
  Text subjectTag = {};
};

// Appends what `record` asks for to `out`. REQUIRES: record is of the kind that `layout` describes.
// Throws Exception for an address rewriting rule that does not compile.
void convertAction(const void* record, const ActionLayout& layout, ActionContainer& out);

// The layout of __aps_antispam_action.
extern const ActionLayout kAntispamActionLayout;

// The action record `id`: the domain's own, else the system's, else null. Valid until either table
// is moved.
template <class Rec, unsigned int GID>
const Rec* findAction(CMF::TableQuery<Rec, GID>& domainActions,
                      CMF::TableQuery<Rec, GID>& systemActions, unsigned int id) {
  const auto own = CMF::find(domainActions, id);
  if (own != domainActions.end()) return own.operator->();
  const auto system = CMF::find(systemActions, id);
  if (system != systemActions.end()) return system.operator->();
  return nullptr;
}

}  // namespace Kestrav
