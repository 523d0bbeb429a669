// The bytes of the journal, and what damaged ones are read as.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "StoreRecords.h"
#include "platform/config/store/Checksum.h"
#include "platform/config/store/JournalFormat.h"

namespace Kestrav::Config {
namespace {

using namespace StoreTesting;
using std::chrono::microseconds;

constexpr G_CLI_GID kGid = static_cast<G_CLI_GID>(0x01020304);

const struct {
  const char* what;
  RecordChange change;
} kChanges[] = {
    {"added", {kGid, 5, 6, {}, "new", {}, 0}},
    {"added before another", {kGid, 5, 6, {}, "new", {}, 9}},
    {"erased", {kGid, 5, 6, "old", {}, 7, {}}},
    {"changed", {kGid, 5, 6, "old", "new", {}, {}}},
    {"moved", {kGid, 5, 6, "row", "row", 0, 0xffff'ffff}},
    {"moved and changed", {kGid, 0xffff'ffff, 0xffff'ffff, "old", "new", 7, 0}},
    {"equal rows", {kGid, 0, 0, "row", "row", {}, {}}},
    {"empty rows", {kGid, 0, 0, "", "", {}, {}}},
    {"an empty row instead of one", {kGid, 0, 0, "row", "", {}, {}}},
    {"one instead of an empty row", {kGid, 0, 0, "", "row", {}, {}}},
};

RevisionHead head(const std::string& user, const std::string& origin) {
  RevisionHead head;
  head.time += microseconds(1'700'000'000'123'456);
  head.uid = 1001;
  head.user = user;
  head.origin = origin;
  head.originRevision = 0x1122334455667788;
  head.changes = 3;
  return head;
}

bool sameHead(const RevisionHead& a, const RevisionHead& b) {
  return std::tie(a.time, a.uid, a.user, a.origin, a.originRevision, a.changes) ==
         std::tie(b.time, b.uid, b.user, b.origin, b.originRevision, b.changes);
}

TEST(JournalFormat, BringsEntriesBack) {
  for (const auto& [what, change] : kChanges) {
    SCOPED_TRACE(what);
    const std::string bytes = encodeEntry(change);
    const auto read = decodeEntry(bytes);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->gid, change.gid);
    EXPECT_EQ(read->domain, change.domain);
    EXPECT_EQ(read->id, change.id);
    EXPECT_EQ(read->before, change.before);
    EXPECT_EQ(read->after, change.after);
    EXPECT_EQ(read->nextBefore, change.nextBefore);
    EXPECT_EQ(read->nextAfter, change.nextAfter);
    EXPECT_FALSE(decodeHead(bytes));
  }
}

TEST(JournalFormat, BringsHeadsBack) {
  for (const std::string& user : {std::string(), std::string("root"), std::string(32, 'u')}) {
    for (const std::string& origin : {std::string(), std::string("fleet"), std::string(255, 'o')}) {
      SCOPED_TRACE(user + " " + origin);
      const std::string bytes = encodeHead(head(user, origin));
      const auto read = decodeHead(bytes);
      ASSERT_TRUE(read);
      EXPECT_TRUE(sameHead(*read, head(user, origin)));
      EXPECT_FALSE(decodeEntry(bytes));
    }
  }
}

TEST(JournalFormat, TimesBeforeTheEpochAreKept) {
  RevisionHead early;
  early.time -= microseconds(1);
  EXPECT_EQ(decodeHead(encodeHead(early))->time, early.time);
}

TEST(JournalFormat, NamesThatAreTooLongAreCutOff) {
  const auto read = decodeHead(encodeHead(head(std::string(40, 'u'), std::string(300, 'o'))));
  ASSERT_TRUE(read);
  EXPECT_EQ(read->user, std::string(32, 'u'));
  EXPECT_EQ(read->origin, std::string(255, 'o'));
}

TEST(JournalFormat, TheBytesOfAnEntryAreFixed) {
  const struct {
    RecordChange change;
    const char* bytes;
  } cases[] = {
      {{kGid, 5, 6, "old", "new", 7, 8},
       "01021b00"
       "04030201"
       "05000000"
       "06000000"
       "07000000"
       "08000000"
       "03000000"
       "6f6c64"
       "6e6577"
       "ba4263e1b4baaceb"},
      {{kGid, 5, 6, "row", "row", {}, 0},
       "01021700"
       "04030201"
       "05000000"
       "06000000"
       "00000000"
       "00000000"
       "03000000"
       "726f77"
       "ec02cfeaad227a72"},
      {{kGid, 5, 6, {}, "new", {}, {}},
       "01020200"
       "04030201"
       "05000000"
       "06000000"
       "00000000"
       "00000000"
       "00000000"
       "6e6577"
       "68fa8327b82ef909"},
  };
  for (const auto& [change, bytes] : cases) {
    SCOPED_TRACE(bytes);
    EXPECT_EQ(hex(encodeEntry(change)), bytes);
  }
}

TEST(JournalFormat, TheBytesOfAHeadAreFixed) {
  EXPECT_EQ(hex(encodeHead(head("root", "fleet"))),
            "01010405"
            "e9030000"
            "40222018240a0600"
            "8877665544332211"
            "03000000"
            "726f6f74"
            "666c656574"
            "ea2f74bc089404a6");
}

TEST(JournalFormat, DamagedBytesAreNone) {
  std::vector<std::string> values = {encodeHead(head("root", "fleet"))};
  for (const auto& entry : kChanges) values.push_back(encodeEntry(entry.change));
  for (const std::string& value : values) {
    SCOPED_TRACE(hex(value));
    for (std::size_t size = 0; size < value.size(); ++size) {
      const std::string_view start = std::string_view(value).substr(0, size);
      ASSERT_FALSE(decodeEntry(start) || decodeHead(start)) << size;
    }
    ASSERT_FALSE(decodeEntry(value + "x") || decodeHead(value + "x"));
    for (std::size_t bit = 0; bit < value.size() * 8; ++bit) {
      std::string changed = value;
      changed[bit / 8] = static_cast<char>(changed[bit / 8] ^ 1 << bit % 8);
      ASSERT_FALSE(decodeEntry(changed) || decodeHead(changed)) << bit;
    }
  }
}

// With a right checksum, only what the encoders write is read.
TEST(JournalFormat, ForgedBytesAreReadOnlyWhenTheyCouldHaveBeenWritten) {
  std::vector<std::string> values = {encodeHead(head("root", "fleet"))};
  for (const auto& entry : kChanges) values.push_back(encodeEntry(entry.change));
  std::mt19937 random(1);
  int entries = 0;
  int heads = 0;
  for (int round = 0; round < 50'000; ++round) {
    std::string bytes = values[random() % values.size()];
    bytes.resize(bytes.size() - kChecksumSize);
    for (unsigned i = 0, count = random() % 4; i < count; ++i) {
      bytes[random() % bytes.size()] =
          static_cast<char>(random() % 2 == 0 ? random() : random() % 8);
    }
    if (random() % 4 == 0) bytes.resize(random() % (bytes.size() + 1));
    appendChecksum(bytes);
    if (const auto entry = decodeEntry(bytes)) {
      ++entries;
      ASSERT_EQ(hex(encodeEntry(*entry)), hex(bytes));
    }
    if (const auto read = decodeHead(bytes)) {
      ++heads;
      ASSERT_EQ(hex(encodeHead(*read)), hex(bytes));
    }
  }
  EXPECT_GT(entries, 0);
  EXPECT_GT(heads, 0);
}

TEST(JournalFormat, AnotherVersionIsNotRead) {
  for (std::string bytes : {encodeHead(head("root", "")), encodeEntry(kChanges[0].change)}) {
    bytes.resize(bytes.size() - kChecksumSize);
    bytes[0] = 2;
    appendChecksum(bytes);
    EXPECT_FALSE(decodeHead(bytes) || decodeEntry(bytes));
  }
}

}  // namespace
}  // namespace Kestrav::Config
