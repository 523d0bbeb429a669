// A store's files: who may read them, and files that are something else.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <random>

#include "RawStore.h"
#include "StoreRecords.h"
#include "platform/common/LogCodes.h"
#include "platform/common/Logger.h"
#include "platform/config/records/Tables.h"
#include "platform/config/store/DataFile.h"
#include "platform/config/store/Keys.h"
#include "platform/config/store/RowCodec.h"
#include "tests/support/StoreFixture.h"

namespace Kestrav::Config {
namespace {

using ::testing::HasSubstr;
using namespace StoreTesting;
namespace fs = std::filesystem;

class StoreFiles : public ::testing::Test {
 protected:
  fs::path path() const { return folder_ / "store"; }
  void makeStore(int items) {
    const auto store = ConfigStore::open(path());
    fillWithNoise(*store, items);
    writeSet(*store, 5);
  }
  static void write(const fs::path& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary) << bytes;
  }
  // Throws unless the store cannot be opened for this reason, with the file named.
  void expectRefused(int code, const std::string& named) {
    try {
      ConfigStore::open(path());
      ADD_FAILURE() << "opened";
    } catch (const Exception& exception) {
      EXPECT_EQ(exception.code(), code) << exception.asString();
      EXPECT_THAT(exception.message(), HasSubstr(named));
    }
  }
  Testing::TemporaryFolder folder_;
};

TEST_F(StoreFiles, AreTheirOwnersAlone) {
  const mode_t former = ::umask(0);
  const auto store = ConfigStore::open(path());
  ::umask(former);
  struct stat info {};
  ASSERT_EQ(::stat(path().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0700u);
  for (const char* name : {"data.mdb", "lock.mdb", "status"}) {
    ASSERT_EQ(::stat((path() / name).c_str(), &info), 0) << name;
    EXPECT_EQ(info.st_mode & 0777, 0600u) << name;
  }
}

TEST_F(StoreFiles, AreMadeWhenAskedFor) {
  ConfigStore::Options options;
  options.create = false;
  expectCode(StoreError::kCannotOpen, [&] { ConfigStore::open(path(), options); });
  EXPECT_FALSE(fs::exists(path()));
  fs::create_directory(path());
  expectCode(StoreError::kCannotOpen, [&] { ConfigStore::open(path(), options); });
  EXPECT_TRUE(fs::is_empty(path()));
  ConfigStore::open(folder_ / "a" / "b" / "store");
  EXPECT_NE(ConfigStore::open(folder_ / "a" / "b" / "store", options), nullptr);
}

TEST_F(StoreFiles, AFolderThatIsNone) {
  write(path(), "text");
  expectRefused(StoreError::kCannotOpen, path().string());
  expectCode(StoreError::kCannotOpen, [&] { ConfigStore::open(path() / "below"); });
}

TEST_F(StoreFiles, ATruncatedDataFileIsRefusedOrWhole) {
  makeStore(300);
  const auto data = path() / "data.mdb";
  const auto whole = fs::file_size(data);
  const fs::path copy = folder_ / "copy";
  fs::copy_file(data, copy);
  std::vector<std::uintmax_t> sizes = {0, 1, 15, 16, 100, 152, 4095, 4096, 4097, 8191, 8192, 8193};
  for (std::uintmax_t size = 8192; size < whole; size += 4096) {
    sizes.push_back(size);
    sizes.push_back(size + 2048);
  }
  int refused = 0;
  for (const std::uintmax_t size : sizes) {
    SCOPED_TRACE(size);
    fs::copy_file(copy, data, fs::copy_options::overwrite_existing);
    fs::resize_file(data, size);
    try {
      const auto store = ConfigStore::open(path());
      const Snapshot snapshot = store->snapshot();  // what is missing was not in use
      EXPECT_EQ(snapshot.revision(), 2u);
      EXPECT_EQ(idsOf(snapshot, kItems, 0).size(), 305u);
    } catch (const Exception& exception) {
      ++refused;
      EXPECT_EQ(exception.code(), StoreError::kForeignFile) << exception.asString();
      EXPECT_THAT(exception.message(), HasSubstr("data.mdb"));
    }
  }
  EXPECT_GT(refused, static_cast<int>(sizes.size()) / 2);
  fs::copy_file(copy, data, fs::copy_options::overwrite_existing);
  EXPECT_EQ(ConfigStore::open(path())->snapshot().size(kItems, 0), 305);
}

TEST_F(StoreFiles, AMissingDataFileBesideALaterStatusIsRefused) {
  makeStore(1);
  fs::remove(path() / "data.mdb");
  expectRefused(StoreError::kForeignFile, "revision 2");
}

TEST_F(StoreFiles, ForeignDataFilesAreRefused) {
  std::mt19937 random(3);
  std::string noise(70'000, '\0');
  for (char& c : noise) c = static_cast<char>(random());
  for (const std::string& bytes : {std::string("some text\n"), std::string(9000, 'x'), noise}) {
    fs::create_directories(path());
    write(path() / "data.mdb", bytes);
    expectRefused(StoreError::kForeignFile, "data.mdb");
  }
}

TEST_F(StoreFiles, AnotherProgramsDatabaseIsRefusedAndLeftAlone) {
  fs::create_directories(path());
  RawStore(path()).put("theirs", {{"k", "v"}});
  expectRefused(StoreError::kForeignFile, "data.mdb");
  expectRefused(StoreError::kForeignFile, "data.mdb");
  fs::remove_all(path());
  fs::create_directories(path());
  RawStore(path()).put(nullptr, {{"rows", "plain"}});
  expectRefused(StoreError::kForeignFile, "data.mdb");
}

TEST_F(StoreFiles, AnotherSchemaIsRefusedByItsNumber) {
  makeStore(1);
  const auto setSchema = [this](std::string_view bytes) {
    RawStore(path()).put("meta", {{"s", std::string(bytes)}});
  };
  setSchema(asBytes(std::uint32_t{99}));
  expectRefused(StoreError::kNewerSchema, "schema 99");
  expectRefused(StoreError::kNewerSchema, "up to " + std::to_string(kSchema));
  setSchema("?");
  expectRefused(StoreError::kDamaged, "data.mdb");
  setSchema(asBytes(kOldestSchema - 1));
  expectRefused(StoreError::kForeignFile, "schema number is 0");
}

TEST_F(StoreFiles, ForeignStatusFilesAreRefused) {
  makeStore(1);
  const auto status = path() / "status";
  const auto size = fs::file_size(status);
  for (const auto& bytes :
       {std::string("text"), std::string(size - 1, '\0'), std::string(size, 'x')}) {
    write(status, bytes);
    expectRefused(StoreError::kForeignFile, "status");
  }
  fs::remove(status);
  fs::create_directory(status);
  EXPECT_ANY_THROW(ConfigStore::open(path()));
}

TEST_F(StoreFiles, AMissingStatusFileIsMadeAgain) {
  makeStore(1);
  fs::remove(path() / "status");
  EXPECT_EQ(ConfigStore::open(path())->revision(), 2u);
}

TEST_F(StoreFiles, AStatusFileAheadOfTheDataIsPutRight) {
  makeStore(1);
  fs::copy(path(), folder_ / "backup");
  writeSet(*ConfigStore::open(path()), 3);
  fs::copy_file(folder_ / "backup" / "data.mdb", path() / "data.mdb",
                fs::copy_options::overwrite_existing);
  EXPECT_EQ(ConfigStore::open(path())->revision(), 2u);
}

TEST_F(StoreFiles, RowsThatCannotBeReadAreReportedWithTheReason) {
  {
    const auto store = ConfigStore::open(path());
    putAll(*store, {1, 2, 3});
    store->compact();  // nothing else has a copy
  }
  const Item record = item(2, "2");
  const std::string row = RowCodec::encode(*findTable(kItems), &record);
  std::string damaged = row;
  damaged[5] ^= 1;
  const std::string key(rowKey(kItems, 0, kFirstPosition + kGap, 2));
  const struct {
    std::string bytes;
    const char* reason;
  } cases[] = {{row.substr(0, row.size() - 1), "checksum"},
               {damaged, "checksum"},
               {"\1" + row.substr(1), "format"},
               {"", "format"}};
  for (const auto& [bytes, reason] : cases) {
    SCOPED_TRACE(reason);
    RawStore(path()).put("rows", {{key, bytes}});
    std::vector<std::string> logged;
    const auto token = Logger::instance().capture([&logged](const Logger::Message& message) {
      EXPECT_EQ(message.code, LogCode::kStoreRecordDamaged);
      logged.push_back(message.fields.at(1) + " " + message.fields.at(2));
    });
    const auto store = ConfigStore::open(path());
    const Snapshot snapshot = store->snapshot();
    try {
      snapshot.byId(kItems, 0, 2);
      ADD_FAILURE() << "read";
    } catch (const Exception& exception) {
      EXPECT_EQ(exception.code(), StoreError::kDamaged);
      EXPECT_THAT(exception.message(), HasSubstr("table dictionary-items, domain 0, record 2"));
      EXPECT_THAT(exception.message(), HasSubstr(reason));
    }
    EXPECT_THAT(logged, testing::ElementsAre(
                            testing::AllOf(testing::StartsWith("2 "), HasSubstr(reason))));
  }
  const auto store = ConfigStore::open(path());
  putAll(*store, {2});
  EXPECT_EQ(revisionSeenByAnotherThread(*store), 2u) << "and can be written over";
  EXPECT_TRUE(store->snapshot().byId(kItems, 0, 2));
}

// LMDB leaves pages at the end unwritten that a transaction took and gave back.
TEST_F(StoreFiles, AFileThatLacksOnlyUnusedPagesIsWhole) {
  {
    const auto store = ConfigStore::open(path());
    fillWithNoise(*store, 300);
    ChangeSet nothing;
    nothing.order(kItems, 0, {});
    store->commit(std::move(nothing));
    for (int i = 0; i < 5; ++i) writeSet(*store, 5);
  }
  const auto data = path() / "data.mdb";
  const fs::path copy = folder_ / "copy";
  fs::copy_file(data, copy);
  // Cut off page by page: as long as the file is taken, all of it can be read and written.
  int opened = 0;
  for (std::uintmax_t size = fs::file_size(copy) - 4096; size > 8192; size -= 4096) {
    SCOPED_TRACE(size);
    fs::copy_file(copy, data, fs::copy_options::overwrite_existing);
    fs::resize_file(data, size);
    try {
      const auto store = ConfigStore::open(path());
      ++opened;
      ASSERT_EQ(store->snapshot().size(kItems, 0), 5);
      ASSERT_EQ(writeSet(*store, 5), 8u);
      fs::remove(path() / "status");  // the copy is of an earlier revision
    } catch (const Exception& exception) {
      ASSERT_EQ(exception.code(), StoreError::kForeignFile) << exception.asString();
    }
  }
  RecordProperty("opened", opened);
}

TEST_F(StoreFiles, NoDataFileIsNoFailure) {
  EXPECT_FALSE(inspectDataFile(folder_ / "data.mdb").present);
  write(folder_ / "data.mdb", "");
  EXPECT_FALSE(inspectDataFile(folder_ / "data.mdb").present);
}

}  // namespace
}  // namespace Kestrav::Config
