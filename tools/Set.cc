#include <ostream>
#include <string>
#include <vector>

#include "tools/Messages.h"
#include "tools/OpenStore.h"
#include "tools/Switches.h"

namespace Kestrav::Tool {

int set(const Context& context, const std::string& name, const std::string& value) {
  const bool on = value == "on" || value == "true" || value == "yes" || value == "1";
  if (!on && value != "off" && value != "false" && value != "no" && value != "0") {
    context.err << "vexactl: \"" << oneLine(value) << "\" is not a switch value; use on or off\n";
    return kBadInput;
  }
  for (const Switch& entry : switches()) {
    if (name != entry.name) continue;
    const auto store = openStore(context, IfMissing::kRefuse);
    const bool before = entry.get(store->status());
    entry.set(store->status(), on);
    context.out << name << ": " << (before ? "on" : "off") << " -> " << (on ? "on" : "off") << "\n";
    return kDone;
  }
  std::vector<std::string> known;
  for (const Switch& entry : switches()) known.emplace_back(entry.name);
  context.err << "vexactl: " << unknown("switch", name, known) << "\n";
  return kBadInput;
}

}  // namespace Kestrav::Tool
