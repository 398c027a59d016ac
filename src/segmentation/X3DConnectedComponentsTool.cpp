#include "segmentation/X3DConnectedComponentsTool.h"

#include <emmintrin.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>

#include "core/XException.h"
#include "core/XProgress.h"
#include "core/XThread.h"
#include "core/XWorkerPool.h"
#include "segmentation/internal/XLabelRuns.h"
#include "volume/X3DRegion.h"
#include "volume/XGrey32Volume.h"
#include "volume/XMaskVolume.h"

namespace mirelan {

namespace {

using namespace XLabelRuns;

// The region's box with one more voxel on each side. A box at the edge of
// the coordinate range has no room for the rim.
X3DRect GrownBounds(const X3DRect& inBounds) {
  constexpr SInt32 kLow = std::numeric_limits<SInt32>::min();
  constexpr SInt32 kHigh = std::numeric_limits<SInt32>::max();
  if (inBounds.left == kLow || inBounds.top == kLow || inBounds.front == kLow || inBounds.right == kHigh ||
      inBounds.bottom == kHigh || inBounds.back == kHigh)
    throw XException(kErrImpossibleSize, "no room for the rim of a region at the edge of the coordinate range");
  X3DRect grown = inBounds;
  grown.Grow(1, 1, 1);
  return grown;
}

// The grown mask: 0 on the rim, the region's mask bytes (or 255 for a
// simple region) inside. Element i + 1 of the result is the number of runs
// in slab i of inSlabs, counted as the rows are written; element 0 is 0.
std::vector<UInt64> FillGrownMask(const X3DRegion& inRegion, XMaskVolume& ioMask, const std::vector<UInt64>& inSlabs) {
  XLock maskLock(ioMask, kLockWrite);
  const XGrid grid(ioMask);
  UInt8* base = ioMask.GetBaseVoxelPtr();
  std::optional<XLock> regionLock;
  const UInt8* source = nullptr;
  UInt64 sourceRow = 0;
  UInt64 sourcePlane = 0;
  if (inRegion.IsComplex()) {
    regionLock.emplace(inRegion, kLockRead);
    source = inRegion.GetMaskBasePtr();
    sourceRow = inRegion.GetMaskRowBytes();
    sourcePlane = inRegion.GetMaskPlaneBytes();
  }
  const UInt64 innerWidth = grid.width - 2;
  std::vector<UInt64> runs(inSlabs.size(), 0);
  ForEachPlaneSlab(inSlabs, [&](size_t inSlab, UInt64 inBegin, UInt64 inEnd) {
    UInt64 slabRuns = 0;
    for (UInt64 z = inBegin; z < inEnd; ++z) {
      UInt8* plane = base + z * grid.plane;
      if (z == 0 || z + 1 == grid.depth) {
        std::memset(plane, 0, grid.plane);
        continue;
      }
      std::memset(plane, 0, grid.row);
      std::memset(plane + (grid.height - 1) * grid.row, 0, grid.row);
      for (UInt64 y = 1; y + 1 < grid.height; ++y) {
        UInt8* row = plane + y * grid.row;
        row[0] = 0;
        if (source)
          std::memcpy(row + 1, source + (z - 1) * sourcePlane + (y - 1) * sourceRow, innerWidth);
        else
          std::memset(row + 1, 255, innerWidth);
        row[grid.width - 1] = 0;
        slabRuns += CountRuns(row, grid.width);
      }
    }
    runs[inSlab + 1] = slabRuns;
  });
  return runs;
}

// The steps of FindRoot and Connect, inlined into the joining loop.
inline UInt32 RootOf(UInt32 inRun, const UInt32* inTable) {
  while (inTable[inRun] != inRun) inRun = inTable[inRun];
  return inRun;
}

inline void ConnectRuns(UInt32 inRun, UInt32 inNeighbour, UInt32* ioTable) {
  if (inNeighbour == 0) return;
  // A run still on its own joins the neighbour's tree under its root, so the
  // older run numbers survive as roots.
  if (ioTable[inRun] == inRun) {
    ioTable[inRun] = RootOf(inNeighbour, ioTable);
    return;
  }
  // Same parent: already joined, the common case, at the cost of two reads.
  if (ioTable[inRun] == ioTable[inNeighbour]) return;
  // No ranking: the neighbour's tree always goes below this run's.
  const UInt32 runRoot = RootOf(inRun, ioTable);
  const UInt32 neighbourRoot = RootOf(inNeighbour, ioTable);
  ioTable[neighbourRoot] = runRoot;
  // The run's root is unchanged by that step; the neighbour now points at it
  // directly.
  ioTable[inNeighbour] = runRoot;
}

// The first index from inAt on (at least 1) where the neighbour below or
// above differs from the one before it, or inLength; four voxels at a time.
inline UInt64 NextChange(const UInt32* inBelow, const UInt32* inAbove, UInt64 inAt, UInt64 inLength) {
  for (; inAt + 4 <= inLength; inAt += 4) {
    const __m128i below = _mm_loadu_si128(reinterpret_cast<const __m128i*>(inBelow + inAt));
    const __m128i belowBefore = _mm_loadu_si128(reinterpret_cast<const __m128i*>(inBelow + inAt - 1));
    const __m128i above = _mm_loadu_si128(reinterpret_cast<const __m128i*>(inAbove + inAt));
    const __m128i aboveBefore = _mm_loadu_si128(reinterpret_cast<const __m128i*>(inAbove + inAt - 1));
    const __m128i same = _mm_and_si128(_mm_cmpeq_epi32(below, belowBefore), _mm_cmpeq_epi32(above, aboveBefore));
    const int sameLanes = _mm_movemask_ps(_mm_castsi128_ps(same));
    if (sameLanes != 0xF) return inAt + UInt64(__builtin_ctz(~sameLanes));
  }
  for (; inAt < inLength; ++inAt)
    if (inBelow[inAt] != inBelow[inAt - 1] || inAbove[inAt] != inAbove[inAt - 1]) return inAt;
  return inLength;
}

// Each voxel of a run joins its neighbours at z - 1 and y - 1, in x order;
// its neighbours along x are in its own run. A join repeated along the run
// (the same neighbour as the voxel before) is left out: the two are in one
// tree already, where Connect would only shorten paths, and the roots,
// which alone decide the labels, stay as they are.
inline void JoinRun(UInt32 inRun, const UInt32* inBelow, const UInt32* inAbove, UInt64 inLength, UInt32* ioTable) {
  ConnectRuns(inRun, inBelow[0], ioTable);
  ConnectRuns(inRun, inAbove[0], ioTable);
  for (UInt64 x = NextChange(inBelow, inAbove, 1, inLength); x < inLength;
       x = NextChange(inBelow, inAbove, x + 1, inLength)) {
    if (inBelow[x] != inBelow[x - 1]) ConnectRuns(inRun, inBelow[x], ioTable);
    if (inAbove[x] != inAbove[x - 1]) ConnectRuns(inRun, inAbove[x], ioTable);
  }
}

}  // namespace

XMemoryHandle X3DConnectedComponentsTool::AllocateRunTables(UInt64 inEntries) {
  const UInt64 bytes = inEntries * sizeof(UInt32);
  return XMemoryHandle(bytes > std::numeric_limits<UInt32>::max() ? std::numeric_limits<UInt64>::max() : 2 * bytes);
}

UInt32 X3DConnectedComponentsTool::FindRoot(UInt32 inRun, const UInt32* inTable) { return RootOf(inRun, inTable); }

void X3DConnectedComponentsTool::Connect(UInt32 inRun, UInt32 inNeighbour, UInt32* ioTable) {
  ConnectRuns(inRun, inNeighbour, ioTable);
}

void X3DConnectedComponentsTool::AddToAssociative(UInt32 inRun, UInt32 inNeighbour, UInt32* ioTable) {
  if (inNeighbour == 0 || inNeighbour == inRun) return;
  UInt32 at = ioTable[inNeighbour];
  while (at != inRun && at != inNeighbour) at = ioTable[at];
  // Back at the start without meeting the run: two cycles, which one swap joins.
  if (at == inNeighbour) std::swap(ioTable[inRun], ioTable[inNeighbour]);
}

XGrey32Volume* X3DConnectedComponentsTool::ApplyTool(const X3DRegion& inRegion) {
  itsComponentCount = 0;
  XProgress progress(4, kProgressStandard, 2000, false);

  const X3DRect grown = GrownBounds(inRegion.GetBounds());
  // Slabs of planes for the work that may be split: no run crosses a
  // slab's edge, since every plane starts with a rim row. The runs of each
  // slab, counted while the mask is made, size the tables, and let the final
  // pass number each slab's runs on from those before it.
  const std::vector<UInt64> slabs = PlaneSlabBounds(grown.GetDepth());
  XMaskVolume mask(grown);
  std::vector<UInt64> runsBefore = FillGrownMask(inRegion, mask, slabs);
  for (size_t i = 1; i < runsBefore.size(); ++i) runsBefore[i] += runsBefore[i - 1];
  const UInt64 runCount = runsBefore.back();

  std::unique_ptr<XGrey32Volume> labels(new XGrey32Volume(grown));
  XLock maskLock(mask, kLockRead);
  XLock labelLock(*labels, kLockWrite);
  const XGrid grid(*labels);
  XAssert(mask.GetRowVoxels() == grid.row);
  const UInt8* maskBase = mask.GetBaseVoxelPtr();
  UInt32* labelBase = labels->GetBaseVoxelPtr();
  const UInt64 componentNo = runCount;
  XAssert(componentNo != 0);

  XMemoryHandle tables = AllocateRunTables(runCount + 1);
  XLock tableLock(tables, kLockWrite);
  UInt32* table = reinterpret_cast<UInt32*>(tables.GetData());
  UInt32* compact = table + (runCount + 1);
  for (UInt64 i = 0; i <= runCount; ++i) table[i] = UInt32(i);
  progress.Increment();

  // The run numbering along the linear walk and the joins in z, y, x order,
  // in one walk: a run is joined as soon as it is numbered, while the run
  // numbers it reads at z - 1 and y - 1 are still in cache. The numbers and
  // the order of the joins are those of two separate passes. Run numbers
  // are needed only for the plane walked and the one before; the two rim
  // planes of the label volume, which end as zeros, hold them in turn, and
  // the final pass finds each voxel's run again from the mask. So the label
  // volume is written once, and nothing beyond it, the mask and the tables
  // is needed.
  UInt32* runPlanes[2] = {labelBase, labelBase + (grid.depth - 1) * grid.plane};
  std::memset(runPlanes[0], 0, grid.plane * sizeof(UInt32));  // below the first interior plane
  UInt64 run = 0;
  for (UInt64 z = 1; z + 1 < grid.depth; ++z) {
    UInt32* plane = runPlanes[z & 1];
    const UInt32* below = runPlanes[(z - 1) & 1];
    NumberRuns(maskBase + z * grid.plane, plane, grid.plane, run, [&](UInt32 inRun, UInt64 inBegin, UInt64 inEnd) {
      JoinRun(inRun, below + inBegin, plane + inBegin - grid.row, inEnd - inBegin, table);
    });
    XThread::TestCancelCurrentThread();
  }
  progress.Increment();

  // Compaction: roots take labels 1, 2, ... in ascending run number; every
  // run then takes its root's label. The compact table holds 0 for a run
  // whose label is not known yet, and a walk up the parents stops at the
  // first run whose label is.
  UInt32 componentCount = 0;
  compact[0] = 0;
  for (UInt64 i = 1; i <= runCount; ++i) compact[i] = table[i] == i ? ++componentCount : 0;
  for (UInt64 i = 1; i <= runCount; ++i) {
    if (compact[i] != 0) continue;
    UInt32 at = UInt32(i);
    while (compact[at] == 0) at = table[at];
    const UInt32 label = compact[at];
    for (at = UInt32(i); compact[at] == 0; at = table[at]) compact[at] = label;
  }
  std::memcpy(table + 1, compact + 1, runCount * sizeof(UInt32));
  progress.Increment();

  // Final pass, rim included: each voxel of run r takes table[r], and the
  // background table[0], 0.
  ForEachPlaneSlab(slabs, [&](size_t inSlab, UInt64 inBegin, UInt64 inEnd) {
    UInt64 run = runsBefore[inSlab];
    for (UInt64 z = inBegin; z < inEnd; ++z)
      WriteLabels(maskBase + z * grid.plane, labelBase + z * grid.plane, grid.plane, run, table);
  });
  itsComponentCount = componentCount;
  progress.Increment();
  return labels.release();
}

XVector<X3DRect> X3DConnectedComponentsTool::GetComponentRects(const XGrey32Volume& inLabels) const {
  const UInt32 count = itsComponentCount;
  constexpr SInt32 kLow = std::numeric_limits<SInt32>::min();
  constexpr SInt32 kHigh = std::numeric_limits<SInt32>::max();
  std::vector<SInt32> minX(count, kHigh), minY(count, kHigh), minZ(count, kHigh);
  std::vector<SInt32> maxX(count, kLow), maxY(count, kLow), maxZ(count, kLow);
  {
    XLock lock(inLabels, kLockRead);
    const X3DRect& bounds = inLabels.GetBounds();
    const UInt64 width = bounds.GetWidth();
    const UInt32* plane = inLabels.GetBaseVoxelPtr();
    for (SInt32 z = bounds.front; z < bounds.back; ++z, plane += inLabels.GetPlaneVoxels()) {
      const UInt32* row = plane;
      for (SInt32 y = bounds.top; y < bounds.bottom; ++y, row += inLabels.GetRowVoxels()) {
        // A run of one label moves the x limits once, by its ends.
        UInt64 x = 0;
        while (x < width) {
          const UInt32 label = row[x];
          if (label == 0) {
            ++x;
            continue;
          }
          const UInt64 begin = x;
          while (x < width && row[x] == label) ++x;
          XAssert(label <= count);
          const UInt32 i = label - 1;
          minX[i] = std::min(minX[i], SInt32(bounds.left + SInt64(begin)));
          maxX[i] = std::max(maxX[i], SInt32(bounds.left + SInt64(x)));
          minY[i] = std::min(minY[i], y);
          maxY[i] = std::max(maxY[i], y + 1);
          minZ[i] = std::min(minZ[i], z);
          maxZ[i] = std::max(maxZ[i], z + 1);
        }
      }
    }
  }
  XVector<X3DRect> rects;
  rects.reserve(count);
  for (UInt32 i = 0; i < count; ++i) rects.emplace_back(minX[i], minY[i], minZ[i], maxX[i], maxY[i], maxZ[i]);
  return rects;
}

}  // namespace mirelan
