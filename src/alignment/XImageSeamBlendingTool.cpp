#include "alignment/XImageSeamBlendingTool.h"

#include <memory>
#include <typeinfo>

#include "alignment/internal/XAlignmentDispatch.h"
#include "core/XLockable.h"
#include "core/XProgress.h"

namespace mirelan {

namespace {

// One component of the blend: (1 - t) * a + t * b in double, truncated.
template <class C>
inline C Mix(C inA, C inB, double inT) {
  return C((1.0 - inT) * double(inA) + inT * double(inB));
}

inline UInt8 MixAll(UInt8 a, UInt8 b, double t) { return Mix(a, b, t); }
inline UInt16 MixAll(UInt16 a, UInt16 b, double t) { return Mix(a, b, t); }
inline Float32 MixAll(Float32 a, Float32 b, double t) { return Float32((1.0 - t) * a + t * b); }
// The first byte (alpha) is the destination's own.
inline XARGB32Colour MixAll(const XARGB32Colour& inDest, const XARGB32Colour& a, const XARGB32Colour& b, double t) {
  return XARGB32Colour(inDest.alpha, Mix(a.red, b.red, t), Mix(a.green, b.green, t), Mix(a.blue, b.blue, t));
}
inline XRGB48Colour MixAll(const XRGB48Colour& a, const XRGB48Colour& b, double t) {
  return XRGB48Colour(Mix(a.red, b.red, t), Mix(a.green, b.green, t), Mix(a.blue, b.blue, t));
}
template <class T>
inline T MixVoxel(const T& inDest, const T& a, const T& b, double t) {
  if constexpr (std::is_same_v<T, XARGB32Colour>)
    return MixAll(inDest, a, b, t);
  else
    return MixAll(a, b, t);
}

// Offsets rectangle inRect from the frame of inFrameRect into the volume's own bounds.
X3DRect IntoVolume(const X3DRect& inRect, const X3DRect& inFrameRect, const XVolume& inVolume) {
  X3DRect local = inRect;
  local.Offset(inVolume.GetBounds().left - inFrameRect.left, inVolume.GetBounds().top - inFrameRect.top,
               inVolume.GetBounds().front - inFrameRect.front);
  return local;
}

}  // namespace

XImageSeamBlendingTool::~XImageSeamBlendingTool() = default;

void XImageSeamBlendingTool::ApplyTool(XVolume& inAlphaI, XVolume& inZalphaI, const X3DRect& alphaRect,
                                       const X3DRect& zalphaRect) {
  XAssert(typeid(inAlphaI) == typeid(inZalphaI));
  X3DRect overlap = alphaRect;
  overlap.Sect(zalphaRect);
  if (overlap.IsEmptyOrInsideOut()) return;
  const X3DRect firstLocal = IntoVolume(overlap, alphaRect, inAlphaI);
  const X3DRect secondLocal = IntoVolume(overlap, zalphaRect, inZalphaI);
  std::unique_ptr<XVolume> first(inAlphaI.Clone(firstLocal));
  std::unique_ptr<XVolume> second(inZalphaI.Clone(secondLocal));
  first->OffsetBounds(-firstLocal.left, -firstLocal.top, -firstLocal.front);
  second->OffsetBounds(-secondLocal.left, -secondLocal.top, -secondLocal.front);

  // The ramp crosses the overlap where it covers less of the tiles: side by
  // side tiles share a narrow, full-height strip.
  const double shareX = double(overlap.GetWidth()) / double(std::min(alphaRect.GetWidth(), zalphaRect.GetWidth()));
  const double shareY =
      double(overlap.GetHeight()) / double(std::min(alphaRect.GetHeight(), zalphaRect.GetHeight()));
  const bool alongX = shareX <= shareY;
  const bool firstAtStart = alongX ? alphaRect.left <= zalphaRect.left : alphaRect.top <= zalphaRect.top;

  if (first->IsA(XMaskVolume::GetClassVersion()) || first->IsA(XGrey8Volume::GetClassVersion()))
    ApplyToolGrey8(static_cast<XGrey8Volume&>(*first), static_cast<XGrey8Volume&>(*second), alongX, firstAtStart);
  else if (first->IsA(XGrey16Volume::GetClassVersion()))
    ApplyToolGrey16(static_cast<XGrey16Volume&>(*first), static_cast<XGrey16Volume&>(*second), alongX, firstAtStart);
  else if (first->IsA(XFPVolume::GetClassVersion()))
    ApplyToolFP(static_cast<XFPVolume&>(*first), static_cast<XFPVolume&>(*second), alongX, firstAtStart);
  else if (first->IsA(XARGB32Volume::GetClassVersion()))
    ApplyToolARGB32(static_cast<XARGB32Volume&>(*first), static_cast<XARGB32Volume&>(*second), alongX, firstAtStart);
  else if (first->IsA(XRGB48Volume::GetClassVersion()))
    ApplyToolRGB48(static_cast<XRGB48Volume&>(*first), static_cast<XRGB48Volume&>(*second), alongX, firstAtStart);
  else
    throw XException(kErrNotForPixelType);

  const X3DRect& b = first->GetBounds();
  inAlphaI.CopyIn(*first, b, firstLocal, nullptr);
  inZalphaI.CopyIn(*second, b, secondLocal, nullptr);
}

void XImageSeamBlendingTool::ApplyToolGrey8(XGrey8Volume& ioFirst, XGrey8Volume& ioSecond, bool inAlongX,
                                            bool inFirstAtStart) {
  Blend(ioFirst, ioSecond, inAlongX, inFirstAtStart);
}
void XImageSeamBlendingTool::ApplyToolGrey16(XGrey16Volume& ioFirst, XGrey16Volume& ioSecond, bool inAlongX,
                                             bool inFirstAtStart) {
  Blend(ioFirst, ioSecond, inAlongX, inFirstAtStart);
}
void XImageSeamBlendingTool::ApplyToolFP(XFPVolume& ioFirst, XFPVolume& ioSecond, bool inAlongX, bool inFirstAtStart) {
  Blend(ioFirst, ioSecond, inAlongX, inFirstAtStart);
}
void XImageSeamBlendingTool::ApplyToolARGB32(XARGB32Volume& ioFirst, XARGB32Volume& ioSecond, bool inAlongX,
                                             bool inFirstAtStart) {
  Blend(ioFirst, ioSecond, inAlongX, inFirstAtStart);
}
void XImageSeamBlendingTool::ApplyToolRGB48(XRGB48Volume& ioFirst, XRGB48Volume& ioSecond, bool inAlongX,
                                            bool inFirstAtStart) {
  Blend(ioFirst, ioSecond, inAlongX, inFirstAtStart);
}

template <class T>
void XImageSeamBlendingTool::Blend(XPackedVolume<T>& ioFirst, XPackedVolume<T>& ioSecond, bool inAlongX,
                                   bool inFirstAtStart) {
  const X3DRect& b = ioFirst.GetBounds();
  const XRamp ramp{inAlongX, float(b.left), float(b.top), float(b.GetWidth()), float(b.GetHeight())};
  std::unique_ptr<XVolume> firstCopy(ioFirst.Clone());
  std::unique_ptr<XVolume> secondCopy(ioSecond.Clone());
  const auto& copyFirst = static_cast<const XPackedVolume<T>&>(*firstCopy);
  const auto& copySecond = static_cast<const XPackedVolume<T>&>(*secondCopy);
  const XPackedVolume<T>& a = inFirstAtStart ? copyFirst : copySecond;
  const XPackedVolume<T>& other = inFirstAtStart ? copySecond : copyFirst;
  BlendInto(ioFirst, a, other, ramp);
  BlendInto(ioSecond, a, other, ramp);
}

template <class T>
void XImageSeamBlendingTool::BlendInto(XPackedVolume<T>& inDestI, const XPackedVolume<T>& inSrcIA,
                                       const XPackedVolume<T>& inSrcIB, const XRamp& inRamp) {
  XAssert(inDestI.GetBounds() == inSrcIA.GetBounds());
  XAssert(inSrcIA.GetBounds() == inSrcIB.GetBounds());
  const X3DRect& b = inDestI.GetBounds();
  XProgress progress(UInt64(b.GetHeight()) * b.GetDepth(), kProgressStandard, 2000, false);
  XLock lockDest(inDestI, kLockReadWrite);
  XLock lockA(inSrcIA, kLockRead);
  XLock lockB(inSrcIB, kLockRead);
  for (SInt32 z = b.front; z < b.back; ++z)
    for (SInt32 y = b.top; y < b.bottom; ++y) {
      const T* rowA = inSrcIA.GetVoxelPtr(b.left, y, z);
      const T* rowB = inSrcIB.GetVoxelPtr(b.left, y, z);
      T* dest = inDestI.GetVoxelPtr(b.left, y, z);
      const double tRow = (double(y) - inRamp.itsTop) / inRamp.itsHeight;
      for (UInt32 x = 0; x < b.GetWidth(); ++x) {
        const double t = inRamp.itsAlongX ? (double(b.left + SInt32(x)) - inRamp.itsLeft) / inRamp.itsWidth : tRow;
        dest[x] = MixVoxel(dest[x], rowA[x], rowB[x], t);
      }
      progress.Increment();
    }
}

}  // namespace mirelan
