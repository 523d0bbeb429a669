// Patterns on typical subjects of a gateway: file names, addresses, MIME types. Lists of
// addresses are looked up through their index and, for comparison, by trying every pattern.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

#include "platform/regex/PatternContainer.h"
#include "platform/regex/StringPattern.h"

namespace {

using Kestrav::PatternContainer;
using Kestrav::StringPattern;

void match(benchmark::State& state, const StringPattern& pattern, const std::string& subject) {
  for (auto _ : state) benchmark::DoNotOptimize(pattern.matches(subject));
}

void BM_WildcardSuffix(benchmark::State& state) {
  match(state, StringPattern("*.exe", true, false), "Quarterly report (final).EXE");
}
BENCHMARK(BM_WildcardSuffix);

void BM_WildcardWithClasses(benchmark::State& state) {
  match(state, StringPattern("*.do[ct][xm]", true, false), "Quarterly report (final).docm");
}
BENCHMARK(BM_WildcardWithClasses);

void BM_ExpressionOnFileName(benchmark::State& state) {
  match(state, StringPattern(R"(\.(ocx|msi|exe|com|dll|thmx|cmd|bat)$)", true, true),
        "Quarterly report (final).exe");
}
BENCHMARK(BM_ExpressionOnFileName);

void BM_ExpressionOnManyThreads(benchmark::State& state) {
  static const StringPattern pattern(R"(\.(ocx|msi|exe|com|dll|thmx|cmd|bat)$)", true, true);
  match(state, pattern, "Quarterly report (final).exe");
}
BENCHMARK(BM_ExpressionOnManyThreads)->Threads(1)->Threads(2);

// Quadratic in the subject, but it ends: the work that one sender can cause.
void BM_ExpressionWorkedHard(benchmark::State& state) {
  std::string subject(1000, ' ');
  subject += 'x';
  match(state, StringPattern(R"(\s+$)", true, true), subject);
}
BENCHMARK(BM_ExpressionWorkedHard);

void BM_ExpressionCompiled(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(StringPattern(R"(\.(ocx|msi|exe)$)", true, true));
  }
}
BENCHMARK(BM_ExpressionCompiled);

// A quarter each of addresses, domains, domains with subdomains, and address prefixes.
PatternContainer listOf(std::int64_t entries) {
  PatternContainer list;
  for (std::int64_t i = 0; i < entries; i += 4) {
    const std::string n = std::to_string(i);
    list.add("user" + n + "@example.net");
    list.add("*@domain" + n + ".example");
    list.add("*@*.domain" + n + ".example");
    list.add("10." + n + ".*");
  }
  return list;
}

void BM_ListIndexed(benchmark::State& state) {
  const PatternContainer list = listOf(state.range(0));
  const std::string subject = "somebody@mail.unlisted.example";
  for (auto _ : state) benchmark::DoNotOptimize(list.matches(subject));
}
BENCHMARK(BM_ListIndexed)->Arg(100)->Arg(10'000)->Arg(1'000'000);

void BM_ListScanned(benchmark::State& state) {
  const PatternContainer list = listOf(state.range(0));
  const std::string subject = "somebody@mail.unlisted.example";
  for (auto _ : state) benchmark::DoNotOptimize(list.matchesLinear(subject));
}
BENCHMARK(BM_ListScanned)->Arg(100)->Arg(10'000);

}  // namespace

BENCHMARK_MAIN();
