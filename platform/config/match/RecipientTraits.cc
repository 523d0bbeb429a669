#include "platform/config/match/RecipientTraits.h"

#include "platform/common/Exception.h"
#include "platform/common/Strings.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/GroupRecords.h"

namespace Kestrav::Config {
namespace {

constexpr char kSender = 's';
constexpr char kRecipient = 'r';

template <std::size_t N>
AddressRule makeRule(unsigned char kind, const char (&text)[N], std::uint32_t group,
                     RecipientTraits::Groups& groups) {
  const auto rule = static_cast<AddressKind>(kind);
  if (rule != AddressKind::kGroup) return {rule, boundedText(text), {}};
  return {rule, boundedText(text), groups.members(group)};
}

}  // namespace

const std::vector<std::string>& RecipientTraits::Groups::members(std::uint32_t id) {
  const auto known = read_.find(id);
  if (known != read_.end()) return known->second;
  const StoredRecord stored = snapshot_.byId(GID_EMAIL_ADDRESS_GROUP, 0, id);
  if (!stored)
    throw Exception("no address group has the id " + std::to_string(id), Exception::kNullHandle);
  const auto& group = *stored.as<__vexa_email_address_group>();
  std::vector<std::string> members;
  for (std::uint64_t i = 0; i < group.member_count; ++i) {
    const std::string_view text = boundedText(group.members[i].text);
    if (!text.empty()) members.emplace_back(text);
  }
  return read_.emplace(id, std::move(members)).first->second;
}

RecipientTraits::Rules::Rules(const Record& record, Groups& groups)
    : sender_(makeRule(record.sender_kind, record.sender, record.sender_group, groups)),
      recipient_(
          makeRule(record.recipient_kind, record.recipient, record.recipient_group, groups)) {}

RarerSide::Keys RecipientTraits::Rules::keys() const {
  return {recipient_.keys(kRecipient), sender_.keys(kSender)};
}

std::vector<CandidateIndex::Key> RecipientTraits::Probes::keys(const Subject& subject) const {
  std::vector<CandidateIndex::Key> keys;
  keys.reserve(16);
  subject.recipient.keys(kRecipient, keys);
  subject.sender.keys(kSender, keys);
  return keys;
}

}  // namespace Kestrav::Config
