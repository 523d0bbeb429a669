// What a change of each table makes its handler ask of the factory, in order. This holds for every
// kind of profile, also where nothing of it can be seen from outside.
#include <gtest/gtest.h>

#include <cstring>
#include <ostream>
#include <string>
#include <vector>

#include "AnyRecord.h"
#include "DLPRuleFactory.h"
#include "Factory.h"
#include "FactoryCalls.h"
#include "Gateway.h"
#include "platform/common/Exception.h"
#include "profile/factory/FactoryHandlers.h"

using namespace Kestrav;
using namespace Kestrav::Testing;

namespace {

using Calls = std::vector<std::string>;

class NotingRules : public DLPRuleFactory {
 public:
  NotingRules() : installed_(s_instance) { s_instance = this; }
  ~NotingRules() override { s_instance = installed_; }
  void clearDLPRules() override { noteFactoryCall("clear DLP rules"); }

 private:
  DLPRuleFactory* const installed_;
};

struct Row {
  G_CLI_GID gid;
  const char* updated;  // the kind whose one profile is dropped; null: `calls`
  Calls calls = {};
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << "table " << row.gid;
}

const Calls kDictionaries = {"clean dictionaries", "clear antispam", "clear content"};

const Row kRows[] = {
    {GID_ANTISPAM_PROFILE, "antispam"},
    {GID_ANTIVIRUS_PROFILE, "antivirus"},
    {GID_DEEP_HEADER, nullptr, {"clear antispam"}},
    {GID_DLP_PROFILE, "DLP"},
    {GID_ENCRYPTION_PROFILE, "encryption"},
    {GID_NOTIFICATION_PROFILE, "notification"},
    {GID_CONTENT_PROFILE, "content"},
    {GID_SESSION_PROFILE, "session"},
    {GID_DICTIONARY_GROUP, nullptr, kDictionaries},
    {GID_DICTIONARY_GROUP_ITEM, nullptr, kDictionaries},
    {GID_DICTIONARY, nullptr, kDictionaries},
    {GID_DICTIONARY_ITEM, nullptr, kDictionaries},
    {GID_ANTISPAM_ACTION, nullptr, {"clear antispam"}},
    {GID_ANTIVIRUS_ACTION, nullptr, {"clear antivirus"}},
    {GID_CONTENT_ACTION, nullptr, {"clear content", "clear DLP"}},
    {GID_FILE_PATTERN,
     nullptr,
     {"clear file pattern", "clear content", "clear DLP rules", "clear DLP"}},
    {GID_CUSTOM_MESSAGE, nullptr, {"clear notification"}},
    {GID_MAIL_SERVER, nullptr, {"clear content", "defer period"}},
    {GID_ADDRESS_MAP, nullptr, {"clear session"}},
    {GID_ACL_RULESET, nullptr, {"clear session"}},
    {GID_BOUNCE_PROFILE, nullptr, {"clear session"}},
    {GID_WEB_FILTER_PROFILE, nullptr, {"clear web filter", "clear antispam"}},
    {GID_TRUSTED_MTA, nullptr, {}},
    {GID_TRUSTED_ANTISPAM_MTA, nullptr, {}},
    {GID_QUARANTINE_FOLDER, "quarantine folder"},
};

class HandlerCalls : public testing::TestWithParam<Row> {
 protected:
  void SetUp() override {
    factory();
    takeFactoryCalls();
  }

  Calls expected(ngid_t domain, std::uint32_t id, const char* end) const {
    const Row& row = GetParam();
    if (row.updated == nullptr) return row.calls;
    return {std::string("update ") + row.updated + " in " + std::to_string(domain) + ": " +
            std::to_string(id) + end};
  }

  void addChangeErase(ngid_t domain) {
    AnyRecord record(GetParam().gid);
    if (record.single()) {
      record.touch();
      record.touch();
      put(record);
      takeFactoryCalls();
    } else {
      putInto(domain, record);
      EXPECT_EQ(takeFactoryCalls(), expected(domain, record.id(), ""));
    }
    record.touch();
    putInto(domain, record);
    EXPECT_EQ(takeFactoryCalls(), expected(domain, record.id(), ""));
    if (record.single()) return;
    erase(GetParam().gid, record.id(), domain);
    EXPECT_EQ(takeFactoryCalls(), expected(domain, record.id(), " gone"));
  }

  const NotingRules rules_;
};

TEST_P(HandlerCalls, OfASystemsRecord) {
  addChangeErase(0);
}

// A domain's record tells its handler the domain.
using DomainHandlerCalls = HandlerCalls;
TEST_P(DomainHandlerCalls, OfADomainsRecord) {
  addChangeErase(freshId());
}

std::vector<Row> domainRows() {
  std::vector<Row> rows;
  for (const Row& row : kRows) {
    if (Config::findTable(row.gid)->scope == Config::Scope::kDomainList) rows.push_back(row);
  }
  return rows;
}

std::string tableName(const testing::TestParamInfo<Row>& row) {
  return "Table" + std::to_string(row.param.gid);
}

INSTANTIATE_TEST_SUITE_P(Tables, HandlerCalls, testing::ValuesIn(kRows), tableName);
INSTANTIATE_TEST_SUITE_P(Tables, DomainHandlerCalls, testing::ValuesIn(domainRows()), tableName);

}  // namespace

TEST(FilePatternChange, ForgetsTheDlpProfilesAlsoWhenTheRulesFail) {
  class FailingRules : public DLPRuleFactory {
   public:
    FailingRules() : installed_(s_instance) { s_instance = this; }
    ~FailingRules() override { s_instance = installed_; }
    void clearDLPRules() override { throw Exception("no rules", 7); }

   private:
    DLPRuleFactory* const installed_;
  };
  factory();
  const FailingRules rules;
  takeFactoryCalls();
  AnyRecord record(GID_FILE_PATTERN);
  putInto(0, record);
  EXPECT_EQ(takeFactoryCalls(), (Calls{"clear file pattern", "clear content", "clear DLP"}));
}

TEST(MissedChanges, ForgetTheWholeKind) {
  using namespace CMF::Event;
  factory();
  takeFactoryCalls();
  ProfileHandler<__aps_gw_as_profile, 456>().resync();
  ProfileHandler<__aps_gw_av_profile, 377>().resync();
  ProfileHandler<__aps_gw_content_profile, 512>().resync();
  ProfileHandler<__aps_dlp_profile, 1832>().resync();
  ProfileHandler<__aps_profile_notification, 1339>().resync();
  ProfileHandler<__qv_ip_profile, 199>().resync();
  EXPECT_EQ(takeFactoryCalls(), (Calls{"clear antispam", "clear antivirus", "clear content",
                                       "clear DLP", "clear notification", "clear session"}));
}

TEST(MissedChanges, ForgetTheFolders) {
  const std::uint32_t id = freshId();
  put(QuarantineFolderRecord(id, "Missed"));
  const auto before = factory().createProfileQuarantineFolder(static_cast<int>(id), 0);
  CMF::Event::ProfileHandler<__aps_systemquarantine_folders, 1682>().resync();
  EXPECT_FALSE(factory().createProfileQuarantineFolder(static_cast<int>(id), 0) == before);
}
