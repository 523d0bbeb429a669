// Scanning 10 MB for a dictionary of 1,000 words: the scanner, the engine below it without rules
// about words, and a loop over compiled expressions. Then wildcards, expressions, and short texts,
// where the fixed cost of a scan dominates.
#include <benchmark/benchmark.h>
#include <hs/hs.h>

#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "platform/regex/Pcre.h"
#include "tests/dictionary/DictionaryItems.h"

namespace Kestrav {
namespace {

constexpr std::size_t kTextSize = 10'000'000;
constexpr std::size_t kWords = 1'000;

std::string randomWord(std::mt19937& engine, int shortest, int longest) {
  std::string word;
  const int length = std::uniform_int_distribution<int>(shortest, longest)(engine);
  while (static_cast<int>(word.size()) < length) {
    word += static_cast<char>('a' + std::uniform_int_distribution<int>(0, 25)(engine));
  }
  return word;
}

const std::vector<std::string>& words() {
  static const std::vector<std::string> all = [] {
    std::mt19937 engine(1);
    std::vector<std::string> made;
    while (made.size() < kWords) made.push_back(randomWord(engine, 5, 12));
    return made;
  }();
  return all;
}

// Prose of words that are not in the dictionary, and one in a thousand that is.
const std::string& text() {
  static const std::string made = [] {
    std::mt19937 engine(2);
    std::string result;
    while (result.size() < kTextSize) {
      const bool listed = engine() % 1'000 == 0;
      result += listed ? words()[engine() % kWords] : randomWord(engine, 2, 10);
      result += engine() % 12 == 0 ? ".\n" : " ";
    }
    result.resize(kTextSize);
    return result;
  }();
  return made;
}

void setBytes(benchmark::State& state, std::size_t size) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(size));
}

Ref<DictionaryScannerImpl> wordScanner() {
  std::vector<Testing::DictionaryItem> items;
  for (const std::string& word : words()) items.push_back(Testing::Literal(word));
  return Testing::Scanner(items);
}

void scanText(benchmark::State& state, const DictionaryScannerImpl& scanner,
              std::string_view subject) {
  scanner.scan(subject);  // compiles
  std::int64_t score = 0;
  for (auto _ : state) benchmark::DoNotOptimize(score = scanner.scan(subject).score);
  setBytes(state, subject.size());
  state.counters["score"] = static_cast<double>(score);
}

void Scanner1000Words(benchmark::State& state) {
  const auto scanner = wordScanner();
  scanText(state, *scanner.operator->(), text());
}
BENCHMARK(Scanner1000Words)->Unit(benchmark::kMillisecond);

void BareEngine1000Words(benchmark::State& state) {
  std::vector<const char*> texts;
  std::vector<std::size_t> lengths;
  std::vector<unsigned> ids;
  for (const std::string& word : words()) {
    texts.push_back(word.c_str());
    lengths.push_back(word.size());
    ids.push_back(static_cast<unsigned>(ids.size()));
  }
  const std::vector<unsigned> flags(kWords, HS_FLAG_CASELESS);
  hs_database_t* database = nullptr;
  hs_compile_error_t* error = nullptr;
  hs_scratch_t* scratch = nullptr;
  if (hs_compile_lit_multi(texts.data(), flags.data(), ids.data(), lengths.data(), kWords,
                           HS_MODE_BLOCK, nullptr, &database, &error) != HS_SUCCESS ||
      hs_alloc_scratch(database, &scratch) != HS_SUCCESS) {
    state.SkipWithError("the engine does not compile the words");
    return;
  }
  std::int64_t matches = 0;
  const auto onMatch = [](unsigned, unsigned long long, unsigned long long, unsigned,
                          void* context) {
    ++*static_cast<std::int64_t*>(context);
    return 0;
  };
  for (auto _ : state) {
    matches = 0;
    hs_scan(database, text().data(), static_cast<unsigned>(text().size()), 0, scratch, onMatch,
            &matches);
    benchmark::DoNotOptimize(matches);
  }
  setBytes(state, text().size());
  state.counters["matches"] = static_cast<double>(matches);
  hs_free_scratch(scratch);
  hs_free_database(database);
}
BENCHMARK(BareEngine1000Words)->Unit(benchmark::kMillisecond);

void ExpressionLoop1000Words(benchmark::State& state) {
  std::vector<Pcre::Program> programs;
  for (const std::string& word : words()) {
    programs.emplace_back("\\b" + word + "\\b", Pcre::Options{.ignoreCase = true});
  }
  std::int64_t matches = 0;
  for (auto _ : state) {
    matches = 0;
    for (const Pcre::Program& program : programs) {
      Pcre::Result result = program.next(text(), 0);
      for (; result.status == Pcre::Status::kFound; ++matches) {
        result = program.next(text(), result.end);
      }
    }
    benchmark::DoNotOptimize(matches);
  }
  setBytes(state, text().size());
  state.counters["matches"] = static_cast<double>(matches);
}
BENCHMARK(ExpressionLoop1000Words)->Unit(benchmark::kMillisecond)->Iterations(1);

void Scanner100Wildcards(benchmark::State& state) {
  std::vector<Testing::DictionaryItem> items;
  for (std::size_t i = 0; i < 100; ++i) {
    std::string wildcard = words()[i];
    wildcard.replace(2, 1, "*");
    items.push_back(Testing::Wildcard(wildcard));
  }
  const auto scanner = Testing::Scanner(items);
  scanText(state, *scanner.operator->(), text());
}
BENCHMARK(Scanner100Wildcards)->Unit(benchmark::kMillisecond);

void Scanner100Expressions(benchmark::State& state) {
  std::vector<Testing::DictionaryItem> items;
  for (std::size_t i = 0; i < 100; ++i) {
    items.push_back(Testing::Regex(words()[i] + "(?=\\s+\\w)"));
  }
  const auto scanner = Testing::Scanner(items);
  scanText(state, *scanner.operator->(), text());
}
BENCHMARK(Scanner100Expressions)->Unit(benchmark::kMillisecond);

void ScannerShortText(benchmark::State& state) {
  const auto scanner = wordScanner();
  const std::string subject = text().substr(0, static_cast<std::size_t>(state.range(0)));
  scanText(state, *scanner.operator->(), subject);
}
BENCHMARK(ScannerShortText)->Arg(60)->Arg(2'000)->Arg(50'000);

void Compile1000Words(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(wordScanner()->scan(""));
}
BENCHMARK(Compile1000Words)->Unit(benchmark::kMillisecond);

// Of the first pattern, 200 took a minute while the engine compiled whole expressions.
void CompileExpressions(benchmark::State& state) {
  const char* const forms[] = {"xy[a-z]{200,400}7", "money|cash|gold|win|free|loan",
                               "\\d{4}-\\d{2}"};
  std::vector<Testing::DictionaryItem> items;
  for (int i = 0; i < 200; ++i) {
    items.push_back(
        Testing::Regex(forms[state.range(0)] + std::string(static_cast<std::size_t>(i % 10), 'a')));
  }
  for (auto _ : state) benchmark::DoNotOptimize(Testing::Scanner(items)->scan(""));
}
BENCHMARK(CompileExpressions)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace Kestrav

BENCHMARK_MAIN();
