// Settings of antispam profiles that come from single-record tables.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "tests/profile/AntispamProfile.h"
#include "tests/profile/Gateway.h"
#include "tests/support/Addresses.h"
#include "tests/support/AntispamRecords.h"

using namespace Kestrav;
using namespace Kestrav::Testing;

namespace {

DeepHeaderSettings deepHeader(bool on) {
  return profileOf(AntispamRecord(freshId()).deepHeader(on)).deepHeaderSettings();
}

unsigned int accountType(const std::string& text) {
  return ProfileAntiSpam::controlAccountType(address(text));
}

void reload() {
  ProfileAntiSpam::quarantineControlSettings(true);
  ProfileAntiSpam::bayesianSystemSettings(true);
}

}  // namespace

TEST(DeepHeader, HasFixedSettingsWhileItIsOff) {
  put(DeepHeaderRecord(3, 50.0f));
  const DeepHeaderSettings settings = deepHeader(false);
  EXPECT_EQ(settings.mode, 1u);
  EXPECT_EQ(settings.confidence, 95.0);
  EXPECT_EQ(settings.secondConfidence, 95.0);
  EXPECT_EQ(settings.ratio, 0.15);
  EXPECT_EQ(settings.enabled, 1u);
  EXPECT_EQ(settings.level, 6u);
}

TEST(DeepHeader, TakesLevelAndConfidenceFromTheSystem) {
  put(DeepHeaderRecord(3, 50.5f));
  const DeepHeaderSettings settings = deepHeader(true);
  EXPECT_EQ(settings.mode, 1u);
  EXPECT_EQ(settings.confidence, 50.5);
  EXPECT_EQ(settings.secondConfidence, 95.0);
  EXPECT_EQ(settings.ratio, 0.5);
  EXPECT_EQ(settings.enabled, 1u);
  EXPECT_EQ(settings.level, 3u);
}

TEST(DeepHeader, ReplacesWhatIsOutOfRange) {
  struct Case {
    std::uint32_t level;
    std::uint32_t expectedLevel;
    float confidence;
    double expectedConfidence;
  };
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  for (const Case& row : {
           Case{0, 7, 0.0f, 95.0}, Case{10, 7, -5.0f, 95.0}, Case{0xFFFFFFFF, 7, 150.0f, 95.0},
           Case{9, 9, 100.0f, 100.0}, Case{1, 1, 0.5f, 0.5}, Case{5, 5, kInfinity, 95.0},
           Case{5, 5, -kInfinity, 95.0},
           Case{5, 5, 99.1f, static_cast<double>(99.1f)},  // widened, not rounded
       }) {
    SCOPED_TRACE(std::to_string(row.level) + " " + std::to_string(row.confidence));
    put(DeepHeaderRecord(row.level, row.confidence));
    const DeepHeaderSettings settings = deepHeader(true);
    EXPECT_EQ(settings.level, row.expectedLevel);
    EXPECT_EQ(settings.confidence, row.expectedConfidence);
  }
}

TEST(DeepHeader, KeepsAConfidenceThatIsNoNumber) {
  put(DeepHeaderRecord(5, std::numeric_limits<float>::quiet_NaN()));
  EXPECT_TRUE(std::isnan(deepHeader(true).confidence));
}

TEST(DeepHeader, SystemRecordThatWasNeverWrittenHasDefaults) {
  erase(GID_DEEP_HEADER, 0);
  const DeepHeaderSettings settings = deepHeader(true);
  EXPECT_EQ(settings.level, 7u);
  EXPECT_EQ(settings.confidence, 95.0);
  EXPECT_EQ(settings.ratio, 0.5);
}

TEST(SystemAntispamSettings, TakeEachTextFromItsField) {
  put(SystemAntispamRecord()
          .quarantineControl("text-at-20", "text-at-56")
          .bayesianControl("text-at-92", "text-at-236", "text-at-200", "text-at-164",
                           "text-at-128"));
  const QuarantineControlSettings* quarantine = ProfileAntiSpam::quarantineControlSettings(true);
  EXPECT_EQ(quarantine->first, "text-at-20");
  EXPECT_EQ(quarantine->second, "text-at-56");
  const BayesianSystemSettings* bayesian = ProfileAntiSpam::bayesianSystemSettings(true);
  EXPECT_EQ(bayesian->account1, "text-at-236");
  EXPECT_EQ(bayesian->account2, "text-at-200");
  EXPECT_EQ(bayesian->account3, "text-at-164");
  EXPECT_EQ(bayesian->account4, "text-at-128");
  EXPECT_EQ(bayesian->domain, "text-at-92");
}

TEST(SystemAntispamSettings, StayUntilTheyAreReloaded) {
  put(SystemAntispamRecord().quarantineControl("old", "").bayesianControl("", "old", "", "", ""));
  const QuarantineControlSettings* quarantine = ProfileAntiSpam::quarantineControlSettings(true);
  const BayesianSystemSettings* bayesian = ProfileAntiSpam::bayesianSystemSettings(true);
  put(SystemAntispamRecord().quarantineControl("new", "").bayesianControl("", "new", "", "", ""));
  EXPECT_EQ(ProfileAntiSpam::quarantineControlSettings(false), quarantine);
  EXPECT_EQ(ProfileAntiSpam::bayesianSystemSettings(false), bayesian);
  EXPECT_EQ(quarantine->first, "old");
  EXPECT_EQ(bayesian->account1, "old");
  EXPECT_EQ(ProfileAntiSpam::quarantineControlSettings(true)->first, "new");
  // The two are reloaded separately.
  EXPECT_EQ(ProfileAntiSpam::bayesianSystemSettings(false)->account1, "old");
  EXPECT_EQ(ProfileAntiSpam::bayesianSystemSettings(true)->account1, "new");
}

TEST(SystemAntispamSettings, TellWhetherAnAccountIsConfigured) {
  struct Case {
    SystemAntispamRecord record;
    bool quarantine;
    bool bayesian;
  };
  const auto none = [] {
    return SystemAntispamRecord().quarantineControl("", "").bayesianControl("", "", "", "", "");
  };
  for (const Case& row : {
           Case{none(), false, false},
           Case{none().quarantineControl("a", ""), true, false},
           Case{none().quarantineControl("", "a"), true, false},
           Case{none().bayesianControl("train.example", "", "", "", ""), false, false},
           Case{none().bayesianControl("", "a", "", "", ""), false, true},
           Case{none().bayesianControl("", "", "a", "", ""), false, true},
           Case{none().bayesianControl("", "", "", "a", ""), false, true},
           Case{none().bayesianControl("", "", "", "", "a"), false, true},
       }) {
    put(row.record);
    reload();
    const QuarantineControlSettings quarantine = *ProfileAntiSpam::quarantineControlSettings(false);
    const BayesianSystemSettings bayesian = *ProfileAntiSpam::bayesianSystemSettings(false);
    SCOPED_TRACE(quarantine.first + "," + quarantine.second + ";" + bayesian.domain + "," +
                 bayesian.account1 + "," + bayesian.account2 + "," + bayesian.account3 + "," +
                 bayesian.account4);
    EXPECT_EQ(quarantine.isConfigured(), row.quarantine);
    EXPECT_EQ(bayesian.isConfigured(), row.bayesian);
  }
}

TEST(ControlAccount, IsRecognisedByItsLocalPart) {
  put(SystemAntispamRecord()
          .quarantineControl("release", "delete")
          .bayesianControl("train.example", "is-spam", "not-spam", "learn-spam", "learn-ham"));
  reload();
  struct Case {
    const char* address;
    unsigned int type;
  };
  for (const Case& row : {
           Case{"release@example.com", 2},
           Case{"delete@example.com", 2},
           Case{"is-spam@example.com", 1},
           Case{"not-spam@example.com", 1},
           Case{"learn-spam@example.com", 1},
           Case{"learn-ham@other.example", 1},
           Case{"Release@example.com", 2},  // letter case is ignored
           Case{"LEARN-HAM@example.com", 1},
           Case{"user@example.com", 0},
           Case{"release2@example.com", 0},
           Case{"releas@example.com", 0},
           Case{"train.example@example.com", 0},  // the text of the domain field is not an account
           Case{"user@train.example", 0},
       }) {
    SCOPED_TRACE(row.address);
    EXPECT_EQ(accountType(row.address), row.type);
  }
}

TEST(ControlAccount, QuarantineComesBeforeTraining) {
  put(SystemAntispamRecord()
          .quarantineControl("a", "both")
          .bayesianControl("", "both", "b", "", ""));
  reload();
  EXPECT_EQ(accountType("both@example.com"), 2u);
  EXPECT_EQ(accountType("b@example.com"), 1u);
}

TEST(ControlAccount, NullAddressIsAnyAccountThatIsNotConfigured) {
  put(SystemAntispamRecord().quarantineControl("", "").bayesianControl("", "", "", "", ""));
  reload();
  EXPECT_EQ(ProfileAntiSpam::controlAccountType(EmailAddress()), 2u);
  put(SystemAntispamRecord().quarantineControl("a", "b").bayesianControl("", "", "c", "d", "e"));
  reload();
  EXPECT_EQ(ProfileAntiSpam::controlAccountType(EmailAddress()), 1u);
  put(SystemAntispamRecord().quarantineControl("a", "b").bayesianControl("", "c", "d", "e", "f"));
  reload();
  EXPECT_EQ(ProfileAntiSpam::controlAccountType(EmailAddress()), 0u);
}
