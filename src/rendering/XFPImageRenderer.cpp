#include "rendering/XFPImageRenderer.h"

#include <array>
#include <cmath>
#include <memory>

#include "core/XLockable.h"
#include "core/XStream.h"
#include "rendering/XFloatToColourLUT.h"
#include "rendering/internal/XRenderJob.h"
#include "rendering/internal/XRendererShaders.h"
#include "volume/XFPVolume.h"

namespace mirelan {

namespace {

template <XPixelFormat F>
void RenderFP(const XFPImageRenderer& inRenderer, const XRenderJob<Float32>& inJob) {
  if (inRenderer.GetRendererType() == kRendererRainbow)
    return inJob.Run(XRainbowPixShader<Float32, F>(inRenderer.GetBlack(), inRenderer.GetWhite()));
  const Float64 min = inRenderer.GetMinInputValue(), max = inRenderer.GetMaxInputValue();
  if (inRenderer.IsNormal()) return inJob.Run(XFixedPointPixShader<F>(min, max));
  if (min == 0.0 && max <= 32767.0 && max - min >= 255.0) return inJob.Run(XColourTable256PixShader<F>(inRenderer));
  inJob.Run(XGeneralFloatPixShader<F>(XGreyShading(inRenderer)));
}

}  // namespace

XFPImageRenderer::XFPImageRenderer(const XFloatToColourLUT& inLUT) {
  itsWhite = 1.0;
  ApplyLUT(inLUT);
}

XFPImageRenderer::XFPImageRenderer(XStream& inStream) {
  itsWhite = 1.0;
  ReadStream2_XFPImageRenderer(inStream, kReadAll);
}

bool XFPImageRenderer::IsNormal() const {
  return GetOffset() == 0.0 && GetGain() == 1.0 && GetGamma() == 1.0 && GetBlack() == 0.0 &&
         GetWhite() == 255.0 && GetMinInputValue() == 0.0 && GetMaxInputValue() == 255.0 &&
         HasGreyColours();
}

bool XFPImageRenderer::IsNormalExceptForWhitePoint() const {
  return GetOffset() == 0.0 && GetGain() == 1.0 && GetGamma() == 1.0 && GetBlack() == 0.0 &&
         HasGreyColours();
}

// The generic form rescales black and white between input ranges, but this
// class's input range is its black and white: the other's values are put
// back as they were.
void XFPImageRenderer::CopyProperties(const XImageRenderer& inOther) {
  const Float64 black = inOther.GetBlack(), white = inOther.GetWhite();
  XGreyImageRenderer<Float32>::CopyProperties(inOther);
  SetBlack(black);
  SetWhite(white);
}

XIntToColourLUT* XFPImageRenderer::GetLUT() const {
  std::unique_ptr<XFloatToColourLUT> lut(new XFloatToColourLUT(GetBlack(), GetWhite()));
  const std::array<XARGB32Colour, 256> colours = XFloatTableColours(*this);
  XLock lock(*lut, kLockReadWrite);
  for (UInt32 i = 0; i < 256; ++i) lut->SetValue(i, colours[i]);
  return lut.release();
}

void XFPImageRenderer::ApplyLUT(const XIntToColourLUT& inLUT) {
  const auto* floatLUT = dynamic_cast<const XFloatToColourLUT*>(&inLUT);
  if (!floatLUT) throw XException(kErrRendererHasNoLUT, "a float renderer takes only a float table");
  SetBlack(floatLUT->GetMin());
  SetWhite(floatLUT->GetMax());
  SetBlackColour(XARGB32Colour(255, 0, 0, 0));
  XARGB32Colour white;
  floatLUT->ValueToColour(floatLUT->GetMax(), white);
  SetWhiteColour(white);
  SetRendererType(kRendererRamp);
}

void XFPImageRenderer::ReadStream2_XFPImageRenderer(XStream& inStream, XOptions inOptions) {
  ReadStream2_XGreyImageRenderer(inStream, inOptions);
  ReadConcreteWord(inStream, GetClassVersion());
}

void XFPImageRenderer::WriteToRGB32BufferSelf(const XVolume& inSource, const XRGB32Layout& inTarget,
                                              const X3DRect& inSourceRect, const X3DRect& inTargetRect,
                                              const X3DRegion* inRegion, XPixelFormat inFormat) const {
  const auto* ourVolume = dynamic_cast<const XFPVolume*>(&inSource);
  XAssert(ourVolume);
  const XRenderJob<Float32> job(*ourVolume, inTarget, inSourceRect, inTargetRect, inRegion);
  XWithPixelFormat(inFormat, [&](auto inF) { RenderFP<decltype(inF)::value>(*this, job); });
}

void XFPImageRenderer::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XFPImageRenderer(inStream, inOptions);
}

void XFPImageRenderer::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XGreyImageRenderer<Float32>::WriteStream2(inStream, inOptions);
  inStream.WriteVersion(GetClassVersion());
}

}  // namespace mirelan
