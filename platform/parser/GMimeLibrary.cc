#include "platform/parser/GMimeLibrary.h"

#include <gmime/gmime.h>

#include <mutex>

namespace Kestrav {

void ensureGMime() {
  static std::once_flag once;
  std::call_once(once, [] { g_mime_init(); });
}

}  // namespace Kestrav
