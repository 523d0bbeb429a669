// The cost of a handle compared with std::shared_ptr, which needs no holder per copy.
#include <benchmark/benchmark.h>

#include <memory>

#include "VexaRefcounted.h"

namespace {

struct Payload : virtual Kestrav::RefImpl {
  int value = 1;
};
struct PlainPayload {
  virtual ~PlainPayload() = default;
  int value = 1;
};

using Handle = Kestrav::Ref<Payload>;

void BM_HandleCopy(benchmark::State& state) {
  static const Handle handle(new Payload);
  for (auto _ : state) {
    Handle copy(handle);
    benchmark::DoNotOptimize(copy);
  }
}
BENCHMARK(BM_HandleCopy)->ThreadRange(1, 2);

void BM_SharedPtrCopy(benchmark::State& state) {
  static const std::shared_ptr<PlainPayload> pointer = std::make_shared<PlainPayload>();
  for (auto _ : state) {
    std::shared_ptr<PlainPayload> copy(pointer);
    benchmark::DoNotOptimize(copy);
  }
}
BENCHMARK(BM_SharedPtrCopy)->ThreadRange(1, 2);

void BM_HandleMove(benchmark::State& state) {
  Handle handle(new Payload);
  for (auto _ : state) {
    Handle moved(std::move(handle));
    handle = std::move(moved);
    benchmark::DoNotOptimize(handle);
  }
}
BENCHMARK(BM_HandleMove);

void BM_HandleDereference(benchmark::State& state) {
  const Handle handle(new Payload);
  for (auto _ : state) benchmark::DoNotOptimize(handle->value);
}
BENCHMARK(BM_HandleDereference);

}  // namespace

BENCHMARK_MAIN();
