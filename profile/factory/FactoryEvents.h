// The part of the profile factory that only its event handlers use.
#pragma once

#include "ProfileFactory.h"

namespace Kestrav {

class FactoryEvents {
 public:
  // The factory, even while it is still registering its handlers.
  static ProfileFactory& factory();
  static ProfileFactory::Caches& caches(ProfileFactory& factory);

  // Kinds that callers have no reason to clear.
  static void clearEncryptionProfiles(ProfileFactory& factory);
  static void clearQuarantineFolders(ProfileFactory& factory);
  static void readFolderIdsOfAnotherStore(ProfileFactory& factory);
};

// Register the factory's handlers with the dispatcher. The handler of quarantine folders is
// separate because it is registered last.
void registerFactoryHandlers();
void registerQuarantineFolderHandler();

}  // namespace Kestrav
