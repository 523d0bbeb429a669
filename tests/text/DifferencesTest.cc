// What loading a text changes in a store, and what it keeps.
#include <map>
#include <set>

#include "TextFixture.h"
#include "platform/config/records/AntispamRecords.h"
#include "platform/config/records/ContentRecords.h"
#include "platform/config/records/DictionaryRecords.h"
#include "platform/config/records/DomainRecords.h"
#include "platform/config/records/Field.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/GroupRecords.h"
#include "platform/config/records/PolicyRecords.h"
#include "platform/config/records/SessionRecords.h"
#include "platform/config/records/SystemRecords.h"
#include "platform/config/records/Tables.h"
#include "platform/config/records/WebFilterRecords.h"

using namespace Kestrav::Config;
using namespace Kestrav::Config::Text;

namespace {

class Differences : public TextFixture {
 protected:
  template <class Rec>
  std::map<std::string, std::uint32_t> ids(G_CLI_GID gid, ngid_t domain = 0) {
    std::map<std::string, std::uint32_t> found;
    store_->snapshot().walk(gid, domain, [&](const StoredRecord& record) {
      found[record.as<Rec>()->name] = record.id();
      return true;
    });
    return found;
  }
  std::vector<std::string> order(G_CLI_GID gid) {
    std::vector<std::string> names;
    store_->snapshot().walk(gid, 0, [&](const StoredRecord& record) {
      names.emplace_back(record.as<__aps_systemquarantine_folders_name>()->name);
      return true;
    });
    return names;
  }
  struct __aps_systemquarantine_folders_name {
    char name[256];
  };
};

}  // namespace

TEST_F(Differences, AFullConfigurationLoadsAndLoadingItAgainChangesNothing) {
  const std::string text = dataFile("full.yaml");
  load(text);
  EXPECT_FALSE(changes(text));
  const Revision before = store_->revision();
  load(text);
  EXPECT_EQ(store_->revision(), before);
}

TEST_F(Differences, FieldsArriveInTheRecords) {
  load(dataFile("full.yaml"));
  const Snapshot snapshot = store_->snapshot();
  const auto web = ids<__aps_as_wf_profile>(GID_WEB_FILTER_PROFILE);
  const StoredRecord profile = snapshot.at(GID_ANTISPAM_PROFILE, 0, 0);
  const auto* tagging = profile.as<__aps_gw_as_profile>();
  EXPECT_STREQ(tagging->name, "tagging");
  EXPECT_EQ(tagging->scanners, 0x70);
  EXPECT_EQ(tagging->rbl_server_count, 2u);
  EXPECT_STREQ(tagging->rbl_servers[1].name, "bl2.example.net");
  EXPECT_STREQ(tagging->banned_words[1].text, "free money");
  EXPECT_EQ(tagging->banned_words[1].in_body, 0);
  EXPECT_EQ(tagging->banned_words[1].in_subject, 1);
  EXPECT_EQ(tagging->dictionary_min_score, -5);
  EXPECT_EQ(tagging->web_filter, web.at("adult"));
  EXPECT_EQ(tagging->default_action, ids<__aps_antispam_action>(GID_ANTISPAM_ACTION).at("tag"));
  EXPECT_EQ(tagging->rbl_action, 0u);

  const StoredRecord filter = snapshot.at(GID_WEB_FILTER_PROFILE, 0, 0);
  EXPECT_EQ(filter.as<__aps_as_wf_profile>()->category_id_count, 2u);
  EXPECT_EQ(filter.as<__aps_as_wf_profile>()->category_ids[1],
            ids<__aps_wcf_category>(GID_WEB_CATEGORY).at("weapons"));

  const StoredRecord content = snapshot.at(GID_CONTENT_PROFILE, 0, 0);
  const auto* first = content.as<__aps_gw_content_profile>()->attachment_filters;
  const auto patterns = ids<__attachment_file_pattern>(GID_FILE_PATTERN);
  EXPECT_EQ(first->file_pattern_id_count, 2u);
  EXPECT_EQ(first->file_pattern_ids[0], patterns.at("programs"));
  EXPECT_EQ(first->file_pattern_ids[1], patterns.at("scripts"));

  const StoredRecord rules = snapshot.at(GID_ACL_RULESET, 0, 0);
  const auto* rule = rules.as<__aps_acl_ruleset>()->rules;
  EXPECT_STREQ(rule[0].sender, "*@example.com");
  EXPECT_EQ(rule[0].reverse_dns_regex, 1);
  EXPECT_STREQ(rule[0].reverse_dns, "^mx[0-9]");
  EXPECT_EQ(rule[1].sender_kind, 2u);
  EXPECT_EQ(rule[1].sender_group,
            ids<__vexa_email_address_group>(GID_EMAIL_ADDRESS_GROUP).at("staff"));
  EXPECT_EQ(rule[1].ip_kind, 1u);
  EXPECT_EQ(rule[2].recipient_kind, 3u);
  EXPECT_STREQ(rule[2].recipient_external_group, "ldap-users");

  const StoredRecord item = snapshot.at(GID_DICTIONARY_ITEM, 0, 1);
  EXPECT_STREQ(item.as<__vexa_dictionary_item>()->text, "win(ner)?");
  EXPECT_EQ(item.as<__vexa_dictionary_item>()->score, 5);
  EXPECT_EQ(item.as<__vexa_dictionary_item>()->dictionary_id,
            ids<__vexa_dictionary>(GID_DICTIONARY).at("words"));
  EXPECT_EQ(snapshot.size(GID_DICTIONARY_GROUP_ITEM, 0), 2);
}

TEST_F(Differences, PoliciesHoldTheirCriteria) {
  load(dataFile("full.yaml"));
  const Snapshot snapshot = store_->snapshot();
  const StoredRecord office = snapshot.at(GID_IP_POLICY, 0, 0);
  EXPECT_EQ(office.as<__qv_ip_policy>()->client_kind, static_cast<int>(PeerKind::kGroup));
  EXPECT_EQ(office.as<__qv_ip_policy>()->flags, 5);
  const StoredRecord ipv6 = snapshot.at(GID_IP_POLICY, 0, 1);
  EXPECT_EQ(ipv6.as<__qv_ip_policy>()->client_kind, static_cast<int>(PeerKind::kMask));
  EXPECT_STREQ(ipv6.as<__qv_ip_policy>()->client, "2001:db8::1-2001:db8::ff");
  EXPECT_EQ(ipv6.as<__qv_ip_policy>()->enabled, 0);
  const StoredRecord outgoing = snapshot.at(GID_OUTGOING_POLICY, 0, 0);
  EXPECT_EQ(outgoing.as<__vexa_recipient_policy>()->sender_kind,
            static_cast<int>(AddressKind::kRegex));
  EXPECT_STREQ(outgoing.as<__vexa_recipient_policy>()->sender, "^(sales|info)@");
  EXPECT_EQ(outgoing.as<__vexa_recipient_policy>()->recipient_kind,
            static_cast<int>(AddressKind::kDomain));
  EXPECT_EQ(outgoing.as<__vexa_recipient_policy>()->auth_flags, 4);
}

TEST_F(Differences, ADomainsConfigurationHasItsOwnNumber) {
  load(dataFile("full.yaml"));
  const Snapshot snapshot = store_->snapshot();
  const StoredRecord domain = snapshot.at(GID_PROTECTED_DOMAIN, 0, 0);
  const ngid_t number = domain.as<__aps_gw_server>()->configuration_domain;
  ASSERT_NE(number, 0u);
  const StoredRecord staff = snapshot.at(GID_INCOMING_POLICY, number, 0);
  ASSERT_TRUE(staff);
  EXPECT_EQ(staff.as<__vexa_recipient_policy>()->ngid, number);
  // The domain's profile comes before the system's of that name.
  EXPECT_EQ(staff.as<__vexa_recipient_policy>()->antispam_profile,
            ids<__aps_gw_as_profile>(GID_ANTISPAM_PROFILE, number).at("strict"));
  const StoredRecord everyone = snapshot.at(GID_INCOMING_POLICY, number, 1);
  EXPECT_EQ(everyone.as<__vexa_recipient_policy>()->antispam_profile,
            ids<__aps_gw_as_profile>(GID_ANTISPAM_PROFILE, 0).at("tagging"));
  // An alias is stored in the spelling of the domain that it names.
  const StoredRecord alias = snapshot.at(GID_PROTECTED_DOMAIN, 0, 1);
  EXPECT_STREQ(alias.as<__aps_gw_server>()->alias_of, "example.com");
}

TEST_F(Differences, NumbersAreUniqueOverAllDomains) {
  load(
      "antispam-profiles: [a]\n"
      "domains:\n"
      "  - {name: x.example, configuration: {antispam-profiles: [a, b]}}\n"
      "  - {name: y.example, configuration: {antispam-profiles: [a]}}\n");
  std::set<std::uint32_t> seen;
  for (const ngid_t domain : store_->snapshot().domains(GID_ANTISPAM_PROFILE)) {
    for (const auto& [name, id] : ids<__aps_gw_as_profile>(GID_ANTISPAM_PROFILE, domain)) {
      EXPECT_TRUE(seen.insert(id).second) << name;
    }
  }
  EXPECT_EQ(seen.size(), 4u);
}

TEST_F(Differences, ARecordKeepsItsNumberAsLongAsItKeepsItsName) {
  load("antispam-profiles: [a, b, c]\n");
  const auto before = ids<__aps_gw_as_profile>(GID_ANTISPAM_PROFILE);
  load("antispam-profiles: [{name: c, rbl: on}, d, a]\n");
  const auto after = ids<__aps_gw_as_profile>(GID_ANTISPAM_PROFILE);
  EXPECT_EQ(after.at("a"), before.at("a"));
  EXPECT_EQ(after.at("c"), before.at("c"));
  EXPECT_FALSE(after.contains("b"));
  EXPECT_NE(after.at("d"), before.at("b")) << "a number is not given to another record at once";
}

TEST_F(Differences, OnlyWhatDiffersIsWritten) {
  load("antispam-profiles: [a, b]\nquarantine-folders: [Bulk]\n");
  const Revision before = store_->revision();
  load("antispam-profiles: [a, {name: b, rbl: on}]\nquarantine-folders: [Bulk]\n");
  std::vector<std::string> changed;
  ASSERT_TRUE(store_->journal(before, store_->revision(), [&](const JournalEntry& entry) {
    changed.emplace_back(entry.after.as<__aps_gw_as_profile>()->name);
  }));
  EXPECT_EQ(changed, std::vector<std::string>{"b"});
}

TEST_F(Differences, TheOrderOfTheTextIsTheOrderOfTheStore) {
  load("quarantine-folders: [c, a, b]\n");
  EXPECT_EQ(order(GID_QUARANTINE_FOLDER), (std::vector<std::string>{"c", "a", "b"}));
  load("quarantine-folders: [b, new, c]\n");
  EXPECT_EQ(order(GID_QUARANTINE_FOLDER), (std::vector<std::string>{"b", "new", "c"}));
  EXPECT_TRUE(changes("quarantine-folders: [new, b, c]\n"));
}

TEST_F(Differences, WhatTheTextDoesNotNameIsErased) {
  load(dataFile("full.yaml"));
  load("system: {}\n");
  for (const Table& table : tables()) {
    if (table.scope == Scope::kSystemSingle) continue;
    EXPECT_TRUE(store_->snapshot().domains(table.gid).empty()) << table.key;
  }
  const StoredRecord mail = store_->snapshot().byId(GID_MAIL_SERVER, 0, 0);
  EXPECT_EQ(mail.as<__aps_mailserver>()->smtp_port, 25u) << "settings are back at their defaults";
  EXPECT_EQ(dump(), "");
  EXPECT_FALSE(changes("\n"));
}

TEST_F(Differences, RecordsWithoutNamesAreKnownByTheirContent) {
  load("dictionaries:\n  - {name: w, items: [one, two, two, three]}\n");
  const auto numbers = [&] {
    std::vector<std::uint32_t> found;
    store_->snapshot().walk(GID_DICTIONARY_ITEM, 0, [&](const StoredRecord& record) {
      found.push_back(record.id());
      return true;
    });
    return found;
  };
  const auto before = numbers();
  ASSERT_EQ(before.size(), 4u);
  load("dictionaries:\n  - {name: w, items: [three, two, four, two]}\n");
  const auto after = numbers();
  ASSERT_EQ(after.size(), 4u);
  EXPECT_EQ(after[0], before[3]);
  EXPECT_EQ(after[1], before[1]);
  EXPECT_EQ(after[3], before[2]);
  EXPECT_GT(after[2], before[3]);
}

TEST_F(Differences, GivenNumbersAreKept) {
  load(
      "antispam-profiles: [{name: a, id: 7}, b]\n"
      "domains: [{name: x.example, configuration-domain: 12, configuration: {}}]\n");
  auto found = ids<__aps_gw_as_profile>(GID_ANTISPAM_PROFILE);
  EXPECT_EQ(found.at("a"), 7u);
  EXPECT_EQ(found.at("b"), 8u);
  // A record loses a number that the text gives to another one, and references follow.
  load(
      "antispam-profiles: [{name: c, id: 7}, {name: a}, b]\n"
      "ip-policies: [{name: p, antispam: a}]\n");
  found = ids<__aps_gw_as_profile>(GID_ANTISPAM_PROFILE);
  EXPECT_EQ(found.at("c"), 7u);
  EXPECT_EQ(found.at("a"), 9u);
  const StoredRecord policy = store_->snapshot().at(GID_IP_POLICY, 0, 0);
  EXPECT_EQ(policy.as<__qv_ip_policy>()->antispam_profile, 9u);
}

TEST_F(Differences, DomainsMayShareAConfiguration) {
  load(
      "domains:\n"
      "  - {name: a.example, configuration-domain: 4, configuration: {antispam-profiles: [x]}}\n"
      "  - {name: b.example, configuration-domain: 4}\n");
  const Snapshot snapshot = store_->snapshot();
  EXPECT_EQ(snapshot.size(GID_ANTISPAM_PROFILE, 4), 1);
  EXPECT_EQ(snapshot.at(GID_PROTECTED_DOMAIN, 0, 1).as<__aps_gw_server>()->configuration_domain,
            4u);
  EXPECT_FALSE(changes(dump()));
}

TEST_F(Differences, AConfigurationKeepsItsNumberAsLongAsItsDomainKeepsItsName) {
  load(
      "domains:\n  - {name: a.example, configuration: {}}\n  - {name: b.example, configuration: "
      "{}}\n");
  const auto numberOf = [&](const std::string& name) {
    ngid_t number = 0;
    store_->snapshot().walk(GID_PROTECTED_DOMAIN, 0, [&](const StoredRecord& record) {
      const auto* domain = record.as<__aps_gw_server>();
      if (name == domain->name) number = domain->configuration_domain;
      return true;
    });
    return number;
  };
  const ngid_t a = numberOf("a.example");
  const ngid_t b = numberOf("b.example");
  EXPECT_NE(a, b);
  load(
      "domains:\n  - {name: c.example, configuration: {}}\n  - {name: b.example, configuration: "
      "{}}\n");
  EXPECT_EQ(numberOf("b.example"), b);
  EXPECT_GT(numberOf("c.example"), b);
  // A domain loses a number that the text gives to another one.
  load("domains:\n  - {name: c.example, configuration: {}, configuration-domain: " +
       std::to_string(b) + "}\n  - {name: b.example, configuration: {}}\n");
  EXPECT_EQ(numberOf("c.example"), b);
  EXPECT_NE(numberOf("b.example"), b);
  EXPECT_NE(numberOf("b.example"), 0u);
}

TEST_F(Differences, AnActionMayHaveTheNumberOfASystemActionButAProfileMayNot) {
  EXPECT_EQ(mistakesOf("antispam-actions: [{name: a, id: 3}]\n"
                       "domains:\n  - name: x.example\n    configuration:\n"
                       "      antispam-actions: [{name: a, id: 3}]\n"),
            "");
  EXPECT_EQ(mistakesOf("antispam-profiles: [{name: a, id: 3}]\n"
                       "domains:\n  - name: x.example\n    configuration:\n"
                       "      antispam-profiles: [{name: a, id: 3}]\n"),
            "gateway.yaml:5:27: a second antispam profile with the id 3; another id or none; the "
            "first is at gateway.yaml:1:21\n");
}

TEST_F(Differences, SeveralFilesAreOneConfiguration) {
  const auto folder =
      std::filesystem::temp_directory_path() / ("kestrav-text-files-" + std::to_string(::getpid()));
  std::filesystem::create_directories(folder);
  std::ofstream(folder / "20-more.yaml") << "quarantine-folders: [Virus]\n";
  std::ofstream(folder / "10-first.yaml") << "quarantine-folders: [Bulk]\n";
  std::ofstream(folder / "notes.txt") << "not: [yaml";
  std::vector<Problem> problems;
  const std::filesystem::path paths[] = {folder};
  const auto configuration = read(std::span<const std::filesystem::path>(paths), problems);
  std::filesystem::remove_all(folder);
  ASSERT_TRUE(configuration.has_value());
  store_->commit(differences(*configuration, store_->snapshot()));
  EXPECT_EQ(order(GID_QUARANTINE_FOLDER), (std::vector<std::string>{"Bulk", "Virus"}));
}
