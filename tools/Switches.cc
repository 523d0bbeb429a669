#include "tools/Switches.h"

namespace Kestrav::Tool {
namespace {

using Config::StatusArea;

template <std::uint32_t kBit>
bool dirty(const StatusArea& status) {
  return (status.dirtyFlags() & kBit) != 0;
}

template <std::uint32_t kBit>
void setDirty(StatusArea& status, bool on) {
  if (on) {
    status.setDirty(kBit);
  } else {
    status.clearDirty(kBit);
  }
}

constexpr Switch kSwitches[] = {
    {"content-inspection", "when on, policies carry inspection profiles",
     [](const StatusArea& status) { return status.contentInspection(); },
     [](StatusArea& status, bool on) { status.contentInspection(on); }},
    {"antispam-dirty", "when on, the next request drops the cached antispam profiles",
     dirty<Config::Zone::kAntispamDirty>, setDirty<Config::Zone::kAntispamDirty>},
    {"content-dirty", "when on, the next request drops the cached content profiles",
     dirty<Config::Zone::kContentDirty>, setDirty<Config::Zone::kContentDirty>},
    {"disclaimer-reload", "when on, the next lookup drops the cached disclaimers",
     [](const StatusArea& status) { return status.disclaimerReload(); },
     [](StatusArea& status, bool on) { status.disclaimerReload(on); }},
};

}  // namespace

std::span<const Switch> switches() {
  return kSwitches;
}

}  // namespace Kestrav::Tool
