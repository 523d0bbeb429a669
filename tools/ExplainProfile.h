// Explaining the profiles that policies carry. Each kind is a row of the table in
// ExplainProfile.cc and a writer, which gives what belongs to the kind alone.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>

#include "Policy.h"
#include "tools/Names.h"

namespace Kestrav::Tool {

// What a writer gives. The document's shape is docs/explain.schema.json.
struct ProfileExplanation {
  using Json = nlohmann::ordered_json;

  Json switches = Json::object();  // by group, the names of the switches that are on
  Json settings = Json::object();  // any map; what does not apply is left out
  Json verdicts = Json::array();   // entries of addVerdict()
  Json defaultActions;             // of every other verdict; null for a kind without verdicts

  // `text` completes "when ...": "rbl says spam". `isDefault`: the actions are the default ones.
  void addVerdict(const std::string& name, int number, const std::string& text, bool isDefault,
                  Json actions);
};

// The writers. `domain` is where the policy looked for the profile, here and below.
ProfileExplanation explainAntispam(const ProfileAntiSpam& profile, ngid_t domain,
                                   const Names& names);

// The actions in order, each with its value, its parameters and a sentence.
nlohmann::ordered_json actionsDocument(const ActionContainer& actions, ngid_t domain,
                                       const Names& names);

// The profiles that the policy carries, by kind.
nlohmann::ordered_json profilesDocument(const Policy& policy, ngid_t domain, const Names& names);

template <class P>
struct ProfileSwitch {
  const char* name;
  bool (P::*on)() const;
};

// The names of the switches that are on.
template <class P, std::size_t N>
nlohmann::ordered_json switchesOn(const P& profile, const ProfileSwitch<P> (&switches)[N]) {
  auto list = nlohmann::ordered_json::array();
  for (const ProfileSwitch<P>& entry : switches) {
    if ((profile.*entry.on)()) list.push_back(entry.name);
  }
  return list;
}

}  // namespace Kestrav::Tool
