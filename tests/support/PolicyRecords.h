// Builders of policies.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/config/records/PolicyRecords.h"
#include "tests/support/RecordBuilder.h"

namespace Kestrav::Testing {

// Matches every connection by default.
class IpPolicyRecord : public RecordBuilder<IpPolicyRecord, __qv_ip_policy, GID_IP_POLICY> {
 public:
  explicit IpPolicyRecord(std::int32_t id = 1) : RecordBuilder(Config::kIpPolicyType) {
    record().id = id;
    record().enabled = 1;
    text(record().name, "ip-policy-" + std::to_string(id));
  }

  IpPolicyRecord& name(std::string_view value) { return text(record().name, value); }
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
  IpPolicyRecord& exclusive(bool on = true) { return bit(Record::kExclusive, on); }
  IpPolicyRecord& authFlag1(bool on = true) { return bit(Record::kAuthFlag1, on); }
  IpPolicyRecord& authFlag2(bool on = true) { return bit(Record::kAuthFlag2, on); }
  IpPolicyRecord& authFlag3(bool on = true) { return set(record().auth_flag_3, on); }
  IpPolicyRecord& authValue(std::uint32_t value) { return set(record().auth_value, value); }
  IpPolicyRecord& ngid(ngid_t domain) { return set(record().ngid, domain); }
};

// Matches every sender and recipient by default.
template <class Self, G_CLI_GID GID>
class RecipientPolicyBuilder : public RecordBuilder<Self, __vexa_recipient_policy, GID> {
  using Base = RecordBuilder<Self, __vexa_recipient_policy, GID>;

 public:
  explicit RecipientPolicyBuilder(std::int32_t id) : Base(Config::kRecipientPolicyType) {
    this->record().id = id;
    this->record().enabled = 1;
    this->text(this->record().name, "policy-" + std::to_string(id));
  }

  Self& name(std::string_view value) { return this->text(this->record().name, value); }
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
  Self& authFlag1(bool on = true) { return this->bit(__vexa_recipient_policy::kAuthFlag1, on); }
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
