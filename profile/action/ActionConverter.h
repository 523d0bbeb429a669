// Turns action records into actions.
//
// The kinds of action records differ in their offsets, their dispositions and the order of their
// actions. An ActionLayout describes each kind; the conversion is the same for all.
#pragma once

#include <cstdint>
#include <span>

#include "ActionContainer.h"
#include "config/CMF.h"

namespace Kestrav {

// Offsets are from the start of the record.
struct ActionFlag {
  std::uint32_t offset = 0;
  unsigned char mask = 0xFF;
};
struct ActionText {
  std::uint32_t offset = 0;
  std::uint32_t size = 0;
};

struct ActionLayout {
  // The actions that a record can give. `steps` gives their order.
  enum class Step : std::uint8_t {
    kDisposition,
    kAlternateHost,
    kBlindCopy,
    kArchive,
    kNotification,
    kHeader,
    kSubject,
  };
  // What is done with the message itself. Some types read a further field: the folder, the
  // rewriting rule or the encryption profile (0: no action).
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

// Appends the record's actions to `out`. Throws Exception for an address rewriting rule that does
// not compile. REQUIRES: `layout` describes the record.
void convertAction(const void* record, const ActionLayout& layout, ActionContainer& out);

// The layout of __aps_antispam_action.
extern const ActionLayout kAntispamActionLayout;

// The action record `id` of the domain, else of the system, else null. Valid until either query
// moves.
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
