#include "tools/XImageRotationTool.h"

#include <cmath>
#include <memory>

#include "core/XProgress.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"
#include "volume/XPixelTraits.h"

namespace mirelan {

namespace {

constexpr Float64 kPi = 3.141592653589793;

// Adds a weighted corner to a pixel and truncates the sum to the pixel type,
// channel by channel for colours (all four bytes of a 32-bit word).
template <class C>
inline C AddTruncated(C inSum, C inCorner, Float64 inWeight) {
  return XTruncateTo<C>(Float64(inSum) + Float64(inCorner) * inWeight);
}

template <class T>
struct XCornerSum {
  static T Add(const T& inSum, const T& inCorner, Float64 inWeight) { return AddTruncated(inSum, inCorner, inWeight); }
};

template <class Colour>
struct XRGB32CornerSum {
  static Colour Add(const Colour& inSum, const Colour& inCorner, Float64 inWeight) {
    Colour sum = inSum;
    sum.alpha = AddTruncated<UInt8>(inSum.alpha, inCorner.alpha, inWeight);
    sum.red = AddTruncated<UInt8>(inSum.red, inCorner.red, inWeight);
    sum.green = AddTruncated<UInt8>(inSum.green, inCorner.green, inWeight);
    sum.blue = AddTruncated<UInt8>(inSum.blue, inCorner.blue, inWeight);
    return sum;
  }
};
template <>
struct XCornerSum<XARGB32Colour> : XRGB32CornerSum<XARGB32Colour> {};
template <>
struct XCornerSum<XBGRA32Colour> : XRGB32CornerSum<XBGRA32Colour> {};
template <>
struct XCornerSum<XRGB48Colour> {
  static XRGB48Colour Add(const XRGB48Colour& inSum, const XRGB48Colour& inCorner, Float64 inWeight) {
    return XRGB48Colour(AddTruncated<UInt16>(inSum.red, inCorner.red, inWeight),
                        AddTruncated<UInt16>(inSum.green, inCorner.green, inWeight),
                        AddTruncated<UInt16>(inSum.blue, inCorner.blue, inWeight));
  }
};

}  // namespace

XImageRotationTool::~XImageRotationTool() = default;

XVolume* XImageRotationTool::MakeDestVolume(const XVolume& inSource) {
  std::unique_ptr<XVolume> dest(inSource.CloneWithoutCopy());
  dest->Clear();
  return dest.release();
}

// The walker addresses voxels through GetRowVoxels and GetLayerSize, the
// volume's real layout, so an XFourierVolume in image space, whose rows are
// padded, turns like any float volume.
template <class T>
void XImageRotationTool::Rotate(const XPackedVolume<T>& inSource, XPackedVolume<T>& ioDest) const {
  XAssert(inSource.GetBounds().IsSameSizeAs(ioDest.GetBounds()));
  XLock sourceLock(inSource, kLockRead);
  XLock destLock(ioDest, kLockReadWrite);
  const X3DRect& bounds = inSource.GetBounds();
  const X3DRect& destBounds = ioDest.GetBounds();
  const SInt32 width = SInt32(bounds.GetWidth()), height = SInt32(bounds.GetHeight());
  const SInt32 depth = SInt32(bounds.GetDepth());
  const Float64 angle = Float64(itsRotationDegrees) * kPi / 180.0;
  const Float64 c = std::cos(angle), s = std::sin(angle);
  const Float64 cx = (width - 1) * 0.5, cy = (height - 1) * 0.5;
  const Float64 left = bounds.left, top = bounds.top;
  XProgress progress(UInt64(depth), kProgressStandard, 2000, false);
  for (SInt32 k = 0; k < depth; ++k) {
    const T* plane = inSource.GetVoxelPtr(bounds.left, bounds.top, bounds.front + k);
    const ptrdiff_t row = inSource.GetRowVoxels();
    // The source value at image coordinates (i, j), with whether it is inside.
    auto corner = [&](SInt64 i, SInt64 j, T& outValue) {
      if (i < 0 || j < 0 || i >= width || j >= height) return false;
      outValue = plane[j * row + i];
      return true;
    };
    for (SInt32 y = 0; y < height; ++y) {
      T* out = ioDest.GetVoxelPtr(destBounds.left, destBounds.top + y, destBounds.front + k);
      const Float64 dy = (bounds.top + y) - cy - top;
      for (SInt32 x = 0; x < width; ++x) {
        const Float64 dx = (bounds.left + x) - cx - left;
        const Float64 sx = c * dx + s * dy + cx + left;
        const Float64 sy = c * dy - s * dx + cy + top;
        if (!std::isfinite(sx) || !std::isfinite(sy)) {  // an angle that is no number
          out[x] = T();
          continue;
        }
        const Float64 ix = std::rint(sx - 0.5), iy = std::rint(sy - 0.5);
        const Float64 fx = sx - ix, fy = sy - iy;
        const SInt64 i = SInt64(ix) - bounds.left, j = SInt64(iy) - bounds.top;
        const Float64 weights[4] = {(1 - fy) * (1 - fx), (1 - fy) * fx, fy * (1 - fx), fy * fx};
        const SInt64 di[4] = {0, 1, 0, 1}, dj[4] = {0, 0, 1, 1};
        T sum = T();
        for (int n = 0; n < 4; ++n) {
          T value;
          if (corner(i + di[n], j + dj[n], value)) sum = XCornerSum<T>::Add(sum, value, weights[n]);
        }
        out[x] = sum;
      }
    }
    progress.Increment();
  }
}

void XImageRotationTool::ApplyToolGrey8(const XGrey8Volume& inSource, XVolume& ioDest) {
  Rotate<UInt8>(inSource, DestAs<XGrey8Volume>(ioDest));
}
void XImageRotationTool::ApplyToolGrey16(const XGrey16Volume& inSource, XVolume& ioDest) {
  Rotate<UInt16>(inSource, DestAs<XGrey16Volume>(ioDest));
}
void XImageRotationTool::ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) {
  Rotate<XARGB32Colour>(inSource, DestAs<XARGB32Volume>(ioDest));
}
void XImageRotationTool::ApplyToolBGRA32(const XBGRA32Volume& inSource, XVolume& ioDest) {
  Rotate<XBGRA32Colour>(inSource, DestAs<XBGRA32Volume>(ioDest));
}
void XImageRotationTool::ApplyToolRGB48(const XRGB48Volume& inSource, XVolume& ioDest) {
  Rotate<XRGB48Colour>(inSource, DestAs<XRGB48Volume>(ioDest));
}
void XImageRotationTool::ApplyToolFP(const XFPVolume& inSource, XVolume& ioDest) {
  Rotate<Float32>(inSource, DestAs<XFPVolume>(ioDest));
}

}  // namespace mirelan
