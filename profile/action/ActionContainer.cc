#include "ActionContainer.h"

#include <algorithm>

#include "profile/action/ActionImpl.h"

namespace Kestrav {

template class RefCounted<ActionContainerImpl>;
template class Ref<ActionContainerImpl>;

ActionContainerImpl::~ActionContainerImpl() = default;

ActionContainer::ActionContainer() : Ref(new ActionContainerImpl) {}

void ActionContainer::add(const Action& action) {
  // The cached mask is not reset, on purpose: containers are completed before they are queried.
  impl()->actions.push_back(action);
}

Action ActionContainer::find(ActionType type) const {
  const auto& list = impl()->actions;
  const auto found = std::find_if(list.begin(), list.end(),
                                  [type](const Action& action) { return action.type() == type; });
  return found == list.end() ? Action() : *found;
}

ActionType ActionContainer::aggregate() const {
  std::atomic<ActionType>& cached = impl()->aggregate;
  ActionType mask = cached.load(std::memory_order_relaxed);
  if (mask != 0) return mask;
  for (const Action& action : impl()->actions) mask |= action.type();
  cached.store(mask, std::memory_order_relaxed);
  return mask;
}

bool ActionContainer::empty() const { return impl()->actions.empty(); }

const std::list<Action>& ActionContainer::actions() const { return impl()->actions; }

}  // namespace Kestrav
