#include "rendering/XARGB32ImageRenderer.h"

#include <algorithm>
#include <cstring>

#include "core/XStream.h"
#include "rendering/internal/XRenderJob.h"
#include "rendering/internal/XRendererShaders.h"
#include "volume/XColourVolumes.h"

namespace mirelan {

namespace {

// The untouched same-size path: whole rows through the renderer's
// FastScanlineCopy.
template <class R, class C>
class XScanlineCopyShader {
 public:
  XScanlineCopyShader(const R& inRenderer, XPixelFormat inFormat) : itsRenderer(inRenderer), itsFormat(inFormat) {}
  void Shade(const C& inValue, UInt32& outWord) const {
    if (itsFormat == kPixelFormatARGB)
      XColourCopyPixShader<C, kPixelFormatARGB>().Shade(inValue, outWord);
    else
      XColourCopyPixShader<C, kPixelFormatBGRA>().Shade(inValue, outWord);
  }
  void ShadeRow(const C* inSource, UInt32* outDest, UInt32 inCount) const {
    itsRenderer.FastScanlineCopy(inSource, outDest, inCount, itsFormat);
  }

 private:
  const R& itsRenderer;
  XPixelFormat itsFormat;
};

template <class R, class V, class C>
void RenderRGB32(const R& inRenderer, const XVolume& inSource, const XRGB32Layout& inTarget,
                 const X3DRect& inSourceRect, const X3DRect& inTargetRect, const X3DRegion* inRegion,
                 XPixelFormat inFormat) {
  const auto* ourVolume = dynamic_cast<const V*>(&inSource);
  XAssert(ourVolume);
  const XRenderJob<C> job(*ourVolume, inTarget, inSourceRect, inTargetRect, inRegion);
  const bool normal = inRenderer.IsNormal();
  XWithPixelFormat(inFormat, [&](auto inF) {
    constexpr XPixelFormat F = decltype(inF)::value;
    if (!normal)
      job.Run(XChannelTablePixShader<C, F>(inRenderer));
    else if (job.IsSameSize())
      job.Run(XScanlineCopyShader<R, C>(inRenderer, F));
    else
      job.Run(XColourCopyPixShader<C, F>());
  });
}

template <class C>
void ScanlineCopy(const C* inSource, UInt32* outDest, UInt32 inCount, XPixelFormat inFormat) {
  if (inFormat == XFormatOf<C>()) {
    std::memcpy(outDest, inSource, size_t(inCount) * sizeof(UInt32));
    return;
  }
  const C* __restrict source = inSource;
  UInt32* __restrict dest = outDest;
  for (UInt32 x = 0; x < inCount; ++x) {
    UInt32 word;
    std::memcpy(&word, source + x, sizeof(word));
    dest[x] = __builtin_bswap32(word);
  }
}

template <class C>
void ColourOfPixel(const XImageRenderer& inRenderer, const void* inPixel, XARGB32Colour& outColour) {
  C pixel;
  std::memcpy(&pixel, inPixel, sizeof(C));
  if (inRenderer.IsNormal()) {
    outColour = XARGB32Colour(pixel.alpha, pixel.red, pixel.green, pixel.blue);
    return;
  }
  auto channel = [&](UInt8 inValue, Float64 inBalance) {
    return UInt8(std::min<SInt64>(255, (SInt64(XChannelLevel(inRenderer, inValue)) * XFixedFrom(inBalance * 65536.0)) >> 16));
  };
  outColour = XARGB32Colour(255, channel(pixel.red, inRenderer.GetRedBalance()),
                            channel(pixel.green, inRenderer.GetGreenBalance()),
                            channel(pixel.blue, inRenderer.GetBlueBalance()));
}

}  // namespace

XARGB32ImageRenderer::XARGB32ImageRenderer(XStream& inStream) {
  ReadStream2_XARGB32ImageRenderer(inStream, kReadAll);
}

void XARGB32ImageRenderer::ReadStream2_XARGB32ImageRenderer(XStream& inStream, XOptions inOptions) {
  ReadStream2_XImageRenderer(inStream, inOptions);
  ReadConcreteWord(inStream, GetClassVersion());
}

void XARGB32ImageRenderer::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XARGB32ImageRenderer(inStream, inOptions);
}

void XARGB32ImageRenderer::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XImageRenderer::WriteStream2(inStream, inOptions);
  inStream.WriteVersion(GetClassVersion());
}

void XARGB32ImageRenderer::GetColour(const void* inPixel, XARGB32Colour& outColour) const {
  ColourOfPixel<XARGB32Colour>(*this, inPixel, outColour);
}

void XARGB32ImageRenderer::FastScanlineCopy(const XARGB32Colour* inSource, UInt32* outDest, UInt32 inCount,
                                            XPixelFormat inFormat) const {
  ScanlineCopy(inSource, outDest, inCount, inFormat);
}

void XARGB32ImageRenderer::WriteToRGB32BufferSelf(const XVolume& inSource, const XRGB32Layout& inTarget,
                                                  const X3DRect& inSourceRect, const X3DRect& inTargetRect,
                                                  const X3DRegion* inRegion, XPixelFormat inFormat) const {
  RenderRGB32<XARGB32ImageRenderer, XARGB32Volume, XARGB32Colour>(*this, inSource, inTarget, inSourceRect,
                                                                 inTargetRect, inRegion, inFormat);
}

XBGRA32ImageRenderer::XBGRA32ImageRenderer(XStream& inStream) {
  ReadStream2_XBGRA32ImageRenderer(inStream, kReadAll);
}

void XBGRA32ImageRenderer::ReadStream2_XBGRA32ImageRenderer(XStream& inStream, XOptions inOptions) {
  ReadStream2_XImageRenderer(inStream, inOptions);
  ReadConcreteWord(inStream, GetClassVersion());
}

void XBGRA32ImageRenderer::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XBGRA32ImageRenderer(inStream, inOptions);
}

void XBGRA32ImageRenderer::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XImageRenderer::WriteStream2(inStream, inOptions);
  inStream.WriteVersion(GetClassVersion());
}

void XBGRA32ImageRenderer::GetColour(const void* inPixel, XARGB32Colour& outColour) const {
  ColourOfPixel<XBGRA32Colour>(*this, inPixel, outColour);
}

void XBGRA32ImageRenderer::FastScanlineCopy(const XBGRA32Colour* inSource, UInt32* outDest, UInt32 inCount,
                                            XPixelFormat inFormat) const {
  ScanlineCopy(inSource, outDest, inCount, inFormat);
}

void XBGRA32ImageRenderer::WriteToRGB32BufferSelf(const XVolume& inSource, const XRGB32Layout& inTarget,
                                                  const X3DRect& inSourceRect, const X3DRect& inTargetRect,
                                                  const X3DRegion* inRegion, XPixelFormat inFormat) const {
  RenderRGB32<XBGRA32ImageRenderer, XBGRA32Volume, XBGRA32Colour>(*this, inSource, inTarget, inSourceRect,
                                                                 inTargetRect, inRegion, inFormat);
}

}  // namespace mirelan
