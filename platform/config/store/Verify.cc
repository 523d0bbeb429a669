#include "platform/config/store/Verify.h"

#include <lmdb.h>

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <tuple>

#include "platform/common/Exception.h"
#include "platform/config/store/Contents.h"
#include "platform/config/store/DataFile.h"
#include "platform/config/store/Files.h"
#include "platform/config/store/LmdbEnv.h"
#include "platform/config/store/PageCheck.h"
#include "platform/config/store/StoreCore.h"

namespace Kestrav::Config {
namespace {

constexpr int kAttempts = 1000;  // to find a transaction's meta page while others commit

// LMDB writes a transaction's meta page into the place that its number gives, in turns.
bool metasFit(const DataFile::Metas& metas) {
  const std::uint64_t first = metas.first.transaction;
  const std::uint64_t second = metas.second.transaction;
  if (first == 0 && second == 0) return true;
  return first % 2 == 0 && second % 2 == 1 && (first + 1 == second || second + 1 == first);
}

bool sameTransactions(const DataFile::Metas& a, const DataFile::Metas& b) {
  return a.first.transaction == b.first.transaction && a.second.transaction == b.second.transaction;
}

// Read while nobody writes between the two pages.
DataFile::Metas stableMetas(DataFile& file) {
  DataFile::Metas metas = file.metas();
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const DataFile::Metas again = file.metas();
    if (sameTransactions(metas, again)) break;
    metas = again;
  }
  return metas;
}

Revision revisionIn(DataFile& file, const Pages::Meta& meta) {
  Revision revision = 0;
  PageCheck check(file, meta);
  check.run(
      [&](std::string_view, std::string_view key, std::uint64_t, const PageCheck::Value& value) {
        if (key == Key('r')) revision = fromBytes<Revision>(value());
      },
      "meta");
  return revision;
}

// Pages and contents of one transaction.
// Whether they have a schema number.
bool checkTransaction(DataFile& file, const Pages::Meta& meta, bool rows, Verification& result) {
  PageCheck pages(file, meta);
  Contents contents(rows);
  pages.run([&](std::string_view database, std::string_view key, std::uint64_t size,
                const PageCheck::Value& value) { contents.visit(database, key, size, value); });
  result.damages = pages.damages();
  result.pages = pages.pages();
  contents.finish(result);
  return contents.hasSchema();
}

}  // namespace

Structure checkStructure(const std::filesystem::path& data) {
  DataFile file(data);
  Verification result;
  const DataFile::Metas metas = file.metas();
  const Pages::Meta& newest = metas.newest();
  const bool store = checkTransaction(file, newest, false, result);
  const Pages::Meta& older = &newest == &metas.first ? metas.second : metas.first;
  if (!metasFit(metas) || revisionIn(file, older) > revisionIn(file, newest)) {
    result.damages.push_back("the first two pages do not fit each other");
  }
  return {store, std::move(result.damages)};
}

Verification verifyStore(const std::filesystem::path& folder, const std::string& group) {
  Verification result;
  const auto verify = [&](LmdbEnv& env) {
    DataFile file(folder / "data.mdb", env.dataDescriptor());
    const auto slot = env.addSlot();
    struct Drop {
      LmdbEnv& env;
      const std::shared_ptr<ReaderSlot>& slot;
      ~Drop() { env.dropSlot(slot); }
    } const drop{env, slot};
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
      static_cast<void>(env.beginRead(*slot));  // from now on none of its pages is reused
      const DataFile::Metas metas = stableMetas(file);
      const std::uint64_t transaction = mdb_txn_id(slot->txn);
      const Pages::Meta* const meta = metas.first.transaction == transaction    ? &metas.first
                                      : metas.second.transaction == transaction ? &metas.second
                                                                                : nullptr;
      if (meta != nullptr) checkTransaction(file, *meta, true, result);
      const bool fit = metasFit(metas);
      env.endRead(*slot);
      if (!fit) result.damages.push_back("the first two pages do not fit each other");
      if (meta != nullptr) return;
    }
    throw Exception("Store: other processes commit too fast", StoreError::kInternal);
  };
  try {
    withEnvironment(folder, groupNamed(group), verify);
  } catch (const Exception& failure) {
    if (failure.code() != StoreError::kForeignFile) throw;
    result.damages.push_back(failure.message());
  }
  return result;
}

}  // namespace Kestrav::Config
