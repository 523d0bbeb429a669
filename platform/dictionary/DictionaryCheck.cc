#include "platform/dictionary/DictionaryCheck.h"

#include <time.h>

#include <algorithm>
#include <map>

#include "platform/common/Exception.h"
#include "platform/dictionary/CompiledItems.h"

namespace Kestrav {
namespace {

// Of the calling thread: what other threads do does not count.
std::chrono::microseconds processorTime() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_nsec / 1'000);
}

}  // namespace

DictionaryCheck checkDictionary(const std::vector<const __vexa_dictionary_item*>& items) {
  using namespace Dictionary;
  using std::chrono::microseconds;
  const microseconds start = processorTime();
  DictionaryCheck check;
  CompiledItems::Items made;
  std::map<const Item*, std::size_t> indexes;
  for (std::size_t i = 0; i < items.size(); ++i) {
    try {
      auto item = makeItem(*items[i]);
      if (item == nullptr) continue;
      indexes.emplace(item.get(), i);
      made.push_back(std::move(item));
    } catch (const Exception& exception) {
      check.broken.push_back({i, exception.message()});
    }
  }
  const CompiledItems compiled(made, [&](const Item& item, const std::string& reason) {
    check.crowdedOut.push_back({indexes.at(&item), reason});
  });
  check.cost = microseconds(compiled.cost());
  check.most = microseconds(kMostSetCost);
  check.measured = processorTime() - start;

  for (const auto& item : made) {
    check.costliest.push_back({indexes.at(item.get()), microseconds(item->cost)});
  }
  std::stable_sort(check.costliest.begin(), check.costliest.end(),
                   [](const auto& a, const auto& b) { return a.cost > b.cost; });
  check.costliest.resize(std::min(check.costliest.size(), DictionaryCheck::kMostCostly));
  return check;
}

}  // namespace Kestrav
