#include "tools/ExplainProfile.h"

#include <utility>

#include "platform/config/records/Field.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/Tables.h"

namespace Kestrav::Tool {
namespace {

using Json = nlohmann::ordered_json;

struct ProfileKind {
  const char* name;  // its key in the document
  G_CLI_GID gid;     // the table of its records
  // Null when the policy carries no such profile.
  Json (*explain)(const ProfileKind& kind, const Policy& policy, ngid_t domain, const Names& names);
};

Json profileDocument(const ProfileKind& kind, const Profile& profile,
                     ProfileExplanation explanation, ngid_t domain, const Names& names) {
  const auto id = static_cast<std::uint32_t>(profile.id());
  const auto found = names.find(kind.gid, domain, id);
  const ngid_t recordDomain = found ? found->domain : domain;
  Json document = {{"name", profile.name()},
                   {"record",
                    {{"table", std::string(Config::findTable(kind.gid)->key)},
                     {"gid", static_cast<unsigned>(kind.gid)},
                     {"domain", recordDomain},
                     {"domainName", names.domainName(recordDomain)},
                     {"id", id}}},
                   {"messageParseType", profile.messageParseType()},
                   {"switches", std::move(explanation.switches)},
                   {"settings", std::move(explanation.settings)},
                   {"verdicts", std::move(explanation.verdicts)}};
  if (!explanation.defaultActions.is_null()) {
    document["defaultActions"] = std::move(explanation.defaultActions);
  }
  return document;
}

template <auto kAccessor, auto kWriter>
Json explainWith(const ProfileKind& kind, const Policy& policy, ngid_t domain, const Names& names) {
  const auto& profile = (policy.*kAccessor)();
  if (profile.isNull()) return nullptr;
  return profileDocument(kind, profile, kWriter(profile, domain, names), domain, names);
}

constexpr ProfileKind kKinds[] = {
    {"antispam", GID_ANTISPAM_PROFILE, explainWith<&Policy::antispamProfile, explainAntispam>},
};

}  // namespace

void ProfileExplanation::addVerdict(const std::string& name, int number, const std::string& text,
                                    bool isDefault, Json actions) {
  verdicts.push_back({{"name", name},
                      {"number", number},
                      {"text", text},
                      {"default", isDefault},
                      {"actions", std::move(actions)}});
}

nlohmann::ordered_json profilesDocument(const Policy& policy, ngid_t domain, const Names& names) {
  Json profiles = Json::object();
  for (const ProfileKind& kind : kKinds) {
    Json profile = kind.explain(kind, policy, domain, names);
    if (!profile.is_null()) profiles[kind.name] = std::move(profile);
  }
  return profiles;
}

}  // namespace Kestrav::Tool
