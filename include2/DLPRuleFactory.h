// The hook through which the daemons supply the rules that data loss prevention scans with.
#pragma once

#include "platform/common/Export.h"

namespace Kestrav {

class KESTRAV_API DLPRuleFactory {
 public:
  virtual ~DLPRuleFactory();

  // Forget every rule made so far; called when what rules are made from has changed. Does nothing
  // here.
  virtual void clearDLPRules();

  // What is installed; when nothing is, installs a factory that does nothing.
  static DLPRuleFactory* instance();

  // A daemon stores its own factory here, before it has several threads. Not owned.
  static DLPRuleFactory* s_instance;
};

}  // namespace Kestrav
