#include "tests/profile/Hooks.h"

using namespace Kestrav;

namespace Kestrav::Testing {

[[gnu::used, gnu::section(".interposed")]] extern constinit const Interposition<
    // The platform
    &CMF::Event::DispatcherImpl::add, &CMF::Event::Dispatcher::instance,
    &Config::ConfigStore::attached, &Config::ConfigStore::journal, &Config::ConfigStore::revision,
    &CMF::RefApsGwServerCache::instance, &nCfg_query, &DictionaryFactory::createProfileScanner,
    &DictionaryFactory::clean, &cfg_ip_policy_match, &cfg_get_incoming_policy,
    &cfg_get_outgoing_policy,

    // The factory
    &ProfileFactory::createProfileAntiSpam, &ProfileFactory::clearAntispamProfiles,
    &ProfileFactory::clearAntivirusProfiles, &ProfileFactory::clearContentProfiles,
    &ProfileFactory::clearDLPProfiles, &ProfileFactory::clearFilePatternProfiles,
    &ProfileFactory::clearNotificationProfiles, &ProfileFactory::clearSessionProfiles,
    &ProfileFactory::clearWebFilterProfiles, &ProfileFactory::updateDeferPeriod,
    kUpdate<__aps_gw_as_profile>, kUpdate<__aps_gw_av_profile>, kUpdate<__aps_gw_content_profile>,
    kUpdate<__aps_dlp_profile>, kUpdate<__vexa_encryption_profile>,
    kUpdate<__aps_profile_notification>, kUpdate<__attachment_file_pattern>,
    kUpdate<__aps_as_wf_profile>, kUpdate<__qv_ip_profile>, kUpdate<__aps_systemquarantine_folders>>
    kInterposed{};

}  // namespace Kestrav::Testing
