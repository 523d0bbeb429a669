#include "Action.h"

#include "platform/parser/Rfc2047.h"
#include "profile/NullHandle.h"
#include "profile/action/ActionImpl.h"

namespace Kestrav {

template class RefCounted<ActionImpl>;
template class Ref<ActionImpl>;

ActionImpl::~ActionImpl() = default;

Action::Action(ActionType type) : Ref(new ActionImpl(type)) {}

// A getter and its setter throw the same message.

ActionType Action::type() const { return of(*this, "type").type; }
const Header& Action::headerTag() const { return of(*this, "headerTag").headerTag; }
void Action::headerTag(const Header& header) { of(*this, "headerTag").headerTag = header; }
const std::string& Action::subjectTag() const { return of(*this, "subjectTag").subjectTag; }
void Action::subjectTag(const std::string& text) {
  of(*this, "subjectTag").subjectTag = vexa_encode_rfc2047(text, "utf-8");
}
const std::string& Action::alternateHost() const {
  return of(*this, "alternateHost").alternateHost;
}
void Action::alternateHost(const std::string& host) {
  of(*this, "alternateHost").alternateHost = host;
}
const std::set<EmailAddress>& Action::bcc() const { return of(*this, "bcc").bcc; }
void Action::bcc(const std::set<EmailAddress>& recipients) const {
  of(*this, "bcc").bcc = recipients;
}
const EmailAddressRewriter& Action::addressRewriter() const {
  return of(*this, "addressRewriter").addressRewriter;
}
void Action::addressRewriter(const EmailAddressRewriter& rewriter) {
  of(*this, "addressRewriter").addressRewriter = rewriter;
}
std::uint32_t Action::systemquarantineFolderId() const {
  return of(*this, "systemquarantineFolderId").systemquarantineFolderId;
}
void Action::systemquarantineFolderId(unsigned int id) {
  of(*this, "systemquarantineFolderId").systemquarantineFolderId = id;
}
std::uint32_t Action::archiveRecipientId() const {
  return of(*this, "archiveRecipientId").archiveRecipientId;
}
void Action::archiveRecipientId(unsigned int id) {
  of(*this, "archiveRecipientId").archiveRecipientId = id;
}
std::uint32_t Action::notificationProfileId() const {
  return of(*this, "notificationProfileId").notificationProfileId;
}
void Action::notificationProfileId(unsigned int id) {
  of(*this, "notificationProfileId").notificationProfileId = id;
}
std::uint32_t Action::encryptionProfileId() const {
  return of(*this, "encryptionProfileId").encryptionProfileId;
}
void Action::encryptionProfileId(unsigned int id) {
  of(*this, "encryptionProfileId").encryptionProfileId = id;
}

}  // namespace Kestrav
