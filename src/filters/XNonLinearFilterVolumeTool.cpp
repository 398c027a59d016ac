#include "filters/XNonLinearFilterVolumeTool.h"

#include <algorithm>
#include <vector>

#include "filters/XNonLinearFilterPlugin.h"
#include "filters/internal/XFilterChannels.h"
#include "filters/internal/XFilterWalk.h"
#include "filters/internal/XRankWindow.h"

namespace mirelan {

using namespace XFilterDetail;

namespace {

const XNonLinearFilterPlugin& CheckedFilter(const XNonLinearFilterPlugin* itsFilter) {
  XAssert(itsFilter);
  return *itsFilter;
}

// Where a slab's walk begins: at its first row with the vector of zeros
// (the first slab), or by replaying from voxel (x, row) on.
struct XSlabStart {
  bool replay = false;
  UInt64 row = 0;
  SInt32 x = 0;
};

template <class Channels>
class XNonLinearWalk {
 public:
  using C = typename Channels::Channel;
  static constexpr int kStep = Channels::kStep;

  XNonLinearWalk(const X3DPoint& inKernelSize, const XNonLinearFilterPlugin& inFilter,
                 const XComponentViews<Channels>& inViews, const XRowWalk& inWalk,
                 const XScanLoopDetail::XMaskWalk& inMask)
      : itsRX(inKernelSize.x / 2), itsRY(inKernelSize.y / 2), itsRZ(inKernelSize.z / 2),
        itsLength(size_t(inKernelSize.x) * size_t(inKernelSize.y) * size_t(inKernelSize.z)), itsFilter(inFilter),
        itsViews(inViews), itsWalk(inWalk), itsMask(inMask), itsSource(inViews.source[0].bounds) {}

  size_t GetLength() const { return itsLength; }

  // The slabs: every RowsPerSlab rows a new one, where a voxel with a whole
  // window lies in the slab before to replay from; otherwise the slab before
  // goes on, so that no replay reaches further back than one slab.
  void Plan(std::vector<UInt64>& outBounds, std::vector<XSlabStart>& outStarts) const {
    const UInt64 rows = itsWalk.GetRowCount();
    const UInt64 perSlab = RowsPerSlab(itsWalk.GetExtent());
    outBounds.assign(1, 0);
    outStarts.assign(1, XSlabStart());
    for (UInt64 at = perSlab; at < rows; at += perSlab) {
      for (UInt64 r = at; r-- > outBounds.back();) {
        SInt32 x;
        if (LastWholeWindow(r, x)) {
          outBounds.push_back(at);
          outStarts.push_back({true, r, x});
          break;
        }
      }
    }
    outBounds.push_back(rows);
  }

  void RunSlab(const XSlabStart& inStart, UInt64 inBegin, UInt64 inEnd) const {
    XVector<Float32> pixels(itsLength, 0.0f);
    if (inStart.replay) {
      Row(inStart.row, inStart.x, false, pixels);
      for (UInt64 r = inStart.row + 1; r < inBegin; ++r) Row(r, itsWalk.GetExtent().left, false, pixels);
    }
    for (UInt64 r = inBegin; r < inEnd; ++r) Row(r, itsWalk.GetExtent().left, true, pixels);
  }

 private:
  // The last voxel of row inRow that the walk computes and whose window lies
  // wholly inside the source.
  bool LastWholeWindow(UInt64 inRow, SInt32& outX) const {
    SInt32 y, z;
    itsWalk.RowAt(inRow, y, z);
    const X3DRect& s = itsSource;
    if (SInt64(y) - itsRY < s.top || SInt64(y) + itsRY >= s.bottom || SInt64(z) - itsRZ < s.front ||
        SInt64(z) + itsRZ >= s.back)
      return false;
    const X3DRect& e = itsWalk.GetExtent();
    const SInt64 first = std::max<SInt64>(e.left, SInt64(s.left) + itsRX);
    const SInt64 end = std::min<SInt64>(e.right, SInt64(s.right) - itsRX);
    const UInt8* mask = itsWalk.MaskRow(itsMask, y, z);
    for (SInt64 x = end - 1; x >= first; --x) {
      if (!mask || mask[x - e.left]) {
        outX = SInt32(x);
        return true;
      }
    }
    return false;
  }

  // The voxels of a row from inFromX on that the walk computes.
  void Row(UInt64 inRow, SInt32 inFromX, bool inStore, XVector<Float32>& ioPixels) const {
    SInt32 y, z;
    itsWalk.RowAt(inRow, y, z);
    const X3DRect& e = itsWalk.GetExtent();
    auto run = [&](SInt32 x0, SInt32 x1) {
      for (SInt32 x = std::max(x0, inFromX); x < x1; ++x) Voxel(x, y, z, inStore, ioPixels);
    };
    if (const UInt8* mask = itsWalk.MaskRow(itsMask, y, z)) {
      XScanLoopDetail::ForEachMaskRun(mask, SInt32(e.GetWidth()),
                                      [&](SInt32 inBegin, SInt32 inEnd) { run(e.left + inBegin, e.left + inEnd); });
    } else {
      run(e.left, e.right);
    }
  }

  void Voxel(SInt32 x, SInt32 y, SInt32 z, bool inStore, XVector<Float32>& ioPixels) const {
    const X3DRect& s = itsSource;
    const SInt32 z0 = SInt32(std::max<SInt64>(SInt64(z) - itsRZ, s.front));
    const SInt32 z1 = SInt32(std::min<SInt64>(SInt64(z) + itsRZ, s.back - 1));
    const SInt32 y0 = SInt32(std::max<SInt64>(SInt64(y) - itsRY, s.top));
    const SInt32 y1 = SInt32(std::min<SInt64>(SInt64(y) + itsRY, s.bottom - 1));
    const SInt32 x0 = SInt32(std::max<SInt64>(SInt64(x) - itsRX, s.left));
    const SInt32 x1 = SInt32(std::min<SInt64>(SInt64(x) + itsRX, s.right - 1));
    for (UInt32 c = 0; c < Channels::kCount; ++c) {
      const auto& source = itsViews.source[c];
      Float32* pixel = ioPixels.data();
      for (SInt32 sz = z0; sz <= z1; ++sz)
        for (SInt32 sy = y0; sy <= y1; ++sy) {
          const C* v = source.At(x0, sy, sz);
          for (SInt32 sx = x0; sx <= x1; ++sx, v += kStep) *pixel++ = Float32(*v);
        }
      const Float32 result = itsFilter.FilterKernelPixels(Float32(*source.At(x, y, z)), ioPixels);
      if (inStore) *itsViews.dest[c].At(x, y, z) = XTruncateTo<C>(result);
    }
  }

  SInt64 itsRX, itsRY, itsRZ;
  size_t itsLength;
  const XNonLinearFilterPlugin& itsFilter;
  const XComponentViews<Channels>& itsViews;
  const XRowWalk& itsWalk;
  const XScanLoopDetail::XMaskWalk& itsMask;
  X3DRect itsSource;
};

}  // namespace

XNonLinearFilterVolumeTool::XNonLinearFilterVolumeTool(const X3DPoint& inKernelSize,
                                                       const XNonLinearFilterPlugin* inFilter)
    : itsKernelSize(inKernelSize), itsFilter(CheckedFilter(inFilter)) {
  XAssert((inKernelSize.GetX() % 2) == 1);
  XAssert((inKernelSize.GetY() % 2) == 1);
  XAssert((inKernelSize.GetZ() % 2) == 1);
}

XNonLinearFilterVolumeTool::~XNonLinearFilterVolumeTool() = default;

template <class V>
void XNonLinearFilterVolumeTool::Filter(const XVolume& inSource, XVolume& ioDest) {
  using Channels = XFilterChannels<V>;
  const V& source = dynamic_cast<const V&>(inSource);
  V& dest = DestAs<V>(ioDest);
  XAssert(&inSource != &ioDest);
  CheckWindowValues(UInt64(itsKernelSize.x) * UInt64(itsKernelSize.y) * UInt64(itsKernelSize.z));
  const X3DRegion* region = itsTargetRegion.IsEmpty() ? nullptr : &itsTargetRegion;

  // Mode 1, not 3: voxels outside the target region, and alpha, stay as they were.
  XLock destLock(dest, kLockReadWrite);
  XLock sourceLock(source, kLockRead);
  const XComponentViews<Channels> views(source, dest);
  const XRowWalk walk(FilterExtent(source, dest, region), region);
  const UInt64 rows = walk.GetRowCount();
  if (rows == 0) return;
  XProgress progress(rows, kProgressStandard, 2000, false);
  std::optional<XLock> regionLock;
  XScanLoopDetail::XMaskWalk mask;
  if (region && region->IsComplex()) {
    regionLock.emplace(*region, kLockRead);
    mask = XScanLoopDetail::XMaskWalk(*region, walk.GetExtent());
  }
  const XNonLinearWalk<Channels> filter(itsKernelSize, itsFilter, views, walk, mask);
  std::vector<UInt64> bounds;
  std::vector<XSlabStart> starts;
  filter.Plan(bounds, starts);
  XWorkerPool::ForEachSlab(
      bounds,
      [&](UInt64 inBegin, UInt64 inEnd) {
        const size_t slab = size_t(std::lower_bound(bounds.begin(), bounds.end(), inBegin) - bounds.begin());
        filter.RunSlab(starts[slab], inBegin, inEnd);
      },
      &progress);
}

void XNonLinearFilterVolumeTool::ApplyToolGrey8(const XGrey8Volume& inSource, XVolume& ioDest) {
  Filter<XGrey8Volume>(inSource, ioDest);
}
void XNonLinearFilterVolumeTool::ApplyToolGrey16(const XGrey16Volume& inSource, XVolume& ioDest) {
  Filter<XGrey16Volume>(inSource, ioDest);
}
void XNonLinearFilterVolumeTool::ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) {
  Filter<XARGB32Volume>(inSource, ioDest);
}
void XNonLinearFilterVolumeTool::ApplyToolRGB48(const XRGB48Volume& inSource, XVolume& ioDest) {
  Filter<XRGB48Volume>(inSource, ioDest);
}
void XNonLinearFilterVolumeTool::ApplyToolFP(const XFPVolume& inSource, XVolume& ioDest) {
  Filter<XFPVolume>(inSource, ioDest);
}

}  // namespace mirelan
