#include <iomanip>
#include <nlohmann/json.hpp>
#include <ostream>

#include "platform/config/store/StatusArea.h"
#include "tools/JsonText.h"
#include "tools/Messages.h"
#include "tools/OpenStore.h"
#include "tools/Switches.h"

namespace Kestrav::Tool {
namespace {

using Json = nlohmann::ordered_json;

Json statusDocument(const Context& context, Config::ConfigStore& store) {
  const auto statistics = store.statistics();
  Json document = {
      {"store", context.store.string()},
      {"revision", statistics.revision},
      {"usedBytes", statistics.usedBytes},
      {"mapBytes", statistics.mapBytes},
      {"journal",
       {{"entries", statistics.journalEntries},
        {"oldestRevision", statistics.oldestJournalRevision}}},
      {"readers", {{"inUse", statistics.readersInUse}, {"slots", statistics.readerSlots}}},
      {"switches", Json::object()},
      {"processes", Json::array()}};
  for (const Switch& entry : switches()) {
    document["switches"][entry.name] = entry.get(store.status());
  }
  for (const auto& process : store.processes()) {
    const Config::Revision lag =
        statistics.revision > process.applied ? statistics.revision - process.applied : 0;
    document["processes"].push_back(
        {{"pid", process.pid}, {"name", process.name}, {"applied", process.applied}, {"lag", lag}});
  }
  return document;
}

void print(const Json& document, std::ostream& out) {
  out << "store      " << oneLine(document["store"].get<std::string>()) << "\n"
      << "revision   " << document["revision"] << "\n"
      << "size       " << document["usedBytes"] << " bytes used of " << document["mapBytes"] << "\n"
      << "journal    " << document["journal"]["entries"] << " changes since revision "
      << document["journal"]["oldestRevision"] << "\n"
      << "readers    " << document["readers"]["inUse"] << " of " << document["readers"]["slots"]
      << " slots\n"
      << "switches\n";
  for (const Switch& entry : switches()) {
    out << "  " << std::left << std::setw(20) << entry.name << std::setw(5)
        << plain(document["switches"][entry.name]) << entry.help << "\n";
  }
  out << "processes\n";
  if (document["processes"].empty()) out << "  none\n";
  for (const Json& process : document["processes"]) {
    out << "  " << process["pid"] << "  " << oneLine(process["name"].get<std::string>())
        << "  applied " << process["applied"] << ", lag " << process["lag"] << "\n";
  }
}

}  // namespace

int status(const Context& context, bool json) {
  const auto store = openStore(context, IfMissing::kRefuse);
  const Json document = statusDocument(context, *store);
  if (json) {
    context.out << indented(document);
  } else {
    print(document, context.out);
  }
  return kDone;
}

}  // namespace Kestrav::Tool
