// A handle class as in a public header: its implementation is only declared.
#pragma once

#include <string>

#include "VexaRefcounted.h"

namespace Kestrav {

class ForwardImpl;
extern template class KESTRAV_API Ref<ForwardImpl>;

class ForwardHandle : public Ref<ForwardImpl> {
 public:
  ForwardHandle() = default;
  explicit ForwardHandle(const std::string& name);
  std::string name() const;

  static int living();  // number of existing implementations
};

}  // namespace Kestrav
