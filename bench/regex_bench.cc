// Patterns on typical subjects of a gateway: file names, addresses, MIME types. Lists of
// addresses are looked up through their index and, for comparison, by trying every pattern.
//
// Expressions of a gateway are compared with bare PCRE2. Generated code of PCRE2 10.42 gives wrong
// answers for the shapes marked "groups"; Pcre.cc turns off the optimisation at fault. The other
// cures are to turn off all optimisations of the start, or not to use generated code.
#include <benchmark/benchmark.h>
#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>

#include "platform/regex/PatternContainer.h"
#include "platform/regex/Pcre.h"
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

struct Expression {
  const char* name;
  const char* text;
};
constexpr Expression kExpressions[] = {
    {"literal", "invoice[-_ ]?\\d+\\.pdf"},
    {"extension", "\\.(ocx|msi|exe|com|dll|thmx|cmd|bat)$"},
    {"address", "[\\w.+-]+@(?:[\\w-]+\\.)*example\\.(?:com|org)$"},
    {"anchored", "^[^@]*@mail\\d+\\.example\\.com$"},
    {"blanks", "\\s+$"},
    {"groups_words", "(?:invoice|bill|account)\\s*#?\\d+"},
    {"groups_subject", "(?:re|fwd|aw):\\s*urgent"},
    {"groups_scheme", "(https?|ftp)://[^/]+\\.zip"},
    {"groups_anywhere", "(..|^)b*x"},
};

// Prose, with what most of the expressions find at its end.
std::string subjectOf(std::size_t size, bool hit) {
  const std::string end =
      hit ? " user@mail7.example.com https://a/b.zip invoice-17.pdf re: urgent bill 17 setup.exe"
          : "";
  std::string subject;
  while (subject.size() < size) {
    subject += "From the desk of the quarterly committee; please review 2026 figures by Thursday ";
  }
  return subject.substr(0, size - std::min(size, end.size())) + end;
}

enum class How { kOurs, kBare, kNoStart, kInterpreted };

void BM_Expression(benchmark::State& state, const Expression& expression, How how,
                   const std::string& subject) {
  if (how == How::kOurs) {
    const Kestrav::Pcre::Program program(expression.text, {.ignoreCase = true, .utf8 = true});
    for (auto _ : state) benchmark::DoNotOptimize(program.search(subject));
    return;
  }
  const std::string text = expression.text;
  const std::uint32_t options =
      PCRE2_UTF | PCRE2_CASELESS | (how == How::kNoStart ? PCRE2_NO_START_OPTIMIZE : 0u);
  int error = 0;
  std::size_t offset = 0;
  pcre2_code* code = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(), options,
                                   &error, &offset, nullptr);
  if (how != How::kInterpreted) pcre2_jit_compile(code, PCRE2_JIT_COMPLETE);
  pcre2_match_data* data = pcre2_match_data_create(1, nullptr);
  for (auto _ : state) {
    benchmark::DoNotOptimize(pcre2_match(code, reinterpret_cast<PCRE2_SPTR>(subject.data()),
                                         subject.size(), 0, 0, data, nullptr));
  }
  pcre2_match_data_free(data);
  pcre2_code_free(code);
}

void registerExpressions() {
  constexpr std::pair<How, const char*> kHows[] = {{How::kOurs, "ours"},
                                                   {How::kBare, "bare"},
                                                   {How::kNoStart, "no_start_optimisation"},
                                                   {How::kInterpreted, "interpreted"}};
  for (const Expression& expression : kExpressions) {
    for (const std::size_t size : {60, 10'000, 100'000}) {
      for (const bool hit : {false, true}) {
        const std::string subject = subjectOf(size, hit);
        for (const auto& [how, name] : kHows) {
          const std::string title = std::string("BM_Expression/") + expression.name + '/' +
                                    std::to_string(size) + (hit ? "/hit/" : "/miss/") + name;
          benchmark::RegisterBenchmark(title.c_str(), BM_Expression, expression, how, subject)
              ->MinTime(0.05);
        }
      }
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  registerExpressions();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
