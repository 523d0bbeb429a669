// A daemon that attaches a store, fills its caches and then forks workers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>

#include "PolicyIPAddress.h"
#include "PolicyRecipient.h"
#include "ProfileFactory.h"
#include "TrustedMTASet.h"
#include "config/CMF.h"
#include "config/ClientSideCache.h"
#include "platform/config/records/QuarantineRecords.h"
#include "platform/dictionary/DictionaryFactory.h"
#include "tests/profile/EntryPoints.h"
#include "tests/profile/Gateway.h"
#include "tests/support/AntispamRecords.h"
#include "tests/support/DictionaryRecords.h"
#include "tests/support/DomainRecords.h"
#include "tests/support/InChild.h"
#include "tests/support/PolicyRecords.h"
#include "tests/support/QuarantineRecords.h"
#include "tests/support/StoreFixture.h"
#include "tests/support/WebFilterRecords.h"

namespace Kestrav::Testing {
namespace {

using Config::ConfigStore;

constexpr int kDone = 42;
constexpr int kWaitMs = 60'000;  // only a hang takes as long

const EmailAddress kSender = EmailAddress::rfc5321Parse("sender@elsewhere.example", true);
const EmailAddress kRecipient = EmailAddress::rfc5321Parse("someone@fork.example", false);

class PreFork : public testing::Test {
 protected:
  PreFork() {
    put(AntispamRecord(id_).name("parent's"), WebFilterRecord(id_),
        QuarantineFolderRecord(id_, "folder"), ProtectedDomainRecord(id_, "fork.example"),
        IpPolicyRecord(static_cast<int>(id_)).antispam(id_),
        IncomingPolicyRecord(static_cast<int>(id_)).antispam(id_),
        SystemAntispamRecord().quarantineControl("parents", "others"),
        TrustedMtaRecord(id_, "192.0.2.1"), DictionaryRecord(id_, "words"),
        DictionaryItemRecord(id_, id_, "word"));
    // Every cache is filled before the fork.
    EXPECT_EQ(answer(), "parent's");
    EXPECT_FALSE(connection().isNull());
    factory_->createProfileWebFilter(static_cast<int>(id_));
    factory_->createProfileQuarantineFolder(static_cast<int>(id_), 0);
    EXPECT_EQ(ProfileAntiSpam::quarantineControlSettings(true)->first, "parents");
    ProfileAntiSpam::bayesianSystemSettings(false);
    EXPECT_FALSE(DictionaryFactory::instance()->createProfileScanner("words").isNull());
    CMF::RefApsSysClientSideCache<__aps_sys_global, GID_SYSTEM_GLOBAL>::instance(false);
    initializeTrustedMTASet();
    EXPECT_NE(TrustedMTASetRef::instance(false)->trustedMTAs().size(), 0u);
  }
  ~PreFork() override {
    Config::ChangeSet changes;
    for (const G_CLI_GID table : {GID_IP_POLICY, GID_INCOMING_POLICY, GID_PROTECTED_DOMAIN,
                                  GID_TRUSTED_MTA, GID_DICTIONARY, GID_DICTIONARY_ITEM}) {
      changes.erase(table, 0, id_);
    }
    commit(std::move(changes));
  }

  static PolicyIPAddress connection() {
    return PolicyIPAddress(IPAddress("192.0.2.1"), IPAddress("192.0.2.2"));
  }
  static PolicyRecipient recipient() { return PolicyRecipient(kSender, kRecipient, false, false); }
  // The name of the antispam profile that mail to the recipient gets.
  static std::string answer() {
    const PolicyRecipient policy = recipient();
    return policy.isNull() ? "no policy" : policy.antispamProfile().name();
  }

  const std::uint32_t id_ = freshId();
  ProfileFactory* const factory_ = ProfileFactory::instance();
};

TEST_F(PreFork, ChildThatAttachesForItselfAnswersAndFollows) {
  const std::filesystem::path folder = store().folder();
  EXPECT_EQ(inChild([&] {
              ConfigStore::attach(ConfigStore::open(folder));
              if (answer() != "parent's") return 1;
              if (connection().antispamProfile().name() != "parent's") return 2;
              Config::ChangeSet changes;
              AntispamRecord(id_).name("child's").put(changes);
              const auto revision = ConfigStore::attached()->commit(std::move(changes));
              if (!dispatcher()->waitApplied(revision, kWaitMs)) return 3;
              return answer() == "child's" ? kDone : 4;
            }),
            kDone);
  // The parent follows what its child committed.
  ASSERT_TRUE(dispatcher()->waitApplied(store().revision(), kWaitMs));
  EXPECT_EQ(answer(), "child's");
}

TEST_F(PreFork, ChildOfAnotherStoreReadsItsFoldersAndAnswersFromItAlone) {
  put(QuarantineFolderRecord(id_ + 1, "Bulk"));
  const TemporaryFolder folder;
  EXPECT_EQ(inChild([&] {
              const auto own = ConfigStore::open(folder / "store");
              Config::ChangeSet changes;
              QuarantineFolderRecord(7, "Virus").put(changes);
              own->commit(std::move(changes));
              ConfigStore::attach(own);
              if (!recipient().isNull() || !connection().isNull()) return 1;
              if (!factory_->createProfileAntiSpam(static_cast<int>(id_), 0).isNull()) return 2;
              if (ProfileAntiSpam::quarantineControlSettings(false)->first == "parents") return 5;
              if (TrustedMTASetRef::instance(false)->trustedMTAs().size() != 0) return 6;
              if (!DictionaryFactory::instance()->createProfileScanner("words").isNull()) return 7;
              if (ProfileFactory::virus_folderId != 7) return 3;
              return ProfileFactory::spam_folderId == 0 ? kDone : 4;
            }),
            kDone);
  erase(GID_QUARANTINE_FOLDER, id_ + 1);
}

TEST_F(PreFork, SettingsTakenBeforeTheForkStayValidInAChildThatAttaches) {
  const auto* const settings = ProfileAntiSpam::quarantineControlSettings(false);
  const TemporaryFolder folder;
  EXPECT_EQ(inChild([&] {
              ConfigStore::attach(ConfigStore::open(folder / "store"));
              if (ProfileAntiSpam::quarantineControlSettings(false) == settings) return 1;
              return settings->first == "parents" ? kDone : 2;
            }),
            kDone);
}

TEST_F(PreFork, ChildThatDoesNotAttachIsRefusedByEveryEntryPoint) {
  // The factory and the handles were made before the fork.
  std::vector<EntryPoint> all = storeEntryPoints([this] { return factory_; }, id_, &store());
  all.push_back({"ConfigStore::attach", [] { ConfigStore::attach(ConfigStore::attached()); }});
  all.push_back({"ConfigStore::detach", [] { ConfigStore::detach(); }});
  EXPECT_EQ(inChild([&] {
              int wrong = 0;
              for (const EntryPoint& entry : all) {
                int code = 0;
                try {
                  entry.call();
                } catch (const Exception& failure) {
                  code = failure.code();
                }
                if (code == Config::StoreError::kForked) continue;
                std::fprintf(stderr, "%s: code %d\n", entry.name.c_str(), code);
                ++wrong;
              }
              return wrong == 0 ? kDone : wrong;
            }),
            kDone);
}

TEST_F(PreFork, ChildThatDoesNotAttachReadsEmptyTablesAndLogsThatOnce) {
  EXPECT_EQ(inChild([&] {
              const LogCapture log;
              CMF::TableQuery<__aps_systemquarantine_folders, GID_QUARANTINE_FOLDER> folders;
              if (folders.begin() != folders.end()) return 1;
              if (CMF::find(folders, id_) != folders.end()) return 2;
              if (cmf_query_data(nCfg_query(GID_QUARANTINE_FOLDER)) != nullptr) return 3;
              return log.fields(0x4000301).size() == 1 ? kDone : 4;
            }),
            kDone);
}

TEST_F(PreFork, HandlesMadeBeforeTheForkGoOnWorking) {
  const PolicyRecipient policy = recipient();
  const std::string name = policy.name();
  EXPECT_EQ(inChild([&] {
              PolicyRecipient copy = policy;
              const ProfileAntiSpam profile = copy.antispamProfile();
              const bool named = copy.name() == name;
              copy = PolicyRecipient();
              return profile.name() == "parent's" && named &&
                             policy.messageParsingRequired() == (profile.messageParseType() != 0)
                         ? kDone
                         : 1;
            }),
            kDone);
}

TEST_F(PreFork, ArgumentsThatAreNullGiveNullPoliciesInTheChildToo) {
  EXPECT_EQ(inChild([&] {
              const bool null = PolicyIPAddress(IPAddress(), IPAddress("192.0.2.1")).isNull() &&
                                PolicyRecipient(kSender, EmailAddress(), false, false).isNull() &&
                                PolicyRecipient(kSender, kRecipient, PolicyIPAddress()).isNull() &&
                                PolicyRecipient(kRecipient, PolicyRecipient()).isNull();
              return null ? kDone : 1;
            }),
            kDone);
}

}  // namespace
}  // namespace Kestrav::Testing
