#include "filters/XSpatialFilterVolumeTool.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "filters/internal/XFilterChannels.h"
#include "filters/internal/XFilterWalk.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"
#include "volume/XPixelTraits.h"

namespace mirelan {

using namespace XFilterDetail;

namespace {

// The two result rules. With the clamp, a result not above 0 stores as 0;
// without it, the result is truncated as it is (wrapping for integers).
template <class C, bool kClamp>
inline C StoreResult(Float32 inSum) {
  if constexpr (std::is_integral_v<C>) {
    if (kClamp && !(inSum > 0.0f)) return C(0);
    return XTruncateTo<C>(inSum);
  } else {
    if (kClamp && !(inSum > 0.0f)) return 0.0f;
    return inSum;
  }
}

struct XKernel {
  SInt32 width, height, depth;
  SInt32 rx, ry, rz;  // the window runs from -r to size - 1 - r on each axis
  const Float32* weights;
  Float32 bias;
};

// The rows of one slab. The sum of one voxel is its taps in window order;
// here the taps are the outer loop and the voxels of the row the inner one,
// which keeps every voxel's order of operations and lets the inner loop run
// on vectors. Each source row is widened to double once per output row.
template <class Channels, bool kClamp>
class XSpatialRows {
 public:
  using C = typename Channels::Channel;
  static constexpr int kStep = Channels::kStep;

  XSpatialRows(const XKernel& inKernel, const XComponentViews<Channels>& inViews, UInt32 inWidth)
      : itsKernel(inKernel), itsViews(inViews), itsSum(inWidth), itsRow(size_t(inWidth) + inKernel.width) {}

  void operator()(SInt32 y, SInt32 z, SInt32 x0, SInt32 x1) {
    for (UInt32 c = 0; c < Channels::kCount; ++c) Component(itsViews.source[c], itsViews.dest[c], y, z, x0, x1);
  }

 private:
  void Component(const XChannelView<const C, kStep>& inSource, const XChannelView<C, kStep>& inDest, SInt32 y,
                 SInt32 z, SInt32 x0, SInt32 x1) {
    const X3DRect& b = inSource.bounds;
    const XKernel& k = itsKernel;
    Float32* sum = itsSum.data();
    std::fill(sum, sum + (x1 - x0), 0.0f);
    // The source columns any voxel of the run can reach.
    const SInt32 first = std::max(x0 - k.rx, b.left);
    const SInt32 last = std::min(x1 - 1 + (k.width - 1 - k.rx), b.right - 1);
    for (SInt32 kz = 0; kz < k.depth; ++kz) {
      const SInt32 sz = z - k.rz + kz;
      if (sz < b.front || sz >= b.back) continue;
      for (SInt32 ky = 0; ky < k.height; ++ky) {
        const SInt32 sy = y - k.ry + ky;
        if (sy < b.top || sy >= b.bottom || first > last) continue;
        // itsRow[i] holds the source at column x0 - rx + i.
        const SInt32 origin = x0 - k.rx;
        Float64* row = itsRow.data();
        const C* src = inSource.At(first, sy, sz);
        for (SInt32 x = first; x <= last; ++x, src += kStep) row[x - origin] = Float64(*src);
        const Float32* weights = k.weights + (size_t(kz) * k.height + ky) * k.width;
        for (SInt32 kx = 0; kx < k.width; ++kx) {
          const SInt32 dx = kx - k.rx;
          const SInt32 xa = std::max(x0, b.left - dx), xb = std::min(x1, b.right - dx);
          if (xa >= xb) continue;
          const Float64 w = weights[kx];
          Float32* s = sum + (xa - x0);
          const Float64* v = row + (xa + dx - origin);
          const SInt32 n = xb - xa;
          for (SInt32 i = 0; i < n; ++i) s[i] = Float32(Float64(s[i]) + v[i] * w);
        }
      }
    }
    C* out = inDest.At(x0, y, z);
    for (SInt32 i = 0; i < x1 - x0; ++i, out += kStep) *out = StoreResult<C, kClamp>(sum[i] + k.bias);
  }

  const XKernel& itsKernel;
  const XComponentViews<Channels>& itsViews;
  std::vector<Float32> itsSum;
  std::vector<Float64> itsRow;
};

}  // namespace

XSpatialFilterVolumeTool::XSpatialFilterVolumeTool(const Float32* weightArray, UInt32 inWidth, UInt32 inHeight,
                                                   UInt32 inDepth, Float32 inBias, bool inClamp)
    : itsWidth(inWidth), itsHeight(inHeight), itsDepth(inDepth), itsBias(inBias), itsClamp(inClamp) {
  XAssert(weightArray);
  const size_t count = size_t(inWidth) * inHeight * inDepth;
  itsWeightArray.reset(new Float32[count]);
  std::copy(weightArray, weightArray + count, itsWeightArray.get());
  Float32 sum = 0.0f;
  for (size_t i = 0; i < count; ++i) sum += itsWeightArray[i];
  // Weights summing to exactly 0 (an edge detector) stay as given.
  if (sum != 0.0f)
    for (size_t i = 0; i < count; ++i) itsWeightArray[i] = Float32(Float64(itsWeightArray[i]) / Float64(sum));
}

XSpatialFilterVolumeTool::XSpatialFilterVolumeTool(const XSpatialFilterVolumeTool& inOther)
    : X1To1VolumeTool(inOther),
      itsWidth(inOther.itsWidth),
      itsHeight(inOther.itsHeight),
      itsDepth(inOther.itsDepth),
      itsWeightArray(new Float32[size_t(inOther.itsWidth) * inOther.itsHeight * inOther.itsDepth]),
      itsBias(inOther.itsBias),
      itsClamp(inOther.itsClamp) {
  std::copy(inOther.itsWeightArray.get(),
            inOther.itsWeightArray.get() + size_t(itsWidth) * itsHeight * itsDepth, itsWeightArray.get());
}

XSpatialFilterVolumeTool& XSpatialFilterVolumeTool::operator=(const XSpatialFilterVolumeTool& inOther) {
  if (this != &inOther) {
    XSpatialFilterVolumeTool copy(inOther);
    itsWidth = copy.itsWidth;
    itsHeight = copy.itsHeight;
    itsDepth = copy.itsDepth;
    itsWeightArray = std::move(copy.itsWeightArray);
    itsBias = copy.itsBias;
    itsClamp = copy.itsClamp;
  }
  return *this;
}

XSpatialFilterVolumeTool::~XSpatialFilterVolumeTool() = default;

template <class V>
void XSpatialFilterVolumeTool::Walk(const XVolume& inSource, XVolume& ioDest, const X3DRegion* inRegion) const {
  using Channels = XFilterChannels<V>;
  const V& source = dynamic_cast<const V&>(inSource);
  V& dest = DestAs<V>(ioDest);
  XAssert(&inSource != &ioDest);
  // Mode 1, not 3: voxels outside a region, and alpha, stay as they were.
  XLock destLock(dest, kLockReadWrite);
  XLock sourceLock(source, kLockRead);
  const XComponentViews<Channels> views(source, dest);
  const XRowWalk walk(FilterExtent(source, dest, inRegion), inRegion);
  // The window must reach into the source no further than its sizes allow;
  // sizes beyond the 32-bit range reach nothing anyway.
  const auto clampSize = [](UInt32 inSize) { return SInt32(std::min<UInt32>(inSize, 0x7fffffff)); };
  XKernel kernel{clampSize(itsWidth), clampSize(itsHeight), clampSize(itsDepth),
                 SInt32(itsWidth >> 1), SInt32(itsHeight >> 1), SInt32(itsDepth >> 1),
                 itsWeightArray.get(), itsBias};
  const UInt32 width = walk.GetExtent().GetWidth();
  if (itsClamp)
    walk.Run([&] { return XSpatialRows<Channels, true>(kernel, views, width); });
  else
    walk.Run([&] { return XSpatialRows<Channels, false>(kernel, views, width); });
}

void XSpatialFilterVolumeTool::ApplyToolInRegion(const XVolume& inSource, XVolume& ioDest,
                                                 const X3DRegion* inRegion) const {
  XAssert(typeid(inSource) == typeid(ioDest));
  if (inSource.IsA(XGrey8Volume::GetClassVersion()))
    Walk<XGrey8Volume>(inSource, ioDest, inRegion);
  else if (inSource.IsA(XGrey16Volume::GetClassVersion()))
    Walk<XGrey16Volume>(inSource, ioDest, inRegion);
  else if (inSource.IsA(XARGB32Volume::GetClassVersion()))
    Walk<XARGB32Volume>(inSource, ioDest, inRegion);
  else if (inSource.IsA(XRGB48Volume::GetClassVersion()))
    Walk<XRGB48Volume>(inSource, ioDest, inRegion);
  else if (inSource.IsA(XFPVolume::GetClassVersion()))
    Walk<XFPVolume>(inSource, ioDest, inRegion);
  else
    throw XException(kErrNotForPixelType);
}

void XSpatialFilterVolumeTool::ApplyToolGrey8(const XGrey8Volume& inSource, XVolume& ioDest) {
  Walk<XGrey8Volume>(inSource, ioDest, nullptr);
}
void XSpatialFilterVolumeTool::ApplyToolGrey16(const XGrey16Volume& inSource, XVolume& ioDest) {
  Walk<XGrey16Volume>(inSource, ioDest, nullptr);
}
void XSpatialFilterVolumeTool::ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) {
  Walk<XARGB32Volume>(inSource, ioDest, nullptr);
}
void XSpatialFilterVolumeTool::ApplyToolRGB48(const XRGB48Volume& inSource, XVolume& ioDest) {
  Walk<XRGB48Volume>(inSource, ioDest, nullptr);
}
void XSpatialFilterVolumeTool::ApplyToolFP(const XFPVolume& inSource, XVolume& ioDest) {
  Walk<XFPVolume>(inSource, ioDest, nullptr);
}

}  // namespace mirelan
