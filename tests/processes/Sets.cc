#include "tests/processes/Sets.h"

#include "platform/common/Strings.h"
#include "platform/config/records/FieldAccess.h"
#include "platform/config/records/GroupRecords.h"
#include "platform/config/records/SessionRecords.h"
#include "platform/config/records/Tables.h"
#include "tests/support/AntispamRecords.h"
#include "tests/support/DictionaryRecords.h"
#include "tests/support/DomainRecords.h"
#include "tests/support/PolicyRecords.h"
#include "tests/support/QuarantineRecords.h"
#include "tests/support/SystemRecords.h"
#include "tests/support/WebFilterRecords.h"

namespace Kestrav::Testing {
namespace {

using Config::ChangeSet;
using Config::OwnedRecord;
using Config::Snapshot;
using Config::StoredRecord;

constexpr std::uint32_t kLast = 0;  // for Part::before: any place

std::string numbered(std::string_view text, std::uint32_t number) {
  return std::string(text) + "-" + std::to_string(number);
}

// Collects the parts of one set.
class Parts {
 public:
  Parts(int set, std::uint32_t number) : set_(set), number_(number) {}

  template <class Builder>
  void add(const Builder& record, ngid_t domain = 0, std::uint32_t before = kLast) {
    addRecord(Builder::kTable, domain, static_cast<std::uint32_t>(record->id), record.data(),
              before);
  }
  template <class Builder>
  void addIf(bool there, const Builder& record, ngid_t domain = 0, std::uint32_t before = kLast) {
    const auto id = static_cast<std::uint32_t>(record->id);
    addRecord(Builder::kTable, domain, id, there ? record.data() : nullptr, before);
  }
  template <class Builder>
  void addSingle(const Builder& record) {
    addRecord(Builder::kTable, 0, 0, record.data(), kLast);
  }
  void addRecord(G_CLI_GID gid, ngid_t domain, std::uint32_t id, const void* record,
                 std::uint32_t before = kLast) {
    const Config::Table* table = Config::findTable(gid);
    Part part{table, domain, id, std::nullopt, before};
    if (record != nullptr) part.record.emplace(*table->type, record);
    parts_.push_back(std::move(part));
  }

  void addProfiles();
  void addPolicies();
  void addWords();
  void addAddresses();
  void addSettings();
  std::vector<Part> take() { return std::move(parts_); }

 private:
  AntispamRecord antispam(std::uint32_t id) const {
    return AntispamRecord(id)
        .heuristic(number_, number_, number_)
        .rbl({"bl.example"})
        .action(CLASSIFIER_RBL, firstId(set_))
        .dictionary(numberedSet("dictionary"), 1);
  }
  std::string numberedSet(std::string_view text) const {
    return std::string(text) + "-" + std::to_string(set_);
  }
  bool odd() const { return number_ % 2 != 0; }

  const int set_;
  const std::uint32_t number_;
  std::vector<Part> parts_;
};

void Parts::addProfiles() {
  add(AntispamActionRecord(firstId(set_)).alternateHost(numbered("host", number_)));
  add(antispam(firstId(set_)));
  add(antispam(ownId(set_)), kOwnDomain);
  add(WebFilterRecord(firstId(set_)).categories({1 + number_ % 2}));
  add(QuarantineFolderRecord(firstId(set_), numbered(numberedSet("folder"), number_)));
}

void Parts::addPolicies() {
  ProtectedDomainRecord domain(firstId(set_), domainOf(set_));
  domain.configurationDomain(odd() ? kOwnDomain : 0);
  boundedCopy(domain->disclaimer.first_name, numbered("number", number_));
  add(domain);
  addIf(odd(), ProtectedDomainRecord(secondId(set_), "extra." + domainOf(set_)));

  const auto incoming = [this](std::uint32_t antispam, ngid_t owner) {
    return IncomingPolicyRecord(static_cast<std::int32_t>(firstId(set_)))
        .recipient(AddressKind::kDomain, domainOf(set_))
        .antispam(antispam)
        .authValue(number_)
        .ngid(owner);
  };
  addIf(odd(), incoming(ownId(set_), kOwnDomain), kOwnDomain);
  add(incoming(firstId(set_), 0));

  // Two policies that match the same mail, in either order, or none.
  const auto outgoing = [this](std::uint32_t id, std::uint32_t value) {
    return OutgoingPolicyRecord(static_cast<std::int32_t>(id))
        .sender(AddressKind::kDomain, domainOf(set_))
        .antispam(firstId(set_))
        .authValue(value);
  };
  const bool there = number_ % 4 != 0;
  const auto first = outgoing(firstId(set_), number_);
  const auto second = outgoing(secondId(set_), number_ + kSecondPolicy);
  if (odd()) {
    addIf(there, first);
    addIf(there, second, 0, firstId(set_));
  } else {
    addIf(there, second);
    addIf(there, first, 0, secondId(set_));
  }

  OwnedRecord group(Config::kEmailGroupType);
  group.as<__vexa_email_address_group>()->id = firstId(set_);
  boundedCopy(group.as<__vexa_email_address_group>()->name, numberedSet("group"));
  for (const Config::Field& field : Config::kEmailGroupType.fields) {
    if (field.offset != offsetof(__vexa_email_address_group, member_count)) continue;
    auto* member = static_cast<aps_email_address_t*>(group.append(field));
    boundedCopy(member->text, (odd() ? "odd@group." : "even@group.") + domainOf(set_));
  }
  addRecord(GID_EMAIL_ADDRESS_GROUP, 0, firstId(set_), group.data());
  OutgoingPolicyRecord toGroup(static_cast<std::int32_t>(ownId(set_)));
  toGroup.antispam(firstId(set_)).authValue(number_);
  toGroup->recipient_kind = static_cast<unsigned char>(AddressKind::kGroup);
  toGroup->recipient_group = firstId(set_);
  add(toGroup);

  add(IpPolicyRecord(static_cast<std::int32_t>(firstId(set_)))
          .client("10." + std::to_string(set_) + ".0.0/16")
          .antispam(firstId(set_))
          .with([this](auto& record) { record.auth_value = number_; }));
}

void Parts::addWords() {
  add(DictionaryRecord(firstId(set_), numberedSet("dictionary")));
  add(DictionaryItemRecord(firstId(set_), firstId(set_), wordOf(set_))
          .score(static_cast<std::uint16_t>(number_)));
  addIf(odd(), DictionaryItemRecord(secondId(set_), firstId(set_), "sometimes").score(1));
  add(DictionaryGroupRecord(firstId(set_), numberedSet("words")));
  add(DictionaryGroupItemRecord(firstId(set_), firstId(set_), firstId(set_)));
}

void Parts::addAddresses() {
  const auto address = [this](int network) {
    return std::to_string(network + set_) + ".0." + std::to_string(number_ / 256 % 256) + "." +
           std::to_string(number_ % 256);
  };
  add(TrustedMtaRecord(firstId(set_), address(20)));
  addIf(number_ % 3 != 0, TrustedAntispamMtaRecord(firstId(set_), address(30)));
}

// Single records: each belongs to one set.
void Parts::addSettings() {
  switch (set_) {
    case 0: {
      // The whole day without its last minute, or an empty period.
      MailServerRecord server;
      server.deferredPeriod(0, 0, odd() ? 23 : 0, odd() ? 59 : 0);
      boundedCopy(server->host_name, numbered("mx", number_));
      addSingle(server);
      break;
    }
    case 1: {
      SystemGlobalRecord system;
      boundedCopy(system->host_name, numbered("host", number_));
      addSingle(system);
      break;
    }
    case 2: {
      addSingle(SystemAntispamRecord().quarantineControl(numbered("release", number_), "delete"));
      OwnedRecord map(Config::kAddressMapType);
      map.as<__aps_vip_map>()->id = firstId(set_);
      boundedCopy(map.as<__aps_vip_map>()->name, numbered("map", number_));
      addRecord(GID_ADDRESS_MAP, 0, firstId(set_), map.data());
      break;
    }
    default: {
      OwnedRecord rules(Config::kAclRulesetType);
      rules.as<__aps_acl_ruleset>()->id = firstId(set_);
      boundedCopy(rules.as<__aps_acl_ruleset>()->name, numbered("rules", number_));
      addRecord(GID_ACL_RULESET, 0, firstId(set_), rules.data());
      OwnedRecord bounce(Config::kBounceProfileType);
      bounce.as<__vexa_bounce_profile>()->id = firstId(set_);
      boundedCopy(bounce.as<__vexa_bounce_profile>()->name, numbered("bounce", number_));
      addRecord(GID_BOUNCE_PROFILE, 0, firstId(set_), bounce.data());
      break;
    }
  }
}

}  // namespace

std::string domainOf(int set) {
  return "set-" + std::to_string(set) + ".example";
}

std::string wordOf(int set) {
  return "word" + std::to_string(set);
}

std::vector<Part> partsOf(int set, std::uint32_t number) {
  Parts parts(set, number);
  parts.addProfiles();
  parts.addPolicies();
  parts.addWords();
  parts.addAddresses();
  parts.addSettings();
  return parts.take();
}

void Part::putInto(ChangeSet& changes) const {
  if (!record) {
    changes.erase(table->gid, domain, id);
  } else if (before != kLast) {
    changes.putBefore(table->gid, domain, record->data(), before);
  } else {
    changes.put(table->gid, domain, record->data());
  }
}

void putSet(ChangeSet& changes, int set, std::uint32_t number) {
  for (const Part& part : partsOf(set, number)) part.putInto(changes);
}

Config::Revision putAllSets(Config::ConfigStore& store) {
  ChangeSet changes;
  WebCategoryRecord(1, 11).put(changes);
  WebCategoryRecord(2, 12).put(changes);
  for (int set = 0; set < kSets; ++set) putSet(changes, set, 1);
  return store.commit(std::move(changes));
}

std::uint32_t numberOf(const Snapshot& snapshot, int set) {
  const StoredRecord record = snapshot.byId(GID_ANTISPAM_PROFILE, 0, firstId(set));
  return record ? record.as<__aps_gw_as_profile>()->heuristic_first : 0;
}

std::string brokenPart(const Snapshot& snapshot, int set) {
  const std::uint32_t number = numberOf(snapshot, set);
  if (number == 0) return "there is no set";
  for (const Part& part : partsOf(set, number)) {
    const std::string name = "set " + std::to_string(set) + " number " + std::to_string(number) +
                             " table " + std::to_string(part.table->gid) + " id " +
                             std::to_string(part.id) + ": ";
    const StoredRecord record = snapshot.byId(part.table->gid, part.domain, part.id);
    if (static_cast<bool>(record) != part.record.has_value()) {
      return name + (record ? "there" : "not there");
    }
    if (!record) continue;
    if (!Config::sameRecord(*part.table->type, record.data(), part.record->data())) {
      return name + "has another number";
    }
    if (part.before == kLast) continue;
    const auto index = snapshot.index(part.table->gid, part.domain);
    if (index->indexOf(part.id) > index->indexOf(part.before)) return name + "in another place";
  }
  return {};
}

Config::Revision writeSomeSets(Config::ConfigStore& store, std::mt19937& random) {
  for (;;) {
    const Config::Revision basis = store.snapshot().revision();
    ChangeSet changes;
    const unsigned which = 1 + random() % ((1u << kSets) - 1);
    for (int set = 0; set < kSets; ++set) {
      if ((which >> set & 1u) != 0) putSet(changes, set, static_cast<std::uint32_t>(basis + 1));
    }
    if (const auto revision = store.commitAt(basis, std::move(changes))) return *revision;
  }
}

std::uint32_t trailingNumber(std::string_view text) {
  const std::size_t digits = text.find_last_not_of("0123456789") + 1;
  std::uint32_t number = 0;
  for (const char digit : text.substr(digits)) {
    number = number * 10 + static_cast<std::uint32_t>(digit - '0');
  }
  return number;
}

}  // namespace Kestrav::Testing
