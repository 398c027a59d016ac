#include "rendering/internal/XRendererShaders.h"

namespace mirelan {

namespace {

UInt8 RampEnd(UInt8 inChannel, Float64 inBalance) {
  return UInt8(std::min<SInt32>(255, XTruncateToSInt32(inChannel * inBalance)));
}

}  // namespace

void XGetRampColours(const XImageRenderer& inRenderer, XARGB32Colour& outLow, XARGB32Colour& outHigh) {
  const XARGB32Colour black = inRenderer.GetBlackColour(), white = inRenderer.GetWhiteColour();
  const Float64 r = inRenderer.GetRedBalance(), g = inRenderer.GetGreenBalance(), b = inRenderer.GetBlueBalance();
  outLow = XARGB32Colour(255, RampEnd(black.red, r), RampEnd(black.green, g), RampEnd(black.blue, b));
  outHigh = XARGB32Colour(255, RampEnd(white.red, r), RampEnd(white.green, g), RampEnd(white.blue, b));
}

std::vector<UInt8> XBuildLevelTable(const XImageRenderer& inRenderer, UInt32 inCount) {
  const Float32 black = Float32(inRenderer.GetBlack()), white = Float32(inRenderer.GetWhite());
  const Float32 gain = Float32(inRenderer.GetGain()), offset = Float32(inRenderer.GetOffset());
  const Float32 gamma = Float32(inRenderer.GetGamma());
  std::vector<UInt8> levels(inCount);
  for (UInt32 i = 0; i < inCount; ++i) {
    Float32 x = (Float32(i) - black) * gain / (white - black) + offset;
    if (!(x > 0.0f))
      x = 0.0f;
    else if (x > 1.0f)
      x = 1.0f;
    levels[i] = UInt8(XTruncateToSInt32(std::pow(x, gamma) * 255.0f));
  }
  return levels;
}

std::array<XARGB32Colour, 256> XTableColoursByLevel(const XARGB32Colour& inLow, const XARGB32Colour& inHigh) {
  auto delta = [](UInt8 l, UInt8 h) { return XTruncateToSInt32((SInt32(h) - SInt32(l)) / 255.0 * 65536.0); };
  const SInt32 dr = delta(inLow.red, inHigh.red), dg = delta(inLow.green, inHigh.green),
               db = delta(inLow.blue, inHigh.blue);
  std::array<XARGB32Colour, 256> colours;
  for (SInt32 level = 0; level < 256; ++level)
    colours[level] = XARGB32Colour(255, UInt8(((dr * level) >> 16) + inLow.red), UInt8(((dg * level) >> 16) + inLow.green),
                                   UInt8(((db * level) >> 16) + inLow.blue));
  return colours;
}

std::array<XARGB32Colour, 256> XFloatTableColours(const XImageRenderer& inRenderer) {
  XARGB32Colour low, high;
  XGetRampColours(inRenderer, low, high);
  const Float32 gain = Float32(inRenderer.GetGain()), offset = Float32(inRenderer.GetOffset());
  const Float32 gamma = Float32(inRenderer.GetGamma());
  auto channel = [](UInt8 l, UInt8 h, SInt32 level) {
    return UInt8(XTruncateToSInt32(l + level * (Float32(h) - Float32(l)) / 255.0f));
  };
  std::array<XARGB32Colour, 256> colours;
  for (UInt32 i = 0; i < 256; ++i) {
    Float32 x = gain * (Float32(i) / 255.0f) + offset;
    if (!(x > 0.0f))
      x = 0.0f;
    else if (x > 1.0f)
      x = 1.0f;
    const SInt32 level = XTruncateToSInt32(std::pow(x, gamma) * 255.0f);
    colours[i] = XARGB32Colour(255, channel(low.red, high.red, level), channel(low.green, high.green, level),
                               channel(low.blue, high.blue, level));
  }
  return colours;
}

UInt8 XChannelLevel(const XImageRenderer& inRenderer, Float64 inValue) {
  const Float64 black = inRenderer.GetBlack(), white = inRenderer.GetWhite();
  const Float64 scale = white > black ? inRenderer.GetGain() / (white - black) : 0.0;
  Float64 x = (inValue - black) * scale + inRenderer.GetOffset();
  if (!(x > 0.0))
    x = 0.0;
  else if (x > 1.0)
    x = 1.0;
  return UInt8(XTruncateToSInt32(std::pow(x, inRenderer.GetGamma()) * 255.0));
}

}  // namespace mirelan
