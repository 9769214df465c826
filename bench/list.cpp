// List operations on 100 000 items: include, get by position, insert at
// position 0 and remove.  Figures are ns per operation.
#include <benchmark/benchmark.h>

#include "shared/list.h"

namespace {

constexpr long kItems = 100000;

void fill(List& list) {
  for (long i = 0; i < kItems; i++) list.include(new NumberItem(static_cast<int32_t>(i)));
}

void BM_ListInclude(benchmark::State& state) {
  for (auto _ : state) {
    List list(kStandardChunkSize, TRUE, EqualCompare);
    fill(list);
    benchmark::DoNotOptimize(list.totalElements);
  }
  state.SetItemsProcessed(state.iterations() * kItems);
}
BENCHMARK(BM_ListInclude)->Unit(benchmark::kMillisecond);

void BM_ListGetByPosition(benchmark::State& state) {
  List list(kStandardChunkSize, TRUE, EqualCompare);
  fill(list);
  long position = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(list.get(position));
    position = (position + 7919) % kItems;
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ListGetByPosition);

void BM_ListGetInOrder(benchmark::State& state) {
  List list(kStandardChunkSize, TRUE, EqualCompare);
  fill(list);
  long position = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(list.get(position));
    if (++position == kItems) position = 0;
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ListGetInOrder);

void BM_ListInsertAtZero(benchmark::State& state) {
  List list(kStandardChunkSize, TRUE, EqualCompare);
  fill(list);
  for (auto _ : state) {
    list.inserti(0, new NumberItem(-1));
    state.PauseTiming();
    delete list.removei(0);
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ListInsertAtZero);

void BM_ListRemoveByItem(benchmark::State& state) {
  List list(kStandardChunkSize, TRUE, EqualCompare);
  fill(list);
  int32_t next = 0;
  for (auto _ : state) {
    NumberItem probe(next);
    ItemPtr removed = list.remove(&probe);
    state.PauseTiming();
    list.include(removed);  // keep the list at 100 000 items
    next = (next + 1) % static_cast<int32_t>(kItems);
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ListRemoveByItem);

void BM_ListRemoveAtPosition(benchmark::State& state) {
  List list(kStandardChunkSize, TRUE, EqualCompare);
  fill(list);
  long position = 0;
  for (auto _ : state) {
    ItemPtr removed = list.removei(position);
    state.PauseTiming();
    list.inserti(position, removed);
    position = (position + 7919) % kItems;
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ListRemoveAtPosition);

}  // namespace
