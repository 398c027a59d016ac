#include "filters/XDilateErodeFilterVolumeTools.h"

#include <algorithm>
#include <memory>

#include "filters/internal/XFilterWalk.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"

namespace mirelan {

using namespace XFilterDetail;

namespace {

XVector<X3DPoint> OffsetsOrNeighbours(const XVector<X3DPoint>& inOffsets) {
  if (!inOffsets.empty()) return inOffsets;
  return {X3DPoint(-1, 0, 0), X3DPoint(1, 0, 0), X3DPoint(0, -1, 0),
          X3DPoint(0, 1, 0),  X3DPoint(0, 0, -1), X3DPoint(0, 0, 1)};
}

// Whether a candidate replaces the best so far: strictly greater (dilation)
// or smaller (erosion); colours by brightness, so a tie keeps the earlier.
template <bool kDilate, class T>
inline bool Wins(const T& inCandidate, const T& inBest) {
  if constexpr (std::is_same_v<T, XARGB32Colour>)
    return kDilate ? inCandidate.GetIntensity() > inBest.GetIntensity()
                   : inCandidate.GetIntensity() < inBest.GetIntensity();
  else
    return kDilate ? inCandidate > inBest : inCandidate < inBest;
}

// The rows of one slab. A voxel's rule visits the offsets in order; here the
// offsets are the outer loop and the voxels of the row the inner one, which
// makes the same comparisons in the same order for every voxel.
template <class T, bool kDilate>
class XMorphologyRows {
 public:
  XMorphologyRows(const XChannelView<const T, 1>& inWork, const XChannelView<T, 1>& inDest,
                  const XVector<X3DPoint>& inOffsets, bool inEdgeFlag)
      : itsWork(inWork), itsDest(inDest), itsOffsets(inOffsets), itsEdgeFlag(inEdgeFlag) {}

  void operator()(SInt32 y, SInt32 z, SInt32 x0, SInt32 x1) {
    const X3DRect& b = itsWork.bounds;
    T* out = itsDest.At(x0, y, z);
    std::copy(itsWork.At(x0, y, z), itsWork.At(x1, y, z), out);
    bool rowOutside = false;
    SInt64 lowestDx = 0, highestDx = 0;
    for (const X3DPoint& o : itsOffsets) {
      const SInt64 sy = SInt64(y) + o.y, sz = SInt64(z) + o.z;
      if (sy < b.top || sy >= b.bottom || sz < b.front || sz >= b.back) {
        rowOutside = true;
        continue;
      }
      lowestDx = std::min<SInt64>(lowestDx, o.x);
      highestDx = std::max<SInt64>(highestDx, o.x);
      const SInt64 xa = std::max<SInt64>(x0, SInt64(b.left) - o.x);
      const SInt64 xb = std::min<SInt64>(x1, SInt64(b.right) - o.x);
      if (xa >= xb) continue;
      const T* in = itsWork.At(SInt32(xa + o.x), SInt32(sy), SInt32(sz));
      T* best = out + (xa - x0);
      const SInt64 n = xb - xa;
      for (SInt64 i = 0; i < n; ++i) best[i] = Wins<kDilate>(in[i], best[i]) ? in[i] : best[i];
    }
    if (!itsEdgeFlag) return;
    // With the edge flag a voxel with any offset outside is 0.
    if (rowOutside) {
      std::fill(out, out + (x1 - x0), T());
      return;
    }
    const SInt64 leftEnd = std::min<SInt64>(x1, SInt64(b.left) - lowestDx);
    for (SInt64 x = x0; x < leftEnd; ++x) out[x - x0] = T();
    for (SInt64 x = std::max<SInt64>(x0, SInt64(b.right) - highestDx); x < x1; ++x) out[x - x0] = T();
  }

 private:
  XChannelView<const T, 1> itsWork;
  XChannelView<T, 1> itsDest;
  const XVector<X3DPoint>& itsOffsets;
  bool itsEdgeFlag;
};

template <class V, bool kDilate>
void Iteration(const V& inWork, V& ioDest, const XVector<X3DPoint>& inOffsets, bool inEdgeFlag) {
  using T = typename V::Voxel;
  XLock destLock(ioDest, kLockReadWrite);
  XLock workLock(inWork, kLockRead);
  const XChannelView<const T, 1> work(inWork, 0);
  const XChannelView<T, 1> dest(ioDest, 0);
  const XRowWalk walk(FilterExtent(inWork, ioDest, nullptr), nullptr);
  walk.Run([&] { return XMorphologyRows<T, kDilate>(work, dest, inOffsets, inEdgeFlag); });
}

// The work volume starts as a copy of the source and takes each result over.
template <class V, bool kDilate>
void Morph(const XVolume& inSource, XVolume& ioDest, UInt32 inIterations, const XVector<X3DPoint>& inOffsets,
           bool inEdgeFlag) {
  const V& source = dynamic_cast<const V&>(inSource);
  V* typedDest = dynamic_cast<V*>(&ioDest);
  XAssert(typedDest != nullptr);
  V& dest = *typedDest;
  XAssert(&inSource != &ioDest);
  if (inIterations == 0) return;
  std::unique_ptr<XVolume> workVolume(source.Clone());
  V& work = dynamic_cast<V&>(*workVolume);
  XProgress progress(inIterations, kProgressStandard, 2000, false);
  for (UInt32 i = 0; i < inIterations; ++i) {
    Iteration<V, kDilate>(work, dest, inOffsets, inEdgeFlag);
    work.CopyFrom(dest);
    progress.Increment();
  }
}

}  // namespace

XDilateFilterVolumeTool::XDilateFilterVolumeTool(UInt32 iterations, const XVector<X3DPoint>& offsets)
    : itsIterations(iterations), itsOffsets(OffsetsOrNeighbours(offsets)) {}
XDilateFilterVolumeTool::~XDilateFilterVolumeTool() = default;

void XDilateFilterVolumeTool::ApplyToolGrey8(const XGrey8Volume& inSource, XVolume& ioDest) {
  Morph<XGrey8Volume, true>(inSource, ioDest, itsIterations, itsOffsets, false);
}
void XDilateFilterVolumeTool::ApplyToolGrey16(const XGrey16Volume& inSource, XVolume& ioDest) {
  Morph<XGrey16Volume, true>(inSource, ioDest, itsIterations, itsOffsets, false);
}
void XDilateFilterVolumeTool::ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) {
  Morph<XARGB32Volume, true>(inSource, ioDest, itsIterations, itsOffsets, false);
}
void XDilateFilterVolumeTool::ApplyToolFP(const XFPVolume& inSource, XVolume& ioDest) {
  Morph<XFPVolume, true>(inSource, ioDest, itsIterations, itsOffsets, false);
}

XErodeFilterVolumeTool::XErodeFilterVolumeTool(UInt32 iterations, const XVector<X3DPoint>& offsets, bool edgeFlag)
    : itsIterations(iterations), itsOffsets(OffsetsOrNeighbours(offsets)), itsEdgeFlag(edgeFlag) {}
XErodeFilterVolumeTool::~XErodeFilterVolumeTool() = default;

void XErodeFilterVolumeTool::ApplyToolGrey8(const XGrey8Volume& inSource, XVolume& ioDest) {
  Morph<XGrey8Volume, false>(inSource, ioDest, itsIterations, itsOffsets, itsEdgeFlag);
}
void XErodeFilterVolumeTool::ApplyToolGrey16(const XGrey16Volume& inSource, XVolume& ioDest) {
  Morph<XGrey16Volume, false>(inSource, ioDest, itsIterations, itsOffsets, itsEdgeFlag);
}
void XErodeFilterVolumeTool::ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) {
  Morph<XARGB32Volume, false>(inSource, ioDest, itsIterations, itsOffsets, itsEdgeFlag);
}
void XErodeFilterVolumeTool::ApplyToolFP(const XFPVolume& inSource, XVolume& ioDest) {
  Morph<XFPVolume, false>(inSource, ioDest, itsIterations, itsOffsets, itsEdgeFlag);
}

}  // namespace mirelan
