#include "platform/dictionary/SetPlan.h"

#include <algorithm>
#include <cstddef>
#include <tuple>

namespace Kestrav::Dictionary {

SetPlan planSet(const std::vector<std::shared_ptr<const Item>>& items, Cost most) {
  SetPlan plan;
  plan.searches.assign(items.size(), SetPlan::Search::kByLiterals);
  std::vector<std::size_t> costliestFirst;
  for (std::size_t i = 0; i < items.size(); ++i) {
    plan.cost += items[i]->cost;
    costliestFirst.push_back(i);
  }
  Cost used = plan.cost;
  if (used > most) {
    std::stable_sort(costliestFirst.begin(), costliestFirst.end(),
                     [&](std::size_t a, std::size_t b) { return items[a]->cost > items[b]->cost; });
    for (const std::size_t i : costliestFirst) {
      if (used <= most) break;
      used -= items[i]->cost;
      plan.searches[i] = SetPlan::Search::kNone;
    }
  }

  using Candidate = std::tuple<bool, Cost, std::size_t>;  // has literals, cost, item
  std::vector<Candidate> candidates;
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (plan.searches[i] == SetPlan::Search::kNone) continue;
    const Gate& gate = items[i]->gate;
    if (!items[i]->expression) {
      plan.searches[i] = SetPlan::Search::kByExpression;
    } else if (!gate.expression.empty() && (gate.literals.empty() || !gate.separate)) {
      candidates.emplace_back(!gate.literals.empty(), gate.cost, i);
    }
  }
  std::sort(candidates.begin(), candidates.end());
  Cost engine = 0;
  for (const auto& [hasLiterals, cost, item] : candidates) {
    if (used + cost > most || (hasLiterals && engine + cost > kMostEngineCost)) continue;
    plan.searches[item] = SetPlan::Search::kByExpression;
    engine += cost;
    used += cost;
  }
  plan.cost += engine;
  return plan;
}

}  // namespace Kestrav::Dictionary
