// The loops of the run labelling: counting and numbering runs of non-zero
// mask bytes along a linear walk, writing labels by run through a table, and
// the split of planes over the worker pool. A run never crosses a row, because
// the grown mask has a zero rim, so a walk may start at any plane.
#pragma once

#include <emmintrin.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "core/XTypes.h"
#include "core/XWorkerPool.h"

namespace mirelan {
namespace XLabelRuns {

// A packed volume's extent and strides in voxels.
struct XGrid {
  UInt64 width;
  UInt64 height;
  UInt64 depth;
  UInt64 row;
  UInt64 plane;

  template <class V>
  explicit XGrid(const V& inVolume)
      : width(inVolume.GetBounds().GetWidth()),
        height(inVolume.GetBounds().GetHeight()),
        depth(inVolume.GetBounds().GetDepth()),
        row(inVolume.GetRowVoxels()),
        plane(inVolume.GetPlaneVoxels()) {}
};

// Slabs of planes, about four per worker, so that uneven planes even out.
inline std::vector<UInt64> PlaneSlabBounds(UInt64 inPlanes) {
  const UInt64 slabs = std::max<UInt64>(1, std::min<UInt64>(inPlanes, 4 * UInt64(XWorkerPool::GetWorkerCount())));
  const UInt64 size = (inPlanes + slabs - 1) / slabs;
  std::vector<UInt64> bounds;
  for (UInt64 at = 0; at < inPlanes; at += size) bounds.push_back(at);
  bounds.push_back(inPlanes);
  return bounds;
}

// inWork(slab, first plane, end plane) for each slab of inBounds, on the
// worker pool when it has more than one worker; inWork must write only its
// own planes.
template <class Work>
inline void ForEachPlaneSlab(const std::vector<UInt64>& inBounds, Work&& inWork) {
  XWorkerPool::ForEachSlab(inBounds.size() - 1, 1, [&](UInt64 inSlab, UInt64) {
    inWork(size_t(inSlab), inBounds[inSlab], inBounds[inSlab + 1]);
  });
}

// inWork(first plane, end plane) over all planes, as above.
template <class Work>
inline void ForPlaneSlabs(UInt64 inPlanes, Work&& inWork) {
  ForEachPlaneSlab(PlaneSlabBounds(inPlanes), [&](size_t, UInt64 inBegin, UInt64 inEnd) { inWork(inBegin, inEnd); });
}

// One bit per byte of inMask[0 .. 64): set where the byte is not zero.
inline UInt64 NonZeroBits(const UInt8* inMask) {
  const __m128i zero = _mm_setzero_si128();
  UInt64 bits = 0;
  for (int i = 0; i < 4; ++i) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(inMask + 16 * i));
    bits |= UInt64(UInt16(~_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, zero)))) << (16 * i);
  }
  return bits;
}

// inFn(begin, end) for each run of non-zero bytes among inCount mask bytes,
// in order. Blocks of 64 bytes become bit masks, so a block inside the
// background or inside a run costs one test, and run ends are found by
// counting zero bits.
template <class Fn>
inline void ForEachRun(const UInt8* inMask, UInt64 inCount, Fn&& inFn) {
  bool inRun = false;
  UInt64 runBegin = 0;
  UInt64 at = 0;
  for (; at + 64 <= inCount; at += 64) {
    const UInt64 bits = NonZeroBits(inMask + at);
    if (bits == (inRun ? ~UInt64(0) : UInt64(0))) continue;
    UInt64 p = 0;
    while (p < 64) {
      const UInt64 next = (inRun ? ~bits : bits) & (~UInt64(0) << p);
      if (next == 0) break;
      p = UInt64(__builtin_ctzll(next));
      if (inRun)
        inFn(runBegin, at + p);
      else
        runBegin = at + p;
      inRun = !inRun;
    }
  }
  for (; at < inCount; ++at) {
    if ((inMask[at] != 0) == inRun) continue;
    if (inRun)
      inFn(runBegin, at);
    else
      runBegin = at;
    inRun = !inRun;
  }
  if (inRun) inFn(runBegin, inCount);
}

// Set bits of a word, without the processor's popcount, which the base
// instruction set lacks.
inline UInt64 BitCount(UInt64 inBits) {
  inBits -= (inBits >> 1) & 0x5555555555555555ull;
  inBits = (inBits & 0x3333333333333333ull) + ((inBits >> 2) & 0x3333333333333333ull);
  inBits = (inBits + (inBits >> 4)) & 0x0F0F0F0F0F0F0F0Full;
  return (inBits * 0x0101010101010101ull) >> 56;
}

// The number of runs of non-zero bytes among inCount mask bytes: the set
// bits whose byte before is zero.
inline UInt64 CountRuns(const UInt8* inMask, UInt64 inCount) {
  UInt64 runs = 0;
  UInt64 carry = 0;  // the last bit of the block before
  UInt64 at = 0;
  for (; at + 64 <= inCount; at += 64) {
    const UInt64 bits = NonZeroBits(inMask + at);
    runs += BitCount(bits & ~((bits << 1) | carry));
    carry = bits >> 63;
  }
  for (bool before = carry != 0; at < inCount; ++at) {
    const bool set = inMask[at] != 0;
    runs += set && !before;
    before = set;
  }
  return runs;
}

// Walk over inCount mask bytes (one plane): a zero byte gives label 0, each
// voxel of a run of non-zero bytes the run's number, counting on from
// ioRun. After each run is written, inRunDone(run, begin, end).
template <class RunDone>
inline void NumberRuns(const UInt8* inMask, UInt32* outLabels, UInt64 inCount, UInt64& ioRun, RunDone&& inRunDone) {
  std::memset(outLabels, 0, inCount * sizeof(UInt32));
  ForEachRun(inMask, inCount, [&](UInt64 inBegin, UInt64 inEnd) {
    const UInt32 run = UInt32(++ioRun);
    std::fill(outLabels + inBegin, outLabels + inEnd, run);
    inRunDone(run, inBegin, inEnd);
  });
}

// The final pass over inCount voxels (one plane) whose runs are numbered
// from ioRun + 1 on: each voxel of a run takes the run's entry in inTable,
// every other voxel entry 0, which is 0. The plane is cleared in one go, so
// that its lines are written whole and stay in cache for the runs.
inline void WriteLabels(const UInt8* inMask, UInt32* outLabels, UInt64 inCount, UInt64& ioRun,
                        const UInt32* inTable) {
  std::memset(outLabels, 0, inCount * sizeof(UInt32));
  ForEachRun(inMask, inCount, [&](UInt64 inBegin, UInt64 inEnd) {
    std::fill(outLabels + inBegin, outLabels + inEnd, inTable[++ioRun]);
  });
}

}  // namespace XLabelRuns
}  // namespace mirelan
