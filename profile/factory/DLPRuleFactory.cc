#include "DLPRuleFactory.h"

#include <atomic>

#include "platform/common/NoDestructor.h"

namespace Kestrav {

DLPRuleFactory* DLPRuleFactory::s_instance = nullptr;

DLPRuleFactory::~DLPRuleFactory() = default;

void DLPRuleFactory::clearDLPRules() {}

DLPRuleFactory* DLPRuleFactory::instance() {
  static NoDestructor<DLPRuleFactory> base;
  // Atomic, so that concurrent first calls install it once.
  std::atomic_ref<DLPRuleFactory*> installed(s_instance);
  DLPRuleFactory* factory = nullptr;
  return installed.compare_exchange_strong(factory, base.get()) ? base.get() : factory;
}

}  // namespace Kestrav
