// Connected components, objects and the seed threshold.
//
// Labelling of two 256 x 256 x 256 masks: random blobs (balls of radius 3 to
// 5 at positions from a splitmix64 stream, about 10 % of the voxels, pieces
// of a few hundred voxels) and a mask that is set everywhere; with one worker
// and with every core. bench/peers/label_peers.py builds the same masks and
// times scipy.ndimage.label and skimage.measure.label on them. The figures
// include what a caller pays: the new label volume and its page faults.
//
// Counters: "peak_MiB" is the most the library's blocks held during a call
// beyond what was held before it, against "label_MiB", the label volume
// alone, and "mask_MiB", the grown mask.
//
// The object finder splits a region of 1000 separate balls in a 256 x 256 x
// 128 box; each object is selected within its own box, so the time is the
// labelling plus work in proportion to the objects' boxes.
//
// The seed threshold runs kSimilar and kTexture over a 256 x 256 x 64 Grey8
// volume of random bytes, and kSimilar with kConnectedToSeed.
#include <benchmark/benchmark.h>

#include <memory>
#include <random>

#include "core/XMemoryHandle.h"
#include "core/XWorkerPool.h"
#include "segmentation/X3DConnectedComponentsTool.h"
#include "segmentation/X3DObjectFinder.h"
#include "segmentation/XVolumeSeedThresholdTool.h"
#include "volume/X3DRegion.h"
#include "volume/XGrey32Volume.h"
#include "volume/XGrey8Volume.h"
#include "volume/XMaskVolume.h"

using namespace mirelan;

namespace {

constexpr SInt32 kSide = 256;

// splitmix64, as the peer script has it.
struct XSplitMix {
  UInt64 state;
  UInt64 Next() {
    state += 0x9E3779B97F4A7C15ull;
    UInt64 z = state;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
  }
};

void Ball(XMaskVolume& ioMask, SInt32 inX, SInt32 inY, SInt32 inZ, SInt32 inRadius) {
  const X3DRect& b = ioMask.GetBounds();
  for (SInt32 z = std::max(inZ - inRadius, b.front); z <= std::min(inZ + inRadius, b.back - 1); ++z)
    for (SInt32 y = std::max(inY - inRadius, b.top); y <= std::min(inY + inRadius, b.bottom - 1); ++y)
      for (SInt32 x = std::max(inX - inRadius, b.left); x <= std::min(inX + inRadius, b.right - 1); ++x)
        if ((x - inX) * (x - inX) + (y - inY) * (y - inY) + (z - inZ) * (z - inZ) <= inRadius * inRadius)
          ioMask.SetVoxel(x, y, z, 255);
}

// 6000 balls: about 10 % of the box.
X3DRegion BlobRegion() {
  XMaskVolume mask(X3DRect(kSide, kSide, kSide));
  XLock lock(mask, kLockWrite);
  mask.Fill(0);
  XSplitMix random{12345};
  for (int i = 0; i < 6000; ++i) {
    const SInt32 x = SInt32(random.Next() % kSide), y = SInt32(random.Next() % kSide);
    const SInt32 z = SInt32(random.Next() % kSide), r = SInt32(3 + random.Next() % 3);
    Ball(mask, x, y, z, r);
  }
  return X3DRegion(mask);
}

// A mask set everywhere, kept as a mask under a crop lock: the simple region
// of the same voxels would skip the copy of the mask.
X3DRegion* FullRegion() {
  XMaskVolume mask(X3DRect(kSide, kSide, kSide));
  {
    XLock lock(mask, kLockWrite);
    mask.Fill(255);
  }
  auto* region = new X3DRegion();
  region->LockCrop();
  *region = mask;
  return region;
}

void Label(benchmark::State& state, const X3DRegion& inRegion) {
  XWorkerPool::SetWorkerCount(UInt32(state.range(0)));
  state.counters["workers"] = XWorkerPool::GetWorkerCount();
  X3DConnectedComponentsTool tool;
  UInt64 peak = 0;
  for (auto _ : state) {
    const UInt64 before = XMemoryHandle::GetAllocatedBytes();
    XMemoryHandle::ResetPeakAllocatedBytes();
    std::unique_ptr<XGrey32Volume> labels(tool.ApplyTool(inRegion));
    peak = std::max(peak, XMemoryHandle::GetPeakAllocatedBytes() - before);
    benchmark::DoNotOptimize(labels.get());
  }
  XWorkerPool::SetWorkerCount(0);
  const Float64 grown = Float64(kSide + 2) * (kSide + 2) * (kSide + 2);
  state.counters["components"] = tool.GetComponentCount();
  state.counters["peak_MiB"] = Float64(peak) / (1 << 20);
  state.counters["label_MiB"] = grown * 4 / (1 << 20);
  state.counters["mask_MiB"] = grown / (1 << 20);
  state.SetItemsProcessed(state.iterations() * SInt64(kSide) * kSide * kSide);
}

void BM_LabelBlobs(benchmark::State& state) {
  static const X3DRegion sRegion = BlobRegion();
  state.counters["fill"] = Float64(sRegion.GetVolume()) / (Float64(kSide) * kSide * kSide);
  Label(state, sRegion);
}

void BM_LabelFull(benchmark::State& state) {
  static const std::unique_ptr<X3DRegion> sRegion(FullRegion());
  if (!sRegion->IsComplex()) state.SkipWithError("the full region lost its mask");
  Label(state, *sRegion);
}

// 1000 balls of radius 3 on a 10 x 10 x 10 grid.
void BM_ObjectFinder1000(benchmark::State& state) {
  XMaskVolume mask(X3DRect(kSide, kSide, 128));
  {
    XLock lock(mask, kLockWrite);
    mask.Fill(0);
    for (SInt32 k = 0; k < 10; ++k)
      for (SInt32 j = 0; j < 10; ++j)
        for (SInt32 i = 0; i < 10; ++i) Ball(mask, 12 + i * 25, 12 + j * 25, 6 + k * 12, 3);
  }
  const X3DRegion region(mask);
  XWorkerPool::SetWorkerCount(1);
  size_t objects = 0;
  for (auto _ : state) objects = X3DObjectFinder().ApplyTool(region).size();
  XWorkerPool::SetWorkerCount(0);
  state.counters["objects"] = Float64(objects);
  state.SetItemsProcessed(state.iterations() * SInt64(mask.GetBounds().GetVolume()));
}

std::unique_ptr<XGrey8Volume> RandomGrey8() {
  auto volume = std::make_unique<XGrey8Volume>(X3DRect(kSide, kSide, 64));
  XLock lock(*volume, kLockWrite);
  std::mt19937 random(7);
  UInt8* voxel = volume->GetBaseVoxelPtr();
  for (UInt64 i = 0; i < volume->GetVolumeVoxels(); ++i) voxel[i] = UInt8(random() >> 24);
  return volume;
}

void Seed(benchmark::State& state, XVolumeSeedThresholdTool::XMode inMode,
          XVolumeSeedThresholdTool::XSelectionType inType) {
  static const std::unique_ptr<XGrey8Volume> sVolume = RandomGrey8();
  XWorkerPool::SetWorkerCount(1);
  XVolumeSeedThresholdTool tool(inMode, inType);
  tool.SetTolerance(0.3f);
  for (auto _ : state) benchmark::DoNotOptimize(tool.ApplyTool(*sVolume, X3DPoint(100, 100, 30)).GetBounds());
  XWorkerPool::SetWorkerCount(0);
  state.SetItemsProcessed(state.iterations() * SInt64(sVolume->GetBounds().GetVolume()));
}

void BM_SeedSimilar(benchmark::State& state) {
  Seed(state, XVolumeSeedThresholdTool::kSimilar, XVolumeSeedThresholdTool::kAllMatches);
}
void BM_SeedSimilarConnected(benchmark::State& state) {
  Seed(state, XVolumeSeedThresholdTool::kSimilar, XVolumeSeedThresholdTool::kConnectedToSeed);
}
void BM_SeedTexture(benchmark::State& state) {
  Seed(state, XVolumeSeedThresholdTool::kTexture, XVolumeSeedThresholdTool::kAllMatches);
}

}  // namespace

// Argument: the workers (0: every core).
BENCHMARK(BM_LabelBlobs)->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_LabelFull)->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ObjectFinder1000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_SeedSimilar)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_SeedSimilarConnected)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_SeedTexture)->Unit(benchmark::kMillisecond)->UseRealTime();
