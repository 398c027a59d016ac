#include "rendering/XGrey8ImageRenderer.h"

#include "core/XStream.h"
#include "rendering/internal/XRenderJob.h"
#include "rendering/internal/XRendererShaders.h"
#include "volume/XGrey8Volume.h"

namespace mirelan {

namespace {

template <XPixelFormat F>
void RenderGrey8(const XGrey8ImageRenderer& inRenderer, const XRenderJob<UInt8>& inJob) {
  // Every shader of bytes but the plain grey is one table of 256 words.
  if (inRenderer.GetRendererType() == kRendererRainbow)
    return inJob.Run(XByteTablePixShader(XRainbowPixShader<UInt8, F>(inRenderer.GetBlack(), inRenderer.GetWhite())));
  if (inRenderer.IsNormal()) return inJob.Run(XGreyNormalPixShader<F>());
  const XGreyShading shading(inRenderer);
  if (inRenderer.GetGamma() == 1.0 && inJob.IsSameSize())
    return inJob.Run(XByteTablePixShader(XLinearPixShader<UInt8, F>(shading)));
  inJob.Run(XByteTablePixShader(XTablePixShader<UInt8, F>(inRenderer, shading)));
}

}  // namespace

XGrey8ImageRenderer::XGrey8ImageRenderer(const XIntToColourLUT& inLUT) { ApplyLUT(inLUT); }

XGrey8ImageRenderer::XGrey8ImageRenderer(XStream& inStream) {
  ReadStream2_XGrey8ImageRenderer(inStream, kReadAll);
}

void XGrey8ImageRenderer::ReadStream2_XGrey8ImageRenderer(XStream& inStream, XOptions inOptions) {
  ReadStream2_XGreyImageRenderer(inStream, inOptions);
  ReadConcreteWord(inStream, GetClassVersion());
}

void XGrey8ImageRenderer::WriteToRGB32BufferSelf(const XVolume& inSource, const XRGB32Layout& inTarget,
                                                 const X3DRect& inSourceRect, const X3DRect& inTargetRect,
                                                 const X3DRegion* inRegion, XPixelFormat inFormat) const {
  const auto* ourVolume = dynamic_cast<const XGrey8Volume*>(&inSource);
  XAssert(ourVolume);
  const XRenderJob<UInt8> job(*ourVolume, inTarget, inSourceRect, inTargetRect, inRegion);
  XWithPixelFormat(inFormat, [&](auto inF) { RenderGrey8<decltype(inF)::value>(*this, job); });
}

void XGrey8ImageRenderer::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XGrey8ImageRenderer(inStream, inOptions);
}

void XGrey8ImageRenderer::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XGreyImageRenderer<UInt8>::WriteStream2(inStream, inOptions);
  inStream.WriteVersion(GetClassVersion());
}

}  // namespace mirelan
