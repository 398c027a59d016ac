#include "rendering/XImageRenderer.h"

#include <cmath>

#include "core/XLockable.h"
#include "core/XStream.h"
#include "rendering/XIntToColourLUT.h"
#include "volume/X3DRegion.h"
#include "volume/XColourVolumes.h"
#include "volume/internal/XRegionRuns.h"

namespace mirelan {

namespace {

// A colour volume's storage as a layout, cut to the volume's bounds (rows
// may be longer than the width).
template <class V>
XRGB32Layout LayoutOfVolume(V& ioVolume) {
  const X3DRect& bounds = ioVolume.GetBounds();
  const XHyperRect<3> storage({bounds.left, bounds.top, bounds.front},
                              {ioVolume.GetRowVoxels(), ioVolume.GetHeight(), ioVolume.GetDepth()});
  XRGB32Layout layout(reinterpret_cast<UInt32*>(ioVolume.GetBaseVoxelPtr()), storage,
                      {1, ptrdiff_t(ioVolume.GetRowVoxels()), ptrdiff_t(ioVolume.GetLayerSize())});
  layout.Cut(XToHyperRect(bounds));
  return layout;
}

// Every word of the layout inside the region (if any) becomes inWord.
void FillLayout(const XRGB32Layout& inTarget, const X3DRegion* inRegion, UInt32 inWord) {
  XRegionRuns runs(inRegion, XToX3DRect(inTarget.GetBounds()));
  if (runs.IsEmpty()) return;
  const X3DRect& b = runs.GetBox();
  const SInt32 left = inTarget.GetBounds().GetOrigin()[0];
  const ptrdiff_t xStep = inTarget.GetSteps()[0];
  for (SInt32 z = b.front; z < b.back; ++z)
    for (SInt32 y = b.top; y < b.bottom; ++y) {
      UInt32* row = inTarget.GetPtr({left, y, z});
      runs.ForEachRun(y, z, [&](SInt32 inBegin, SInt32 inEnd) {
        for (SInt32 x = inBegin; x < inEnd; ++x) row[(x - left) * xStep] = inWord;
      });
    }
}

}  // namespace

XImageRenderer::XImageRenderer(const XImageRenderer& inOther)
    : XStorable(inOther),
      itsOffset(inOther.GetOffset()),
      itsGain(inOther.GetGain()),
      itsGamma(inOther.GetGamma()),
      itsBlack(inOther.GetBlack()),
      itsWhite(inOther.GetWhite()),
      itsRedBalance(inOther.GetRedBalance()),
      itsGreenBalance(inOther.GetGreenBalance()),
      itsBlueBalance(inOther.GetBlueBalance()) {}

XImageRenderer& XImageRenderer::operator=(const XImageRenderer& inOther) {
  if (this == &inOther) return *this;
  itsOffset = inOther.GetOffset();
  itsGain = inOther.GetGain();
  itsGamma = inOther.GetGamma();
  itsBlack = inOther.GetBlack();
  itsWhite = inOther.GetWhite();
  itsRedBalance = inOther.GetRedBalance();
  itsGreenBalance = inOther.GetGreenBalance();
  itsBlueBalance = inOther.GetBlueBalance();
  return *this;
}

void XImageRenderer::SetColourBalance(Float64 inRed, Float64 inGreen, Float64 inBlue) {
  itsRedBalance = inRed;
  itsGreenBalance = inGreen;
  itsBlueBalance = inBlue;
}

// ---------------------------------------------------------------- properties

bool XImageRenderer::HasProperty(UInt32 inProperty) const { return inProperty >= 1 && inProperty <= 8; }

void XImageRenderer::SetProperty(UInt32 inProperty, Float64 inValue) {
  switch (inProperty) {
    case kPropertyBlack: SetBlack(inValue); break;
    case kPropertyWhite: SetWhite(inValue); break;
    case kPropertyGain: SetGain(inValue); break;
    case kPropertyOffset: SetOffset(inValue); break;
    case kPropertyGamma: SetGamma(inValue); break;
    case kPropertyRedBalance: SetColourBalance(inValue, GetGreenBalance(), GetBlueBalance()); break;
    case kPropertyGreenBalance: SetColourBalance(GetRedBalance(), inValue, GetBlueBalance()); break;
    case kPropertyBlueBalance: SetColourBalance(GetRedBalance(), GetGreenBalance(), inValue); break;
    default: break;
  }
}

Float64 XImageRenderer::GetProperty(UInt32 inProperty) const {
  switch (inProperty) {
    case kPropertyBlack: return GetBlack();
    case kPropertyWhite: return GetWhite();
    case kPropertyGain: return GetGain();
    case kPropertyOffset: return GetOffset();
    case kPropertyGamma: return GetGamma();
    case kPropertyRedBalance: return GetRedBalance();
    case kPropertyGreenBalance: return GetGreenBalance();
    case kPropertyBlueBalance: return GetBlueBalance();
    default: return 0.0;
  }
}

void XImageRenderer::CopyProperties(const XImageRenderer& inOther) {
  const bool sameClass = GetVersion().GetClassID() == inOther.GetVersion().GetClassID();
  const Float64 otherMin = inOther.GetMinInputValue(), otherMax = inOther.GetMaxInputValue();
  const Float64 thisMin = GetMinInputValue(), thisMax = GetMaxInputValue();
  // Between pixel types the points keep their place in the input range.
  auto map = [&](Float64 v) {
    return sameClass ? v : (v - otherMin) / (otherMax - otherMin) * (thisMax - thisMin) + thisMin;
  };
  if (inOther.HasProperty(kPropertyBlack)) SetBlack(map(inOther.GetBlack()));
  if (inOther.HasProperty(kPropertyWhite)) SetWhite(map(inOther.GetWhite()));
  for (UInt32 property = kPropertyGain; property <= kPropertyBlueBalance; ++property)
    if (inOther.HasProperty(property)) SetProperty(property, inOther.GetProperty(property));
}

// ------------------------------------------------------------- normal state

bool XImageRenderer::IsNormalExceptForWhitePoint() const {
  return GetOffset() == 0.0 && GetGain() == 1.0 && GetGamma() == 1.0 && GetBlack() == 0.0 &&
         GetRedBalance() == 1.0 && GetGreenBalance() == 1.0 && GetBlueBalance() == 1.0;
}

bool XImageRenderer::IsNormal() const {
  return IsNormalExceptForWhitePoint() && GetWhite() == GetMaxInputValue();
}

void XImageRenderer::Normalise() {
  SetOffset(0.0);
  SetGain(1.0);
  SetGamma(1.0);
  SetBlack(GetMinInputValue());
  SetWhite(GetMaxInputValue());
  SetColourBalance(1.0, 1.0, 1.0);
}

// ------------------------------------------------------------------- tables

XIntToColourLUT* XImageRenderer::GetLUT() const {
  throw XException(kErrRendererHasNoLUT, "this renderer has no look-up table");
}

void XImageRenderer::ApplyLUT(const XIntToColourLUT&) {
  throw XException(kErrRendererHasNoLUT, "this renderer has no look-up table");
}

// ---------------------------------------------------------------- rendering

void XImageRenderer::RenderToARGB32Volume(const XVolume& inSource, XARGB32Volume& ioTarget,
                                          const X3DRect& inSourceRect, const X3DRect& inTargetRect,
                                          const X3DRegion* inRegion) const {
  XLock lock(ioTarget, kLockReadWrite);
  WriteToRGB32Buffer(inSource, LayoutOfVolume(ioTarget), inSourceRect, inTargetRect, inRegion, kPixelFormatARGB);
}

void XImageRenderer::RenderToBGRA32Volume(const XVolume& inSource, XBGRA32Volume& ioTarget,
                                          const X3DRect& inSourceRect, const X3DRect& inTargetRect,
                                          const X3DRegion* inRegion) const {
  XLock lock(ioTarget, kLockReadWrite);
  WriteToRGB32Buffer(inSource, LayoutOfVolume(ioTarget), inSourceRect, inTargetRect, inRegion, kPixelFormatBGRA);
}

void XImageRenderer::RenderToRGB32Buffer(const XVolume& inSource, const XRGB32Layout& inTarget,
                                         const X3DRect& inSourceRect, const X3DRect& inTargetRect,
                                         const X3DRegion* inRegion, XPixelFormat inFormat) const {
  // As a device context is drawn into: the buffer is cut to the target
  // rectangle first, so even a uniform fill stays inside it.
  XRGB32Layout target = inTarget;
  target.Cut(XToHyperRect(inTargetRect));
  WriteToRGB32Buffer(inSource, target, inSourceRect, inTargetRect, inRegion, inFormat);
}

void XImageRenderer::WriteToRGB32Buffer(const XVolume& inSource, const XRGB32Layout& inTarget,
                                        const X3DRect& inSourceRect, const X3DRect& inTargetRect,
                                        const X3DRegion* inRegion, XPixelFormat inFormat) const {
  const Float64 whitePoint = GetWhite(), blackPoint = GetBlack();
  XAssert(whitePoint >= blackPoint);
  const XVolume& src = inSource;
  const X3DRect& srcR = inSourceRect;
  XAssert(src.GetBounds().Contains( srcR ));
  XRGB32Layout target = inTarget;
  if (inRegion) target.Cut(XToHyperRect(inRegion->GetBounds()));
  const X3DRegion* region = inRegion && !inRegion->IsEmpty() ? inRegion : nullptr;
  if (blackPoint != whitePoint) {
    WriteToRGB32BufferSelf(inSource, target, inSourceRect, inTargetRect, region, inFormat);
    return;
  }
  // No range to divide by: every pixel shows the white colour, unread.
  switch (inFormat) {
    case kPixelFormatARGB:
      FillLayout(target, region, XPackRGB32<kPixelFormatARGB>(GetWhiteColour()));
      break;
    case kPixelFormatBGRA:
      FillLayout(target, region, XPackRGB32<kPixelFormatBGRA>(GetWhiteColour()));
      break;
    default:
      XAssert(false);
  }
}

// --------------------------------------------------------------- luminance

UInt8 XImageRenderer::GetLuminance(Float64 inValue) const {
  const Float64 range = GetWhite() - GetBlack();
  const Float64 scale = range > 0.0 ? GetGain() / range : 0.0;
  Float64 x = (inValue - GetBlack()) * scale + GetOffset();
  if (x >= 1.0)
    x = 1.0;
  else if (x <= 0.0)
    x = 0.0;
  return UInt8(XTruncateToSInt32(std::pow(x, GetGamma()) * 255.0));
}

Float64 XImageRenderer::GetValueForLuminance(UInt8 inLuminance) const {
  Float64 x = std::pow(inLuminance / 255.0, 1.0 / GetGamma());
  if (x < 0.0) x = 0.0;
  if (x > 1.0) x = 1.0;
  return GetBlack() + (x - GetOffset()) / (GetGain() / (GetWhite() - GetBlack()));
}

// ------------------------------------------------------------------ streams

void XImageRenderer::WriteStreamSelf(XStream& inStream) const {
  inStream.WriteVersion(GetClassVersion());
  inStream.WriteFloat64S(itsOffset);
  inStream.WriteFloat64S(itsGain);
  inStream.WriteFloat64S(itsGamma);
  inStream.WriteFloat64S(itsBlack);
  inStream.WriteFloat64S(itsWhite);
  inStream.WriteFloat64S(itsRedBalance);
  inStream.WriteFloat64S(itsGreenBalance);
  inStream.WriteFloat64S(itsBlueBalance);
}

void XImageRenderer::ReadStreamSelf(XStream& inStream) {
  ReadCheckedClassVersion(inStream, GetClassVersion());
  itsOffset = inStream.ReadFloat64S();
  itsGain = inStream.ReadFloat64S();
  itsGamma = inStream.ReadFloat64S();
  itsBlack = inStream.ReadFloat64S();
  itsWhite = inStream.ReadFloat64S();
  itsRedBalance = inStream.ReadFloat64S();
  itsGreenBalance = inStream.ReadFloat64S();
  itsBlueBalance = inStream.ReadFloat64S();
}

void XImageRenderer::ReadStream2_XImageRenderer(XStream& inStream, XOptions) { ReadStreamSelf(inStream); }

void XImageRenderer::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XImageRenderer(inStream, inOptions);
}

void XImageRenderer::WriteStream2(XStream& inStream, XOptions) const { WriteStreamSelf(inStream); }

void XImageRenderer::ReadConcreteWord(XStream& inStream, const XVersion& inExpected) {
  ReadCheckedClassVersion(inStream, inExpected);
}

}  // namespace mirelan
