// The field tables are complete and consistent, and every field can be set and read.
#include <gtest/gtest.h>

#include <cstddef>
#include <set>
#include <string>
#include <vector>

#include "platform/config/records/FieldAccess.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/OwnedRecord.h"
#include "platform/config/records/Tables.h"

using namespace Kestrav::Config;

namespace {

// Every record type that a table or a record of a table holds.
std::vector<const RecordType*> allTypes() {
  std::vector<const RecordType*> types;
  for (const Table& table : tables()) types.push_back(table.type);
  for (std::size_t i = 0; i < types.size(); ++i) {
    for (const Field& field : types[i]->fields) {
      if (field.element == nullptr) continue;
      bool known = false;
      for (const RecordType* type : types) known = known || type == field.element;
      if (!known) types.push_back(field.element);
    }
  }
  return types;
}

std::string sampleText(const Field& field) {
  return std::string(field.size - 1, 'x');
}

}  // namespace

TEST(RecordTables, EveryFieldTableCoversEveryByteOnce) {
  for (const RecordType* type : allTypes()) EXPECT_TRUE(coversEveryByte(*type)) << type->name;
}

TEST(RecordTables, AGapAnOverlapAndAShortTableAreNoticed) {
  const Field gap[] = {{.name = "a", .offset = 0, .size = 4},
                       {.name = "b", .offset = 8, .size = 4}};
  EXPECT_FALSE(coversEveryByte({"gap", 12, gap}));
  const Field overlap[] = {{.name = "a", .offset = 0, .size = 4},
                           {.name = "b", .offset = 2, .size = 4}};
  EXPECT_FALSE(coversEveryByte({"overlap", 6, overlap}));
  const Field brief[] = {{.name = "a", .offset = 0, .size = 4}};
  EXPECT_FALSE(coversEveryByte({"short", 8, brief}));
  EXPECT_TRUE(coversEveryByte({"exact", 4, brief}));
}

TEST(RecordTables, NumbersAndKeysAreUnique) {
  std::set<int> numbers;
  std::set<std::string_view> keys;
  for (const Table& table : tables()) {
    EXPECT_TRUE(numbers.insert(table.gid).second) << table.key;
    EXPECT_TRUE(keys.insert(table.key).second) << table.key;
    EXPECT_EQ(findTable(table.gid), &table);
    EXPECT_EQ(findTableByKey(table.key), &table);
  }
  EXPECT_EQ(tables().size(), 39u);
  EXPECT_EQ(findTable(static_cast<G_CLI_GID>(1)), nullptr);
  EXPECT_EQ(findTableByKey("antispam-profile"), nullptr);
}

// Stores and journals hold the numbers; other programs are built with the type names.
TEST(RecordTables, NumbersHoldTheirTypes) {
  const struct {
    unsigned int gid;
    const char* type;
  } fixed[] = {
      {17, "__aps_mail_disclaimer"},
      {199, "__qv_ip_profile"},
      {363, "__aps_fasmilter"},
      {377, "__aps_gw_av_profile"},
      {446, "__aps_ip_mask_string"},
      {448, "__aps_ip_mask_string"},
      {456, "__aps_gw_as_profile"},
      {512, "__aps_gw_content_profile"},
      {617, "__aps_mailserver"},
      {732, "__aps_sys_global"},
      {733, "__aps_gw_server"},
      {801, "__aps_sys_antispam"},
      {862, "__vexa_dictionary"},
      {864, "__vexa_dictionary_item"},
      {871, "__vexa_dictionary_group"},
      {898, "__vexa_dictionary_group_item"},
      {901, "__aps_antispam_action"},
      {916, "__aps_content_action"},
      {948, "__vexa_encryption_profile"},
      {956, "__vexa_certificate_binding"},
      {1194, "__vexa_email_address_group"},
      {1198, "__vexa_ip_address_group"},
      {1229, "__aps_cmsg_type"},
      {1251, "aps_antivirus_action"},
      {1339, "__aps_profile_notification"},
      {1382, "__aps_mail_disclaimer_exclude"},
      {1418, "__aps_vip_map"},
      {1441, "__aps_acl_ruleset"},
      {1511, "__vexa_bounce_profile"},
      {1528, "__aps_as_wf_profile"},
      {1593, "__aps_sandbox_configuration_t"},
      {1682, "__aps_systemquarantine_folders"},
      {1726, "__aps_attachment_signature"},
      {1782, "__attachment_file_pattern"},
      {1832, "__aps_dlp_profile"},
  };
  for (const auto& row : fixed) {
    SCOPED_TRACE(row.gid);
    const Table* table = findTable(static_cast<G_CLI_GID>(row.gid));
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->type->name, row.type);
  }
}

TEST(RecordTables, IdAndNameOffsetsAreThoseOfTheFields) {
  for (const Table& table : tables()) {
    SCOPED_TRACE(table.key);
    if (table.scope == Scope::kSystemSingle) continue;
    const Field* id = findField(*table.type, "id");
    ASSERT_NE(id, nullptr);
    EXPECT_EQ(id->kind, Kind::kId);
    EXPECT_EQ(id->offset, table.idOffset);
    EXPECT_EQ(id->size, 4u);
    if (table.nameOffset == kNoName) continue;
    bool found = false;
    for (const Field& field : table.type->fields) {
      if (field.offset != table.nameOffset) continue;
      found = true;
      EXPECT_EQ(field.kind, Kind::kText);
      EXPECT_TRUE(field.required);
    }
    EXPECT_TRUE(found);
  }
}

TEST(RecordTables, ReferencesNameTablesThatHaveNames) {
  for (const RecordType* type : allTypes()) {
    for (const Field& field : type->fields) {
      if (field.kind != Kind::kReference && field.kind != Kind::kTextReference) continue;
      SCOPED_TRACE(std::string(type->name) + "." + std::string(field.name));
      const Table* target = findTable(field.target);
      ASSERT_NE(target, nullptr);
      EXPECT_NE(target->nameOffset, kNoName);
      for (const G_CLI_GID other : field.alternatives) EXPECT_NE(findTable(other), nullptr);
    }
  }
}

TEST(RecordTables, RecordsInsideOthersNameTheirOwner) {
  const Table* items = findNestedTable(GID_DICTIONARY, "items");
  ASSERT_NE(items, nullptr);
  EXPECT_EQ(items->gid, GID_DICTIONARY_ITEM);
  for (const Table& table : tables()) {
    if (table.owner == 0) continue;
    const Field* owner = findField(*table.type, table.ownerField);
    ASSERT_NE(owner, nullptr) << table.key;
    EXPECT_EQ(owner->target, table.owner);
  }
  EXPECT_EQ(findNestedTable(GID_DICTIONARY, "words"), nullptr);
}

TEST(RecordTables, DefaultsRoundTrip) {
  for (const RecordType* type : allTypes()) {
    SCOPED_TRACE(type->name);
    OwnedRecord record(*type);
    for (const Field& field : type->fields) {
      EXPECT_TRUE(holdsDefault(*type, field, record.data())) << field.name;
    }
    const OwnedRecord again(*type, record.data());
    EXPECT_TRUE(sameRecord(*type, record.data(), again.data()));
  }
}

TEST(RecordTables, EveryFieldCanBeSetAndRead) {
  for (const RecordType* type : allTypes()) {
    OwnedRecord record(*type);
    for (const Field& field : type->fields) {
      SCOPED_TRACE(std::string(type->name) + "." + std::string(field.name));
      switch (field.kind) {
        case Kind::kText:
        case Kind::kTextReference:
          ASSERT_TRUE(writeText(field, record.data(), sampleText(field)));
          break;
        case Kind::kBool:
        case Kind::kBit:
          ASSERT_TRUE(writeNumber(field, record.data(), field.defaultValue == 0));
          break;
        case Kind::kUnsigned:
        case Kind::kSigned:
        case Kind::kEnum:
        case Kind::kReference:
        case Kind::kId:
        case Kind::kDomain:
        case Kind::kConfigurationDomain:
          ASSERT_TRUE(writeNumber(field, record.data(), field.defaultValue + 3));
          break;
        case Kind::kFloat:
          writeReal(field, record.data(), 12.5);
          break;
        case Kind::kAddressMask:
          ASSERT_TRUE(writeMask(field, record.data(), "192.0.2.0/24"));
          break;
        case Kind::kList:
        case Kind::kArray:
          ASSERT_NE(record.append(field), nullptr);
          break;
        case Kind::kStruct:
        case Kind::kReserved:
          break;
      }
    }
    // Read back after everything is set: no field may change another.
    for (const Field& field : type->fields) {
      SCOPED_TRACE(std::string(type->name) + "." + std::string(field.name));
      switch (field.kind) {
        case Kind::kText:
        case Kind::kTextReference:
          EXPECT_EQ(readText(field, record.data()), sampleText(field));
          break;
        case Kind::kBool:
        case Kind::kBit:
          EXPECT_EQ(readNumber(field, record.data()), field.defaultValue == 0);
          break;
        case Kind::kUnsigned:
        case Kind::kSigned:
        case Kind::kEnum:
        case Kind::kReference:
        case Kind::kId:
        case Kind::kDomain:
        case Kind::kConfigurationDomain:
          EXPECT_EQ(readNumber(field, record.data()), field.defaultValue + 3);
          break;
        case Kind::kFloat:
          EXPECT_EQ(readReal(field, record.data()), 12.5);
          break;
        case Kind::kAddressMask:
          EXPECT_EQ(readMask(field, record.data()), "192.0.2.0/24");
          break;
        case Kind::kList:
        case Kind::kArray:
          EXPECT_EQ(readEntries(field, record.data()).count, 1u);
          break;
        case Kind::kStruct:
        case Kind::kReserved:
          EXPECT_TRUE(holdsDefault(*type, field, record.data()));
          break;
      }
    }
  }
}
