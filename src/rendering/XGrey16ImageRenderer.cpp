#include "rendering/XGrey16ImageRenderer.h"

#include "core/XStream.h"
#include "rendering/internal/XRenderJob.h"
#include "rendering/internal/XRendererShaders.h"
#include "volume/XGrey16Volume.h"

namespace mirelan {

namespace {

// The straight shader in 32-bit products where they cannot overflow.
template <XPixelFormat F>
void RunLinear(const XRenderJob<UInt16>& inJob, const XGreyShading& inShading) {
  const XLinearPixShader<UInt16, F, SInt64> wide(inShading);
  if (XLinearPixShader<UInt16, F, SInt32>::FitsIn32Bits(wide))
    inJob.Run(XLinearPixShader<UInt16, F, SInt32>(inShading));
  else
    inJob.Run(wide);
}

template <XPixelFormat F>
void RenderGrey16(const XGrey16ImageRenderer& inRenderer, const XRenderJob<UInt16>& inJob) {
  if (inRenderer.GetRendererType() == kRendererRainbow)
    return inJob.Run(XRainbowPixShader<UInt16, F>(inRenderer.GetBlack(), inRenderer.GetWhite()));
  const XGreyShading shading(inRenderer);
  if (inRenderer.IsNormalExceptForWhitePoint()) {
    switch (XTruncateToSInt32(inRenderer.GetWhite())) {
      case 1023: return inJob.Run(XGrey16ShiftPixShader<2, F>());
      case 4095: return inJob.Run(XGrey16ShiftPixShader<4, F>());
      case 16383: return inJob.Run(XGrey16ShiftPixShader<6, F>());
      case 65535: return inJob.Run(XGrey16ShiftPixShader<8, F>());
      default:
        if (inJob.IsSameSize()) return RunLinear<F>(inJob, shading);
        return inJob.Run(XTablePixShader<UInt16, F>(inRenderer, shading));
    }
  }
  if (inRenderer.GetGamma() == 1.0 && inJob.IsSameSize()) return RunLinear<F>(inJob, shading);
  inJob.Run(XTablePixShader<UInt16, F>(inRenderer, shading));
}

}  // namespace

XGrey16ImageRenderer::XGrey16ImageRenderer(const XIntToColourLUT& inLUT) {
  itsWhite = 65535.0;
  ApplyLUT(inLUT);
}

XGrey16ImageRenderer::XGrey16ImageRenderer(XStream& inStream) {
  itsWhite = 65535.0;
  ReadStream2_XGrey16ImageRenderer(inStream, kReadAll);
}

void XGrey16ImageRenderer::ReadStream2_XGrey16ImageRenderer(XStream& inStream, XOptions inOptions) {
  ReadStream2_XGreyImageRenderer(inStream, inOptions);
  ReadConcreteWord(inStream, GetClassVersion());
}

void XGrey16ImageRenderer::WriteToRGB32BufferSelf(const XVolume& inSource, const XRGB32Layout& inTarget,
                                                  const X3DRect& inSourceRect, const X3DRect& inTargetRect,
                                                  const X3DRegion* inRegion, XPixelFormat inFormat) const {
  const auto* ourVolume = dynamic_cast<const XGrey16Volume*>(&inSource);
  XAssert(ourVolume);
  const XRenderJob<UInt16> job(*ourVolume, inTarget, inSourceRect, inTargetRect, inRegion);
  XWithPixelFormat(inFormat, [&](auto inF) { RenderGrey16<decltype(inF)::value>(*this, job); });
}

void XGrey16ImageRenderer::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XGrey16ImageRenderer(inStream, inOptions);
}

void XGrey16ImageRenderer::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XGreyImageRenderer<UInt16>::WriteStream2(inStream, inOptions);
  inStream.WriteVersion(GetClassVersion());
}

}  // namespace mirelan
