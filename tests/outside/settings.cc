// Uses what is installed beside the handles: record structs, the store, typed access, change events
// and value types, by their short names. Writes a quarantine folder and reads it back.
//
//   settings STORE NAME
#include <atomic>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

#include "Adapters.h"
#include "FactoryHandlers.h"
#include "VexaRefcounted.h"
#include "config/CMF.h"
#include "config/Event.h"
#include "config/ServerCache.h"
#include "platform/common/Exception.h"
#include "platform/common/IPAddressMask.h"
#include "platform/common/Logger.h"
#include "platform/config/records/QuarantineRecords.h"
#include "platform/config/records/SharedRecords.h"
#include "platform/config/store/ConfigStore.h"
#include "platform/config/store/StatusArea.h"
#include "platform/dictionary/DictionaryScanner.h"
#include "platform/parser/EmailAddress.h"
#include "platform/parser/Header.h"
#include "platform/regex/PatternContainer.h"
#include "platform/regex/StringPattern.h"

using namespace Kestrav;
using Folder = __aps_systemquarantine_folders;

namespace {

class Changes : public CMF::Event::HandlerTemplate<Folder, GID_QUARANTINE_FOLDER> {
 public:
  using HandlerTemplate::message;
  void message(unsigned int, const Folder*, const Folder* added) override {
    if (added != nullptr) ++count;
  }
  std::atomic<int> count{0};
};

bool expect(bool holds, const char* what) {
  if (!holds) std::fprintf(stderr, "settings: wrong: %s\n", what);
  return holds;
}

bool valuesWork() {
  const aps_bounded_string domain{"b.example"};
  PatternContainer patterns;
  adapter(patterns, 1, &domain);
  const CMF::Event::RefHandler handler(new CMF::Event::WebFilterHandler, false);
  return expect(patterns.matches("a@b.example"), "adapter") &&
         expect(handler->gid() == GID_WEB_FILTER_PROFILE, "handler") &&
         expect(IPAddressMask("192.0.2.0/24").matches(IPAddress("192.0.2.7")), "mask") &&
         expect(StringPattern("*.example", true, false).matches("mail.EXAMPLE"), "pattern") &&
         expect(EmailAddress::rfc5321Parse("a@b.example", false).domain() == "b.example",
                "address") &&
         expect(!Header("X-Test", "yes").name().empty(), "header") &&
         expect(Ref<DictionaryScannerImpl>().isNull(), "scanner");
}

bool storeWorks(const char* path, const char* name) {
  const auto store = Config::ConfigStore::open(path);
  Config::ConfigStore::attach(store);
  auto* changes = new Changes;
  const CMF::Event::RefHandler handler(changes);
  CMF::Event::Dispatcher dispatcher = CMF::Event::Dispatcher::instance("settings", false, false);
  dispatcher->add(handler, 0, 0);

  Folder folder{};
  folder.id = 4711;
  std::strncpy(folder.name, name, sizeof folder.name - 1);
  Config::ChangeSet difference;
  difference.put(GID_QUARANTINE_FOLDER, 0, &folder);
  const Config::Revision revision = store->commit(std::move(difference));

  CMF::TableQuery<Folder, GID_QUARANTINE_FOLDER> folders;
  const auto found = CMF::find(folders, std::string(name));
  return expect(found != folders.end() && found->id == folder.id, "folder") &&
         expect(dispatcher->waitApplied(revision, 10'000), "applied") &&
         expect(changes->count == 1, "one change") &&
         expect(store->status().contentInspection(), "content inspection") &&
         expect(CMF::RefApsGwServerCache::instance(false).find("b.example").isNull(), "domain");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s STORE NAME\n", argv[0]);
    return 2;
  }
  try {
    Logger::instance().toStderr();
    return valuesWork() && storeWorks(argv[1], argv[2]) ? 0 : 1;
  } catch (const Exception& error) {
    std::fprintf(stderr, "settings: %s\n", error.asString().c_str());
    return 2;
  }
}
