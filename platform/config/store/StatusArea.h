// The zone at the start of the mapped status file: switches and flags that processes read without a
// transaction. nCfg_debug_zone points at it; the offsets are fixed.
//
// All accesses are atomic, on aligned words and on the reload byte.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/common/Export.h"

namespace Kestrav::Config {

namespace Zone {
inline constexpr std::size_t kDirtyFlags =
    300400;  // 32-bit; bit 0 antispam, bit 1 content profiles are stale
inline constexpr std::size_t kContentInspection =
    300776;  // 32-bit; 0: policies carry no inspection profiles
inline constexpr std::size_t kDisclaimerReload = 300784;  // byte
inline constexpr std::size_t kSize = 303104;              // 74 pages
inline constexpr std::uint32_t kAntispamDirty = 1u << 0;
inline constexpr std::uint32_t kContentDirty = 1u << 1;
}  // namespace Zone

// In a new zone content inspection is on and all else is off.
class KESTRAV_API StatusArea {
 public:
  explicit StatusArea(char* zone) : zone_(zone) {}
  char* zone() const { return zone_; }

  bool contentInspection() const;
  void contentInspection(bool on);
  std::uint32_t dirtyFlags() const;
  void setDirty(std::uint32_t bits);
  // Returns those of the bits that were set.
  std::uint32_t clearDirty(std::uint32_t bits);
  bool disclaimerReload() const;
  void disclaimerReload(bool on);

 private:
  char* zone_;
};

// Sets the values that are not zero in a new zone.
void initialiseZone(char* zone);

}  // namespace Kestrav::Config

// The zone of the attached store, or one private to the process while none is attached.
extern "C" KESTRAV_API char* nCfg_debug_zone;

namespace Kestrav::Config {

// Where nCfg_debug_zone points; attach() and detach() may run meanwhile.
inline char* currentZone() {
  return __atomic_load_n(&nCfg_debug_zone, __ATOMIC_ACQUIRE);
}

}  // namespace Kestrav::Config
