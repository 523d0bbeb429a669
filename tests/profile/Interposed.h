// Places where the tests of this program look over the library's shoulder: the functions that it
// calls in the platform are the real ones, but a test may watch a call, hold it up or make it fail.
//
// The linker puts these in between (--wrap, see CMakeLists.txt). A hook that is empty does nothing.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "config/Event.h"

struct __qv_ip_policy;
struct __vexa_recipient_policy;
struct ip_addr_t;

namespace Kestrav::Testing {

struct Hooks {
  // Each is called before the real function.
  std::function<void(CMF::Event::DispatcherImpl&, const CMF::Event::RefHandler&, unsigned char,
                     unsigned char)>
      addHandler;
  std::function<void(const std::string& name, bool, bool)> dispatcherInstance;
  std::function<void()> attachedStore;
  std::function<void()> protectedDomains;
  std::function<void(unsigned int gid)> sharedQuery;
  std::function<void(const std::string& name)> profileScanner;
  std::function<void(int id, unsigned int domain)> antispamProfile;
  std::function<void(const ip_addr_t& server, const ip_addr_t& client)> ipPolicyMatch;
  std::function<void(const char* sender, const char* recipient)> incomingPolicy;
  std::function<void(const char* sender, const char* recipient)> outgoingPolicy;
};

// Not guarded: set them while no other thread is in the library, or with events held.
Hooks& hooks();

// Takes every hook off again.
class HooksOff {
 public:
  HooksOff() { hooks() = Hooks(); }
  ~HooksOff() { hooks() = Hooks(); }
};

}  // namespace Kestrav::Testing
