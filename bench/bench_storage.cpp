// Reading and writing TIFF stacks, wall time. The stack is the file named by
// MIRELAN_BENCH_TIFF (bench/compare passes the one it gives tifffile too), or
// else a 1024 x 1024 x 128 16-bit stack written here first. Items are voxels,
// bytes are the stack's bytes.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

#include "storage/XTIFFCodec.h"
#include "volume/XGrey16Volume.h"

using namespace mirelan;

namespace {

std::string StackPath() {
  if (const char* given = std::getenv("MIRELAN_BENCH_TIFF")) return given;
  static const std::string path = [] {
    const std::string made = "/tmp/mirelan_bench_1024x1024x128_u16.tif";
    XImageStack stack(1, 1);
    auto volume = std::make_unique<XGrey16Volume>(1024, 1024, 128);
    {
      XLock lock(*volume, kLockWrite);
      UInt16* voxel = volume->GetBaseVoxelPtr();
      for (UInt64 i = 0; i < volume->GetVolumeVoxels(); ++i) voxel[i] = UInt16(i * 2654435761u >> 16);
    }
    stack.SetVolume(1, 1, std::move(volume));
    XTIFFCodec::Write(stack, XFileSpec(made));
    return made;
  }();
  return path;
}

void Report(benchmark::State& ioState, const XImageStack& inStack) {
  const UInt64 voxels = inStack.GetBounds().GetVolume() * inStack.GetTimepointCount() * inStack.GetChannelCount();
  ioState.SetItemsProcessed(ioState.iterations() * SInt64(voxels));
  ioState.SetBytesProcessed(ioState.iterations() * SInt64(voxels * 2));
}

void BM_ReadTIFF(benchmark::State& state) {
  const std::string path = StackPath();
  XImageStack stack;
  for (auto _ : state) {
    stack = XTIFFCodec::Read(XFileSpec(path));
    benchmark::DoNotOptimize(&stack);
  }
  Report(state, stack);
}
BENCHMARK(BM_ReadTIFF)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_WriteTIFF(benchmark::State& state) {
  const XImageStack stack = XTIFFCodec::Read(XFileSpec(StackPath()));
  const XFileSpec out("/tmp/mirelan_bench_written.tif");
  for (auto _ : state) XTIFFCodec::Write(stack, out);
  Report(state, stack);
  std::remove(out.GetPath().c_str());
}
BENCHMARK(BM_WriteTIFF)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
