// The calls that take texts and numbers.
#include <iterator>
#include <list>
#include <utility>

#include "ActionContainer.h"
#include "Adapters.h"
#include "EmailAddressRewriter.h"
#include "config/CMF.h"
#include "config/Event.h"
#include "config/ServerCache.h"
#include "platform/common/Exception.h"
#include "platform/common/IPAddressMask.h"
#include "platform/common/Logger.h"
#include "platform/config/client/cmf.h"
#include "platform/config/records/PolicyRecords.h"
#include "platform/config/records/QuarantineRecords.h"
#include "platform/config/records/SharedRecords.h"
#include "platform/dictionary/DictionaryFactory.h"
#include "platform/parser/Header.h"
#include "platform/regex/PatternContainer.h"
#include "platform/regex/StringContainer.h"
#include "platform/regex/StringPattern.h"
#include "tests/profile/EntryPoints.h"
#include "tests/support/AntispamRecords.h"
#include "tests/support/Events.h"
#include "tests/support/WebFilterRecords.h"

namespace Kestrav::Testing {
namespace {

using namespace CMF;
using Config::ChangeSet;
using Config::ConfigStore;
using Folders = TableQuery<__aps_systemquarantine_folders, GID_QUARANTINE_FOLDER>;

const EmailAddress kSender = EmailAddress::rfc5321Parse("sender@elsewhere.example", false);

void append(std::vector<EntryPoint>& to, std::vector<EntryPoint> more) {
  std::move(more.begin(), more.end(), std::back_inserter(to));
}

}  // namespace

std::vector<EntryPoint> textEntryPoints(const std::string& text, Config::ConfigStore* store) {
  const auto rewritten = [=](const std::string& pattern, const EmailAddress& address) {
    EmailAddressRewriter rewriter(pattern);
    rewriter(address);
  };
  std::vector<EntryPoint> all = {
      {"rfc5321Parse", [=] { EmailAddress::rfc5321Parse(text, false); }},
      {"rfc5321Parse of special paths", [=] { EmailAddress::rfc5321Parse(text, true); }},
      {"rfc5321Parse of a quoted text",
       [=] { EmailAddress::rfc5321Parse("\"" + text + "\"@example.com", false).asString(); }},
      {"rfc5321Parse of a domain", [=] { EmailAddress::rfc5321Parse("a@" + text, false); }},
      {"rfc5322ParseSet", [=] { EmailAddress::rfc5322ParseSet(text, false, false); }},
      {"rfc5322ParseSet of groups", [=] { EmailAddress::rfc5322ParseSet(text, true, true); }},
      {"EmailAddressRewriter", [=] { rewritten(text, kSender); }},
      {"EmailAddressRewriter of a domain", [=] { rewritten("%%LOCAL%%@" + text, kSender); }},
      {"EmailAddressRewriter of a quoted address",
       [=] {
         rewritten(text + "%%LOCAL%%@%%DOMAIN%%",
                   EmailAddress::rfc5321Parse("\"a b\"@example.com", false));
       }},
      {"EmailAddressRewriter::adapter",
       [=] {
         cfg_as_email_address_modification_ half{1, {}};
         text.copy(half.text, sizeof half.text);
         EmailAddressRewriter::adapter(half, half)(kSender);
       }},
      {"Header", [=] { Header(text, text).asString(); }},
      {"Action::subjectTag", [=] { Action(ActionTypes::kSubjectTag).subjectTag(text); }},
      {"Action::alternateHost", [=] { Action(ActionTypes::kAlternateHost).alternateHost(text); }},
      {"IPAddress", [=] { IPAddress(text).asString(); }},
      {"IPAddressMask", [=] { IPAddressMask(text).asString(); }},
      {"isValidIPAddress", [=] { IPAddress::isValidIPAddress(text); }},
      {"isValidIPAddressMask", [=] { IPAddressMask::isValidIPAddressMask(text); }},
      {"StringPattern of a wildcard", [=] { StringPattern(text, true, false).match(text); }},
      {"StringPattern of a regular expression",
       [=] { StringPattern(text, true, true).match(text); }},
      {"StringPattern::match", [=] { StringPattern("(a|b)*\\w{2}x", true, true).match(text); }},
      {"PatternContainer",
       [=] {
         PatternContainer patterns;
         patterns.add(text);
         patterns.matches(text);
       }},
      {"StringContainer",
       [=] {
         StringContainer strings;
         strings.add(text);
         strings.contains(text);
       }},
      {"adapter of headers",
       [=] {
         __aps_hideheader_list_t header{};
         text.copy(header.name, sizeof header.name);
         StringContainer out;
         adapter(out, 1, &header);
       }},
      {"adapter of hosts",
       [=] {
         aps_fqdn_t host{};
         text.copy(host.name, sizeof host.name);
         std::list<std::string> out;
         adapter(out, 1, &host);
       }},
      {"adapter of patterns",
       [=] {
         aps_bounded_string pattern{};
         text.copy(pattern.text, sizeof pattern.text);
         PatternContainer out;
         adapter(out, 1, &pattern);
       }},
      {"ProfileQuarantineFolder",
       [=] {
         __aps_systemquarantine_folders folder{};
         text.copy(folder.name, sizeof folder.name);
         const ProfileQuarantineFolder made(&folder);
       }},
      {"find by name",
       [=] {
         Folders folders;
         find(folders, text);
       }},
      {"cmf_query_index_of_name",
       [=] { cmf_query_index_of_name(nCfg_query(GID_WEB_FILTER_PROFILE), text.c_str()); }},
      {"createProfileScanner", [=] { DictionaryFactory::instance()->createProfileScanner(text); }},
      {"createGroupScanner", [=] { DictionaryFactory::instance()->createGroupScanner(text); }},
      {"a scanner",
       [=] {
         const auto scanner = DictionaryFactory::instance()->createProfileScanner("words");
         if (!scanner.isNull()) scanner->scan(text);
       }},
      {"RefApsGwServerCache::find", [=] { RefApsGwServerCache::instance(false).find(text); }},
      {"cfg_get_incoming_policy",
       [=] {
         __vexa_recipient_policy record{};
         cfg_get_incoming_policy(text.c_str(), text.c_str(), &record);
       }},
      {"cfg_get_outgoing_policy",
       [=] {
         __vexa_recipient_policy record{};
         cfg_get_outgoing_policy(text.c_str(), text.c_str(), &record);
       }},
      {"Dispatcher::instance", [=] { Event::Dispatcher::instance(text, true, true)->trace(); }},
      {"Logger::log", [=] { Logger::instance(false).log(1, "%s\x01%s", text.c_str(), ""); }},
      {"ConfigStore::open",
       [=] {
         ConfigStore::Options options;
         options.create = false;
         ConfigStore::open(text, options);
       }},
      {"Exception",
       [=] {
         const Exception failure = Exception(text, 1, text.c_str(), 1).stringParameter(text);
         Exception(text, 2).cause(failure).asString();
       }},
  };
  if (store == nullptr) return all;
  append(all, {
                  {"registerProcess", [=] { store->registerProcess(text); }},
                  {"a record of that name",
                   [=] {
                     ChangeSet changes;
                     WebFilterRecord(7).name(text).put(changes);
                     store->commit(std::move(changes));
                   }},
              });
  return all;
}

std::vector<EntryPoint> numberEntryPoints(std::uint64_t number, Config::ConfigStore* store) {
  const auto gid = static_cast<G_CLI_GID>(number);
  const auto id = static_cast<std::uint32_t>(number);
  const auto index = static_cast<int>(number);
  std::vector<EntryPoint> all = {
      {"createProfileAntiSpam",
       [=] { ProfileFactory::instance()->createProfileAntiSpam(index, id); }},
      {"createProfileWebFilter",
       [=] { ProfileFactory::instance()->createProfileWebFilter(index); }},
      {"createProfileQuarantineFolder",
       [=] { ProfileFactory::instance()->createProfileQuarantineFolder(index, id); }},
      {"ProfileAntiSpam", [=] { ProfileAntiSpam(index, index, nullptr).individualAction({}); }},
      {"individualAction",
       [=] {
         ProfileAntiSpam(0, 1, AntispamRecord(1).data())
             .individualAction(static_cast<ClassifierType>(index));
       }},
      {"Action", [=] { ActionContainer().find(Action(id).type()); }},
      {"a query",
       [=] {
         cmf_query* query = cmf_query_create_withdomain(id, id);
         cmf_query_do_table_size(query, 0);
         cmf_query_goto(query, index);
         cmf_set_query_cache_st(query, 0, index);
         cmf_query_do_get_by_gid(query, id);
         cmf_query_index_of(query, id);
         cmf_query_data(query);
         cmf_query_do_gui_commit(0, query, nullptr, index);
         cmf_query_free(query);
       }},
      {"a query of folders",
       [=] {
         cmf_query* query = cmf_query_create_withdomain(0, GID_QUARANTINE_FOLDER);
         query->current_row = index;
         cmf_query_update(query);
         cmf_query_goto(query, index);
         cmf_query_do_get_by_gid(query, id);
         cmf_query_free(query);
       }},
      {"nCfg_query",
       [=] {
         cmf_set_cur_domain_id(id);
         cmf_query_goto(nCfg_query(id), index);
         cmf_query_data(nCfg_query(id));
         cmf_set_cur_domain_id(0);
       }},
      {"cmdb_find_root_entity", [=] { cmdb_find_root_entity(id, id); }},
      {"cmf_get_obj_data", [=] { cmf_get_obj_data(cmf_ptr_from_shmid(id, index)); }},
      {"IPAddress of a plain one",
       [=] {
         ip_addr_t plain{};
         plain.family = static_cast<decltype(plain.family)>(number);
         IPAddress(plain).asString();
       }},
      {"ChangeSet::put", [=] { ChangeSet().put(gid, id, WebFilterRecord(1).data()); }},
      {"ChangeSet::put of a record with a list",
       [=] {
         WebFilterRecord record(id);
         record->category_id_count = number;
         ChangeSet().put(GID_WEB_FILTER_PROFILE, 0, &*record.operator->());
       }},
      {"ChangeSet::erase", [=] { ChangeSet().erase(gid, id, id); }},
      {"ChangeSet::order",
       [=] {
         ChangeSet().order(gid, id, {id, id});
       }},
      {"waitApplied", [=] { dispatcher()->waitApplied(1, number > 1 ? -1 : 0); }},
      {"unobserve", [=] { dispatcher()->unobserve(id); }},
      {"StringPattern",
       [=] { StringPattern("a{" + std::to_string(number) + "}", false, true).match("aaa"); }},
      {"ConfigStore::open",
       [=] {
         ConfigStore::Options options;
         options.create = false;
         options.initialMapSize = options.maximumMapSize = number;
         options.readerSlots = id;
         options.resizePatienceMs = index;
         options.journalEntries = options.journalEntriesHard = number;
         ConfigStore::open("/nowhere", options);
       }},
  };
  if (store == nullptr) return all;
  append(all, {
                  {"waitForRevision", [=] { store->waitForRevision(number, number > 1 ? 1 : -1); }},
                  {"commitAt", [=] { store->commitAt(number, {}); }},
                  {"head", [=] { store->head(number); }},
                  {"applied", [=] { store->applied(number); }},
                  {"journal", [=] { store->journal(number, number, [](const auto&) {}); }},
                  {"the whole journal", [=] { store->journal(0, number, [](const auto&) {}); }},
                  {"Snapshot",
                   [=] {
                     const Config::Snapshot snapshot = store->snapshot();
                     snapshot.size(gid, id);
                     snapshot.byId(gid, id, id);
                     snapshot.at(gid, id, index);
                     snapshot.at(GID_QUARANTINE_FOLDER, 0, index);
                     snapshot.byId(GID_QUARANTINE_FOLDER, 0, id);
                     snapshot.domains(gid);
                     snapshot.lastChanged(gid);
                     snapshot.walk(gid, id, [](const auto&) { return true; });
                   }},
                  {"a commit of an order",
                   [=] {
                     ChangeSet changes;
                     changes.order(GID_WEB_FILTER_PROFILE, 0, {id, id});
                     store->commit(std::move(changes));
                   }},
                  {"a commit before another record",
                   [=] {
                     ChangeSet changes;
                     changes.putBefore(GID_WEB_FILTER_PROFILE, 0, WebFilterRecord(8).data(), id);
                     store->commit(std::move(changes));
                   }},
              });
  return all;
}

}  // namespace Kestrav::Testing
