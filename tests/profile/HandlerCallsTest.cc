// Which functions of the factory the handler of each table calls, in order. Covers the kinds of
// profiles whose drop cannot be observed from outside.
#include <gtest/gtest.h>

#include <mutex>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "FactoryHandlers.h"
#include "platform/common/Exception.h"
#include "tests/profile/AnyRecord.h"
#include "tests/profile/Factory.h"
#include "tests/profile/Gateway.h"
#include "tests/profile/Hooks.h"
#include "tests/support/QuarantineRecords.h"

using namespace Kestrav;
using namespace Kestrav::Testing;

namespace {

using Calls = std::vector<std::string>;

std::mutex gMutex;
Calls gCalls;  // guarded by gMutex

void note(std::string call) {
  const std::lock_guard guard(gMutex);
  gCalls.push_back(std::move(call));
}

// The calls since the last time.
Calls takeCalls() {
  const std::lock_guard guard(gMutex);
  return std::exchange(gCalls, {});
}

template <auto kFunction>
class NotedCall {
 public:
  explicit NotedCall(const char* call) : hook_([call](auto&&...) { note(call); }) {}

 private:
  const Before<kFunction> hook_;
};

// Notes "update KIND in DOMAIN: ID", followed by " gone" when there is no new record.
template <class Rec>
class NotedUpdate {
 public:
  explicit NotedUpdate(const char* kind)
      : hook_([kind](const ProfileFactory&, ngid_t domain, int id, const Rec* record) {
          note(std::string("update ") + kind + " in " + std::to_string(domain) + ": " +
               std::to_string(id) + (record == nullptr ? " gone" : ""));
        }) {}

 private:
  const Before<kUpdate<Rec>> hook_;
};

// Notes every call that a handler makes.
struct NotedFactory {
  NotedFactory() {
    factory();
    takeCalls();
  }

  const NotedCall<&ProfileFactory::clearAntispamProfiles> antispam{"clear antispam"};
  const NotedCall<&ProfileFactory::clearAntivirusProfiles> antivirus{"clear antivirus"};
  const NotedCall<&ProfileFactory::clearContentProfiles> content{"clear content"};
  const NotedCall<&ProfileFactory::clearDLPProfiles> dlp{"clear DLP"};
  const NotedCall<&ProfileFactory::clearFilePatternProfiles> filePattern{"clear file pattern"};
  const NotedCall<&ProfileFactory::clearNotificationProfiles> notification{"clear notification"};
  const NotedCall<&ProfileFactory::clearSessionProfiles> session{"clear session"};
  const NotedCall<&ProfileFactory::clearWebFilterProfiles> webFilter{"clear web filter"};
  const NotedCall<&DictionaryFactory::clean> dictionaries{"clean dictionaries"};
  const Before<&ProfileFactory::updateDeferPeriod> deferPeriod{
      [](ProfileFactory&, const __aps_mailserver* settings) {
        note(settings == nullptr ? "defer period gone" : "defer period");
      }};
  const NotedUpdate<__aps_gw_as_profile> oneAntispam{"antispam"};
  const NotedUpdate<__aps_gw_av_profile> oneAntivirus{"antivirus"};
  const NotedUpdate<__aps_gw_content_profile> oneContent{"content"};
  const NotedUpdate<__aps_dlp_profile> oneDlp{"DLP"};
  const NotedUpdate<__vexa_encryption_profile> oneEncryption{"encryption"};
  const NotedUpdate<__aps_profile_notification> oneNotification{"notification"};
  const NotedUpdate<__attachment_file_pattern> oneFilePattern{"file pattern"};
  const NotedUpdate<__aps_as_wf_profile> oneWebFilter{"web filter"};
  const NotedUpdate<__qv_ip_profile> oneSession{"session"};
  const NotedUpdate<__aps_systemquarantine_folders> oneFolder{"quarantine folder"};
};

struct Row {
  G_CLI_GID gid;
  const char* updated;  // the kind of which one profile is dropped; null when `calls` says
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
      takeCalls();
    } else {
      putInto(domain, record);
      EXPECT_EQ(takeCalls(), expected(domain, record.id(), ""));
    }
    record.touch();
    putInto(domain, record);
    EXPECT_EQ(takeCalls(), expected(domain, record.id(), ""));
    if (record.single()) return;
    erase(GetParam().gid, record.id(), domain);
    EXPECT_EQ(takeCalls(), expected(domain, record.id(), " gone"));
  }

  const NotedFactory factory_;
  const DlpRules rules_{[] { note("clear DLP rules"); }};
};

TEST_P(HandlerCalls, OfASystemsRecord) {
  addChangeErase(0);
}

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
  const NotedFactory noted;
  const DlpRules failing([] { throw Exception("no rules", 7); });
  AnyRecord record(GID_FILE_PATTERN);
  putInto(0, record);
  EXPECT_EQ(takeCalls(), (Calls{"clear file pattern", "clear content", "clear DLP"}));
}

TEST(MissedChanges, ForgetTheWholeKind) {
  using namespace CMF::Event;
  const NotedFactory noted;
  ProfileHandler<__aps_gw_as_profile, 456>().resync();
  ProfileHandler<__aps_gw_av_profile, 377>().resync();
  ProfileHandler<__aps_gw_content_profile, 512>().resync();
  ProfileHandler<__aps_dlp_profile, 1832>().resync();
  ProfileHandler<__aps_profile_notification, 1339>().resync();
  ProfileHandler<__qv_ip_profile, 199>().resync();
  EXPECT_EQ(takeCalls(), (Calls{"clear antispam", "clear antivirus", "clear content", "clear DLP",
                                "clear notification", "clear session"}));
}

TEST(MissedChanges, ForgetTheFolders) {
  const std::uint32_t id = freshId();
  put(QuarantineFolderRecord(id, "Missed"));
  const auto before = folder(id);
  CMF::Event::ProfileHandler<__aps_systemquarantine_folders, 1682>().resync();
  EXPECT_FALSE(folder(id) == before);
}
