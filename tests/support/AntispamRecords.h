// Builders of antispam profiles, antispam actions, the settings of the deep header analysis, the
// gateway's mailboxes and the trusted relays.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "ProfileAntiSpam.h"
#include "platform/config/records/AntispamRecords.h"
#include "tests/support/RecordBuilder.h"

namespace Kestrav::Testing {

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
    return bit(Record::kHeuristic);
  }
  AntispamRecord& bayesian(bool option1 = false, bool option2 = false) {
    bit(Record::kBayesianOption1, option1);
    bit(Record::kBayesianOption2, option2);
    return bit(Record::kBayesian);
  }
  AntispamRecord& cloud(bool on = true) { return bit(Record::kCloud, on); }
  AntispamRecord& cloudSecondaryCheck(bool on = true) {
    return bit(Record::kCloudSecondaryCheck, on);
  }
  AntispamRecord& cloudExtendedCheck(bool on = true) {
    return bit(Record::kCloudExtendedCheck, on);
  }
  AntispamRecord& uriCategoryCheck(std::uint32_t webFilter) {
    record().web_filter = webFilter;
    return set(record().uri_category_check, 1);
  }
  AntispamRecord& rbl(std::initializer_list<std::string_view> servers) {
    for (const std::string_view server : servers) {
      boundedCopy(append<aps_fqdn_t>(offsetof(__aps_gw_as_profile, rbl_server_count)).name, server);
    }
    return bit(Record::kRbl);
  }
  AntispamRecord& surbl(std::initializer_list<std::string_view> servers) {
    for (const std::string_view server : servers) {
      boundedCopy(append<aps_fqdn_t>(offsetof(__aps_gw_as_profile, surbl_server_count)).name,
                  server);
    }
    return bit(Record::kSurbl);
  }
  AntispamRecord& bannedWords(std::initializer_list<Word> words) {
    addWords(offsetof(__aps_gw_as_profile, banned_word_count), words);
    return bit(Record::kBannedWords);
  }
  AntispamRecord& whiteWords(std::initializer_list<Word> words) {
    addWords(offsetof(__aps_gw_as_profile, white_word_count), words);
    return set(record().white_words_scan, 1);
  }
  AntispamRecord& imageSpam(bool fast = false) {
    bit(Record::kFastImageScan, fast);
    return bit(Record::kImageSpam);
  }
  AntispamRecord& behavior(bool on = true) { return bit(Record::kBehavior, on); }
  AntispamRecord& spamOutbreak(bool on = true) { return bit(Record::kSpamOutbreak, on); }
  AntispamRecord& greylist(bool on = true) { return bit(Record::kGreylist, on); }
  AntispamRecord& bypassOnAuthentication(bool on = true) {
    return bit(Record::kBypassOnAuthentication, on);
  }
  AntispamRecord& deepHeader(bool on = true) { return bit(Record::kDeepHeader, on); }
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
  explicit AntispamActionRecord(std::uint32_t id = 1) : RecordBuilder(Config::kAntispamActionType) {
    record().id = id;
    name("action-" + std::to_string(id));
  }

  AntispamActionRecord& name(std::string_view value) { return text(record().name, value); }
  AntispamActionRecord& disposition(unsigned char kind) { return set(record().disposition, kind); }
  AntispamActionRecord& systemQuarantine(std::uint32_t folder) {
    record().quarantine_folder = folder;
    return disposition(Record::kSystemQuarantine);
  }
  // Kinds: 1 puts the text before the part, 2 after it, 3 in its place.
  AntispamActionRecord& rewrite(std::uint32_t localKind, std::string_view localText,
                                std::uint32_t domainKind, std::string_view domainText) {
    record().rewrite_local.kind = localKind;
    text(record().rewrite_local.text, localText);
    record().rewrite_domain.kind = domainKind;
    text(record().rewrite_domain.text, domainText);
    return disposition(Record::kRewriteRecipient);
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

}  // namespace Kestrav::Testing
