// The implementations of actions and their containers.
#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <set>
#include <string>

#include "Action.h"
#include "VexaRefcounted.h"

namespace Kestrav {

class ActionImpl : public NonCopyable, public virtual RefImpl {
 public:
  explicit ActionImpl(ActionType actionType) : type(actionType) {}
  ~ActionImpl() override;

  const ActionType type;
  Header headerTag;
  std::string subjectTag;  // encoded
  EmailAddressRewriter addressRewriter;
  std::uint32_t encryptionProfileId = 0;
  std::uint32_t notificationProfileId = 0;
  std::string alternateHost;
  mutable std::set<EmailAddress> bcc;  // its setter is const
  std::uint32_t archiveRecipientId = 0;
  std::uint32_t systemquarantineFolderId = 0;
};

class ActionContainerImpl : public NonCopyable, public virtual RefImpl {
 public:
  ~ActionContainerImpl() override;

  std::list<Action> actions;

  // 0 while not computed. Concurrent readers compute and store the same value.
  std::atomic<ActionType> aggregate{0};
};

}  // namespace Kestrav
