#include "DLPRuleFactory.h"

#include <atomic>

namespace Kestrav {

DLPRuleFactory* DLPRuleFactory::s_instance = nullptr;

DLPRuleFactory::~DLPRuleFactory() = default;

void DLPRuleFactory::clearDLPRules() {}

DLPRuleFactory* DLPRuleFactory::instance() {
  static auto* const base = new DLPRuleFactory;  // never destroyed
  // Atomic, so that first calls of several threads agree with each other.
  std::atomic_ref<DLPRuleFactory*> installed(s_instance);
  DLPRuleFactory* factory = nullptr;
  return installed.compare_exchange_strong(factory, base) ? base : factory;
}

}  // namespace Kestrav
