#include "tests/common/ForwardHandle.h"

#include <atomic>

namespace Kestrav {

namespace {

std::atomic<int> livingCount{0};

}  // namespace

class ForwardImpl : public virtual RefImpl, private NonCopyable {
 public:
  explicit ForwardImpl(const std::string& name) : name_(name) { ++livingCount; }
  ~ForwardImpl() override { --livingCount; }
  const std::string& name() const { return name_; }

 private:
  std::string name_;
};

template class Ref<ForwardImpl>;

ForwardHandle::ForwardHandle(const std::string& name) : Ref<ForwardImpl>(new ForwardImpl(name)) {}

std::string ForwardHandle::name() const {
  return (*this)->name();
}

int ForwardHandle::living() {
  return livingCount;
}

}  // namespace Kestrav
