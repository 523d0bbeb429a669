// A second process for the tests:
//   write FOLDER FIRST LAST   puts the quarantine folders of these ids, one revision each
//   wait-alone FOLDER         waits for a change without having registered a handler
//   end-busy FOLDER           ends while changes are delivered to a handler
//   end-by-handler FOLDER     a handler ends the process, with code 7
#include <cstdlib>
#include <string>

#include "client/Listening.h"

namespace {

using namespace Kestrav;

Config::Revision putFolder(Config::ConfigStore& store, unsigned long id, const std::string& name) {
  Config::ChangeSet changes;
  changes.put(GID_QUARANTINE_FOLDER, 0,
              Testing::folderRecord(static_cast<std::uint32_t>(id), name).data());
  return store.commit(std::move(changes));
}

int run(const std::string& verb, char** arguments) {
  const auto store = Config::ConfigStore::open(arguments[0]);
  if (verb == "write") {
    for (unsigned long id = std::stoul(arguments[1]); id <= std::stoul(arguments[2]); ++id) {
      putFolder(*store, id, "other" + std::to_string(id));
    }
    return EXIT_SUCCESS;
  }
  Config::ConfigStore::attach(store);
  if (verb == "wait-alone") {
    return Testing::dispatcher()->waitApplied(putFolder(*store, 1, "one"), 0) ? EXIT_SUCCESS
                                                                              : EXIT_FAILURE;
  }
  auto& notes = *new Testing::Notes;  // the handler may outlive this function
  if (verb == "end-busy") {
    Testing::dispatcher()->add(CMF::Event::RefHandler(new Testing::FolderHandler(
                                   notes, "h",
                                   [store, count = 0]() mutable {
                                     putFolder(*store, 1,
                                               std::to_string(++count));  // and so for ever
                                   })),
                               127, 1);
    const Config::Revision revision = putFolder(*store, 1, "one");
    return Testing::dispatcher()->waitApplied(revision + 20, Testing::kForeverMs) ? EXIT_SUCCESS
                                                                                  : EXIT_FAILURE;
  }
  if (verb == "end-by-handler") {
    Testing::dispatcher()->add(
        CMF::Event::RefHandler(new Testing::FolderHandler(notes, "h", [] { std::exit(7); })), 127,
        1);
    const Config::Revision revision = putFolder(*store, 1, "one");
    return Testing::dispatcher()->waitApplied(revision, Testing::kForeverMs) ? EXIT_SUCCESS
                                                                             : EXIT_FAILURE;
  }
  return 2;
}

}  // namespace

int main(int count, char** arguments) {
  return count < 3 ? 2 : run(arguments[1], arguments + 2);
}
