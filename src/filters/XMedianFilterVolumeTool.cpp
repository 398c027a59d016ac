#include "filters/XMedianFilterVolumeTool.h"

#include <type_traits>
#include <vector>

#include "filters/internal/XFilterChannels.h"
#include "filters/internal/XFilterWalk.h"
#include "filters/internal/XQuickSelect.h"
#include "filters/internal/XRankWindow.h"
#include "filters/internal/XSelectionNetwork.h"

namespace mirelan {

using namespace XFilterDetail;

namespace {

struct XMedianWindow {
  XWindowAxis x, y, z;
};

// The rows of one slab for one component.
//
// Every median is the lower median of what the window gathers, so any exact
// selection gives the same value for integers. Where the whole row of
// windows has the same positions (the voxels whose window stays inside the
// source along x), integers go through a selection network, a run of voxels
// at a time; positions counted as 0 are the smallest values there are and
// only move the rank. The few voxels near the x edges, and every float
// voxel, gather their window in z, y, x order and take the quick selection:
// with NaN or zeros of both signs the float result depends on its steps.
template <class Channels>
class XMedianRows {
 public:
  using C = typename Channels::Channel;
  static constexpr int kStep = Channels::kStep;
  static constexpr UInt32 kLanes = XSelectionNetwork::kLanes;

  XMedianRows(const XMedianWindow& inWindow, const typename XComponentViews<Channels>::SourceView& inSource,
              const typename XComponentViews<Channels>::DestView& inDest, UInt64 inMaxValues)
      : itsWindow(inWindow), itsSource(inSource), itsDest(inDest), itsValues(inMaxValues) {}

  void operator()(SInt32 y, SInt32 z, SInt32 x0, SInt32 x1) {
    SetRowPlaces(y, z);
    const SInt64 xa = std::max<SInt64>(x0, itsWindow.x.FirstWhole());
    const SInt64 xb = std::min<SInt64>(x1, itsWindow.x.EndWhole());
    if constexpr (std::is_integral_v<C>) {
      if (xa < xb) {
        for (SInt32 x = x0; x < SInt32(xa); ++x) *itsDest.At(x, y, z) = SelectOne(x, y, z);
        Interior(y, z, SInt32(xa), SInt32(xb));
        for (SInt32 x = SInt32(xb); x < x1; ++x) *itsDest.At(x, y, z) = SelectOne(x, y, z);
        return;
      }
    }
    for (SInt32 x = x0; x < x1; ++x) *itsDest.At(x, y, z) = SelectOne(x, y, z);
  }

 private:
  struct XRowPlace {
    SInt32 dy, dz;
    UInt8 bits;
  };

  // The (dy, dz) rows of the window that are not dropped, in window order.
  void SetRowPlaces(SInt32 y, SInt32 z) {
    itsRows.clear();
    const XWindowAxis& ay = itsWindow.y;
    const XWindowAxis& az = itsWindow.z;
    for (SInt64 dz = az.FirstOffset(z); dz <= az.LastOffset(z); ++dz) {
      const UInt8 bz = az.Bits(z + dz);
      if (!bz) continue;
      for (SInt64 dy = ay.FirstOffset(y); dy <= ay.LastOffset(y); ++dy) {
        const UInt8 bits = UInt8(bz & ay.Bits(y + dy));
        if (bits) itsRows.push_back({SInt32(dy), SInt32(dz), bits});
      }
    }
  }

  C SelectOne(SInt32 x, SInt32 y, SInt32 z) {
    const XWindowAxis& ax = itsWindow.x;
    C* values = itsValues.data();
    size_t count = 0;
    const SInt64 first = ax.FirstOffset(x), last = ax.LastOffset(x);
    for (const XRowPlace& row : itsRows) {
      for (SInt64 dx = first; dx <= last; ++dx) {
        const UInt8 bits = UInt8(row.bits & ax.Bits(x + dx));
        if (bits & kInSource)
          values[count++] = *itsSource.At(SInt32(x + dx), y + row.dy, z + row.dz);
        else if (bits & kInTotal)
          values[count++] = C(0);
      }
    }
    return XQuickSelect(values, count);
  }

  // Voxels x0 .. x1 - 1, whose windows lie inside the source (and the total
  // rectangle, where it counts) along x: there a row of the window is kept,
  // zero or dropped as a whole.
  void Interior(SInt32 y, SInt32 z, SInt32 x0, SInt32 x1) {
    const XWindowAxis& ax = itsWindow.x;
    const UInt32 edge = UInt32(ax.high - ax.low + 1);
    itsWires.clear();
    UInt64 zeros = 0;
    for (const XRowPlace& row : itsRows) {
      if (!(row.bits & kInSource)) {
        zeros += edge;
        continue;
      }
      const C* at = itsSource.At(x0, y + row.dy, z + row.dz);
      for (SInt64 dx = ax.low; dx <= ax.high; ++dx) itsWires.push_back(at + dx * kStep);
    }
    const UInt64 count = itsWires.size() + zeros;
    const UInt64 rank = (count - 1) >> 1;
    C* out = itsDest.At(x0, y, z);
    if (rank < zeros) {  // the median is one of the zeros
      for (SInt32 i = 0; i < x1 - x0; ++i) out[size_t(i) * kStep] = C(0);
      return;
    }
    if (itsWires.size() > XSelectionNetwork::kMaxCount) {
      for (SInt32 x = x0; x < x1; ++x) *itsDest.At(x, y, z) = SelectOne(x, y, z);
      return;
    }
    const XSelectionNetwork& net = itsNetworks.Get(UInt32(itsWires.size()), UInt32(rank - zeros));
    C* slots = itsSlots.Get(net.GetSlots());
    for (SInt32 x = x0; x < x1; x += SInt32(kLanes)) {
      const UInt32 lanes = UInt32(std::min<SInt32>(SInt32(kLanes), x1 - x));
      const size_t offset = size_t(x - x0) * kStep;
      for (size_t w = 0; w < itsWires.size(); ++w) LoadLanes<kStep>(slots + w * kLanes, itsWires[w] + offset, lanes);
      net.Run(slots);
      StoreLanes<kStep>(out + offset, slots + size_t(net.GetOutput()) * kLanes, lanes);
    }
  }

  const XMedianWindow& itsWindow;
  typename XComponentViews<Channels>::SourceView itsSource;
  typename XComponentViews<Channels>::DestView itsDest;
  std::vector<C> itsValues;
  std::vector<XRowPlace> itsRows;
  std::vector<const C*> itsWires;
  XLaneSlots<C> itsSlots;
  XNetworkMemo itsNetworks;
};

}  // namespace

XMedianFilterVolumeTool::XMedianFilterVolumeTool(UInt32 inSize) : itsSize(inSize) { XAssert(inSize >= 1); }
XMedianFilterVolumeTool::~XMedianFilterVolumeTool() = default;

template <class V>
void XMedianFilterVolumeTool::Filter(const XVolume& inSource, XVolume& ioDest) {
  using Channels = XFilterChannels<V>;
  const V& source = dynamic_cast<const V&>(inSource);
  V& dest = DestAs<V>(ioDest);
  XAssert(&inSource != &ioDest);
  const X3DRect& s = source.GetBounds();
  const X3DRect total = GetTotalVolumeRect(source);
  // Without a larger volume around the source every outside position is dropped.
  const bool drop = ShouldCheckBounds() || total == s;
  const XMedianWindow window{XWindowAxis(itsSize, s.left, s.right, total.left, total.right, drop),
                             XWindowAxis(itsSize, s.top, s.bottom, total.top, total.bottom, drop),
                             XWindowAxis(itsSize, s.front, s.back, total.front, total.back, drop)};
  const UInt64 maxValues = window.x.MaxKept() * window.y.MaxKept() * window.z.MaxKept();
  CheckWindowValues(maxValues);

  // Mode 1, not 3: alpha stays as it was.
  XLock destLock(dest, kLockReadWrite);
  XLock sourceLock(source, kLockRead);
  const XComponentViews<Channels> views(source, dest);
  const XRowWalk walk(FilterExtent(source, dest, nullptr), nullptr);
  auto walkComponent = [&](UInt32 inComponent) {
    walk.Run([&] {
      return XMedianRows<Channels>(window, views.source[inComponent], views.dest[inComponent], maxValues);
    });
  };
  if (Channels::kCount == 1) {
    walkComponent(0);
    return;
  }
  XProgress components(Channels::kCount, kProgressStandard, 2000, false);
  for (UInt32 c = 0; c < Channels::kCount; ++c) {
    walkComponent(c);
    components.Increment();
  }
}

void XMedianFilterVolumeTool::ApplyToolGrey8(const XGrey8Volume& inSource, XVolume& ioDest) {
  Filter<XGrey8Volume>(inSource, ioDest);
}
void XMedianFilterVolumeTool::ApplyToolGrey16(const XGrey16Volume& inSource, XVolume& ioDest) {
  Filter<XGrey16Volume>(inSource, ioDest);
}
void XMedianFilterVolumeTool::ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) {
  Filter<XARGB32Volume>(inSource, ioDest);
}
void XMedianFilterVolumeTool::ApplyToolRGB48(const XRGB48Volume& inSource, XVolume& ioDest) {
  Filter<XRGB48Volume>(inSource, ioDest);
}
void XMedianFilterVolumeTool::ApplyToolFP(const XFPVolume& inSource, XVolume& ioDest) {
  Filter<XFPVolume>(inSource, ioDest);
}

XMedianFilterMaskTool::XMedianFilterMaskTool(UInt32 inSize, const X3DRect& inTotalRect)
    : XMedianFilterVolumeTool(inSize), itsTotalRect(inTotalRect) {}
XMedianFilterMaskTool::~XMedianFilterMaskTool() = default;

}  // namespace mirelan
