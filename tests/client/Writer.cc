// A second process that writes: client_writer FOLDER FIRST LAST puts the quarantine folders of
// these ids, one revision each, and ends.
#include <cstdlib>
#include <string>

#include "client/StoreFixture.h"

int main(int count, char** arguments) {
  using namespace Kestrav;
  if (count != 4) return 2;
  const auto store = Config::ConfigStore::open(arguments[1]);
  for (unsigned long id = std::stoul(arguments[2]); id <= std::stoul(arguments[3]); ++id) {
    Config::ChangeSet changes;
    changes.put(
        GID_QUARANTINE_FOLDER, 0,
        Testing::folderRecord(static_cast<std::uint32_t>(id), "other" + std::to_string(id)).data());
    store->commit(std::move(changes));
  }
  return EXIT_SUCCESS;
}
