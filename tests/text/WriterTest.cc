// The text written from a store: readable, stable, and loading it restores the store.
#include <cstring>

#include "TextFixture.h"
#include "platform/config/records/AntispamRecords.h"
#include "platform/config/records/DeliveryRecords.h"
#include "platform/config/records/FieldAccess.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/PolicyRecords.h"
#include "platform/config/records/Tables.h"

using namespace Kestrav::Config;
using namespace Kestrav::Config::Text;

namespace {

class WriterTest : public TextFixture {};

// Every record of both stores is the same, in the same order.
void expectSame(ConfigStore& a, ConfigStore& b) {
  const Snapshot left = a.snapshot();
  const Snapshot right = b.snapshot();
  for (const Table& table : tables()) {
    SCOPED_TRACE(table.key);
    if (table.scope == Scope::kSystemSingle) {
      EXPECT_TRUE(sameRecord(*table.type, left.byId(table.gid, 0, 0).data(),
                             right.byId(table.gid, 0, 0).data()));
      continue;
    }
    ASSERT_EQ(left.domains(table.gid), right.domains(table.gid));
    for (const ngid_t domain : left.domains(table.gid)) {
      ASSERT_EQ(left.size(table.gid, domain), right.size(table.gid, domain));
      for (int i = 0; i < left.size(table.gid, domain); ++i) {
        EXPECT_TRUE(sameRecord(*table.type, left.at(table.gid, domain, i).data(),
                               right.at(table.gid, domain, i).data()))
            << domain << "/" << i;
      }
    }
  }
}

}  // namespace

TEST_F(WriterTest, WhatIsWrittenLoadsIntoAnEmptyStoreAsTheSame) {
  load(dataFile("full.yaml"));
  const std::string text = dump();
  const auto other = open();
  load(*other, text);
  expectSame(*store_, *other);
  EXPECT_EQ(dump(*other), text);
  EXPECT_FALSE(changes(text));
}

TEST_F(WriterTest, TheTextIsTheExpectedOne) {
  load(dataFile("full.yaml"));
  const std::string text = dump(false);
  const std::string expected = dataFile("full.dump.yaml");
  if (std::getenv("KESTRAV_UPDATE_GOLDEN") != nullptr) {
    std::ofstream(std::string(KESTRAV_TEXT_DATA) + "/full.dump.yaml") << text;
  }
  EXPECT_EQ(text, expected);
}

TEST_F(WriterTest, SecretsAreMaskedUnlessAskedFor) {
  load(dataFile("full.yaml"));
  const std::string masked = dump(false);
  EXPECT_EQ(masked.find("sesame"), std::string::npos);
  EXPECT_EQ(masked.find("MIIE"), std::string::npos);
  EXPECT_NE(masked.find("pass-phrase: \"<masked>\""), std::string::npos);
  EXPECT_NE(dump(true).find("pass-phrase: open sesame"), std::string::npos);
  EXPECT_NE(mistakesOf(masked).find("was masked when this was written"), std::string::npos);
}

TEST_F(WriterTest, AnEmptyStoreGivesAnEmptyText) {
  EXPECT_EQ(dump(), "");
}

TEST_F(WriterTest, TextsOfAllSortsSurvive) {
  const std::string texts[] = {"plain",
                               "null",
                               "~",
                               "- dash",
                               "#hash",
                               "a: b",
                               " leading",
                               "trailing ",
                               "\"quoted\"",
                               "back\\slash",
                               "tab\there",
                               "line\nfeed",
                               "two\n\nlines\n",
                               "\nfirst empty",
                               "ends\n\n\n",
                               "cr\r\nlf",
                               "control\x01\x7f",
                               "Größe",
                               "\xe2\x80\xa8separator",
                               "\xef\xbb\xbf"
                               "bom",
                               "\xff\xfe bytes",
                               "%%LOCAL%%",
                               "'single'",
                               "true",
                               "12",
                               "!tag",
                               "&anchor",
                               "*alias",
                               "[a]",
                               "{a}",
                               "@at",
                               "`tick`",
                               "|",
                               ">",
                               "?",
                               "a # comment",
                               "  \n  ",
                               "x\n ",
                               "x\n  y\n"};
  ChangeSet changeSet;
  for (const std::string& text : texts) {
    __aps_cmsg_type message{};
    static std::uint32_t id = 0;
    message.id = ++id;
    ASSERT_TRUE(
        writeText(*findField(kCustomMessageType, "name"), &message, "m" + std::to_string(id)));
    ASSERT_TRUE(writeText(*findField(kCustomMessageType, "text"), &message, text));
    changeSet.put(GID_CUSTOM_MESSAGE, 0, &message);
  }
  store_->commit(std::move(changeSet));
  const auto other = open();
  load(*other, dump());
  expectSame(*store_, *other);
}

TEST_F(WriterTest, EmptyLinesBeforeTheNextTableSurvive) {
  load(
      "message-templates: [{name: m, html: \"x\\n\\n\"}]\n"
      "certificate-bindings: [{name: b, owner: \"*\"}]\n");
  EXPECT_FALSE(changes(dump())) << dump();
}

TEST_F(WriterTest, NamesThatAreNoUtf8AreFoundAgain) {
  load(
      "antispam-profiles: [!!binary /w==]\n"
      "email-groups: [!!binary /g==]\n"
      "outgoing-policies:\n"
      "  - {name: p, from: !!binary Z3JvdXA6/g==, antispam: !!binary /w==}\n");
  const Snapshot snapshot = store_->snapshot();
  const StoredRecord record = snapshot.at(GID_OUTGOING_POLICY, 0, 0);
  const auto* policy = record.as<__vexa_recipient_policy>();
  EXPECT_EQ(policy->antispam_profile, 1u);
  EXPECT_EQ(policy->sender_group, 1u);
  EXPECT_NE(dump().find("from: !!binary \"Z3JvdXA6/g==\""), std::string::npos) << dump();
  EXPECT_FALSE(changes(dump()));
}

TEST_F(WriterTest, UnknownWordsAreWrittenAsNumbers) {
  __aps_antispam_action action{};
  std::strcpy(action.name, "odd");
  action.id = 4;
  action.disposition = 3;
  ChangeSet changeSet;
  changeSet.put(GID_ANTISPAM_ACTION, 0, &action);
  store_->commit(std::move(changeSet));
  EXPECT_EQ(dump(), "antispam-actions:\n  - name: odd\n    id: 4\n    disposition: 3\n");
  EXPECT_FALSE(changes(dump()));
}

TEST_F(WriterTest, ReferencesThatNoNameReachesAreWrittenAsNumbers) {
  __qv_ip_policy policy{};
  policy.id = 1;
  std::strcpy(policy.name, "p");
  policy.enabled = 1;
  policy.antispam_profile = 99;
  ChangeSet changeSet;
  changeSet.put(GID_IP_POLICY, 0, &policy);
  store_->commit(std::move(changeSet));
  EXPECT_EQ(dump(), "ip-policies:\n  - name: p\n    id: 1\n    antispam: \"#99\"\n");
  EXPECT_FALSE(changes(dump()));
}

TEST_F(WriterTest, ANameThatADomainHasItselfDoesNotReachTheSystemsRecord) {
  load(
      "antispam-profiles: [a]\n"
      "domains:\n  - {name: x.example, configuration-domain: 1, configuration: {antispam-profiles: "
      "[a], incoming-policies: [{name: p, antispam: \"#1\"}]}}\n");
  const Snapshot snapshot = store_->snapshot();
  EXPECT_EQ(snapshot.at(GID_ANTISPAM_PROFILE, 0, 0).id(), 1u);
  EXPECT_NE(dump().find("antispam: \"#1\""), std::string::npos);
  EXPECT_FALSE(changes(dump()));
}

TEST_F(WriterTest, ACriterionThatIsNoneIsNotTakenForAnother) {
  __qv_ip_policy policy{};
  policy.id = 1;
  std::strcpy(policy.name, "p");
  policy.client_kind = 9;
  ChangeSet changeSet;
  changeSet.put(GID_IP_POLICY, 0, &policy);
  store_->commit(std::move(changeSet));
  EXPECT_NE(dump().find("client: invalid:9"), std::string::npos);
  EXPECT_NE(mistakesOf(dump()), "");
}

TEST_F(WriterTest, WhatHasNoPlaceIsTold) {
  ChangeSet changeSet;
  __aps_gw_as_profile profile{};
  profile.id = 1;
  std::strcpy(profile.name, "lost");
  changeSet.put(GID_ANTISPAM_PROFILE, 5, &profile);
  store_->commit(std::move(changeSet));
  EXPECT_EQ(dump(), "# configuration domain 5 belongs to no protected domain and is left out\n");
}

TEST_F(WriterTest, OneRecordIsAMap) {
  load("web-categories: [{name: a, number: 3}]\nweb-filters: [{name: w, categories: [a]}]\n");
  const Snapshot snapshot = store_->snapshot();
  std::ostringstream out;
  writeRecord(snapshot, snapshot.at(GID_WEB_FILTER_PROFILE, 0, 0), out, {});
  EXPECT_EQ(out.str(), "name: w\nid: 1\ncategories:\n  - a\n");
}
