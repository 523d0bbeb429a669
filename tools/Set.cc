#include <ostream>

#include "tools/OpenStore.h"
#include "tools/Switches.h"

namespace Kestrav::Tool {

int set(const Context& context, const std::string& name, const std::string& value) {
  const bool on = value == "on" || value == "true" || value == "yes" || value == "1";
  if (!on && value != "off" && value != "false" && value != "no" && value != "0") {
    context.err << "vexactl: \"" << value << "\" is no value of a switch; give on or off\n";
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
  context.err << "vexactl: there is no switch \"" << name << "\"; there are:\n";
  for (const Switch& entry : switches())
    context.err << "  " << entry.name << ": " << entry.help << "\n";
  return kBadInput;
}

}  // namespace Kestrav::Tool
