// What the benchmark programs share: the two sizes every kernel runs at (a
// volume that stays in cache and one of at least 128 MiB that does not), wall
// time, and the share of the machine's memory bandwidth a kernel reaches,
// against a plain copy of the same bytes measured in the same run.
#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstring>
#include <map>
#include <memory>
#include <string>

#include "core/XTypes.h"
#include "geometry/X3DRect.h"

namespace mirelan::bench {

// Size 0: 256 x 256 x 64, in cache on most machines. Size 1: 1024 x 1024 and
// as many planes as make at least 128 MiB of voxels of inVoxelBytes.
inline X3DRect BoxOf(SInt64 inSize, UInt32 inVoxelBytes) {
  if (inSize == 0) return X3DRect(256, 256, 64);
  const UInt32 depth = UInt32(((UInt64(128) << 20) / (UInt64(1024) * 1024 * inVoxelBytes)) +
                              (((UInt64(128) << 20) % (UInt64(1024) * 1024 * inVoxelBytes)) ? 1 : 0));
  return X3DRect(1024, 1024, depth);
}

// Bytes a second of memcpy between two buffers of inBytes each, the best of
// a few runs, measured once per size in a process.
inline Float64 CopyBytesPerSecond(UInt64 inBytes) {
  static std::map<UInt64, Float64> sMeasured;
  auto found = sMeasured.find(inBytes);
  if (found != sMeasured.end()) return found->second;
  std::unique_ptr<char[]> from(new char[inBytes]), to(new char[inBytes]);
  std::memset(from.get(), 1, inBytes);
  std::memset(to.get(), 2, inBytes);
  Float64 best = 0;
  for (int run = 0; run < 7; ++run) {
    const auto start = std::chrono::steady_clock::now();
    std::memcpy(to.get(), from.get(), inBytes);
    benchmark::DoNotOptimize(to.get());
    const Float64 seconds = std::chrono::duration<Float64>(std::chrono::steady_clock::now() - start).count();
    best = std::max(best, 2.0 * Float64(inBytes) / seconds);  // read and written
  }
  return sMeasured[inBytes] = best;
}

// Items are voxels; bytes are what the kernel reads and writes in one call.
// "of_copy" is the share of the copy rate, as a fraction.
inline void Report(benchmark::State& ioState, UInt64 inVoxels, UInt64 inBytesMoved, UInt64 inVolumeBytes) {
  ioState.SetItemsProcessed(SInt64(ioState.iterations() * inVoxels));
  ioState.SetBytesProcessed(SInt64(ioState.iterations() * inBytesMoved));
  const Float64 copyRate = CopyBytesPerSecond(inVolumeBytes);
  ioState.counters["of_copy"] =
      benchmark::Counter(Float64(ioState.iterations()) * Float64(inBytesMoved) / copyRate, benchmark::Counter::kIsRate);
  ioState.SetLabel(ioState.range(0) == 0 ? "in cache" : "out of cache");
}

}  // namespace mirelan::bench

// Both sizes, wall time: BENCHMARK(BM_Kernel) MIRELAN_BOTH_SIZES;
#define MIRELAN_BOTH_SIZES ->Arg(0)->Arg(1)->UseRealTime()->Unit(benchmark::kMicrosecond)
