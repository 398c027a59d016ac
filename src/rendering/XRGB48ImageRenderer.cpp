#include "rendering/XRGB48ImageRenderer.h"

#include <cstring>

#include "core/XStream.h"
#include "rendering/internal/XRenderJob.h"
#include "rendering/internal/XRendererShaders.h"
#include "volume/XColourVolumes.h"

namespace mirelan {

namespace {

// The shift of a usual white point, or -1.
int ShiftOfWhite(Float64 inWhite) {
  if (inWhite == 1023.0) return 2;
  if (inWhite == 4095.0) return 4;
  if (inWhite == 16383.0) return 6;
  if (inWhite == 65535.0) return 8;
  return -1;
}

// Calls inFn with the shader the renderer's settings choose.
template <XPixelFormat F, class Fn>
void WithRGB48Shader(const XRGB48ImageRenderer& inRenderer, Fn&& inFn) {
  if (inRenderer.IsNormalExceptForWhitePoint()) {
    switch (ShiftOfWhite(inRenderer.GetWhite())) {
      case 2: return inFn(XRGB48ShiftPixShader<2, F>());
      case 4: return inFn(XRGB48ShiftPixShader<4, F>());
      case 6: return inFn(XRGB48ShiftPixShader<6, F>());
      case 8: return inFn(XRGB48ShiftPixShader<8, F>());
      default: return inFn(XFixedScaleRGB48PixShader<F>(inRenderer));
    }
  }
  if (inRenderer.GetGamma() == 1.0) return inFn(XDoubleLinearPixShader<F>(inRenderer));
  inFn(XChannelTable16PixShader<F>(inRenderer));
}

}  // namespace

void XRGB48ImageRenderer::GetColour(const void* inPixel, XARGB32Colour& outColour) const {
  XRGB48Colour pixel;
  std::memcpy(&pixel, inPixel, sizeof(pixel));
  if (!IsNormalExceptForWhitePoint() && GetGamma() != 1.0) {
    // One pixel does not pay for the table of 65536: its three entries directly.
    auto channel = [&](UInt16 inValue, Float64 inBalance) {
      return XChannelTable16PixShader<kPixelFormatARGB>::Channel(XChannelLevel(*this, inValue),
                                                                XFixedFrom(inBalance * 65536.0));
    };
    outColour = XARGB32Colour(255, UInt8(channel(pixel.red, GetRedBalance())),
                              UInt8(channel(pixel.green, GetGreenBalance())),
                              UInt8(channel(pixel.blue, GetBlueBalance())));
    return;
  }
  WithRGB48Shader<kPixelFormatARGB>(*this, [&](const auto& inShader) {
    UInt32 word;
    inShader.Shade(pixel, word);
    outColour = XUnpackRGB32<kPixelFormatARGB>(word);
  });
}

void XRGB48ImageRenderer::WriteToRGB32BufferSelf(const XVolume& inSource, const XRGB32Layout& inTarget,
                                                 const X3DRect& inSourceRect, const X3DRect& inTargetRect,
                                                 const X3DRegion* inRegion, XPixelFormat inFormat) const {
  const auto* ourVolume = dynamic_cast<const XRGB48Volume*>(&inSource);
  XAssert(ourVolume);
  const XRenderJob<XRGB48Colour> job(*ourVolume, inTarget, inSourceRect, inTargetRect, inRegion);
  XWithPixelFormat(inFormat, [&](auto inF) {
    WithRGB48Shader<decltype(inF)::value>(*this, [&](const auto& inShader) { job.Run(inShader); });
  });
}

XRGB48ImageRenderer::XRGB48ImageRenderer(XStream& inStream) {
  itsWhite = 65535.0;
  ReadStream2_XRGB48ImageRenderer(inStream, kReadAll);
}

void XRGB48ImageRenderer::ReadStream2_XRGB48ImageRenderer(XStream& inStream, XOptions inOptions) {
  ReadStream2_XImageRenderer(inStream, inOptions);
  ReadConcreteWord(inStream, GetClassVersion());
}

void XRGB48ImageRenderer::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XRGB48ImageRenderer(inStream, inOptions);
}

void XRGB48ImageRenderer::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XImageRenderer::WriteStream2(inStream, inOptions);
  inStream.WriteVersion(GetClassVersion());
}

}  // namespace mirelan
