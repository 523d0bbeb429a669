#include "platform/dictionary/CompiledItems.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <utility>

#include "platform/common/Strings.h"
#include "platform/dictionary/Words.h"
#include "platform/regex/Characters.h"

namespace Kestrav::Dictionary {
namespace {

// Expressions without required literals. Each one takes 0.002 to 1 ms for each 100 kB of text.
constexpr std::size_t kMostOneByOne = 200;

bool isInArea(const Item& item, ScanArea area) {
  return item.scope == 0 || (item.scope & area) != 0;
}

const ScanHit* findHit(const ScanResult& result, std::size_t item) {
  const auto hit = std::lower_bound(
      result.hits.begin(), result.hits.end(), item,
      [](const ScanHit& candidate, std::size_t wanted) { return candidate.item < wanted; });
  return hit != result.hits.end() && hit->item == item ? &*hit : nullptr;
}

// The fewest items without which the others cost at most `most`.
std::vector<bool> costliestBeyond(const CompiledItems::Items& items, Cost cost, Cost most) {
  std::vector<bool> beyond(items.size());
  if (cost <= most) return beyond;
  std::vector<std::size_t> order(items.size());
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return items[a]->cost > items[b]->cost; });
  for (auto item = order.begin(); cost > most; ++item) {
    beyond[*item] = true;
    cost -= items[*item]->cost;
  }
  return beyond;
}

}  // namespace

CompiledItems::CompiledItems(Items items, const Report& leftOut, bool incomplete, Cost most)
    : items_(std::move(items)), leavesOut_(incomplete) {
  const auto leaveOut = [&](std::uint32_t item, const std::string& reason) {
    leavesOut_ = true;
    leftOut(*items_[item], reason);
  };
  for (const auto& item : items_) cost_ += item->cost;
  const std::vector<bool> overBudget = costliestBeyond(items_, cost_, most);
  std::vector<LiteralSet::Literal> plain;
  std::vector<LiteralSet::Literal> folded;
  std::vector<LiteralSet::Literal> spaced;
  std::vector<LiteralSet::Literal> required;
  for (std::uint32_t i = 0; i < items_.size(); ++i) {
    const Item& item = *items_[i];
    if (overBudget[i]) {
      leaveOut(i, "the items of the set cost " + std::to_string(cost_) + " to compile, at most " +
                      std::to_string(most) + " are allowed, and this is one of the costliest");
      continue;
    }
    if (item.expression) {
      for (const std::string& literal : item.required) required.push_back({literal, i, true});
      if (item.required.empty()) oneByOne_.push_back(i);
      continue;
    }
    // ASCII folds to ASCII only, as the engine's own case folding does.
    const bool ascii = isAscii(item.literal);
    const bool oneWord = item.literal.find(' ') == std::string::npos;
    if (oneWord && (ascii || item.caseSensitive)) {
      plain.push_back({item.literal, i, !item.caseSensitive});
    } else if (item.caseSensitive) {
      spaced.push_back({item.literal, i, false});
      spacesAscii_ |= ascii;
    } else {
      folded.push_back({item.literal, i, false});
      foldsAscii_ |= ascii;
    }
  }

  plain_ = LiteralSet(plain, leaveOut);
  folded_ = LiteralSet(folded, leaveOut);
  spaced_ = LiteralSet(spaced, leaveOut);
  expressions_ = ExpressionSet(
      required, [&](std::uint32_t item, const std::string&) { oneByOne_.push_back(item); });
  std::sort(oneByOne_.begin(), oneByOne_.end());
  oneByOne_.erase(std::unique(oneByOne_.begin(), oneByOne_.end()), oneByOne_.end());
  for (std::size_t i = kMostOneByOne; i < oneByOne_.size(); ++i) {
    leaveOut(oneByOne_[i], "one of too many expressions that can only be searched for one by one");
  }
  oneByOne_.resize(std::min(oneByOne_.size(), kMostOneByOne));
}

void CompiledItems::scan(std::string_view text, ScanArea area, ScanResult& result,
                         const Report& givenUp) const {
  const bool truncated = text.size() > kLongestText;
  text = text.substr(0, kLongestText);
  bool complete = !truncated && !leavesOut_;
  Tallies tallies;
  if (!plain_.empty()) scanLiterals(plain_, text, area, tallies);
  const bool literalsOnly = expressions_.empty() && oneByOne_.empty();
  if (folded_.empty() && spaced_.empty() && literalsOnly) {
    addTo(result, tallies);
    result.complete &= complete;
    return;
  }
  const bool ascii = isAscii(text);
  // ASCII text cannot contain other literals.
  if (!folded_.empty() && (!ascii || foldsAscii_)) {
    scanLiterals(folded_, normalised(text, true), area, tallies);
  }
  if (!spaced_.empty() && (!ascii || spacesAscii_)) {
    scanLiterals(spaced_, normalised(text, false), area, tallies);
  }
  if (!literalsOnly) {
    const bool readable = ascii || Characters::isUtf8(text);
    const std::string converted = readable ? std::string() : asUtf8(text);
    complete &= scanExpressions(readable ? text : converted, area, result, tallies, givenUp);
  }
  addTo(result, tallies);
  result.complete &= complete;
}

void CompiledItems::scanLiterals(const LiteralSet& set, std::string_view text, ScanArea area,
                                 Tallies& tallies) const {
  set.scan(text, [&](std::uint32_t index, std::size_t begin, std::size_t end) {
    const Item& item = *items_[index];
    if (!isInArea(item, area)) return;
    if (item.wholeWords ? !isWholeWord(text, begin, end) : !isWholeCharacters(text, begin, end)) {
      return;
    }
    Tally& tally = tallies[index];
    if (begin < tally.end || tally.count >= item.mostMatches) return;
    ++tally.count;
    tally.end = end;
  });
}

bool CompiledItems::scanExpressions(std::string_view text, ScanArea area, const ScanResult& before,
                                    Tallies& tallies, const Report& givenUp) const {
  const std::vector<std::uint32_t> found = expressions_.candidates(text);
  std::vector<std::uint32_t> wanted;
  std::set_union(found.begin(), found.end(), oneByOne_.begin(), oneByOne_.end(),
                 std::back_inserter(wanted));
  bool complete = true;
  for (const std::uint32_t index : wanted) {
    const Item& item = *items_[index];
    if (!isInArea(item, area)) continue;
    const ScanHit* hit = findHit(before, index);
    const std::uint32_t most = item.mostMatches - (hit ? hit->count : 0);
    if (most == 0) continue;
    const CountedExpression::Count count = item.expression->count(text, most);
    if (count.givenUp) {
      complete = false;
      givenUp(item, count.reason);
    }
    if (count.matches > 0) tallies[index].count = count.matches;
  }
  return complete;
}

void CompiledItems::addTo(ScanResult& result, const Tallies& tallies) const {
  if (tallies.empty()) return;
  std::vector<std::pair<std::uint32_t, std::uint32_t>> counts;  // item, matches
  counts.reserve(tallies.size());
  for (const auto& [item, tally] : tallies) counts.emplace_back(item, tally.count);
  std::sort(counts.begin(), counts.end());

  std::vector<ScanHit> hits;
  hits.reserve(result.hits.size() + counts.size());
  auto before = result.hits.begin();
  std::int64_t score = result.score;
  for (const auto& [index, matches] : counts) {
    while (before != result.hits.end() && before->item < index) hits.push_back(*before++);
    const Item& item = *items_[index];
    ScanHit hit{index, item.text, 0, 0};
    if (before != result.hits.end() && before->item == index) hit = *before++;
    const std::uint32_t more = std::min(matches, item.mostMatches - hit.count);
    const std::int64_t contribution = std::int64_t{more} * item.score;
    hit.count += more;
    hit.contribution += contribution;
    score += contribution;
    hits.push_back(std::move(hit));
  }
  hits.insert(hits.end(), before, result.hits.end());
  result.hits = std::move(hits);
  result.score = score;
}

}  // namespace Kestrav::Dictionary
