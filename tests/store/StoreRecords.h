// Records and queries that the store's tests share.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "platform/common/Exception.h"
#include "platform/config/records/DictionaryRecords.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/PolicyRecords.h"
#include "platform/config/records/SystemRecords.h"
#include "platform/config/store/ConfigStore.h"

namespace Kestrav::Config::StoreTesting {

// A system table of small records, and one whose records also belong to domains.
inline constexpr G_CLI_GID kItems = GID_DICTIONARY_ITEM;
inline constexpr G_CLI_GID kPolicies = GID_INCOMING_POLICY;
using Item = __vexa_dictionary_item;
using Policy = __vexa_recipient_policy;

inline Item item(std::uint32_t id, const std::string& text) {
  Item record{};
  record.id = id;
  std::snprintf(record.text, sizeof record.text, "%s", text.c_str());
  return record;
}

inline Policy policy(std::uint32_t id) {
  Policy record{};
  record.id = id;
  return record;
}

inline std::string hex(std::string_view bytes) {
  std::string text;
  for (const char c : bytes) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned char>(c));
    text += digits;
  }
  return text;
}

// One revision with these records at the end of the items; their texts are their ids.
inline Revision putAll(ConfigStore& store, const std::vector<std::uint32_t>& ids) {
  ChangeSet changes;
  for (std::uint32_t id : ids) {
    const Item record = item(id, std::to_string(id));
    changes.put(kItems, 0, &record);
  }
  return store.commit(std::move(changes));
}

inline std::vector<std::uint32_t> idsOf(const Snapshot& snapshot, G_CLI_GID gid, ngid_t domain) {
  std::vector<std::uint32_t> ids;
  snapshot.walk(gid, domain, [&ids](const StoredRecord& record) {
    ids.push_back(record.id());
    return true;
  });
  return ids;
}

// Entries of the items as "revision: table/domain/id before after", '-' for no record.
inline std::vector<std::string> journalOf(ConfigStore& store, Revision after = 0,
                                          Revision upTo = ~Revision{0}) {
  std::vector<std::string> lines;
  const auto text = [](const StoredRecord& record) -> std::string {
    return record ? record.as<Item>()->text : "-";
  };
  EXPECT_TRUE(store.journal(after, upTo, [&](const JournalEntry& entry) {
    lines.push_back(std::to_string(entry.revision) + ": " + std::to_string(entry.gid) + "/" +
                    std::to_string(entry.domain) + "/" + std::to_string(entry.id) + " " +
                    text(entry.before) + " " + text(entry.after));
  }));
  return lines;
}

inline Revision revisionSeenByAnotherThread(ConfigStore& store) {
  Revision seen = 0;
  std::thread([&] { seen = store.snapshot().revision(); }).join();
  return seen;
}

// Commits items 1 to `size`, each with the revision that this will be as its text.
inline Revision writeSet(ConfigStore& store, int size) {
  const std::string text = std::to_string(store.snapshot().revision() + 1);
  ChangeSet changes;
  for (int id = 1; id <= size; ++id) {
    const Item record = item(static_cast<std::uint32_t>(id), text);
    changes.put(kItems, 0, &record);
  }
  return store.commit(std::move(changes));
}

// Commits `count` items, from id 1000 on, that take their full size in the store.
inline Revision fillWithNoise(ConfigStore& store, int count) {
  std::mt19937 random(7);
  ChangeSet changes;
  for (int i = 0; i < count; ++i) {
    Item record{};
    for (char& c : record.text) c = static_cast<char>(1 + random() % 255);
    record.id = static_cast<std::uint32_t>(1000 + i);
    changes.put(kItems, 0, &record);
  }
  return store.commit(std::move(changes));
}

template <class Call>
void expectCode(int code, Call call) {
  try {
    call();
    ADD_FAILURE() << "nothing was thrown";
  } catch (const Exception& exception) {
    EXPECT_EQ(exception.code(), code) << exception.asString();
  }
}

}  // namespace Kestrav::Config::StoreTesting
