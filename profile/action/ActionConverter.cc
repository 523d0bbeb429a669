#include "profile/action/ActionConverter.h"

#include <algorithm>
#include <cstring>
#include <set>
#include <string>

#include "platform/common/Exception.h"
#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/common/Strings.h"
#include "platform/config/records/AntispamRecords.h"
#include "platform/config/records/SharedRecords.h"

namespace Kestrav {

namespace {

// Texts of tags whose record has none, for every kind of action.
constexpr const char* kDefaultHeaderName = "X-KESTRAV-SPAM";
constexpr const char* kDefaultSubjectTag = "[KESTRAV-SPAM]";

class RecordReader {
 public:
  explicit RecordReader(const void* record) : bytes_(static_cast<const char*>(record)) {}

  unsigned char byte(std::uint32_t offset) const {
    return static_cast<unsigned char>(bytes_[offset]);
  }
  bool isSet(ActionLayout::Flag flag) const { return (byte(flag.offset) & flag.mask) != 0; }
  std::uint32_t word(std::uint32_t offset) const {
    std::uint32_t value;
    std::memcpy(&value, bytes_ + offset, sizeof value);
    return value;
  }
  std::string text(ActionLayout::Text at) const {
    return std::string(boundedText(bytes_ + at.offset, at.size));
  }
  cfg_as_email_address_modification_ modification(std::uint32_t offset) const {
    cfg_as_email_address_modification_ value;
    std::memcpy(&value, bytes_ + offset, sizeof value);
    return value;
  }

 private:
  const char* bytes_;
};

std::string orDefault(std::string text, const char* ifEmpty) {
  return text.empty() ? ifEmpty : std::move(text);
}

void addDisposition(const RecordReader& record, const ActionLayout& layout, ActionContainer& out) {
  const unsigned char kind = record.byte(layout.disposition);
  const auto disposition =
      std::find_if(layout.dispositions.begin(), layout.dispositions.end(),
                   [kind](const ActionLayout::Disposition& known) { return known.kind == kind; });
  if (disposition == layout.dispositions.end()) return;

  Action action(disposition->type);
  switch (disposition->type) {
    case ActionTypes::kSystemQuarantine:
      action.systemquarantineFolderId(record.word(layout.folderId));
      break;
    case ActionTypes::kRewriteAddress:
      action.addressRewriter(EmailAddressRewriter::adapter(
          record.modification(layout.rewriteLocal), record.modification(layout.rewriteDomain)));
      break;
    case ActionTypes::kEncrypt: {
      const std::uint32_t profile = record.word(layout.encryptionProfileId);
      if (profile == 0) return;
      action.encryptionProfileId(profile);
      break;
    }
    default:
      break;
  }
  out.add(action);
}

void addAlternateHost(const RecordReader& record, const ActionLayout& layout,
                      ActionContainer& out) {
  if (!record.isSet(layout.useAlternateHost)) return;
  const std::string host = record.text(layout.alternateHost);
  if (host.empty()) return;
  Action action(ActionTypes::kAlternateHost);
  action.alternateHost(host);
  out.add(action);
}

void addBlindCopy(const RecordReader& record, const ActionLayout& layout, ActionContainer& out) {
  if (!record.isSet(layout.useBlindCopy)) return;
  const std::string list = record.text(layout.blindCopy);
  if (list.empty()) return;
  try {
    const std::set<EmailAddress> recipients = EmailAddress::rfc5322ParseSet(list, true, false);
    Action action(ActionTypes::kBlindCopy);
    action.bcc(recipients);
    out.add(action);
  } catch (const Exception&) {
    // The other actions of the record still apply. The list is not logged.
    Logger::instance(false).log(layout.blindCopyFailed, "%s", " ");
  }
}

void addArchive(const RecordReader& record, const ActionLayout& layout, ActionContainer& out) {
  if (!record.isSet(layout.archive)) return;
  const std::uint32_t recipient = record.word(layout.archiveRecipientId);
  if (recipient == 0) return;
  Action action(ActionTypes::kArchive);
  action.archiveRecipientId(recipient);
  out.add(action);
}

void addNotification(const RecordReader& record, const ActionLayout& layout, ActionContainer& out) {
  if (!record.isSet(layout.notify)) return;
  const std::uint32_t profile = record.word(layout.notificationProfileId);
  if (profile == 0) return;
  Action action(ActionTypes::kNotify);
  action.notificationProfileId(profile);
  out.add(action);
}

void addHeader(const RecordReader& record, const ActionLayout& layout, ActionContainer& out) {
  if (!record.isSet(layout.insertHeader)) return;
  Action action(ActionTypes::kHeaderTag);
  action.headerTag(Header(orDefault(record.text(layout.headerName), kDefaultHeaderName),
                          record.text(layout.headerValue)));
  out.add(action);
}

void addSubject(const RecordReader& record, const ActionLayout& layout, ActionContainer& out) {
  if (!record.isSet(layout.tagSubject)) return;
  Action action(ActionTypes::kSubjectTag);
  action.subjectTag(orDefault(record.text(layout.subjectTag), kDefaultSubjectTag));
  out.add(action);
}

using Step = ActionLayout::Step;

constexpr Step kAntispamSteps[] = {Step::kDisposition, Step::kAlternateHost, Step::kBlindCopy,
                                   Step::kArchive,     Step::kNotification,  Step::kHeader,
                                   Step::kSubject};
constexpr ActionLayout::Disposition kAntispamDispositions[] = {
    {__aps_antispam_action::kDiscard, ActionTypes::kDiscard},
    {__aps_antispam_action::kReject, ActionTypes::kReject},
    {__aps_antispam_action::kPersonalQuarantine, ActionTypes::kPersonalQuarantine},
    {__aps_antispam_action::kSystemQuarantine, ActionTypes::kSystemQuarantine},
    {__aps_antispam_action::kRewriteRecipient, ActionTypes::kRewriteAddress},
};

}  // namespace

#define KESTRAV_TEXT_AT(record, field) \
  { offsetof(record, field), sizeof(record::field) }

const ActionLayout kAntispamActionLayout = {
    .steps = kAntispamSteps,
    .disposition = offsetof(__aps_antispam_action, disposition),
    .dispositions = kAntispamDispositions,
    .rewriteLocal = offsetof(__aps_antispam_action, rewrite_local),
    .rewriteDomain = offsetof(__aps_antispam_action, rewrite_domain),
    .folderId = offsetof(__aps_antispam_action, quarantine_folder),
    .useAlternateHost = {offsetof(__aps_antispam_action, use_alternate_host)},
    .alternateHost = KESTRAV_TEXT_AT(__aps_antispam_action, alternate_host),
    .useBlindCopy = {offsetof(__aps_antispam_action, use_blind_copy)},
    .blindCopy = KESTRAV_TEXT_AT(__aps_antispam_action, blind_copy),
    .blindCopyFailed = LogCode::kAntispamBlindCopyFailed,
    .archive = {offsetof(__aps_antispam_action, archive)},
    .archiveRecipientId = offsetof(__aps_antispam_action, archive_recipient_id),
    .notify = {offsetof(__aps_antispam_action, notify)},
    .notificationProfileId = offsetof(__aps_antispam_action, notification),
    .insertHeader = {offsetof(__aps_antispam_action, insert_header)},
    .headerName = KESTRAV_TEXT_AT(__aps_antispam_action, header_name),
    .headerValue = KESTRAV_TEXT_AT(__aps_antispam_action, header_value),
    .tagSubject = {offsetof(__aps_antispam_action, tag_subject)},
    .subjectTag = KESTRAV_TEXT_AT(__aps_antispam_action, subject_tag),
};

#undef KESTRAV_TEXT_AT

void convertAction(const void* record, const ActionLayout& layout, ActionContainer& out) {
  const RecordReader reader(record);
  for (const Step step : layout.steps) {
    switch (step) {
      case Step::kDisposition:
        addDisposition(reader, layout, out);
        break;
      case Step::kAlternateHost:
        addAlternateHost(reader, layout, out);
        break;
      case Step::kBlindCopy:
        addBlindCopy(reader, layout, out);
        break;
      case Step::kArchive:
        addArchive(reader, layout, out);
        break;
      case Step::kNotification:
        addNotification(reader, layout, out);
        break;
      case Step::kHeader:
        addHeader(reader, layout, out);
        break;
      case Step::kSubject:
        addSubject(reader, layout, out);
        break;
    }
  }
}

}  // namespace Kestrav
