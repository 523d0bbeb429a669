#include "tools/Scratch.h"

#include <cstdlib>
#include <string>
#include <system_error>

#include "platform/common/Exception.h"
#include "platform/config/records/Field.h"
#include "platform/config/records/Tables.h"
#include "platform/config/text/Text.h"
#include "tools/ReadFiles.h"

namespace Kestrav::Tool {

std::shared_ptr<Config::ConfigStore> Scratch::empty() {
  std::string folder = (std::filesystem::temp_directory_path() / "vexactl-XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr) {
    throw Exception("cannot create a temporary folder", Exception::kFileFailure)
        .stringParameter(folder);
  }
  // The store works on its open files. Without names nothing remains, even after a crash.
  struct Remover {
    const std::string& folder;
    ~Remover() {
      std::error_code ignored;
      std::filesystem::remove_all(folder, ignored);
    }
  } const remover{folder};
  return stores_.emplace_back(Config::ConfigStore::open(folder + "/store"));
}

std::shared_ptr<Config::ConfigStore> Scratch::copy(const Config::Snapshot& original) {
  Config::ChangeSet changes;
  for (const Config::Table& table : Config::tables()) {
    if (table.scope == Config::Scope::kSystemSingle) {
      changes.put(table.gid, 0, original.byId(table.gid, 0, 0).data());
      continue;
    }
    for (const ngid_t domain : original.domains(table.gid)) {
      original.walk(table.gid, domain, [&](const Config::StoredRecord& record) {
        changes.put(table.gid, domain, record.data());
        return true;
      });
    }
  }
  auto store = empty();
  store->commit(std::move(changes));
  return store;
}

std::shared_ptr<Config::ConfigStore> Scratch::load(const Context& context, const Files& files) {
  const auto configuration = readFiles(context, files);
  if (!configuration) return nullptr;
  auto store = empty();
  store->commit(Config::Text::differences(*configuration, store->snapshot()));
  return store;
}

}  // namespace Kestrav::Tool
