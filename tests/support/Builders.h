// Configuration records for tests, valid by default: a test names only what it changes.
//
//   AntispamRecord(1).name("strict").rbl({"bl.example"}).action(CLASSIFIER_RBL, 7)
//
// A builder is a value that owns its record, lists included; as<Rec>() and data() give the record
// for as long as the builder lives, put() hands it to a change set. Texts that do not fit are cut.
// Numbers are stored as they are, so that out-of-range ones can be built; change the record itself
// for anything that has no word here.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>

#include "ProfileAntiSpam.h"
#include "platform/common/Strings.h"
#include "platform/config/records/AntispamRecords.h"
#include "platform/config/records/DictionaryRecords.h"
#include "platform/config/records/DomainRecords.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/OwnedRecord.h"
#include "platform/config/records/PolicyRecords.h"
#include "platform/config/records/QuarantineRecords.h"
#include "platform/config/records/SystemRecords.h"
#include "platform/config/records/WebFilterRecords.h"
#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Testing {

template <class Self, class Rec, G_CLI_GID GID>
class RecordBuilder {
 public:
  using Record = Rec;
  static constexpr G_CLI_GID kTable = GID;

  Rec* operator->() { return owned_.as<Rec>(); }
  const Rec* operator->() const { return owned_.as<Rec>(); }
  Rec& record() { return *owned_.as<Rec>(); }
  const Rec& record() const { return *owned_.as<Rec>(); }
  const void* data() const { return owned_.data(); }

  // Anything: AntispamRecord(1).with([](auto& record) { record.scanners = 0xFF; })
  template <class Change>
  Self& with(Change change) {
    change(record());
    return self();
  }

  void put(Config::ChangeSet& changes, ngid_t domain = 0) const {
    changes.put(GID, domain, owned_.data());
  }

 protected:
  explicit RecordBuilder(const Config::RecordType& type) : owned_(type) {}

  Self& self() { return static_cast<Self&>(*this); }

  template <std::size_t N>
  Self& text(char (&field)[N], std::string_view value) {
    boundedCopy(field, value);
    return self();
  }
  template <class Field, class Value>
  Self& set(Field& field, Value value) {
    field = static_cast<Field>(value);
    return self();
  }
  Self& bits(unsigned char& field, unsigned char mask, bool on) {
    field = static_cast<unsigned char>(on ? field | mask : field & ~mask);
    return self();
  }

  // A new entry of the list whose count stands at `offset`.
  template <class Entry>
  Entry& append(std::size_t offset) {
    for (const Config::Field& field : owned_.type().fields) {
      if (field.offset != offset || field.element == nullptr) continue;
      if (void* entry = owned_.append(field)) return *static_cast<Entry*>(entry);
    }
    throw std::logic_error("no such list, or no room in it");
  }

 private:
  Config::OwnedRecord owned_;
};

// A word of an antispam profile.
struct Word {
  std::string_view text;
  bool inBody = true;
  bool inSubject = true;
};

class AntispamRecord
    : public RecordBuilder<AntispamRecord, __aps_gw_as_profile, GID_ANTISPAM_PROFILE> {
 public:
  explicit AntispamRecord(std::uint32_t id = 1) : RecordBuilder(Config::kAntispamProfileType) {
    record().id = id;
    name("antispam-" + std::to_string(id));
  }

  AntispamRecord& name(std::string_view value) { return text(record().name, value); }

  AntispamRecord& heuristic(std::uint32_t first, std::uint32_t second, std::uint32_t third) {
    record().heuristic_first = first;
    record().heuristic_second = second;
    record().heuristic_third = third;
    return bits(record().scanners, 0x01, true);
  }
  AntispamRecord& bayesian(bool option1 = false, bool option2 = false) {
    bits(record().classifier_options, 0x08, option1);
    bits(record().classifier_options, 0x10, option2);
    return bits(record().scanners, 0x02, true);
  }
  AntispamRecord& norbex(bool on = true) { return bits(record().scanners, 0x08, on); }
  AntispamRecord& norbexSecondaryCheck(bool on = true) {
    return bits(record().classifier_options, 0x20, on);
  }
  AntispamRecord& norbexExtendedCheck(bool on = true) {
    return bits(record().classifier_options, 0x80, on);
  }
  AntispamRecord& uriCategoryCheck(std::uint32_t webFilter) {
    record().web_filter = webFilter;
    return set(record().uri_category_check, 1);
  }
  AntispamRecord& rbl(std::initializer_list<std::string_view> servers) {
    for (const std::string_view server : servers) {
      boundedCopy(append<aps_fqdn_t>(offsetof(__aps_gw_as_profile, rbl_server_count)).name, server);
    }
    return bits(record().scanners, 0x10, true);
  }
  AntispamRecord& surbl(std::initializer_list<std::string_view> servers) {
    for (const std::string_view server : servers) {
      boundedCopy(append<aps_fqdn_t>(offsetof(__aps_gw_as_profile, surbl_server_count)).name,
                  server);
    }
    return bits(record().scanners, 0x20, true);
  }
  AntispamRecord& bannedWords(std::initializer_list<Word> words) {
    addWords(offsetof(__aps_gw_as_profile, banned_word_count), words);
    return bits(record().scanners, 0x40, true);
  }
  AntispamRecord& whiteWords(std::initializer_list<Word> words) {
    addWords(offsetof(__aps_gw_as_profile, white_word_count), words);
    return set(record().white_words_scan, 1);
  }
  AntispamRecord& imageSpam(bool level1 = false) {
    bits(record().scan_options, 0x01, level1);
    return bits(record().scanners, 0x80, true);
  }
  AntispamRecord& behavior(bool on = true) { return bits(record().scan_options, 0x02, on); }
  AntispamRecord& spamOutbreak(bool on = true) { return bits(record().scan_options, 0x04, on); }
  AntispamRecord& greyList(bool on = true) { return bits(record().session_options, 0x80, on); }
  AntispamRecord& bypassOnAuthentication(bool on = true) {
    return bits(record().classifier_options, 0x01, on);
  }
  AntispamRecord& deepHeader(bool on = true) { return bits(record().classifier_options, 0x40, on); }
  AntispamRecord& dictionary(std::string_view value, std::int32_t minScore = 0) {
    text(record().dictionary, value);
    record().dictionary_kind = 1;
    record().dictionary_min_score = minScore;
    return set(record().dictionary_scan, 1);
  }
  AntispamRecord& dictionaryGroup(std::string_view value, std::int32_t minScore = 0) {
    dictionary(value, minScore);
    return set(record().dictionary_kind, 0);
  }
  AntispamRecord& spfFailureIsSpam() { return set(record().spf_failure_is_spam, 1); }
  AntispamRecord& suspiciousNewsletter() { return set(record().suspicious_newsletter, 1); }
  AntispamRecord& newsletter() { return set(record().newsletter, 1); }
  AntispamRecord& dmarc() { return set(record().dmarc, 1); }
  AntispamRecord& outgoing() { return set(record().outgoing, 1); }
  AntispamRecord& maxScanSize(std::uint32_t kib) { return set(record().max_scan_size, kib); }
  AntispamRecord& scanAttachments() { return set(record().scan_attachments, 1); }
  AntispamRecord& defaultActionForAll() { return set(record().default_action_for_all, 1); }

  AntispamRecord& defaultAction(std::uint32_t id) { return set(record().default_action, id); }
  // The id of the action that a classifier's verdict leads to.
  AntispamRecord& action(ClassifierType classifier, std::uint32_t id) {
    return set(actionField(classifier), id);
  }

 private:
  void addWords(std::size_t list, std::initializer_list<Word> words) {
    for (const Word& word : words) {
      __aps_as_word_entry& entry = append<__aps_as_word_entry>(list);
      boundedCopy(entry.text, word.text);
      entry.in_body = word.inBody;
      entry.in_subject = word.inSubject;
    }
  }

  std::uint32_t& actionField(ClassifierType classifier) {
    switch (classifier) {
      case CLASSIFIER_RBL:
        return record().rbl_action;
      case CLASSIFIER_SURBL:
        return record().surbl_action;
      case CLASSIFIER_NORBEX_ANTISPAM:
        return record().cloud_action;
      case CLASSIFIER_BAYESIAN:
        return record().bayesian_action;
      case CLASSIFIER_HEURISTIC:
        return record().heuristic_action;
      case CLASSIFIER_DICTIONARY:
        return record().dictionary_action;
      case CLASSIFIER_BANNED_WORD:
        return record().banned_words_action;
      case CLASSIFIER_DEEP_HEADER:
        return record().deep_header_action;
      case CLASSIFIER_IMAGE_SPAM:
        return record().image_spam_action;
      case CLASSIFIER_SPF_FAILURE:
        return record().spf_action;
      case CLASSIFIER_NORBEX_OPTION:
        return record().cloud_extended_action;
      case CLASSIFIER_NORBEX_URI_CATEGORY:
        return record().uri_category_action;
      case CLASSIFIER_NEWSLETTER_SUSPICIOUS:
        return record().suspicious_newsletter_action;
      case CLASSIFIER_BEHAVIOR:
        return record().behavior_action;
      case CLASSIFIER_NEWSLETTER:
        return record().newsletter_action;
      case CLASSIFIER_DMARC:
        return record().dmarc_action;
    }
    throw std::logic_error("the classifier has no action in an antispam profile");
  }
};

class AntispamActionRecord
    : public RecordBuilder<AntispamActionRecord, __aps_antispam_action, GID_ANTISPAM_ACTION> {
 public:
  // What becomes of the message itself.
  static constexpr unsigned char kDiscard = 1;
  static constexpr unsigned char kReject = 2;
  static constexpr unsigned char kPersonalQuarantine = 4;
  static constexpr unsigned char kSystemQuarantine = 8;
  static constexpr unsigned char kRewrite = 16;

  explicit AntispamActionRecord(std::uint32_t id = 1) : RecordBuilder(Config::kAntispamActionType) {
    record().id = id;
    name("action-" + std::to_string(id));
  }

  AntispamActionRecord& name(std::string_view value) { return text(record().name, value); }
  AntispamActionRecord& disposition(unsigned char kind) { return set(record().disposition, kind); }
  AntispamActionRecord& systemQuarantine(std::uint32_t folder) {
    record().quarantine_folder = folder;
    return disposition(kSystemQuarantine);
  }
  // Kinds: 1 puts the text before the part, 2 behind it, 3 in its place.
  AntispamActionRecord& rewrite(std::uint32_t localKind, std::string_view localText,
                                std::uint32_t domainKind, std::string_view domainText) {
    record().rewrite_local.kind = localKind;
    text(record().rewrite_local.text, localText);
    record().rewrite_domain.kind = domainKind;
    text(record().rewrite_domain.text, domainText);
    return disposition(kRewrite);
  }
  AntispamActionRecord& subject(std::string_view tag) {
    record().tag_subject = 1;
    return text(record().subject_tag, tag);
  }
  AntispamActionRecord& header(std::string_view headerName, std::string_view value) {
    record().insert_header = 1;
    text(record().header_name, headerName);
    return text(record().header_value, value);
  }
  AntispamActionRecord& alternateHost(std::string_view host) {
    record().use_alternate_host = 1;
    return text(record().alternate_host, host);
  }
  AntispamActionRecord& blindCopy(std::string_view list) {
    record().use_blind_copy = 1;
    return text(record().blind_copy, list);
  }
  AntispamActionRecord& archive(std::uint32_t recipient) {
    record().archive = 1;
    return set(record().archive_recipient_id, recipient);
  }
  AntispamActionRecord& notify(std::uint32_t profile) {
    record().notify = 1;
    return set(record().notification, profile);
  }
  AntispamActionRecord& quarantineOptions(bool report, bool byEmail, bool byWeb, bool whitelist) {
    record().quarantine_report = report;
    record().release_by_email = byEmail;
    record().release_by_web = byWeb;
    return set(record().whitelist_on_release, whitelist);
  }
  AntispamActionRecord& quarantineDays(std::uint32_t days) {
    return set(record().quarantine_days, days);
  }
};

class DeepHeaderRecord : public RecordBuilder<DeepHeaderRecord, __aps_fasmilter, GID_DEEP_HEADER> {
 public:
  DeepHeaderRecord(std::uint32_t level, float confidence) : RecordBuilder(Config::kDeepHeaderType) {
    record().level = level;
    record().confidence = confidence;
  }
};

class SystemAntispamRecord
    : public RecordBuilder<SystemAntispamRecord, __aps_sys_antispam, GID_SYSTEM_ANTISPAM> {
 public:
  SystemAntispamRecord() : RecordBuilder(Config::kSystemAntispamType) {}

  SystemAntispamRecord& quarantineControl(std::string_view first, std::string_view second) {
    text(record().quarantine_control_1, first);
    return text(record().quarantine_control_2, second);
  }
  SystemAntispamRecord& bayesianControl(std::string_view domain, std::string_view account1,
                                        std::string_view account2, std::string_view account3,
                                        std::string_view account4) {
    text(record().bayesian_domain, domain);
    text(record().bayesian_control_1, account1);
    text(record().bayesian_control_2, account2);
    text(record().bayesian_control_3, account3);
    return text(record().bayesian_control_4, account4);
  }
};

class TrustedMtaRecord
    : public RecordBuilder<TrustedMtaRecord, __aps_ip_mask_string, GID_TRUSTED_MTA> {
 public:
  TrustedMtaRecord(std::uint32_t id, std::string_view mask)
      : RecordBuilder(Config::kTrustedRelayType) {
    record().id = id;
    text(record().text, mask);
  }
};

class TrustedAntispamMtaRecord
    : public RecordBuilder<TrustedAntispamMtaRecord, __aps_ip_mask_string,
                           GID_TRUSTED_ANTISPAM_MTA> {
 public:
  TrustedAntispamMtaRecord(std::uint32_t id, std::string_view mask)
      : RecordBuilder(Config::kTrustedRelayType) {
    record().id = id;
    text(record().text, mask);
  }
};

class WebCategoryRecord
    : public RecordBuilder<WebCategoryRecord, __aps_wcf_category, GID_WEB_CATEGORY> {
 public:
  WebCategoryRecord(std::uint32_t id, unsigned char number)
      : RecordBuilder(Config::kWebCategoryType) {
    record().id = id;
    record().number = number;
    text(record().name, "category-" + std::to_string(id));
  }
};

class WebFilterRecord
    : public RecordBuilder<WebFilterRecord, __aps_as_wf_profile, GID_WEB_FILTER_PROFILE> {
 public:
  explicit WebFilterRecord(std::uint32_t id = 1) : RecordBuilder(Config::kWebFilterProfileType) {
    record().id = id;
    name("web-filter-" + std::to_string(id));
  }

  WebFilterRecord& name(std::string_view value) { return text(record().name, value); }
  // Ids of category records.
  WebFilterRecord& categories(std::initializer_list<std::uint32_t> ids) {
    for (const std::uint32_t id : ids) {
      append<__aps_wcf_category_id>(offsetof(__aps_as_wf_profile, category_id_count)).id = id;
    }
    return *this;
  }
};

class DictionaryRecord : public RecordBuilder<DictionaryRecord, __vexa_dictionary, GID_DICTIONARY> {
 public:
  DictionaryRecord(std::uint32_t id, std::string_view name)
      : RecordBuilder(Config::kDictionaryType) {
    record().id = id;
    text(record().name, name);
  }
};

class DictionaryItemRecord
    : public RecordBuilder<DictionaryItemRecord, __vexa_dictionary_item, GID_DICTIONARY_ITEM> {
 public:
  DictionaryItemRecord(std::uint32_t id, std::uint32_t dictionary, std::string_view word)
      : RecordBuilder(Config::kDictionaryItemType) {
    record().id = id;
    record().dictionary_id = dictionary;
    record().kind = static_cast<std::uint16_t>(DictionaryPatternKind::kLiteral);
    text(record().text, word);
  }
  DictionaryItemRecord& score(std::uint16_t value) { return set(record().score, value); }
};

class DictionaryGroupRecord
    : public RecordBuilder<DictionaryGroupRecord, __vexa_dictionary_group, GID_DICTIONARY_GROUP> {
 public:
  DictionaryGroupRecord(std::uint32_t id, std::string_view name)
      : RecordBuilder(Config::kDictionaryGroupType) {
    record().id = id;
    text(record().name, name);
  }
};

class DictionaryGroupItemRecord
    : public RecordBuilder<DictionaryGroupItemRecord, __vexa_dictionary_group_item,
                           GID_DICTIONARY_GROUP_ITEM> {
 public:
  DictionaryGroupItemRecord(std::uint32_t id, std::uint32_t group, std::uint32_t dictionary)
      : RecordBuilder(Config::kDictionaryGroupItemType) {
    record().id = id;
    record().group_id = group;
    record().dictionary_id = dictionary;
  }
};

class QuarantineFolderRecord
    : public RecordBuilder<QuarantineFolderRecord, __aps_systemquarantine_folders,
                           GID_QUARANTINE_FOLDER> {
 public:
  QuarantineFolderRecord(std::uint32_t id, std::string_view name)
      : RecordBuilder(Config::kQuarantineFolderType) {
    record().id = id;
    text(record().name, name);
  }
};

class MailServerRecord : public RecordBuilder<MailServerRecord, __aps_mailserver, GID_MAIL_SERVER> {
 public:
  MailServerRecord() : RecordBuilder(Config::kMailServerType) {}

  MailServerRecord& deferredPeriod(std::uint32_t startHour, std::uint32_t startMinute,
                                   std::uint32_t endHour, std::uint32_t endMinute) {
    record().deferred_start_hour = startHour;
    record().deferred_start_minute = startMinute;
    record().deferred_end_hour = endHour;
    return set(record().deferred_end_minute, endMinute);
  }
};

class SystemGlobalRecord
    : public RecordBuilder<SystemGlobalRecord, __aps_sys_global, GID_SYSTEM_GLOBAL> {
 public:
  SystemGlobalRecord() : RecordBuilder(Config::kSystemGlobalType) {}

  SystemGlobalRecord& dataLossPrevention(bool on) { return set(record().data_loss_prevention, on); }
};

class ProtectedDomainRecord
    : public RecordBuilder<ProtectedDomainRecord, __aps_gw_server, GID_PROTECTED_DOMAIN> {
 public:
  ProtectedDomainRecord(std::uint32_t id, std::string_view name)
      : RecordBuilder(Config::kProtectedDomainType) {
    record().id = id;
    text(record().name, name);
  }
  ProtectedDomainRecord& configurationDomain(ngid_t domain) {
    return set(record().configuration_domain, domain);
  }
};

// Matches every connection unless told otherwise.
class IpPolicyRecord : public RecordBuilder<IpPolicyRecord, __qv_ip_policy, GID_IP_POLICY> {
 public:
  explicit IpPolicyRecord(std::int32_t id = 1) : RecordBuilder(Config::kIpPolicyType) {
    record().id = id;
    record().enabled = 1;
    text(record().name, "ip-policy-" + std::to_string(id));
  }

  IpPolicyRecord& client(std::string_view mask) {
    record().client_kind = static_cast<unsigned char>(PeerKind::kMask);
    return text(record().client, mask);
  }
  IpPolicyRecord& server(std::string_view mask) {
    record().server_kind = static_cast<unsigned char>(PeerKind::kMask);
    return text(record().server, mask);
  }
  IpPolicyRecord& antispam(std::uint32_t id) { return set(record().antispam_profile, id); }
  IpPolicyRecord& antivirus(std::uint32_t id) { return set(record().antivirus_profile, id); }
  IpPolicyRecord& content(std::uint32_t id) { return set(record().content_profile, id); }
  IpPolicyRecord& dlp(std::uint32_t id) { return set(record().dlp_profile, id); }
  IpPolicyRecord& session(std::int32_t id) { return set(record().session_profile, id); }
  // Bits: 0 exclusive, 1 authFlag1, 2 authFlag2.
  IpPolicyRecord& flags(unsigned char value) { return set(record().flags, value); }
  IpPolicyRecord& authFlag3(bool on = true) { return set(record().auth_flag_3, on); }
  IpPolicyRecord& authValue(std::uint32_t value) { return set(record().auth_value, value); }
  IpPolicyRecord& ngid(ngid_t domain) { return set(record().ngid, domain); }
};

// Matches every sender and recipient unless told otherwise.
template <class Self, G_CLI_GID GID>
class RecipientPolicyBuilder : public RecordBuilder<Self, __vexa_recipient_policy, GID> {
  using Base = RecordBuilder<Self, __vexa_recipient_policy, GID>;

 public:
  explicit RecipientPolicyBuilder(std::int32_t id) : Base(Config::kRecipientPolicyType) {
    this->record().id = id;
    this->record().enabled = 1;
    this->text(this->record().name, "policy-" + std::to_string(id));
  }

  Self& sender(AddressKind kind, std::string_view value) {
    this->record().sender_kind = static_cast<unsigned char>(kind);
    return this->text(this->record().sender, value);
  }
  Self& recipient(AddressKind kind, std::string_view value) {
    this->record().recipient_kind = static_cast<unsigned char>(kind);
    return this->text(this->record().recipient, value);
  }
  Self& antispam(std::uint32_t id) { return this->set(this->record().antispam_profile, id); }
  Self& antivirus(std::uint32_t id) { return this->set(this->record().antivirus_profile, id); }
  Self& content(std::uint32_t id) { return this->set(this->record().content_profile, id); }
  Self& dlp(std::uint32_t id) { return this->set(this->record().dlp_profile, id); }
  Self& authFlag1(bool on = true) { return this->bits(this->record().auth_flags, 0x04, on); }
  Self& authFlag2(bool on = true) { return this->set(this->record().auth_flag_2, on); }
  Self& authFlag3(bool on = true) { return this->set(this->record().auth_flag_3, on); }
  Self& authValue(std::uint32_t value) { return this->set(this->record().auth_value, value); }
  Self& ngid(ngid_t domain) { return this->set(this->record().ngid, domain); }
};

class IncomingPolicyRecord
    : public RecipientPolicyBuilder<IncomingPolicyRecord, GID_INCOMING_POLICY> {
 public:
  explicit IncomingPolicyRecord(std::int32_t id = 1) : RecipientPolicyBuilder(id) {}
};

class OutgoingPolicyRecord
    : public RecipientPolicyBuilder<OutgoingPolicyRecord, GID_OUTGOING_POLICY> {
 public:
  explicit OutgoingPolicyRecord(std::int32_t id = 1) : RecipientPolicyBuilder(id) {}
};

}  // namespace Kestrav::Testing
