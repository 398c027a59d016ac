#include "rendering/XMaskImageRenderer.h"

#include <cmath>
#include <memory>

#include "core/XStream.h"
#include "rendering/XIntToColourLUT.h"
#include "rendering/internal/XRenderJob.h"
#include "rendering/internal/XRendererShaders.h"
#include "volume/XMaskVolume.h"

namespace mirelan {

namespace {

// clamp01(c / 255 * gain + offset), raised to gamma, on 0..255.
UInt8 ShowChannel(UInt8 inChannel, Float64 inGain, Float64 inOffset, Float64 inGamma) {
  Float64 x = inChannel / 255.0 * inGain + inOffset;
  if (!(x > 0.0))
    x = 0.0;
  else if (x > 1.0)
    x = 1.0;
  return UInt8(XTruncateToSInt32(std::pow(x, inGamma) * 255.0));
}

}  // namespace

XMaskImageRenderer::XMaskImageRenderer(XStream& inStream) {
  ReadStream2_XMaskImageRenderer(inStream, kReadAll);
}

bool XMaskImageRenderer::HasProperty(UInt32 inProperty) const {
  if (inProperty == kPropertyBlack || inProperty == kPropertyWhite || inProperty == kPropertyGamma)
    return false;
  return XGrey8ImageRenderer::HasProperty(inProperty);
}

UInt8 XMaskImageRenderer::GetLuminance(Float64 inValue) const {
  const XARGB32Colour colour = inValue > 127 ? GetWhiteColour() : GetBlackColour();
  const UInt32 mean = (UInt32(colour.red) + colour.green + colour.blue) / 3;
  Float64 x = mean / 255.0 * GetGain() + GetOffset();
  if (x >= 1.0)
    x = 1.0;
  else if (x <= 0.0)
    x = 0.0;
  return UInt8(XTruncateToSInt32(std::pow(x, GetGamma()) * 255.0));
}

XARGB32Colour XMaskImageRenderer::GetShownColour(const XARGB32Colour& inColour) const {
  const Float64 gain = GetGain(), offset = GetOffset(), gamma = GetGamma();
  return XARGB32Colour(255, ShowChannel(inColour.red, gain, offset, gamma),
                       ShowChannel(inColour.green, gain, offset, gamma),
                       ShowChannel(inColour.blue, gain, offset, gamma));
}

void XMaskImageRenderer::GetColour(const void* inPixel, XARGB32Colour& outColour) const {
  const UInt8 value = *static_cast<const UInt8*>(inPixel);
  if (IsNormal()) {
    UInt32 word;
    XSimpleMaskPixShader().Shade(value, word);
    outColour = XUnpackRGB32<kPixelFormatARGB>(word);
    return;
  }
  outColour = GetShownColour(value >= 128 ? GetWhiteColour() : GetBlackColour());
}

void XMaskImageRenderer::WriteToRGB32BufferSelf(const XVolume& inSource, const XRGB32Layout& inTarget,
                                                const X3DRect& inSourceRect, const X3DRect& inTargetRect,
                                                const X3DRegion* inRegion, XPixelFormat inFormat) const {
  const auto* ourVolume = dynamic_cast<const XMaskVolume*>(&inSource);
  XAssert(ourVolume);
  const XRenderJob<UInt8> job(*ourVolume, inTarget, inSourceRect, inTargetRect, inRegion);
  const bool normal = IsNormal();
  const XARGB32Colour clear = GetShownColour(GetBlackColour()), set = GetShownColour(GetWhiteColour());
  XWithPixelFormat(inFormat, [&](auto inF) {
    // The normal word is the same in both byte orders.
    if (normal)
      job.Run(XSimpleMaskPixShader());
    else
      job.Run(XTwoColourMaskPixShader<decltype(inF)::value>(clear, set));
  });
}

XIntToColourLUT* XMaskImageRenderer::GetLUT() const {
  std::unique_ptr<XIntToColourLUT> lut(new XIntToColourLUT(256));
  lut->Fill(0, 127, GetShownColour(GetBlackColour()));
  lut->Fill(128, 255, GetShownColour(GetWhiteColour()));
  return lut.release();
}

void XMaskImageRenderer::ReadStream2_XMaskImageRenderer(XStream& inStream, XOptions inOptions) {
  ReadStream2_XGrey8ImageRenderer(inStream, inOptions);
  ReadConcreteWord(inStream, GetClassVersion());
}

void XMaskImageRenderer::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XMaskImageRenderer(inStream, inOptions);
}

// The 8-bit renderer's blocks with its word 12005, then 12004.
void XMaskImageRenderer::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XGrey8ImageRenderer::WriteStream2(inStream, inOptions);
  inStream.WriteVersion(GetClassVersion());
}

}  // namespace mirelan
