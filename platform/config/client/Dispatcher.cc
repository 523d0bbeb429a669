#include <map>
#include <mutex>

#include "platform/common/NoDestructor.h"
#include "platform/config/client/Event.h"
#include "platform/config/client/EventLoop.h"

namespace Kestrav::CMF::Event {

using Config::Client::EventLoop;

Config::Revision DispatcherImpl::add(const RefHandler& handler, unsigned char, unsigned char) {
  return EventLoop::instance().add(handler);
}

void DispatcherImpl::remove(const RefHandler& handler) {
  EventLoop::instance().remove(handler);
}

unsigned int DispatcherImpl::observe(Observer observer) {
  return EventLoop::instance().observe(std::move(observer));
}

void DispatcherImpl::unobserve(unsigned int observer) {
  EventLoop::instance().unobserve(observer);
}

Config::Revision DispatcherImpl::applied() const {
  return EventLoop::instance().applied();
}

Config::Revision DispatcherImpl::delivering() const {
  return EventLoop::instance().delivering();
}

bool DispatcherImpl::waitApplied(Config::Revision revision, int timeoutMs) {
  return EventLoop::instance().waitApplied(revision, timeoutMs);
}

void DispatcherImpl::stop() {
  EventLoop::instance().stop();
}

void DispatcherImpl::start() {
  EventLoop::instance().start();
}

Dispatcher Dispatcher::instance(const std::string& name, bool, bool) {
  static NoDestructor<std::mutex> mutex;
  static NoDestructor<std::map<std::string, Dispatcher>> dispatchers;
  const std::scoped_lock lock(*mutex);
  auto found = dispatchers->find(name);
  if (found == dispatchers->end()) {
    found = dispatchers->emplace(name, Dispatcher(new DispatcherImpl(name))).first;
  }
  return found->second;
}

}  // namespace Kestrav::CMF::Event
