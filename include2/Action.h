// One thing to do with a message, with its parameters.
//
// A handle. Unlike profiles, an action is completed through setters, which write into the
// implementation that all copies share. Complete an action before other threads can see it; after
// that any number of threads may read it.
#pragma once

#include <cstdint>
#include <set>
#include <string>

#include "EmailAddressRewriter.h"
#include "VexaRefcounted.h"
#include "platform/common/Export.h"
#include "platform/parser/EmailAddress.h"
#include "platform/parser/Header.h"

namespace Kestrav {

// The kind of an action: one bit, so that kinds combine into a mask. docs/actions.md lists them
// with the configuration that each comes from.
using ActionType = std::uint32_t;

namespace ActionTypes {
inline constexpr ActionType kReject = 0x4;
inline constexpr ActionType kHeaderTag = 0x8;
inline constexpr ActionType kSubjectTag = 0x10;
inline constexpr ActionType kPersonalQuarantine = 0x20;
inline constexpr ActionType kDiscard = 0x80;
inline constexpr ActionType kReplace = 0x100;
inline constexpr ActionType kRewriteAddress = 0x400;
inline constexpr ActionType kSystemQuarantine = 0x4000;
inline constexpr ActionType kDefer = 0x8000;
inline constexpr ActionType kEncrypt = 0x10000;
inline constexpr ActionType kAlternateHost = 0x40000;
inline constexpr ActionType kBlindCopy = 0x80000;
inline constexpr ActionType kArchive = 0x100000;
inline constexpr ActionType kRepackage = 0x200000;
inline constexpr ActionType kRepackageWithNotice = 0x400000;
inline constexpr ActionType kNotify = 0x800000;
}  // namespace ActionTypes

class ActionImpl;

extern template class KESTRAV_API RefCounted<ActionImpl>;
extern template class KESTRAV_API Ref<ActionImpl>;

// Every getter and setter throws Exception with its own name as the message, code 1, on a null
// action.
class KESTRAV_API Action : public Ref<ActionImpl> {
 public:
  // The null action.
  Action() = default;

  // All members empty or 0.
  explicit Action(ActionType type);

  ActionType type() const;

  // kHeaderTag: the header to insert.
  const Header& headerTag() const;
  void headerTag(const Header& header);

  // kSubjectTag: the text to put in front of the subject, in the form of RFC 2047. The setter takes
  // UTF-8 and encodes it.
  const std::string& subjectTag() const;
  void subjectTag(const std::string& text);

  // kAlternateHost: the host to deliver to.
  const std::string& alternateHost() const;
  void alternateHost(const std::string& host);

  // kBlindCopy: the recipients. The setter is const although it replaces the set; kept on purpose.
  const std::set<EmailAddress>& bcc() const;
  void bcc(const std::set<EmailAddress>& recipients) const;

  // kRewriteAddress.
  const EmailAddressRewriter& addressRewriter() const;
  void addressRewriter(const EmailAddressRewriter& rewriter);

  // kSystemQuarantine: id of a system quarantine folder.
  std::uint32_t systemquarantineFolderId() const;
  void systemquarantineFolderId(unsigned int id);

  // kArchive.
  std::uint32_t archiveRecipientId() const;
  void archiveRecipientId(unsigned int id);

  // kNotify.
  std::uint32_t notificationProfileId() const;
  void notificationProfileId(unsigned int id);

  // kEncrypt.
  std::uint32_t encryptionProfileId() const;
  void encryptionProfileId(unsigned int id);
};

}  // namespace Kestrav
