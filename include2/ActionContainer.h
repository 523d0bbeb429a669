// The actions of one verdict, in the order in which they were added.
//
// A handle that is never null. Copies share one list: an action added through one copy is seen
// through all. Complete a container before other threads can see it; after that any number of
// threads may read it.
#pragma once

#include <list>

#include "Action.h"
#include "VexaRefcounted.h"
#include "platform/common/Export.h"

namespace Kestrav {

class ActionContainerImpl;

extern template class KESTRAV_API RefCounted<ActionContainerImpl>;
extern template class KESTRAV_API Ref<ActionContainerImpl>;

class KESTRAV_API ActionContainer : public Ref<ActionContainerImpl> {
 public:
  // An empty container that shares nothing.
  ActionContainer();

  // Copied, never moved: a container that was moved from would be null.
  ActionContainer(const ActionContainer& other) = default;
  ActionContainer& operator=(const ActionContainer& other) = default;

  void add(const Action& action);

  // The first action whose type is exactly `type`; the null action when there is none.
  Action find(ActionType type) const;

  // The bitwise OR of the types of all actions. The first result other than 0 is cached and ignores
  // actions that are added later, so query only a complete container.
  ActionType aggregate() const;

  bool empty() const;
  const std::list<Action>& actions() const;

  ActionContainerImpl* impl() const { return holder_->impl(); }
};

}  // namespace Kestrav
