// Shared helpers of the segmentation tests: regions from voxel lists and
// random masks, reading label volumes, and two independent labellings to
// hold the tool against: a flood fill over faces (the partition) and a plain
// voxel-by-voxel run of the union-find steps (the exact numbering).
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <map>
#include <random>
#include <vector>

#include "../tools/ToolTestSupport.h"
#include "segmentation/X3DConnectedComponentsTool.h"
#include "volume/X3DRegion.h"
#include "volume/XGrey32Volume.h"
#include "volume/XMaskVolume.h"

namespace segtest {

using tooltest::MakeMask;
using tooltest::ToolTest;

// A mask of the box where inSet says so, and the region made of it.
inline X3DRegion RegionOf(const X3DRect& inBox, std::function<bool(SInt32, SInt32, SInt32)> inSet) {
  return X3DRegion(MakeMask(inBox, std::move(inSet)));
}

// The voxels of a region, as a set of points in z, y, x order.
inline std::vector<X3DPoint> VoxelsOf(const X3DRegion& inRegion) {
  std::vector<X3DPoint> voxels;
  XLock lock(inRegion, kLockRead);
  const X3DRect& b = inRegion.GetBounds();
  for (SInt32 z = b.front; z < b.back; ++z)
    for (SInt32 y = b.top; y < b.bottom; ++y)
      for (SInt32 x = b.left; x < b.right; ++x)
        if (inRegion.Contains(x, y, z)) voxels.emplace_back(x, y, z);
  return voxels;
}

// A box of random bytes, each set with probability inFill, with optional
// clumping: inBlobs spheres of radius up to inRadius are added.
inline XMaskVolume RandomMask(const X3DRect& inBox, Float64 inFill, UInt32 inSeed, UInt32 inBlobs = 0,
                              SInt32 inRadius = 2) {
  std::mt19937 random(inSeed);
  std::uniform_real_distribution<Float64> uniform(0.0, 1.0);
  std::vector<std::array<SInt32, 4>> blobs;
  for (UInt32 i = 0; i < inBlobs; ++i)
    blobs.push_back({inBox.left + SInt32(random() % inBox.GetWidth()), inBox.top + SInt32(random() % inBox.GetHeight()),
                     inBox.front + SInt32(random() % inBox.GetDepth()), 1 + SInt32(random() % inRadius)});
  return MakeMask(inBox, [&](SInt32 x, SInt32 y, SInt32 z) {
    for (const auto& b : blobs) {
      const SInt32 dx = x - b[0], dy = y - b[1], dz = z - b[2];
      if (dx * dx + dy * dy + dz * dz <= b[3] * b[3]) return true;
    }
    return uniform(random) < inFill;
  });
}

// Labels of a volume, in z, y, x order over its bounds.
inline std::vector<UInt32> LabelsOf(const XGrey32Volume& inLabels) {
  std::vector<UInt32> labels;
  XLock lock(inLabels, kLockRead);
  const X3DRect& b = inLabels.GetBounds();
  for (SInt32 z = b.front; z < b.back; ++z)
    for (SInt32 y = b.top; y < b.bottom; ++y)
      for (SInt32 x = b.left; x < b.right; ++x) labels.push_back(inLabels.GetVoxel(x, y, z));
  return labels;
}

// The set voxels of a mask as flags over the grown box (a rim of one voxel),
// the layout the tool's label volume has.
struct XGrownFlags {
  SInt64 width, height, depth;
  std::vector<UInt8> set;
  UInt64 Index(SInt64 x, SInt64 y, SInt64 z) const { return UInt64((z * height + y) * width + x); }
};

inline XGrownFlags GrownFlagsOf(const X3DRegion& inRegion) {
  const X3DRect& b = inRegion.GetBounds();
  XGrownFlags flags{SInt64(b.GetWidth()) + 2, SInt64(b.GetHeight()) + 2, SInt64(b.GetDepth()) + 2, {}};
  flags.set.assign(UInt64(flags.width * flags.height * flags.depth), 0);
  XLock lock(inRegion, kLockRead);
  for (SInt32 z = b.front; z < b.back; ++z)
    for (SInt32 y = b.top; y < b.bottom; ++y)
      for (SInt32 x = b.left; x < b.right; ++x)
        flags.set[flags.Index(x - b.left + 1, y - b.top + 1, z - b.front + 1)] = inRegion.Contains(x, y, z);
  return flags;
}

// Components over faces by a flood fill, numbered in order of first voxel.
inline std::vector<UInt32> FloodFillLabels(const XGrownFlags& inFlags, UInt32& outCount) {
  std::vector<UInt32> labels(inFlags.set.size(), 0);
  outCount = 0;
  std::vector<UInt64> stack;
  const SInt64 steps[6] = {1, -1, inFlags.width, -inFlags.width, inFlags.width * inFlags.height,
                           -inFlags.width * inFlags.height};
  for (UInt64 start = 0; start < labels.size(); ++start) {
    if (!inFlags.set[start] || labels[start]) continue;
    labels[start] = ++outCount;
    stack.push_back(start);
    while (!stack.empty()) {
      const UInt64 at = stack.back();
      stack.pop_back();
      for (SInt64 step : steps) {
        const UInt64 next = UInt64(SInt64(at) + step);  // the rim keeps every step inside
        if (inFlags.set[next] && !labels[next]) {
          labels[next] = outCount;
          stack.push_back(next);
        }
      }
    }
  }
  return labels;
}

// The stated steps, one Connect per labelled voxel and neighbour, with no
// shortcut: runs numbered along the linear walk, joins at z - 1 then y - 1,
// roots numbered in ascending run order.
inline std::vector<UInt32> StepByStepLabels(const XGrownFlags& inFlags, UInt32& outCount) {
  std::vector<UInt32> runs(inFlags.set.size(), 0);
  UInt32 n = 0;
  for (UInt64 i = 0; i < runs.size(); ++i)
    if (inFlags.set[i]) runs[i] = (i > 0 && inFlags.set[i - 1]) ? n : ++n;
  std::vector<UInt32> table(n + 1);
  for (UInt32 i = 0; i <= n; ++i) table[i] = i;
  auto root = [&](UInt32 r) {
    while (table[r] != r) r = table[r];
    return r;
  };
  auto connect = [&](UInt32 a, UInt32 b) {
    if (b == 0) return;
    if (table[a] == a) {
      table[a] = root(b);
      return;
    }
    if (table[a] == table[b]) return;
    const UInt32 ra = root(a), rb = root(b);
    table[rb] = ra;
    table[b] = root(a);
  };
  const SInt64 plane = inFlags.width * inFlags.height;
  for (SInt64 z = 1; z + 1 < inFlags.depth; ++z)
    for (SInt64 y = 1; y + 1 < inFlags.height; ++y)
      for (SInt64 x = 1; x + 1 < inFlags.width; ++x) {
        const UInt64 i = inFlags.Index(x, y, z);
        if (!runs[i]) continue;
        connect(runs[i], runs[i - plane]);
        connect(runs[i], runs[i - inFlags.width]);
      }
  std::map<UInt32, UInt32> labelOfRoot;
  for (UInt32 i = 1; i <= n; ++i)
    if (table[i] == i) labelOfRoot.emplace(i, UInt32(labelOfRoot.size() + 1));
  outCount = UInt32(labelOfRoot.size());
  for (UInt32& r : runs)
    if (r) r = labelOfRoot[root(r)];
  return runs;
}

// True when two labellings make the same pieces, whatever their numbers.
inline bool SamePartition(const std::vector<UInt32>& inA, const std::vector<UInt32>& inB) {
  if (inA.size() != inB.size()) return false;
  std::map<UInt32, UInt32> aToB, bToA;
  for (size_t i = 0; i < inA.size(); ++i) {
    if ((inA[i] == 0) != (inB[i] == 0)) return false;
    if (!inA[i]) continue;
    if (aToB.emplace(inA[i], inB[i]).first->second != inB[i]) return false;
    if (bToA.emplace(inB[i], inA[i]).first->second != inA[i]) return false;
  }
  return true;
}

}  // namespace segtest

// Reaches the private steps of the labelling.
namespace mirelan {
class X3DConnectedComponentsToolTestAccess {
 public:
  static UInt32 FindRoot(UInt32 inRun, const UInt32* inTable) {
    return X3DConnectedComponentsTool::FindRoot(inRun, inTable);
  }
  static void Connect(UInt32 inRun, UInt32 inNeighbour, UInt32* ioTable) {
    X3DConnectedComponentsTool::Connect(inRun, inNeighbour, ioTable);
  }
  static void AddToAssociative(UInt32 inRun, UInt32 inNeighbour, UInt32* ioTable) {
    X3DConnectedComponentsTool::AddToAssociative(inRun, inNeighbour, ioTable);
  }
  static XMemoryHandle AllocateRunTables(UInt64 inEntries) {
    return X3DConnectedComponentsTool::AllocateRunTables(inEntries);
  }
};
}  // namespace mirelan
