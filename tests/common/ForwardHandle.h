// A handle class as a public header declares it: the implementation is only named.
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

  static int living();  // implementations that exist now
};

}  // namespace Kestrav
