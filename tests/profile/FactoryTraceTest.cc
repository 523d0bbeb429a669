// The factory's trace: what it logs when a profile is dropped.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "platform/common/LogCodes.h"
#include "platform/config/records/AntivirusRecords.h"
#include "platform/config/records/ContentRecords.h"
#include "platform/config/records/DeliveryRecords.h"
#include "platform/config/records/QuarantineRecords.h"
#include "platform/config/records/SessionRecords.h"
#include "platform/config/records/WebFilterRecords.h"
#include "tests/profile/Factory.h"
#include "tests/profile/Gateway.h"
#include "tests/support/AntispamRecords.h"

using namespace Kestrav;
using namespace Kestrav::Testing;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// Sets the dispatcher's trace level while it lives.
class TraceLevel {
 public:
  explicit TraceLevel(unsigned int level) { dispatcher()->trace(level); }
  ~TraceLevel() { dispatcher()->trace(0); }
};

template <class Rec>
void update(int id, const char* name) {
  if (name == nullptr) {
    return drop<Rec>(static_cast<std::uint32_t>(id));
  }
  Rec record;
  std::memset(static_cast<void*>(&record), 0, sizeof(record));
  std::strcpy(reinterpret_cast<char*>(&record), name);
  factory().update(0, id, &record);
}

struct Kind {
  const char* what;
  void (*update)(int id, const char* name);
  std::uint32_t code;  // 0 when nothing is logged
};

const Kind kKinds[] = {
    {"antispam", &update<__aps_gw_as_profile>, 0x30001C1},
    {"antivirus", &update<__aps_gw_av_profile>, 0},
    {"encryption", &update<__vexa_encryption_profile>, 0},
    {"notification", &update<__aps_profile_notification>, 0},
    {"content", &update<__aps_gw_content_profile>, 0x30001C3},
    {"dlp", &update<__aps_dlp_profile>, 0x3000239},
    {"file pattern", &update<__attachment_file_pattern>, 0x300023A},
    {"web filter", &update<__aps_as_wf_profile>, 0x30001C4},
    {"session", &update<__qv_ip_profile>, 0x30001C4},
    {"quarantine folder", &update<__aps_systemquarantine_folders>, 0},
};

}  // namespace

TEST(FactoryTrace, IdAndNameAreLoggedAboveLevelTwo) {
  for (const Kind& kind : kKinds) {
    SCOPED_TRACE(kind.what);
    const TraceLevel details(3);
    const LogCapture log;
    kind.update(42, "the name");
    if (kind.code == 0) {
      EXPECT_THAT(log.codes(), IsEmpty());
    } else {
      EXPECT_THAT(log.codes(), ElementsAre(kind.code));
      EXPECT_THAT(log.fields(kind.code), ElementsAre(ElementsAre("42", "the name")));
    }
  }
}

TEST(FactoryTrace, NothingIsLoggedUpToLevelTwo) {
  for (const unsigned int level : {0u, 1u, 2u}) {
    for (const Kind& kind : kKinds) {
      SCOPED_TRACE(kind.what);
      const TraceLevel details(level);
      const LogCapture log;
      kind.update(42, "the name");
      EXPECT_THAT(log.codes(), IsEmpty());
    }
  }
}

TEST(FactoryTrace, DeletedRecordHasNoName) {
  for (const Kind& kind : kKinds) {
    if (kind.code == 0) continue;
    SCOPED_TRACE(kind.what);
    const TraceLevel details(3);
    const LogCapture log;
    kind.update(-7, nullptr);
    EXPECT_THAT(log.fields(kind.code), ElementsAre(ElementsAre("-7", "(null)")));
  }
}

TEST(FactoryTrace, IsWrittenForUncachedProfilesTooWhenARecordChanges) {
  factory();
  const std::uint32_t id = freshId();
  const TraceLevel details(3);
  const LogCapture log;
  put(AntispamRecord(id).name("new one"));
  erase(GID_ANTISPAM_PROFILE, id);
  EXPECT_THAT(log.fields(LogCode::kAntispamProfileUpdate),
              ElementsAre(ElementsAre(std::to_string(id), "new one"),
                          ElementsAre(std::to_string(id), "(null)")));
}
