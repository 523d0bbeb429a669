#include "Action.h"

#include "platform/parser/Rfc2047.h"
#include "profile/NullHandle.h"
#include "profile/action/ActionImpl.h"

namespace Kestrav {

template class RefCounted<ActionImpl>;
template class Ref<ActionImpl>;

ActionImpl::~ActionImpl() = default;

Action::Action(ActionType type) : Ref(new ActionImpl(type)) {}

ActionImpl& Action::impl(const char* accessor) const {
  if (isNull()) throwNullHandle(accessor);
  return *holder_->impl();
}

ActionType Action::type() const {
  return impl("type").type;
}

const Header& Action::headerTag() const {
  return impl("headerTag").headerTag;
}

void Action::headerTag(const Header& header) {
  impl("headerTag").headerTag = header;
}

const std::string& Action::subjectTag() const {
  return impl("subjectTag").subjectTag;
}

void Action::subjectTag(const std::string& text) {
  impl("subjectTag").subjectTag = vexa_encode_rfc2047(text, "utf-8");
}

const std::string& Action::alternateHost() const {
  return impl("alternateHost").alternateHost;
}

void Action::alternateHost(const std::string& host) {
  impl("alternateHost").alternateHost = host;
}

const std::set<EmailAddress>& Action::bcc() const {
  return impl("bcc").bcc;
}

void Action::bcc(const std::set<EmailAddress>& recipients) const {
  impl("bcc").bcc = recipients;
}

const EmailAddressRewriter& Action::addressRewriter() const {
  return impl("addressRewriter").addressRewriter;
}

void Action::addressRewriter(const EmailAddressRewriter& rewriter) {
  impl("addressRewriter").addressRewriter = rewriter;
}

std::uint32_t Action::systemquarantineFolderId() const {
  return impl("systemquarantineFolderId").systemquarantineFolderId;
}

void Action::systemquarantineFolderId(unsigned int id) {
  impl("systemquarantineFolderId").systemquarantineFolderId = id;
}

std::uint32_t Action::archiveRecipientId() const {
  return impl("archiveRecipientId").archiveRecipientId;
}

void Action::archiveRecipientId(unsigned int id) {
  impl("archiveRecipientId").archiveRecipientId = id;
}

std::uint32_t Action::notificationProfileId() const {
  return impl("notificationProfileId").notificationProfileId;
}

void Action::notificationProfileId(unsigned int id) {
  impl("notificationProfileId").notificationProfileId = id;
}

std::uint32_t Action::encryptionProfileId() const {
  return impl("encryptionProfileId").encryptionProfileId;
}

void Action::encryptionProfileId(unsigned int id) {
  impl("encryptionProfileId").encryptionProfileId = id;
}

}  // namespace Kestrav
