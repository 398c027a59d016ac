#include "tools/XVolumeResampleTool.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <type_traits>

#include "core/XException.h"
#include "core/XLockable.h"
#include "core/XProgress.h"
#include "core/XWorkerPool.h"
#include "volume/XColourVolumes.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"

namespace mirelan {

namespace {

// How a voxel type is summed: as kCount channels of Channel. Colour words
// keep one sum for each of their four bytes, alpha included.
template <class T>
struct XResampleChannels {
  using Channel = T;
  static constexpr UInt32 kCount = 1;
};
template <>
struct XResampleChannels<XARGB32Colour> {
  using Channel = UInt8;
  static constexpr UInt32 kCount = 4;
};
template <>
struct XResampleChannels<XBGRA32Colour> {
  using Channel = UInt8;
  static constexpr UInt32 kCount = 4;
};

// The sums are those of signed 32-bit integers that wrap. They are kept
// unsigned, where wrapping is defined: the bits that reach the stored value
// (16 and up, after the shift) are the same either way.
template <class Channel>
inline Channel Packed(UInt32 inSum) {
  return Channel(inSum >> 16);
}

// The voxel loops are compiled twice, plainly and for AVX2 (eight 32-bit
// products at once), and the processor picks at run time. The arithmetic is
// the same in both.
#define MIRELAN_RESAMPLE_BODY __attribute__((always_inline)) inline

bool HasAVX2() {
  static const bool sHas = __builtin_cpu_supports("avx2");
  return sHas;
}

// The x pass works on strips of rows turned on their side, so that its taps
// run along memory as those of y and z do: each source column of a strip is
// one short vector of kLanes channels (16 rows of grey, 4 of colour).
constexpr UInt32 kLanes = 16;

template <class Channel, UInt32 kC>
MIRELAN_RESAMPLE_BODY void ResampleStripRows(const Channel* const* inRows, Channel* const* outRows, UInt32 inRowCount,
                                             UInt32 inSourceWidth, const XFilterContributions& inTaps,
                                             Channel* ioColumns) {
  // Each row read along memory; the columns are small enough to stay in cache.
  for (UInt32 r = 0; r < inRowCount; ++r) {
    const Channel* __restrict row = inRows[r];
    Channel* __restrict lanes = ioColumns + r * kC;
    for (UInt32 x = 0; x < inSourceWidth; ++x)
      for (UInt32 c = 0; c < kC; ++c) lanes[size_t(x) * kLanes + c] = row[size_t(x) * kC + c];
  }
  const UInt32 length = inTaps.GetDestLength();
  for (UInt32 i = 0; i < length; ++i) {
    const XContribution* tap = inTaps.GetTaps(i);
    const UInt32 count = inTaps.GetCount(i);
    UInt32 sum[kLanes] = {};
    for (UInt32 t = 0; t < count; ++t) {
      const Channel* column = ioColumns + size_t(tap[t].offset) * kLanes;
      const UInt32 w = UInt32(tap[t].weight);
      for (UInt32 l = 0; l < kLanes; ++l) sum[l] += w * UInt32(column[l]);
    }
    Channel packed[kLanes];
    for (UInt32 l = 0; l < kLanes; ++l) packed[l] = Packed<Channel>(sum[l]);
    for (UInt32 r = 0; r < inRowCount; ++r)
      for (UInt32 c = 0; c < kC; ++c) outRows[r][size_t(i) * kC + c] = packed[r * kC + c];
  }
}

// inRowCount is kLanes / kC for every strip but the last of a plane; a
// whole strip is given its count at compile time so that the loops over
// rows unroll.
template <class Channel, UInt32 kC>
MIRELAN_RESAMPLE_BODY void ResampleStripBody(const Channel* const* inRows, Channel* const* outRows, UInt32 inRowCount,
                                             UInt32 inSourceWidth, const XFilterContributions& inTaps,
                                             Channel* ioColumns) {
  constexpr UInt32 kRows = kLanes / kC;
  if (inRowCount == kRows)
    ResampleStripRows<Channel, kC>(inRows, outRows, kRows, inSourceWidth, inTaps, ioColumns);
  else
    ResampleStripRows<Channel, kC>(inRows, outRows, inRowCount, inSourceWidth, inTaps, ioColumns);
}

template <class Channel, UInt32 kC>
void ResampleStripPlain(const Channel* const* inRows, Channel* const* outRows, UInt32 inRowCount,
                        UInt32 inSourceWidth, const XFilterContributions& inTaps, Channel* ioColumns) {
  ResampleStripBody<Channel, kC>(inRows, outRows, inRowCount, inSourceWidth, inTaps, ioColumns);
}

template <class Channel, UInt32 kC>
__attribute__((target("avx2"))) void ResampleStripAVX2(const Channel* const* inRows, Channel* const* outRows,
                                                       UInt32 inRowCount, UInt32 inSourceWidth,
                                                       const XFilterContributions& inTaps, Channel* ioColumns) {
  ResampleStripBody<Channel, kC>(inRows, outRows, inRowCount, inSourceWidth, inTaps, ioColumns);
}

// One destination line of the y or z pass: the weighted sum of whole source
// lines, inLineStep channels apart, so the inner loop runs along memory.
template <class Channel>
MIRELAN_RESAMPLE_BODY void CombineLinesBody(const Channel* inBase, ptrdiff_t inLineStep, const XContribution* inTaps,
                                            UInt32 inCount, Channel* __restrict outDest, UInt32 inLength,
                                            UInt32* __restrict ioSums) {
  std::fill(ioSums, ioSums + inLength, 0u);
  for (UInt32 t = 0; t < inCount; ++t) {
    const Channel* __restrict s = inBase + static_cast<ptrdiff_t>(inTaps[t].offset) * inLineStep;
    const UInt32 w = UInt32(inTaps[t].weight);
    for (UInt32 x = 0; x < inLength; ++x) ioSums[x] += w * UInt32(s[x]);
  }
  for (UInt32 x = 0; x < inLength; ++x) outDest[x] = Packed<Channel>(ioSums[x]);
}

template <class Channel>
void CombineLinesPlain(const Channel* inBase, ptrdiff_t inLineStep, const XContribution* inTaps, UInt32 inCount,
                       Channel* outDest, UInt32 inLength, UInt32* ioSums) {
  CombineLinesBody(inBase, inLineStep, inTaps, inCount, outDest, inLength, ioSums);
}

template <class Channel>
__attribute__((target("avx2"))) void CombineLinesAVX2(const Channel* inBase, ptrdiff_t inLineStep,
                                                      const XContribution* inTaps, UInt32 inCount, Channel* outDest,
                                                      UInt32 inLength, UInt32* ioSums) {
  CombineLinesBody(inBase, inLineStep, inTaps, inCount, outDest, inLength, ioSums);
}

// A plane of channels: the first channel, and the step from row to row.
template <class Channel>
struct XPlaneOf {
  Channel* base;
  ptrdiff_t rowStep;
  Channel* Row(UInt32 inY) const { return base + static_cast<ptrdiff_t>(inY) * rowStep; }
};

// The three passes on one plane each, with their scratch memory.
template <class Channel, UInt32 kC>
class XResamplePasses {
 public:
  // Along x: inHeight rows of inSourceWidth voxels into rows of the taps' length.
  void AlongX(XPlaneOf<const Channel> inSource, XPlaneOf<Channel> outDest, UInt32 inHeight, UInt32 inSourceWidth,
              const XFilterContributions& inTaps) {
    constexpr UInt32 kRows = kLanes / kC;
    itsColumns.resize(size_t(inSourceWidth) * kLanes);
    auto strip = HasAVX2() ? ResampleStripAVX2<Channel, kC> : ResampleStripPlain<Channel, kC>;
    const Channel* rows[kRows];
    Channel* outs[kRows];
    for (UInt32 y = 0; y < inHeight; y += kRows) {
      const UInt32 count = std::min(kRows, inHeight - y);
      for (UInt32 r = 0; r < count; ++r) {
        rows[r] = inSource.Row(y + r);
        outs[r] = outDest.Row(y + r);
      }
      strip(rows, outs, count, inSourceWidth, inTaps, itsColumns.data());
    }
  }
  // Along y: rows of inWidth voxels, one destination row for each position.
  void AlongY(XPlaneOf<const Channel> inSource, XPlaneOf<Channel> outDest, UInt32 inWidth,
              const XFilterContributions& inTaps) {
    for (UInt32 i = 0; i < inTaps.GetDestLength(); ++i)
      Combine(inSource.base, inSource.rowStep, inTaps.GetTaps(i), inTaps.GetCount(i), outDest.Row(i), inWidth * kC);
  }
  // Along z: one destination plane from the planes, inPlaneStep apart, that
  // its taps name.
  void AlongZ(XPlaneOf<const Channel> inFirstPlane, ptrdiff_t inPlaneStep, XPlaneOf<Channel> outDest, UInt32 inWidth,
              UInt32 inHeight, const XContribution* inTaps, UInt32 inCount) {
    for (UInt32 y = 0; y < inHeight; ++y)
      Combine(inFirstPlane.Row(y), inPlaneStep, inTaps, inCount, outDest.Row(y), inWidth * kC);
  }

 private:
  void Combine(const Channel* inBase, ptrdiff_t inLineStep, const XContribution* inTaps, UInt32 inCount,
               Channel* outDest, UInt32 inLength) {
    if (itsSums.size() < inLength) itsSums.resize(inLength);
    if (HasAVX2())
      CombineLinesAVX2(inBase, inLineStep, inTaps, inCount, outDest, inLength, itsSums.data());
    else
      CombineLinesPlain(inBase, inLineStep, inTaps, inCount, outDest, inLength, itsSums.data());
  }

  std::vector<Channel> itsColumns;
  std::vector<UInt32> itsSums;
};

// The planes of a volume from the corner of inRect, as channels. Taken on
// the calling thread, under its lock; the workers use only the addresses.
template <class Channel>
struct XPlaneStack {
  Channel* first;
  ptrdiff_t rowStep;
  ptrdiff_t planeStep;
  XPlaneOf<Channel> Plane(UInt32 inZ) const { return {first + static_cast<ptrdiff_t>(inZ) * planeStep, rowStep}; }
};

template <class T, class V>
auto StackAt(V& inVolume, const X3DRect& inRect) {
  using Channel = std::conditional_t<std::is_const_v<V>, const typename XResampleChannels<T>::Channel,
                                     typename XResampleChannels<T>::Channel>;
  constexpr ptrdiff_t kC = XResampleChannels<T>::kCount;
  return XPlaneStack<Channel>{reinterpret_cast<Channel*>(inVolume.GetVoxelPtr(inRect.left, inRect.top, inRect.front)),
                              static_cast<ptrdiff_t>(inVolume.GetRowVoxels()) * kC,
                              static_cast<ptrdiff_t>(inVolume.GetLayerSize()) * kC};
}

// Destination planes go to the worker pool in a few slabs for each worker.
UInt64 PlanesPerSlab(UInt32 inDepth) {
  const UInt64 slabs = std::max<UInt64>(1, std::min<UInt64>(inDepth, 4 * UInt64(XWorkerPool::GetWorkerCount())));
  return (inDepth + slabs - 1) / slabs;
}

// What each pass requires of its two boxes: only its own axis changes.
void AssertPassRects(int inAxis, const X3DRect& srcRect, const X3DRect& destRect) {
  switch (inAxis) {
    case 0:
      XAssert(destRect.GetWidth() != srcRect.GetWidth());
      XAssert(destRect.GetHeight() == srcRect.GetHeight());
      XAssert(destRect.GetDepth() == srcRect.GetDepth());
      break;
    case 1:
      XAssert(destRect.GetWidth() == srcRect.GetWidth());
      XAssert(destRect.GetHeight() != srcRect.GetHeight());
      XAssert(destRect.GetDepth() == srcRect.GetDepth());
      break;
    default:
      XAssert(destRect.GetWidth() == srcRect.GetWidth());
      XAssert(destRect.GetHeight() == srcRect.GetHeight());
      XAssert(destRect.GetDepth() != srcRect.GetDepth());
  }
}

// inRect with one axis at another length.
X3DRect WithLength(const X3DRect& inRect, int inAxis, UInt32 inLength) {
  X3DRect r = inRect;
  if (inAxis == 0)
    r.right = r.left + SInt32(inLength);
  else if (inAxis == 1)
    r.bottom = r.top + SInt32(inLength);
  else
    r.back = r.front + SInt32(inLength);
  return r;
}

UInt32 LengthOf(const X3DRect& inRect, int inAxis) {
  return inAxis == 0 ? inRect.GetWidth() : (inAxis == 1 ? inRect.GetHeight() : inRect.GetDepth());
}

// A source index that still falls outside after reflection (a source
// shorter than the filter's reach) is held at the nearest end.
SInt64 ReflectIndex(SInt64 inJ, SInt64 inLength) {
  if (inJ < 0)
    inJ = -inJ;
  else if (inJ >= inLength)
    inJ = 2 * inLength - inJ - 1;
  return std::min(std::max<SInt64>(inJ, 0), inLength - 1);
}

}  // namespace

XVolumeResampleTool::~XVolumeResampleTool() { delete itsFilter; }

void XVolumeResampleTool::SetFilter(XFilterMode inMode, XResampleFilter* aFilter) {
  delete itsFilter;
  itsFilter = nullptr;
  itsFilterMode = kFilterAutomatic;
  switch (inMode) {
    case kFilterSimple: itsFilter = new XSimpleFilter; break;
    case kFilterTriangle: itsFilter = new XTriangleFilter; break;
    case kFilterBell: itsFilter = new XBellFilter; break;
    case kFilterBSpline: itsFilter = new XBSplineFilter; break;
    case kFilterLanczos3: itsFilter = new XLanczos3Filter; break;
    case kFilterCaller:
      XAssert(aFilter);
      itsFilter = aFilter;
      break;
    default:
      return;
  }
  itsFilterMode = inMode;
}

// ------------------------------------------------------------------ weights

void XVolumeResampleTool::CalculateFilterContributions(UInt32 inSourceLength, UInt32 inDestLength, UInt32 inBase,
                                                       UInt32 inStride, XFilterContributions& outContributions) {
  // One less than the source length: the ends of source and destination meet.
  const Float64 scale = Float64(inDestLength) / std::max(Float64(inSourceLength) - 1.0, 1.0);
  if (itsFilterMode == kFilterAutomatic) {
    delete itsFilter;
    itsFilter = nullptr;
    itsFilter = scale >= 1.0 ? static_cast<XResampleFilter*>(new XBellFilter) : new XSimpleFilter;
  }
  XAssert(itsFilter);
  const XResampleFilter& filter = *itsFilter;
  const Float64 support = filter.GetFilterSize();
  const SInt64 length = inSourceLength;
  outContributions.Clear();
  for (UInt32 i = 0; i < inDestLength; ++i) {
    Float64 sum = 0.0;
    auto add = [&](SInt64 inIndex, Float64 inWeight) {
      sum += inWeight;
      outContributions.Add({UInt32(inBase + UInt64(inIndex) * inStride), SInt32(std::lround(inWeight * 65535.0))});
    };
    if (scale >= 1.0) {
      const Float64 centre = i / scale;
      const SInt64 left = SInt64(std::ceil(centre - support)), right = SInt64(std::floor(centre + support));
      for (SInt64 j = left; j <= right; ++j) {
        const Float64 w = filter.CalcFilterValue(centre - Float64(j));
        if (w != 0.0) add(ReflectIndex(j, length), w);
      }
    } else {
      const Float64 f = 1.0 / scale, width = support / scale;
      const Float64 centre = i / scale + width * 0.5;
      const SInt64 left = SInt64(std::ceil(centre - width)), right = SInt64(std::floor(centre + width));
      for (SInt64 j = std::max<SInt64>(left, 0); j <= right && j < length; ++j) {
        const Float64 w = filter.CalcFilterValue((centre - Float64(j)) / f) / f;
        if (w != 0.0) add(j, w);
      }
    }
    XContribution* first = outContributions.EndDest();
    const UInt32 count = outContributions.GetCount(i);
    // Weights that cancel out have no sum to divide by: they stay as they are.
    if (sum == 0.0) continue;
    const Float64 factor = 1.0 / sum;
    for (UInt32 t = 0; t < count; ++t) first[t].weight = SInt32(std::lround(first[t].weight * factor));
  }
}

void XVolumeResampleTool::CalculateXFilterContributions(UInt32 inSourceLength, UInt32 inDestLength, UInt32 inBase,
                                                        UInt32 inStride, XFilterContributions& outContributions) {
  CalculateFilterContributions(inSourceLength, inDestLength, inBase, inStride, outContributions);
}

void XVolumeResampleTool::CalculateYFilterContributions(UInt32 inSourceLength, UInt32 inDestLength, UInt32 inBase,
                                                        UInt32 inStride, XFilterContributions& outContributions) {
  CalculateFilterContributions(inSourceLength, inDestLength, inBase, inStride, outContributions);
}

void XVolumeResampleTool::CalculateZFilterContributions(UInt32 inSourceLength, UInt32 inDestLength, UInt32 inBase,
                                                        UInt32 inStride, XFilterContributions& outContributions) {
  CalculateFilterContributions(inSourceLength, inDestLength, inBase, inStride, outContributions);
}

// -------------------------------------------------------------------- tool

void XVolumeResampleTool::ApplyTool(const XVolume& inSource, XVolume& ioDest, const X3DRect& srcRect,
                                    const X3DRect& destRect) {
  if (srcRect.IsEmptyOrInsideOut() || destRect.IsEmptyOrInsideOut()) return;
  if (srcRect.IsSameSizeAs(destRect)) {
    inSource.CopyOut(ioDest, srcRect, destRect, nullptr);
    return;
  }
  auto both = [&](const XVersion& inClass) { return inSource.IsA(inClass) && ioDest.IsA(inClass); };
  if (both(XARGB32Volume::GetClassVersion()))
    ResampleTyped<XARGB32Colour>(static_cast<const XARGB32Volume&>(inSource), static_cast<XARGB32Volume&>(ioDest),
                                 srcRect, destRect);
  else if (both(XBGRA32Volume::GetClassVersion()))
    ResampleTyped<XBGRA32Colour>(static_cast<const XBGRA32Volume&>(inSource), static_cast<XBGRA32Volume&>(ioDest),
                                 srcRect, destRect);
  else if (both(XGrey8Volume::GetClassVersion()))
    ResampleTyped<UInt8>(static_cast<const XGrey8Volume&>(inSource), static_cast<XGrey8Volume&>(ioDest), srcRect,
                         destRect);
  else if (both(XGrey16Volume::GetClassVersion()))
    ResampleTyped<UInt16>(static_cast<const XGrey16Volume&>(inSource), static_cast<XGrey16Volume&>(ioDest),
                          srcRect, destRect);
  else
    throw XException(kErrNotForPixelType);
}

void XVolumeResampleTool::CalculateAxisContributions(int inAxis, UInt32 inSourceLength, UInt32 inDestLength,
                                                     XFilterContributions& outContributions) {
  if (inAxis == 0)
    CalculateXFilterContributions(inSourceLength, inDestLength, 0, 1, outContributions);
  else if (inAxis == 1)
    CalculateYFilterContributions(inSourceLength, inDestLength, 0, 1, outContributions);
  else
    CalculateZFilterContributions(inSourceLength, inDestLength, 0, 1, outContributions);
}

template <class T>
void XVolumeResampleTool::ResampleTyped(const XPackedVolume<T>& inSource, XPackedVolume<T>& ioDest,
                                        const X3DRect& srcRect, const X3DRect& destRect) {
  XAssert(inSource.GetBounds().Contains(srcRect));
  XAssert(ioDest.GetBounds().Contains(destRect));
  // The differing axes by source length, shortest first; x, then y, win ties.
  std::vector<int> axes;
  for (int a = 0; a < 3; ++a)
    if (LengthOf(srcRect, a) != LengthOf(destRect, a)) axes.push_back(a);
  std::stable_sort(axes.begin(), axes.end(),
                   [&](int a, int b) { return LengthOf(srcRect, a) < LengthOf(srcRect, b); });
  if (axes[0] == 2 || std::find(axes.begin(), axes.end(), 2) == axes.end()) {
    // z first or not at all: each destination plane is made whole, and the
    // temporaries are planes, not volumes.
    ResamplePlaneByPlane(inSource, ioDest, srcRect, destRect, axes);
    return;
  }
  // z between or after x and y: the first axis at its final size in a
  // temporary volume, the rest from there.
  const X3DRect between = WithLength(srcRect, axes[0], LengthOf(destRect, axes[0]));
  std::unique_ptr<XVolume> temporary(inSource.CloneWithoutCopy(between));
  auto* typed = dynamic_cast<XPackedVolume<T>*>(temporary.get());
  XAssert(typed);
  ResampleOneAxis(inSource, *typed, srcRect, between, axes[0]);
  ApplyTool(*typed, ioDest, between, destRect);
}

template <class T>
void XVolumeResampleTool::ResampleOneAxis(const XPackedVolume<T>& inSource, XPackedVolume<T>& ioDest,
                                          const X3DRect& srcRect, const X3DRect& destRect, int inAxis) {
  using Channel = typename XResampleChannels<T>::Channel;
  constexpr UInt32 kC = XResampleChannels<T>::kCount;
  AssertPassRects(inAxis, srcRect, destRect);
  XFilterContributions taps;
  CalculateAxisContributions(inAxis, LengthOf(srcRect, inAxis), LengthOf(destRect, inAxis), taps);
  XLock sourceLock(inSource, kLockRead);
  XLock destLock(ioDest, kLockReadWrite);
  const XPlaneStack<const Channel> from = StackAt<T>(inSource, srcRect);
  const XPlaneStack<Channel> to = StackAt<T>(ioDest, destRect);
  const UInt32 width = srcRect.GetWidth(), height = srcRect.GetHeight(), depth = destRect.GetDepth();
  XProgress progress(depth, kProgressStandard, 2000, false);
  XWorkerPool::ForEachSlab(
      depth, PlanesPerSlab(depth),
      [&](UInt64 inBegin, UInt64 inEnd) {
        XResamplePasses<Channel, kC> passes;
        for (UInt32 z = UInt32(inBegin); z < inEnd; ++z) {
          if (inAxis == 0)
            passes.AlongX(from.Plane(z), to.Plane(z), height, width, taps);
          else if (inAxis == 1)
            passes.AlongY(from.Plane(z), to.Plane(z), width, taps);
          else
            passes.AlongZ(from.Plane(0), from.planeStep, to.Plane(z), width, height, taps.GetTaps(z), taps.GetCount(z));
        }
      },
      &progress);
}

// The passes in the order of inAxes, z (if it changes) first, made plane by
// plane: a destination plane is the z sum of its source planes, then the x
// or y pass of that, then the other. Each value is what the volume-wide
// passes give; only the temporaries are smaller.
template <class T>
void XVolumeResampleTool::ResamplePlaneByPlane(const XPackedVolume<T>& inSource, XPackedVolume<T>& ioDest,
                                               const X3DRect& srcRect, const X3DRect& destRect,
                                               const std::vector<int>& inAxes) {
  using Channel = typename XResampleChannels<T>::Channel;
  constexpr UInt32 kC = XResampleChannels<T>::kCount;
  const bool zChanges = inAxes[0] == 2;
  const std::vector<int> planeAxes(inAxes.begin() + (zChanges ? 1 : 0), inAxes.end());
  // The taps, and the box after each pass.
  XFilterContributions zTaps, taps[2];
  X3DRect stage = srcRect;
  if (zChanges) {
    const X3DRect next = WithLength(stage, 2, destRect.GetDepth());
    AssertPassRects(2, stage, next);
    CalculateAxisContributions(2, stage.GetDepth(), next.GetDepth(), zTaps);
    stage = next;
  }
  X3DRect afterFirst = stage;
  for (size_t p = 0; p < planeAxes.size(); ++p) {
    const int axis = planeAxes[p];
    const X3DRect next = WithLength(stage, axis, LengthOf(destRect, axis));
    AssertPassRects(axis, stage, next);
    CalculateAxisContributions(axis, LengthOf(stage, axis), LengthOf(next, axis), taps[p]);
    stage = next;
    if (p == 0) afterFirst = stage;
  }
  XLock sourceLock(inSource, kLockRead);
  XLock destLock(ioDest, kLockReadWrite);
  const XPlaneStack<const Channel> from = StackAt<T>(inSource, srcRect);
  const XPlaneStack<Channel> to = StackAt<T>(ioDest, destRect);
  const UInt32 width = srcRect.GetWidth(), height = srcRect.GetHeight(), depth = destRect.GetDepth();
  const X3DRect sourcePlaneBox = WithLength(srcRect, 2, 1);
  XProgress progress(depth, kProgressStandard, 2000, false);
  XWorkerPool::ForEachSlab(
      depth, PlanesPerSlab(depth),
      [&](UInt64 inBegin, UInt64 inEnd) {
        XResamplePasses<Channel, kC> passes;
        // The z sum of one plane, and the plane after the first of x and y.
        std::vector<Channel> zPlane(zChanges && !planeAxes.empty() ? size_t(width) * kC * height : 0);
        std::vector<Channel> firstPlane(
            planeAxes.size() == 2 ? size_t(afterFirst.GetWidth()) * kC * afterFirst.GetHeight() : 0);
        const XPlaneOf<Channel> zScratch{zPlane.data(), ptrdiff_t(width) * kC};
        const XPlaneOf<Channel> firstScratch{firstPlane.data(), ptrdiff_t(afterFirst.GetWidth()) * kC};
        auto planePass = [&](int inAxis, XPlaneOf<const Channel> inFrom, XPlaneOf<Channel> inTo,
                             const X3DRect& inFromBox, const XFilterContributions& inTaps) {
          if (inAxis == 0)
            passes.AlongX(inFrom, inTo, inFromBox.GetHeight(), inFromBox.GetWidth(), inTaps);
          else
            passes.AlongY(inFrom, inTo, inFromBox.GetWidth(), inTaps);
        };
        for (UInt32 z = UInt32(inBegin); z < inEnd; ++z) {
          const XPlaneOf<Channel> out = to.Plane(z);
          XPlaneOf<const Channel> plane;
          if (zChanges) {
            const XPlaneOf<Channel> sum = planeAxes.empty() ? out : zScratch;
            passes.AlongZ(from.Plane(0), from.planeStep, sum, width, height, zTaps.GetTaps(z), zTaps.GetCount(z));
            plane = {sum.base, sum.rowStep};
          } else {
            plane = from.Plane(z);
          }
          if (planeAxes.size() == 1) {
            planePass(planeAxes[0], plane, out, sourcePlaneBox, taps[0]);
          } else if (planeAxes.size() == 2) {
            planePass(planeAxes[0], plane, firstScratch, sourcePlaneBox, taps[0]);
            planePass(planeAxes[1], {firstScratch.base, firstScratch.rowStep}, out, afterFirst, taps[1]);
          }
        }
      },
      &progress);
}

}  // namespace mirelan
