#include "platform/dictionary/SetPlan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/dictionary/DictionaryItems.h"

namespace Kestrav::Dictionary {
namespace {

using Testing::DictionaryItem;
using ::testing::ElementsAre;
using Testing::Literal;
using Testing::Regex;
using Testing::Wildcard;
using enum SetPlan::Search;

std::vector<std::shared_ptr<const Item>> Items(const std::vector<DictionaryItem>& items) {
  std::vector<std::shared_ptr<const Item>> made;
  for (const DictionaryItem& item : items) made.push_back(makeItem(item.record()));
  return made;
}

TEST(SetPlan, SmallSetsAreSearchedByExpression) {
  const auto items = Items({Literal("cash"), Regex("mo.ey"), Wildcard("v?agra*")});
  const SetPlan plan = planSet(items, kMostSetCost);
  EXPECT_THAT(plan.searches, ElementsAre(kByExpression, kByExpression, kByExpression));
  Cost cost = 0;
  for (const auto& item : items) cost += item->cost + item->gate.cost;
  EXPECT_EQ(plan.cost, cost);
}

TEST(SetPlan, ExpressionsBeyondTheirShareAreSearchedByLiterals) {
  std::vector<DictionaryItem> costly(400, Regex("money[a-z][a-z][a-z]\\d\\d"));
  std::vector<DictionaryItem> items = costly;
  items.push_back(Regex("mo.ey"));
  items.push_back(Regex("[a-f][a-f][a-f]\\d\\d"));  // without literals
  const auto made = Items(items);
  const SetPlan plan = planSet(made, kMostSetCost);
  Cost engine = 0;
  for (std::size_t i = 0; i < made.size(); ++i) {
    if (plan.searches[i] == kByExpression) engine += made[i]->gate.cost;
  }
  EXPECT_LE(engine, kMostEngineCost);
  EXPECT_GT(engine, kMostEngineCost * 9 / 10);
  EXPECT_EQ(plan.searches.front(), kByExpression);
  EXPECT_EQ(plan.searches[399], kByLiterals);
  EXPECT_EQ(plan.searches[400], kByExpression);
  EXPECT_EQ(plan.searches[401], kByExpression);
}

TEST(SetPlan, TheCostliestItemsOfACostlySetAreLeftOut) {
  const auto items = Items({Literal("cash"), Regex("(?:gold|money|cash|win)"), Literal("money")});
  const Cost words = items[0]->cost + items[2]->cost;
  EXPECT_THAT(planSet(items, words + items[1]->cost).searches,
              ElementsAre(kByExpression, kByLiterals, kByExpression));
  const SetPlan plan = planSet(items, words + items[1]->cost - 1);
  EXPECT_THAT(plan.searches, ElementsAre(kByExpression, kNone, kByExpression));
  EXPECT_EQ(plan.cost, words + items[1]->cost);
  EXPECT_THAT(planSet(items, 0).searches, ElementsAre(kNone, kNone, kNone));
}

}  // namespace
}  // namespace Kestrav::Dictionary
