// Volume kernels over 256 x 256 x 64 volumes: copies within a type, every
// conversion cell, whole-volume arithmetic, reductions and checksums.
// Items are voxels.
#include <benchmark/benchmark.h>

#include <memory>

#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey32Volume.h"
#include "volume/XGrey8Volume.h"
#include "volume/XMaskVolume.h"

using namespace mirelan;

namespace {

constexpr UInt32 kWidth = 256, kHeight = 256, kDepth = 64;
constexpr SInt64 kVoxels = SInt64(kWidth) * kHeight * kDepth;

// A pattern every type can hold: the level runs over the type's range.
template <class V>
std::unique_ptr<V> MakeVolume() {
  auto volume = std::make_unique<V>(kWidth, kHeight, kDepth);
  XLock lock(*volume, kLockWrite);
  auto* voxel = volume->GetBaseVoxelPtr();
  for (SInt64 i = 0; i < kVoxels; ++i) {
    const UInt32 level = UInt32(i * 2654435761u);
    using T = typename V::Voxel;
    if constexpr (std::is_same_v<T, Float32>)
      voxel[i] = Float32((level >> 8) & 0xFFFF) / 65535.0f;
    else if constexpr (std::is_same_v<T, XRGB48Colour>)
      voxel[i] = XRGB48Colour(UInt16(level), UInt16(level >> 8), UInt16(level >> 16));
    else if constexpr (XPixelTraits<T>::kIsColour)
      voxel[i] = T(UInt8(level >> 24), UInt8(level), UInt8(level >> 8), UInt8(level >> 16));
    else
      voxel[i] = T(level);
  }
  return volume;
}

template <class S, class D>
void BM_CopyOut(benchmark::State& state) {
  auto source = MakeVolume<S>();
  auto dest = std::make_unique<D>(kWidth, kHeight, kDepth);
  for (auto _ : state) {
    source->CopyOut(*dest, source->GetBounds(), dest->GetBounds(), nullptr);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kVoxels);
}

#define XBENCH_ROW(S)                                           \
  BENCHMARK_TEMPLATE(BM_CopyOut, S, XMaskVolume);               \
  BENCHMARK_TEMPLATE(BM_CopyOut, S, XGrey8Volume);              \
  BENCHMARK_TEMPLATE(BM_CopyOut, S, XGrey16Volume);             \
  BENCHMARK_TEMPLATE(BM_CopyOut, S, XARGB32Volume);             \
  BENCHMARK_TEMPLATE(BM_CopyOut, S, XBGRA32Volume);             \
  BENCHMARK_TEMPLATE(BM_CopyOut, S, XRGB48Volume);              \
  BENCHMARK_TEMPLATE(BM_CopyOut, S, XFPVolume);                 \
  BENCHMARK_TEMPLATE(BM_CopyOut, S, XGrey32Volume)

XBENCH_ROW(XMaskVolume);
XBENCH_ROW(XGrey8Volume);
XBENCH_ROW(XGrey16Volume);
XBENCH_ROW(XARGB32Volume);
XBENCH_ROW(XBGRA32Volume);
XBENCH_ROW(XRGB48Volume);
XBENCH_ROW(XFPVolume);
XBENCH_ROW(XGrey32Volume);

// A same-type copy that cannot take the row path: half the size in x, so
// every voxel goes through the nearest-choice table.
template <class V>
void BM_CopyOutResampled(benchmark::State& state) {
  auto source = MakeVolume<V>();
  auto dest = std::make_unique<V>(kWidth / 2, kHeight, kDepth);
  for (auto _ : state) {
    source->CopyOut(*dest, source->GetBounds(), dest->GetBounds(), nullptr);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kVoxels / 2);
}
BENCHMARK_TEMPLATE(BM_CopyOutResampled, XGrey8Volume);
BENCHMARK_TEMPLATE(BM_CopyOutResampled, XGrey16Volume);
BENCHMARK_TEMPLATE(BM_CopyOutResampled, XARGB32Volume);

template <class V>
void BM_AddValue(benchmark::State& state) {
  auto volume = MakeVolume<V>();
  for (auto _ : state) {
    *volume += typename V::Voxel(3);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kVoxels);
}
BENCHMARK_TEMPLATE(BM_AddValue, XGrey8Volume);
BENCHMARK_TEMPLATE(BM_AddValue, XGrey16Volume);
BENCHMARK_TEMPLATE(BM_AddValue, XGrey32Volume);
BENCHMARK_TEMPLATE(BM_AddValue, XFPVolume);

template <class V>
void BM_MultiplyValue(benchmark::State& state) {
  auto volume = MakeVolume<V>();
  for (auto _ : state) {
    *volume *= typename V::Voxel(3);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kVoxels);
}
BENCHMARK_TEMPLATE(BM_MultiplyValue, XGrey8Volume);
BENCHMARK_TEMPLATE(BM_MultiplyValue, XGrey16Volume);
BENCHMARK_TEMPLATE(BM_MultiplyValue, XGrey32Volume);
BENCHMARK_TEMPLATE(BM_MultiplyValue, XFPVolume);

template <class V>
void BM_AddVolume(benchmark::State& state) {
  auto volume = MakeVolume<V>();
  auto other = MakeVolume<V>();
  for (auto _ : state) {
    *volume += *other;
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kVoxels);
}
BENCHMARK_TEMPLATE(BM_AddVolume, XGrey8Volume);
BENCHMARK_TEMPLATE(BM_AddVolume, XGrey16Volume);
BENCHMARK_TEMPLATE(BM_AddVolume, XFPVolume);

template <class V>
void BM_MultiplyVolume(benchmark::State& state) {
  auto volume = MakeVolume<V>();
  auto other = MakeVolume<V>();
  for (auto _ : state) {
    *volume *= *other;
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kVoxels);
}
BENCHMARK_TEMPLATE(BM_MultiplyVolume, XGrey8Volume);
BENCHMARK_TEMPLATE(BM_MultiplyVolume, XGrey16Volume);
BENCHMARK_TEMPLATE(BM_MultiplyVolume, XFPVolume);

template <class V>
void BM_FindMinMax(benchmark::State& state) {
  auto volume = MakeVolume<V>();
  for (auto _ : state) {
    typename V::Voxel low, high;
    volume->FindMinMax(low, high);
    benchmark::DoNotOptimize(low);
    benchmark::DoNotOptimize(high);
  }
  state.SetItemsProcessed(state.iterations() * kVoxels);
}
BENCHMARK_TEMPLATE(BM_FindMinMax, XGrey8Volume);
BENCHMARK_TEMPLATE(BM_FindMinMax, XGrey16Volume);
BENCHMARK_TEMPLATE(BM_FindMinMax, XGrey32Volume);
BENCHMARK_TEMPLATE(BM_FindMinMax, XFPVolume);

template <class V>
void BM_FindSum(benchmark::State& state) {
  auto volume = MakeVolume<V>();
  for (auto _ : state) benchmark::DoNotOptimize(volume->FindSum());
  state.SetItemsProcessed(state.iterations() * kVoxels);
}
BENCHMARK_TEMPLATE(BM_FindSum, XGrey8Volume);
BENCHMARK_TEMPLATE(BM_FindSum, XGrey16Volume);
BENCHMARK_TEMPLATE(BM_FindSum, XFPVolume);

template <class V>
void BM_CalculateCRC(benchmark::State& state) {
  auto volume = MakeVolume<V>();
  for (auto _ : state) benchmark::DoNotOptimize(volume->CalculateCRC());
  state.SetItemsProcessed(state.iterations() * kVoxels);
}
BENCHMARK_TEMPLATE(BM_CalculateCRC, XGrey8Volume);
BENCHMARK_TEMPLATE(BM_CalculateCRC, XGrey16Volume);

void BM_Fill(benchmark::State& state) {
  auto volume = MakeVolume<XGrey16Volume>();
  for (auto _ : state) {
    volume->Fill(7);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kVoxels);
}
BENCHMARK(BM_Fill);

}  // namespace
