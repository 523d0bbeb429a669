// The hook through which a daemon supplies the rules of data loss prevention.
#pragma once

#include "platform/common/Export.h"

namespace Kestrav {

class KESTRAV_API DLPRuleFactory {
 public:
  virtual ~DLPRuleFactory();

  // Discards all rules; called when the configuration that they are made from has changed. The base
  // class does nothing.
  virtual void clearDLPRules();

  // The installed factory. Installs one that does nothing when there is none.
  static DLPRuleFactory* instance();

  // A daemon stores its own factory here before it starts threads. Not owned.
  static DLPRuleFactory* s_instance;
};

}  // namespace Kestrav
