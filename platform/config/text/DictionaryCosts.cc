// Refuses dictionaries and groups of which a scanner would leave something out, and warns of costly
// ones.
#include <algorithm>
#include <map>
#include <set>

#include "platform/common/Strings.h"
#include "platform/config/records/Gid.h"
#include "platform/config/records/Tables.h"
#include "platform/config/text/Reader.h"
#include "platform/dictionary/DictionaryCheck.h"

namespace Kestrav::Config::Text {
namespace {

// A set that costs less is not worth a warning.
constexpr int kWarnedShare = 10;  // of the budget, in percent

std::string milliseconds(std::chrono::microseconds time) {
  return std::to_string((time.count() + 999) / 1000) + " ms";
}

// The records that a record of a nested table belongs to or names.
std::size_t targetIn(const Configuration::Record& record, G_CLI_GID table) {
  for (const Configuration::Link& link : record.links) {
    if (link.field->target == table) return link.target;
  }
  return Configuration::kNone;
}

}  // namespace

void Reader::checkDictionaryCosts() {
  using Items = std::vector<std::size_t>;                       // records
  std::map<std::size_t, Items> itemsOf;                         // by dictionary
  std::map<std::size_t, std::set<std::size_t>> dictionariesOf;  // by group
  for (std::size_t i = 0; i < configuration_.records_.size(); ++i) {
    const Configuration::Record& record = configuration_.records_[i];
    const G_CLI_GID table = record.table->gid;
    if (table != GID_DICTIONARY_ITEM && table != GID_DICTIONARY_GROUP_ITEM) continue;
    const std::size_t dictionary = targetIn(record, GID_DICTIONARY);
    if (dictionary == Configuration::kNone) continue;  // reported already
    if (table == GID_DICTIONARY_ITEM) {
      itemsOf[dictionary].push_back(i);
    } else if (const auto group = targetIn(record, GID_DICTIONARY_GROUP);
               group != Configuration::kNone) {
      dictionariesOf[group].insert(dictionary);
    }
  }

  std::set<std::size_t> refused;
  for (const auto& [dictionary, items] : itemsOf) {
    if (!checkSet(dictionary, items, true)) refused.insert(dictionary);
  }
  for (const auto& [group, dictionaries] : dictionariesOf) {
    if (dictionaries.size() < 2) continue;
    Items items;
    for (const std::size_t dictionary : dictionaries) {
      if (refused.contains(dictionary)) continue;
      const Items& more = itemsOf[dictionary];
      items.insert(items.end(), more.begin(), more.end());
    }
    std::sort(items.begin(), items.end());
    checkSet(group, items, false);
  }
}

bool Reader::checkSet(std::size_t set, const std::vector<std::size_t>& items, bool firstCheck) {
  std::vector<const __vexa_dictionary_item*> records;
  for (const std::size_t item : items) {
    records.push_back(static_cast<const __vexa_dictionary_item*>(
        static_cast<const void*>(configuration_.records_[item].record.data())));
  }
  const DictionaryCheck check = checkDictionary(records);
  const auto textOf = [&](std::size_t index) { return shown(boundedText(records[index]->text)); };
  const Configuration::Record& owner = configuration_.records_[set];
  const Phrase name = std::string(owner.table->singular) + " " + shown(owner.name);

  if (firstCheck) {
    for (const auto& [index, why] : check.broken) {
      const Place& place = places_[items[index]];
      const bool known = std::any_of(problems_.begin(), problems_.end(), [&](const Problem& other) {
        return other.line == place.line && other.column == place.column &&
               other.file == files_[place.file]->name;
      });
      if (known) continue;
      problem(place, textOf(index) + " cannot be searched for: " + reason(why), "another pattern");
    }
  }
  const auto inLine = [&](std::size_t index) {
    return textOf(index) + " in line " + std::to_string(places_[items[index]].line);
  };
  Phrase causes = "all " + std::to_string(items.size()) + " items alike";
  const char* separator = nullptr;
  for (const auto& [index, cost] : check.costliest) {
    if (cost < std::chrono::milliseconds(1)) break;
    causes = (separator == nullptr ? Phrase("most of it for ") : causes + separator) +
             inLine(index) + " (" + milliseconds(cost) + ")";
    separator = ", ";
  }
  const Phrase costs = "the " + name + " costs about " + milliseconds(check.cost);
  if (check.overBudget()) {
    problem(places_[set], costs + " to compile, " + causes,
            "at most " + milliseconds(check.most) + ": fewer or simpler items");
    return false;
  }
  if (!check.crowdedOut.empty()) {
    constexpr std::size_t kMostNamed = 3;
    Phrase named = inLine(check.crowdedOut[0].item);
    for (std::size_t i = 1; i < std::min(kMostNamed, check.crowdedOut.size()); ++i) {
      named = named + ", " + inLine(check.crowdedOut[i].item);
    }
    problem(places_[set],
            "the " + name + " would leave out " + std::to_string(check.crowdedOut.size()) +
                " of its items, such as " + named + ": " + check.crowdedOut.front().reason,
            "expressions with three characters in a row that every match contains");
    return false;
  }
  if (check.cost * 100 >= check.most * kWarnedShare) {
    problem(places_[set],
            costs + " of " + milliseconds(check.most) +
                " to compile (here: " + milliseconds(check.measured) + "), " + causes,
            std::string("fewer or simpler items keep first scans short"), Severity::kWarning);
  }
  return true;
}

}  // namespace Kestrav::Config::Text
