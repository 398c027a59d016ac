// Alignment and merging:
// - XImageRegistrationTool::CalculateShift of two 512 x 512 Grey16 planes and
//   of two 256 x 256 x 64 Grey16 stacks, offset views of one textured scene
//   (items: voxels of one image); bench/peers/alignment_peers.py times
//   scikit-image's phase_cross_correlation and OpenCV's phaseCorrelate on the
//   same sizes;
// - XBestFocusMergeTool and XBPMergeTool::MergeVolumeToPlane of a Grey16 stack,
//   256 x 256 x 64 (in cache) and 1024 x 1024 x 64 (128 MiB); items: voxels
//   of the stack. The peer of the projection is numpy's max(axis=0).
#include <benchmark/benchmark.h>

#include <memory>
#include <random>
#include <vector>

#include "BenchSupport.h"
#include "alignment/XBPMergeTool.h"
#include "alignment/XBestFocusMergeTool.h"
#include "alignment/XImageRegistrationTool.h"
#include "core/XLockable.h"
#include "numeric/XFourierStrategyManager.h"
#include "storage/XRegisterImagingClasses.h"
#include "volume/XGrey16Volume.h"

using namespace mirelan;

namespace {

// The host's manager, made before any Fourier volume and kept to the end.
XFourierStrategyManager& Manager() {
  static std::unique_ptr<XFourierStrategyManager> manager = [] {
    XRegisterImagingClasses();
    return std::make_unique<XFourierStrategyManager>();
  }();
  return *manager;
}

// A smooth random texture (noise summed over 4 x 4 cells) of w x h x d,
// and views of it from two corners.
struct Scene {
  UInt32 w, h;
  std::vector<UInt16> values;
  Scene(UInt32 inW, UInt32 inH, UInt32 inD) : w(inW), h(inH), values(size_t(inW) * inH * inD) {
    std::mt19937 engine(5);
    std::uniform_int_distribution<int> noise(0, 4000);
    std::vector<int> raw(values.size());
    for (int& v : raw) v = noise(engine);
    for (size_t i = 0; i < values.size(); ++i) {
      const size_t x = i % w, y = (i / w) % h;
      int sum = 0;
      for (size_t dy = 0; dy < 4; ++dy)
        for (size_t dx = 0; dx < 4; ++dx) sum += raw[i - std::min(x, dx) - std::min(y, dy) * w];
      values[i] = UInt16(sum);
    }
  }
  std::unique_ptr<XGrey16Volume> View(UInt32 inW, UInt32 inH, UInt32 inD, UInt32 inX, UInt32 inY) const {
    auto volume = std::make_unique<XGrey16Volume>(inW, inH, inD);
    XLock lock(*volume, kLockWrite);
    for (UInt32 z = 0; z < inD; ++z)
      for (UInt32 y = 0; y < inH; ++y) {
        UInt16* row = volume->GetVoxelPtr(0, SInt32(y), SInt32(z));
        const UInt16* from = &values[(size_t(z) * h + y + inY) * w + inX];
        std::copy(from, from + inW, row);
      }
    return volume;
  }
};

void BM_CalculateShift(benchmark::State& state) {
  Manager();
  const bool stack = state.range(0) == 1;
  const UInt32 w = stack ? 256 : 512, h = w, d = stack ? 64 : 1;
  const Scene scene(w + 32, h + 32, d);
  const auto anchor = scene.View(w, h, d, 8, 20);
  const auto moved = scene.View(w, h, d, 19, 13);
  XImageRegistrationTool tool;
  XShiftResult result = tool.CalculateShift(*anchor, *moved, nullptr);  // plans the transforms
  if (result.third != X3DPoint(11, -7, 0)) state.SkipWithError("wrong shift");
  for (auto _ : state) {
    result = tool.CalculateShift(*anchor, *moved, nullptr);
    benchmark::DoNotOptimize(result);
  }
  state.SetItemsProcessed(SInt64(state.iterations()) * SInt64(UInt64(w) * h * d));
  state.SetLabel(stack ? "256x256x64" : "512x512");
}
BENCHMARK(BM_CalculateShift)->Arg(0)->Arg(1)->ArgName("stack")->UseRealTime()->Unit(benchmark::kMillisecond);

std::unique_ptr<XGrey16Volume> FocusStack(SInt64 inSize) {
  const X3DRect box = bench::BoxOf(inSize, sizeof(UInt16));  // 256 x 256 x 64, or 1024 x 1024 x 64
  auto stack = std::make_unique<XGrey16Volume>(box);
  std::mt19937 engine(3);
  std::uniform_int_distribution<int> noise(0, 60000);
  XLock lock(*stack, kLockWrite);
  for (SInt32 z = 0; z < box.back; ++z)
    for (SInt32 y = 0; y < box.bottom; ++y) {
      UInt16* row = stack->GetVoxelPtr(0, y, z);
      for (SInt32 x = 0; x < box.right; ++x) row[x] = UInt16(noise(engine) >> (z % 8));
    }
  return stack;
}

void BM_BestFocusMerge(benchmark::State& state) {
  Manager();
  const auto stack = FocusStack(state.range(0));
  XBestFocusMergeTool tool;
  for (auto _ : state) {
    std::unique_ptr<XVolume> merged(tool.ApplyTool(*stack));
    benchmark::DoNotOptimize(merged.get());
  }
  const UInt64 voxels = UInt64(stack->GetWidth()) * stack->GetHeight() * stack->GetDepth();
  bench::Report(state, voxels, voxels * 2, voxels * 2);
}
BENCHMARK(BM_BestFocusMerge) MIRELAN_BOTH_SIZES;

void BM_BrightestPointMerge(benchmark::State& state) {
  Manager();
  const auto stack = FocusStack(state.range(0));
  XBPMergeTool tool;
  for (auto _ : state) {
    std::unique_ptr<XVolume> merged(tool.MergeVolumeToPlane(*stack));
    benchmark::DoNotOptimize(merged.get());
  }
  const UInt64 voxels = UInt64(stack->GetWidth()) * stack->GetHeight() * stack->GetDepth();
  bench::Report(state, voxels, voxels * 2, voxels * 2);
}
BENCHMARK(BM_BrightestPointMerge) MIRELAN_BOTH_SIZES;

}  // namespace
