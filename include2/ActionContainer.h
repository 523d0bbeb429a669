// The actions of one verdict, in the order in which they were added.
//
// A handle that is never null; copies share the one list, and what is added through one of them is
// seen through all. Complete a container before other threads can see it; from then on any number
// of them may read it.
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
  // An empty container of its own.
  ActionContainer();

  // Copies only: a container that was moved from would be null.
  ActionContainer(const ActionContainer& other) = default;
  ActionContainer& operator=(const ActionContainer& other) = default;

  void add(const Action& action);

  // The first action whose type is exactly `type`; the null action when there is none.
  Action find(ActionType type) const;

  // The types of all actions, or-ed. The first answer other than 0 is remembered: actions added
  // afterwards do not show in it. Query a container only when it is complete.
  ActionType aggregate() const;

  bool empty() const;
  const std::list<Action>& actions() const;

  ActionContainerImpl* impl() const { return holder_->impl(); }
};

}  // namespace Kestrav
