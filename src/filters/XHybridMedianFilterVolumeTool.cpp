#include "filters/XHybridMedianFilterVolumeTool.h"

#include <algorithm>
#include <array>
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

struct XOffset {
  SInt32 dx, dy, dz;
};

// c3, c5, c6, c7, d1, d2, d3, d4, in the order they are stored.
constexpr size_t kGroups = 8;
// The result is the median of the first seven.
constexpr size_t kVoting = 7;

using XGroups = std::array<std::vector<XOffset>, kGroups>;

// The positions of each group, lines from inLow to inHigh. Offsets that no
// voxel of the source can reach (at least the source's largest side away)
// are left out: those positions are always outside, hence never counted.
XGroups MakeGroups(UInt32 inSize, const X3DRect& inSource) {
  const SInt64 reach = std::max({inSource.GetWidth(), inSource.GetHeight(), inSource.GetDepth(), 1u}) - 1;
  const SInt32 low = SInt32(std::max(-SInt64(inSize >> 1), -reach));
  const SInt32 high = SInt32(std::min(SInt64(inSize) - 1 - SInt64(inSize >> 1), reach));
  const UInt64 edge = UInt64(high - low + 1);
  CheckWindowValues(edge * 4);
  std::vector<XOffset> lineX, lineY, lineZ;
  for (SInt32 o = low; o <= high; ++o) {
    lineX.push_back({o, 0, 0});
    lineY.push_back({0, o, 0});
    lineZ.push_back({0, 0, o});
  }
  auto join = [](std::initializer_list<const std::vector<XOffset>*> inLines) {
    std::vector<XOffset> all;
    for (const auto* line : inLines) all.insert(all.end(), line->begin(), line->end());
    return all;
  };
  // A diagonal (or four) through the centre: the first in full, the others
  // without the centre, so that it counts once.
  auto diagonals = [&](std::initializer_list<XOffset> inDirections) {
    std::vector<XOffset> all;
    bool first = true;
    for (const XOffset& d : inDirections) {
      for (SInt32 o = low; o <= high; ++o)
        if (first || o != 0) all.push_back({d.dx * o, d.dy * o, d.dz * o});
      first = false;
    }
    return all;
  };
  return {join({&lineX, &lineY}),
          join({&lineX, &lineZ}),
          join({&lineY, &lineZ}),
          join({&lineX, &lineY, &lineZ}),
          diagonals({{1, 1, 0}, {1, -1, 0}}),
          diagonals({{1, 0, 1}, {1, 0, -1}}),
          diagonals({{0, 1, 1}, {0, 1, -1}}),
          diagonals({{1, 1, 1}, {1, 1, -1}, {1, -1, 1}, {1, -1, -1}})};
}

// The rows of one slab for one component. Voxels whose every x offset stays
// inside the source take the selection networks, a run at a time, for
// integers: the positions each group keeps depend only on the row there.
// Others, and floats, gather each group and take the quick selection.
template <class Channels>
class XHybridRows {
 public:
  using C = typename Channels::Channel;
  static constexpr int kStep = Channels::kStep;
  static constexpr UInt32 kLanes = XSelectionNetwork::kLanes;

  XHybridRows(const XGroups& inGroups, const typename XComponentViews<Channels>::SourceView& inSource,
              const typename XComponentViews<Channels>::DestView& inDest)
      : itsGroups(inGroups), itsSource(inSource), itsDest(inDest) {
    size_t largest = 0;
    for (const auto& group : itsGroups) largest = std::max(largest, group.size());
    itsValues.resize(largest);
    for (const XOffset& o : itsGroups[3]) {  // c7 holds every x offset
      itsLowX = std::min(itsLowX, o.dx);
      itsHighX = std::max(itsHighX, o.dx);
    }
  }

  void operator()(SInt32 y, SInt32 z, SInt32 x0, SInt32 x1) {
    const X3DRect& b = itsSource.bounds;
    const SInt64 xa = std::max<SInt64>(x0, SInt64(b.left) - itsLowX);
    const SInt64 xb = std::min<SInt64>(x1, SInt64(b.right) - itsHighX);
    if constexpr (std::is_integral_v<C>) {
      if (xa < xb && SetWires(SInt32(xa), y, z)) {
        for (SInt32 x = x0; x < SInt32(xa); ++x) *itsDest.At(x, y, z) = SelectOne(x, y, z);
        Interior(y, z, SInt32(xa), SInt32(xb));
        for (SInt32 x = SInt32(xb); x < x1; ++x) *itsDest.At(x, y, z) = SelectOne(x, y, z);
        return;
      }
    }
    for (SInt32 x = x0; x < x1; ++x) *itsDest.At(x, y, z) = SelectOne(x, y, z);
  }

 private:
  C SelectOne(SInt32 x, SInt32 y, SInt32 z) {
    std::array<C, kGroups> medians;
    for (size_t g = 0; g < kGroups; ++g) {
      size_t count = 0;
      for (const XOffset& o : itsGroups[g]) {
        const SInt64 px = SInt64(x) + o.dx, py = SInt64(y) + o.dy, pz = SInt64(z) + o.dz;
        if (Inside(px, py, pz)) itsValues[count++] = *itsSource.At(SInt32(px), SInt32(py), SInt32(pz));
      }
      medians[g] = XQuickSelect(itsValues.data(), count);
    }
    return XQuickSelect(medians.data(), kVoting);
  }

  bool Inside(SInt64 x, SInt64 y, SInt64 z) const {
    const X3DRect& b = itsSource.bounds;
    return x >= b.left && x < b.right && y >= b.top && y < b.bottom && z >= b.front && z < b.back;
  }

  // The wires of each group at x0 of the row; false when a group is too
  // large for a network.
  bool SetWires(SInt32 x0, SInt32 y, SInt32 z) {
    for (size_t g = 0; g < kGroups; ++g) {
      auto& wires = itsWires[g];
      wires.clear();
      for (const XOffset& o : itsGroups[g]) {
        const SInt64 py = SInt64(y) + o.dy, pz = SInt64(z) + o.dz;
        if (Inside(x0, py, pz)) wires.push_back(itsSource.At(x0, SInt32(py), SInt32(pz)) + ptrdiff_t(o.dx) * kStep);
      }
      if (wires.size() > XSelectionNetwork::kMaxCount) return false;
    }
    return true;
  }

  void Interior(SInt32 y, SInt32 z, SInt32 x0, SInt32 x1) {
    std::array<const XSelectionNetwork*, kGroups> nets;
    UInt32 slotsNeeded = 0;
    for (size_t g = 0; g < kGroups; ++g) {
      const UInt32 count = UInt32(itsWires[g].size());
      nets[g] = &itsNetworks.Get(count, (count - 1) >> 1);
      slotsNeeded = std::max(slotsNeeded, nets[g]->GetSlots());
    }
    const XSelectionNetwork& vote = itsNetworks.Get(kVoting, (kVoting - 1) >> 1);
    C* slots = itsSlots.Get(slotsNeeded);
    // Slots 0 .. 6 vote, slot 7 is the vote's spare, d4 goes to slot 8.
    C* medians = itsMedians.Get(kGroups + 1);
    C* out = itsDest.At(x0, y, z);
    for (SInt32 x = x0; x < x1; x += SInt32(kLanes)) {
      const UInt32 lanes = UInt32(std::min<SInt32>(SInt32(kLanes), x1 - x));
      const size_t offset = size_t(x - x0) * kStep;
      for (size_t g = 0; g < kGroups; ++g) {
        const auto& wires = itsWires[g];
        for (size_t w = 0; w < wires.size(); ++w) LoadLanes<kStep>(slots + w * kLanes, wires[w] + offset, lanes);
        nets[g]->Run(slots);
        std::copy(slots + size_t(nets[g]->GetOutput()) * kLanes, slots + size_t(nets[g]->GetOutput() + 1) * kLanes,
                  medians + (g < kVoting ? g : kGroups) * kLanes);
      }
      vote.Run(medians);
      StoreLanes<kStep>(out + offset, medians + size_t(vote.GetOutput()) * kLanes, lanes);
    }
  }

  const XGroups& itsGroups;
  typename XComponentViews<Channels>::SourceView itsSource;
  typename XComponentViews<Channels>::DestView itsDest;
  SInt32 itsLowX = 0, itsHighX = 0;
  std::vector<C> itsValues;
  std::array<std::vector<const C*>, kGroups> itsWires;
  XLaneSlots<C> itsSlots;
  XLaneSlots<C> itsMedians;
  XNetworkMemo itsNetworks;
};

}  // namespace

XHybridMedianFilterVolumeTool::XHybridMedianFilterVolumeTool(UInt32 inSize) : itsSize(inSize) {
  XAssert(inSize >= 1);
}
XHybridMedianFilterVolumeTool::~XHybridMedianFilterVolumeTool() = default;

template <class V>
void XHybridMedianFilterVolumeTool::Filter(const XVolume& inSource, XVolume& ioDest) {
  using Channels = XFilterChannels<V>;
  const V& source = dynamic_cast<const V&>(inSource);
  V& dest = DestAs<V>(ioDest);
  XAssert(&inSource != &ioDest);
  const XGroups groups = MakeGroups(itsSize, source.GetBounds());
  // Mode 1, not 3: alpha stays as it was.
  XLock destLock(dest, kLockReadWrite);
  XLock sourceLock(source, kLockRead);
  const XComponentViews<Channels> views(source, dest);
  const XRowWalk walk(FilterExtent(source, dest, nullptr), nullptr);
  auto walkComponent = [&](UInt32 inComponent) {
    walk.Run([&] { return XHybridRows<Channels>(groups, views.source[inComponent], views.dest[inComponent]); });
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

void XHybridMedianFilterVolumeTool::ApplyToolGrey8(const XGrey8Volume& inSource, XVolume& ioDest) {
  Filter<XGrey8Volume>(inSource, ioDest);
}
void XHybridMedianFilterVolumeTool::ApplyToolGrey16(const XGrey16Volume& inSource, XVolume& ioDest) {
  Filter<XGrey16Volume>(inSource, ioDest);
}
void XHybridMedianFilterVolumeTool::ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) {
  Filter<XARGB32Volume>(inSource, ioDest);
}
void XHybridMedianFilterVolumeTool::ApplyToolRGB48(const XRGB48Volume& inSource, XVolume& ioDest) {
  Filter<XRGB48Volume>(inSource, ioDest);
}
void XHybridMedianFilterVolumeTool::ApplyToolFP(const XFPVolume& inSource, XVolume& ioDest) {
  Filter<XFPVolume>(inSource, ioDest);
}

}  // namespace mirelan
