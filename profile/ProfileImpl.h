// The implementation of every profile. The derived class's constructor fills it.
#pragma once

#include <cstdint>
#include <string>

#include "ActionContainer.h"
#include "VexaRefcounted.h"

namespace Kestrav {

class ProfileImpl : public NonCopyable, public virtual RefImpl {
 public:
  explicit ProfileImpl(std::uint32_t profileType) : type(profileType) {}
  ~ProfileImpl() override;

  const std::uint32_t type;
  std::int32_t id = 0;
  std::string name;
  ActionContainer actions;
  std::uint32_t messageParseType = 0;
};

}  // namespace Kestrav
