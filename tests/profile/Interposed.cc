#include "Interposed.h"

#include "ProfileAntiSpam.h"
#include "ProfileFactory.h"
#include "config/ServerCache.h"
#include "platform/common/IpTypes.h"
#include "platform/config/client/cmf.h"
#include "platform/config/store/ConfigStore.h"
#include "platform/dictionary/DictionaryFactory.h"

namespace Kestrav::Testing {

Hooks& hooks() {
  static Hooks installed;
  return installed;
}

}  // namespace Kestrav::Testing

using namespace Kestrav;
using CMF::Event::Dispatcher;
using CMF::Event::DispatcherImpl;
using CMF::Event::RefHandler;
using Kestrav::Testing::hooks;

// A member function is called as a function whose first argument is the object.
extern "C" {

Config::Revision __real__ZN7Kestrav3CMF5Event14DispatcherImpl3addERKNS1_10RefHandlerEhh(
    DispatcherImpl*, const RefHandler&, unsigned char, unsigned char);
Config::Revision __wrap__ZN7Kestrav3CMF5Event14DispatcherImpl3addERKNS1_10RefHandlerEhh(
    DispatcherImpl* self, const RefHandler& handler, unsigned char first, unsigned char second) {
  if (hooks().addHandler) hooks().addHandler(*self, handler, first, second);
  return __real__ZN7Kestrav3CMF5Event14DispatcherImpl3addERKNS1_10RefHandlerEhh(self, handler,
                                                                                first, second);
}

Dispatcher
__real__ZN7Kestrav3CMF5Event10Dispatcher8instanceERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEEbb(
    const std::string&, bool, bool);
Dispatcher
__wrap__ZN7Kestrav3CMF5Event10Dispatcher8instanceERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEEbb(
    const std::string& name, bool first, bool second) {
  if (hooks().dispatcherInstance) hooks().dispatcherInstance(name, first, second);
  return __real__ZN7Kestrav3CMF5Event10Dispatcher8instanceERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEEbb(
      name, first, second);
}

std::shared_ptr<Config::ConfigStore> __real__ZN7Kestrav6Config11ConfigStore8attachedEv();
std::shared_ptr<Config::ConfigStore> __wrap__ZN7Kestrav6Config11ConfigStore8attachedEv() {
  if (hooks().attachedStore) hooks().attachedStore();
  return __real__ZN7Kestrav6Config11ConfigStore8attachedEv();
}

CMF::RefApsGwServerCache __real__ZN7Kestrav3CMF19RefApsGwServerCache8instanceEb(bool);
CMF::RefApsGwServerCache __wrap__ZN7Kestrav3CMF19RefApsGwServerCache8instanceEb(bool flag) {
  if (hooks().protectedDomains) hooks().protectedDomains();
  return __real__ZN7Kestrav3CMF19RefApsGwServerCache8instanceEb(flag);
}

cmf_query* __real_nCfg_query(unsigned int);
cmf_query* __wrap_nCfg_query(unsigned int gid) {
  if (hooks().sharedQuery) hooks().sharedQuery(gid);
  return __real_nCfg_query(gid);
}

Ref<DictionaryScannerImpl>
__real__ZN7Kestrav17DictionaryFactory20createProfileScannerERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE(
    DictionaryFactory*, const std::string&);
Ref<DictionaryScannerImpl>
__wrap__ZN7Kestrav17DictionaryFactory20createProfileScannerERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE(
    DictionaryFactory* self, const std::string& name) {
  if (hooks().profileScanner) hooks().profileScanner(name);
  return __real__ZN7Kestrav17DictionaryFactory20createProfileScannerERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE(
      self, name);
}

ProfileAntiSpam __real__ZNK7Kestrav14ProfileFactory21createProfileAntiSpamEij(const ProfileFactory*,
                                                                              int, unsigned int);
ProfileAntiSpam __wrap__ZNK7Kestrav14ProfileFactory21createProfileAntiSpamEij(
    const ProfileFactory* self, int id, unsigned int domain) {
  if (hooks().antispamProfile) hooks().antispamProfile(id, domain);
  return __real__ZNK7Kestrav14ProfileFactory21createProfileAntiSpamEij(self, id, domain);
}

int __real_cfg_ip_policy_match(ip_addr_t, ip_addr_t, __qv_ip_policy*);
int __wrap_cfg_ip_policy_match(ip_addr_t server, ip_addr_t client, __qv_ip_policy* record) {
  if (hooks().ipPolicyMatch) hooks().ipPolicyMatch(server, client);
  return __real_cfg_ip_policy_match(server, client, record);
}

int __real_cfg_get_incoming_policy(const char*, const char*, __vexa_recipient_policy*);
int __wrap_cfg_get_incoming_policy(const char* sender, const char* recipient,
                                   __vexa_recipient_policy* record) {
  if (hooks().incomingPolicy) hooks().incomingPolicy(sender, recipient);
  return __real_cfg_get_incoming_policy(sender, recipient, record);
}

int __real_cfg_get_outgoing_policy(const char*, const char*, __vexa_recipient_policy*);
int __wrap_cfg_get_outgoing_policy(const char* sender, const char* recipient,
                                   __vexa_recipient_policy* record) {
  if (hooks().outgoingPolicy) hooks().outgoingPolicy(sender, recipient);
  return __real_cfg_get_outgoing_policy(sender, recipient, record);
}

}  // extern "C"
