// Rows: the bytes of a record in the store, and what damaged ones are read as.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "StoreRecords.h"
#include "platform/config/records/Field.h"
#include "platform/config/records/Tables.h"
#include "platform/config/store/Checksum.h"
#include "platform/config/store/RowCodec.h"

namespace Kestrav::Config {
namespace {

using ::testing::HasSubstr;
using namespace StoreTesting;

// Lists within lists, a list in an embedded record, and an array.
struct Leaf {
  std::uint32_t value;
};
struct Branch {
  std::uint64_t leafCount;
  const Leaf* leaves;
  std::uint32_t id;
  std::uint32_t reserved;
};
struct Extra {
  std::uint64_t count;
  const Leaf* leaves;
};
struct Tree {
  char name[100];
  std::uint32_t id;
  std::uint64_t branchCount;
  const Branch* branches;
  Extra extra;
  std::uint64_t pairCount;
  Extra pairs[2];
  std::uint64_t fewCount;
  const Leaf* few;
};

const Field kLeafFields[] = {{.name = "value", .offset = 0, .size = 4, .kind = Kind::kUnsigned}};
const RecordType kLeaf{.name = "Leaf", .size = sizeof(Leaf), .fields = kLeafFields};
const Field kBranchFields[] = {
    {.name = "leaves", .offset = 0, .size = 16, .kind = Kind::kList, .element = &kLeaf},
    {.name = "id", .offset = 16, .size = 4, .kind = Kind::kId},
    {.name = "reserved", .offset = 20, .size = 4, .kind = Kind::kReserved}};
const RecordType kBranch{.name = "Branch", .size = sizeof(Branch), .fields = kBranchFields};
const Field kExtraFields[] = {
    {.name = "leaves", .offset = 0, .size = 16, .kind = Kind::kList, .element = &kLeaf}};
const RecordType kExtra{.name = "Extra", .size = sizeof(Extra), .fields = kExtraFields};
const Field kTreeFields[] = {
    {.name = "name", .offset = 0, .size = 100, .kind = Kind::kText, .defaultText = "oak"},
    {.name = "id", .offset = offsetof(Tree, id), .size = 4, .kind = Kind::kId},
    {.name = "branches",
     .offset = offsetof(Tree, branchCount),
     .size = 16,
     .kind = Kind::kList,
     .element = &kBranch},
    {.name = "extra",
     .offset = offsetof(Tree, extra),
     .size = 16,
     .kind = Kind::kStruct,
     .element = &kExtra},
    {.name = "pairs",
     .offset = offsetof(Tree, pairCount),
     .size = 40,
     .kind = Kind::kArray,
     .element = &kExtra,
     .capacity = 2},
    {.name = "few",
     .offset = offsetof(Tree, fewCount),
     .size = 16,
     .kind = Kind::kList,
     .element = &kLeaf,
     .capacity = 3}};
const RecordType kTree{.name = "Tree", .size = sizeof(Tree), .fields = kTreeFields};
const Table kTrees{.gid = static_cast<G_CLI_GID>(5),
                   .key = "trees",
                   .singular = "tree",
                   .type = &kTree,
                   .scope = Scope::kSystemList,
                   .idOffset = offsetof(Tree, id),
                   .nameOffset = 0,
                   .help = ""};

constexpr Leaf kLeaves[] = {{1}, {2}, {3}, {4}, {5}};
constexpr Branch kBranches[] = {{2, kLeaves, 11, 0}, {0, kLeaves, 12, 0}, {3, kLeaves + 2, 13, 0}};

Tree tree() {
  Tree record{};
  std::strcpy(record.name, "elm");
  record.id = 77;
  record.branchCount = 3;
  record.branches = kBranches;
  record.extra = {1, kLeaves + 4};
  record.pairCount = 1;
  record.pairs[0] = {2, kLeaves + 1};
  record.pairs[1] = {9, nullptr};  // not counted: a leftover
  record.fewCount = 3;
  record.few = kLeaves;
  return record;
}

StoredRecord decoded(std::string_view row, std::string* reason = nullptr) {
  std::string why;
  StoredRecord record = RowCodec::decode(kTrees, 3, 77, row, why);
  if (reason != nullptr) *reason = why;
  return record;
}

std::vector<std::uint32_t> values(const Leaf* leaves, std::uint64_t count) {
  std::vector<std::uint32_t> found;
  for (std::uint64_t i = 0; i < count; ++i) found.push_back(leaves[i].value);
  return found;
}

TEST(Checksum, IsXxh3) {
  std::string bytes;
  appendChecksum(bytes);
  EXPECT_EQ(hex(bytes), "c294d3380580062d") << "of no bytes, as its authors publish it";
  std::string_view whole = bytes;
  EXPECT_TRUE(takeChecksum(whole));
  EXPECT_EQ(whole, "");
  EXPECT_FALSE(takeChecksum(whole)) << "there is no other one";
}

TEST(RowCodec, BringsListsBackAtEveryDepth) {
  const Tree record = tree();
  const StoredRecord stored = decoded(RowCodec::encode(kTrees, &record));
  ASSERT_TRUE(stored);
  EXPECT_EQ(stored.id(), 77u);
  EXPECT_EQ(stored.domain(), 3u);
  const auto* read = stored.as<Tree>();
  EXPECT_STREQ(read->name, "elm");
  ASSERT_EQ(read->branchCount, 3u);
  EXPECT_THAT(values(read->branches[0].leaves, read->branches[0].leafCount),
              testing::ElementsAre(1, 2));
  EXPECT_EQ(read->branches[1].leafCount, 0u);
  EXPECT_EQ(read->branches[1].leaves, nullptr) << "an empty list has no address";
  EXPECT_THAT(values(read->branches[2].leaves, read->branches[2].leafCount),
              testing::ElementsAre(3, 4, 5));
  EXPECT_THAT(values(read->extra.leaves, read->extra.count), testing::ElementsAre(5));
  EXPECT_EQ(read->pairCount, 1u);
  EXPECT_THAT(values(read->pairs[0].leaves, read->pairs[0].count), testing::ElementsAre(2, 3));
  EXPECT_EQ(read->pairs[1].count, 0u);
  EXPECT_THAT(values(read->few, read->fewCount), testing::ElementsAre(1, 2, 3));
  for (const void* list :
       {static_cast<const void*>(read->branches), static_cast<const void*>(read->few),
        static_cast<const void*>(read->branches[2].leaves)}) {
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(list) % 8, 0u);
  }
}

TEST(RowCodec, EqualRecordsGiveEqualRows) {
  const Tree record = tree();
  const std::string row = RowCodec::encode(kTrees, &record);
  EXPECT_EQ(RowCodec::encode(kTrees, decoded(row).data()), row) << "addresses do not count";
}

TEST(RowCodec, EmptySpaceTakesNoRoom) {
  const Tree record{};
  EXPECT_LT(RowCodec::encode(kTrees, &record).size(), 16u + kChecksumSize);
}

TEST(RowCodec, RefusesWhatItsTableDoesNotDescribe) {
  struct Case {
    const char* what;
    void (*spoil)(Tree&);
    const char* message;
  };
  const Case cases[] = {
      {"null list", [](Tree& t) { t.branches = nullptr; }, "field branches: count 3 with a null"},
      {"too many", [](Tree& t) { t.fewCount = 4; }, "field few: count 4 is above the limit of 3"},
      {"array", [](Tree& t) { t.pairCount = 3; }, "field pairs: count 3 is above the limit of 2"},
      {"nested null", [](Tree& t) { t.extra.leaves = nullptr; },
       "field leaves: count 1 with a null"},
      {"huge", [](Tree& t) { t.branchCount = ~std::uint64_t{0}; }, "makes the record too large"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    Tree record = tree();
    c.spoil(record);
    try {
      RowCodec::encode(kTrees, &record);
      ADD_FAILURE() << "accepted";
    } catch (const Exception& exception) {
      EXPECT_EQ(exception.code(), StoreError::kBadRecord);
      EXPECT_THAT(exception.message(), HasSubstr(c.message));
      EXPECT_THAT(exception.message(), HasSubstr("trees"));
    }
  }
}

TEST(RowCodec, ARowThatIsCutOffIsNone) {
  const Tree record = tree();
  const std::string row = RowCodec::encode(kTrees, &record);
  for (std::size_t size = 0; size < row.size(); ++size) {
    std::string reason;
    EXPECT_FALSE(decoded(std::string_view(row).substr(0, size), &reason)) << size;
    EXPECT_NE(reason, "");
  }
  EXPECT_FALSE(decoded(row + "x"));
}

TEST(RowCodec, ARowOfAnotherShapeIsNone) {
  const Tree record = tree();
  std::string row = RowCodec::encode(kTrees, &record);
  Table other = kTrees;
  other.type = &kBranch;
  std::string reason;
  EXPECT_FALSE(RowCodec::decode(other, 0, 1, row, reason));
  EXPECT_THAT(reason, HasSubstr("24"));
  row[0] = 9;
  EXPECT_FALSE(decoded(row, &reason));
  EXPECT_THAT(reason, HasSubstr("format"));
}

TEST(RowCodec, TheBytesOfARowAreFixed) {
  Item record = item(2, "two");
  record.score = 0x1234;
  record.enabled = 1;
  record.dictionary_id = 7;
  const Table& table = *findTable(kItems);
  const std::string row = RowCodec::encode(table, &record);
  EXPECT_EQ(hex(row),
            "0294029402"                    // version; 276 bytes, all of them in the fixed part
            "0374776fff01"                  // 3 bytes, 255 zeros
            "02341204"                      // 2 bytes, 4 zeros
            "0c01000000020000000700000000"  // 12 bytes, no zeros
            "f2b22c2e65f3b632");            // checksum
  std::string reason;
  const StoredRecord read = RowCodec::decode(table, 0, 2, row, reason);
  ASSERT_TRUE(read) << reason;
  EXPECT_EQ(std::memcmp(read.data(), &record, sizeof record), 0);
}

TEST(RowCodec, ADamagedBitIsDetectedAtEachOffset) {
  const Tree record = tree();
  const std::string row = RowCodec::encode(kTrees, &record);
  for (std::size_t bit = 0; bit < row.size() * 8; ++bit) {
    std::string changed = row;
    changed[bit / 8] = static_cast<char>(changed[bit / 8] ^ 1 << bit % 8);
    std::string reason;
    ASSERT_FALSE(decoded(changed, &reason)) << bit;
    EXPECT_THAT(reason, HasSubstr(bit < 8 ? "format" : "checksum"));
  }
}

// Rows with a right checksum that no encoder wrote.
TEST(RowCodec, ForgedRowsAreReadOrRefusedButNeverBeyondTheirEnd) {
  const Tree record = tree();
  std::string row = RowCodec::encode(kTrees, &record);
  row.resize(row.size() - kChecksumSize);
  std::mt19937 random(1);
  int read = 0;
  for (int round = 0; round < 20'000; ++round) {
    std::string changed = row;
    for (unsigned i = 0; i <= random() % 3; ++i) {
      changed[random() % changed.size()] = static_cast<char>(random());
    }
    appendChecksum(changed);
    const StoredRecord stored = decoded(changed);
    if (!stored) continue;
    ++read;
    // The result is a record: it can be written again, lists and all.
    const auto* found = stored.as<Tree>();
    if (found->fewCount <= 3 && found->pairCount <= 2) {
      EXPECT_NE(RowCodec::encode(kTrees, stored.data()), "");
    }
  }
  EXPECT_GT(read, 0);
}

TEST(RowCodec, RoundTripsAnyBytes) {
  std::mt19937 random(2);
  const Field fields[] = {{.name = "bytes", .offset = 0, .size = 500, .kind = Kind::kReserved}};
  const RecordType type{.name = "Bytes", .size = 500, .fields = fields};
  Table table = kTrees;
  table.type = &type;
  for (int round = 0; round < 2000; ++round) {
    std::string bytes(500, '\0');
    for (unsigned i = 0, runs = random() % 12; i < runs; ++i) {
      const std::size_t at = random() % 500;
      const std::size_t length = random() % 40;
      for (std::size_t k = at; k < std::min<std::size_t>(500, at + length); ++k) {
        bytes[k] = static_cast<char>(random() % 3);  // zeros among them
      }
    }
    std::string reason;
    const StoredRecord stored =
        RowCodec::decode(table, 0, 1, RowCodec::encode(table, bytes.data()), reason);
    ASSERT_TRUE(stored) << reason;
    ASSERT_EQ(std::memcmp(stored.data(), bytes.data(), 500), 0);
  }
}

TEST(RowCodec, DefaultsComeFromTheFields) {
  const StoredRecord record = RowCodec::defaults(kTrees);
  EXPECT_STREQ(record.as<Tree>()->name, "oak");
  EXPECT_EQ(record.as<Tree>()->branchCount, 0u);
}

}  // namespace
}  // namespace Kestrav::Config
