// The renderers' shaders and the arithmetic they share with the single-pixel
// and table forms (GetColour, GetLUT). Each shader is built once per render
// call from the renderer's parameters; Shade(value, word) then costs a few
// integer operations or one or two table reads.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

#include <emmintrin.h>

#include "core/XException.h"
#include "rendering/XGreyImageRenderer.h"
#include "rendering/XImageRenderer.h"
#include "rendering/XPixelShaders.h"
#include "volume/XColour.h"

namespace mirelan {

// ------------------------------------------------------------- arithmetic

// A 16.16 fixed-point factor by truncation. Held within +-2^40 (and NaN at
// 0) so that its product with any 16-bit value fits 64 bits; parameters
// that far out saturate every pixel either way.
inline SInt64 XFixedFrom(Float64 inValue) {
  constexpr Float64 kLimit = 1099511627776.0;  // 2^40
  if (!(inValue == inValue)) return 0;
  if (inValue > kLimit) return SInt64(kLimit);
  if (inValue < -kLimit) return -SInt64(kLimit);
  return SInt64(inValue);
}

// A double clamped into [0, 255] (NaN at 0) and truncated.
inline UInt32 XClampTruncate255(Float64 inValue) {
  if (!(inValue > 0.0)) return 0;
  if (inValue >= 255.0) return 255;
  return UInt32(inValue);
}

// The ends of a grey renderer's colour ramp: each channel of the black and
// white colour times its balance, at most 255, cut to 8 bits.
void XGetRampColours(const XImageRenderer& inRenderer, XARGB32Colour& outLow, XARGB32Colour& outHigh);

// Display level of each input value 0 .. inCount - 1: trunc(L(v)^gamma *
// 255) in 32-bit floats, L(v) the clamped ((v - black) * gain / (white -
// black) + offset).
std::vector<UInt8> XBuildLevelTable(const XImageRenderer& inRenderer, UInt32 inCount);

// The colours of the 256 levels along the ramp, in 16.16 fixed point: channel
// = ((delta * level) >> 16) + low, delta = trunc((high - low) / 255 * 65536).
std::array<XARGB32Colour, 256> XTableColoursByLevel(const XARGB32Colour& inLow, const XARGB32Colour& inHigh);

// The float renderer's table of 256 colours: entry i from clamp01(gain * i /
// 255 + offset) through gamma, channel low + level * (high - low) / 255 in
// 32-bit floats.
std::array<XARGB32Colour, 256> XFloatTableColours(const XImageRenderer& inRenderer);

// trunc(L(v)^gamma * 255) for colour channels, in doubles: L(v) the clamped
// (v - black) * scale + offset with scale gain / (white - black), or 0 when
// white is not above black.
UInt8 XChannelLevel(const XImageRenderer& inRenderer, Float64 inValue);

// What the grey shaders read of a renderer, taken once per call.
struct XGreyShading {
  explicit XGreyShading(const XImageRenderer& inRenderer)
      : black(inRenderer.GetBlack()),
        white(inRenderer.GetWhite()),
        gain(inRenderer.GetGain()),
        offset(inRenderer.GetOffset()),
        gamma(inRenderer.GetGamma()) {
    XGetRampColours(inRenderer, low, high);
  }

  // The level of one value by the float formula: L(v) and gamma in 32-bit
  // floats, truncated. Used per pixel by the general float shader and by
  // GetColour.
  UInt8 LevelOf(Float32 inValue) const {
    const Float32 b = Float32(black), w = Float32(white), g = Float32(gain), o = Float32(offset);
    Float32 x = (inValue - b) * g / (w - b) + o;
    if (!(x > 0.0f))
      x = 0.0f;
    else if (x > 1.0f)
      x = 1.0f;
    // pow(x, 1) is x: the usual gamma of 1 costs no power.
    const Float32 shown = gamma == 1.0 ? x : std::pow(x, Float32(gamma));
    return UInt8(XTruncateToSInt32(shown * 255.0f));
  }

  // The colour of a level along the ramp, by signed division by 255.
  XARGB32Colour RampColourOf(UInt32 inLevel) const {
    auto channel = [inLevel](UInt8 l, UInt8 h) {
      return UInt8(SInt32(l) + (SInt32(h) - SInt32(l)) * SInt32(inLevel) / 255);
    };
    return XARGB32Colour(255, channel(low.red, high.red), channel(low.green, high.green),
                         channel(low.blue, high.blue));
  }

  Float64 black, white, gain, offset, gamma;
  XARGB32Colour low, high;
};

// ----------------------------------------------------------- grey shaders

// 8-bit grey untouched: the level is the value.
template <XPixelFormat F>
struct XGreyNormalPixShader {
  void Shade(UInt8 inValue, UInt32& outWord) const { outWord = XPackGrey32<F>(inValue); }
};

// Any shader of bytes, evaluated once for each of the 256 values.
class XByteTablePixShader {
 public:
  template <class Shader>
  explicit XByteTablePixShader(const Shader& inShader) {
    for (UInt32 v = 0; v < 256; ++v) inShader.Shade(UInt8(v), itsWords[v]);
  }
  void Shade(UInt8 inValue, UInt32& outWord) const { outWord = itsWords[inValue]; }

 private:
  UInt32 itsWords[256];
};

// The entry of the shared rainbow a value falls on: x = (v - black) * 255 /
// (white - black) in 32-bit floats, clamped to the table, rounded to nearest.
class XRainbowIndex {
 public:
  XRainbowIndex(Float64 inBlack, Float64 inWhite)
      : itsAdd(Float32(-inBlack)), itsScale(Float32(255.0 / (inWhite - inBlack))) {}
  UInt32 operator()(Float32 inValue) const {
    const Float32 x = (inValue + itsAdd) * itsScale;
    if (!(x >= 0.0f)) return 0;  // NaN too
    if (x > 255.0f) return 255;
    return UInt32(std::lrint(x));
  }

 private:
  Float32 itsAdd;
  Float32 itsScale;
};

template <class T, XPixelFormat F>
class XRainbowPixShader {
 public:
  XRainbowPixShader(Float64 inBlack, Float64 inWhite) : itsIndex(inBlack, inWhite) {
    const std::vector<XARGB32Colour>& rainbow = XBaseGreyImageRenderer::GetRainbowLUT();
    for (UInt32 i = 0; i < 256; ++i) itsWords[i] = XPackRGB32<F>(rainbow[i]);
  }
  void Shade(T inValue, UInt32& outWord) const { outWord = itsWords[itsIndex(Float32(inValue))]; }

 private:
  XRainbowIndex itsIndex;
  UInt32 itsWords[256];
};

// Straight from value to word in 16.16 fixed point, no table: for a gamma of
// 1. Products are taken in Acc: SInt64 always holds them; SInt32 does when
// FitsIn32Bits says so, which is the usual case and twice as fast.
template <class T, XPixelFormat F, class Acc = SInt64>
class XLinearPixShader {
 public:
  explicit XLinearPixShader(const XGreyShading& inShading) {
    // The black point enters as its integer part kept in 8 bits.
    itsBase = UInt8(XTruncateToSInt32(inShading.black));
    const UInt8 low[3] = {inShading.low.red, inShading.low.green, inShading.low.blue};
    const UInt8 high[3] = {inShading.high.red, inShading.high.green, inShading.high.blue};
    for (int c = 0; c < 3; ++c) {
      const Float64 range = SInt32(high[c]) - SInt32(low[c]);
      itsSlope[c] = Acc(XFixedFrom(range * inShading.gain * 65536.0 / (inShading.white - itsBase)));
      itsIntercept[c] = Acc(XFixedFrom((range * inShading.offset + low[c]) * 65536.0));
    }
  }
  // Whether every product and sum of a T stays within 32 bits.
  template <class Other>
  static bool FitsIn32Bits(const Other& inShader) {
    constexpr SInt64 kLargestD = SInt64(std::numeric_limits<T>::max()) + 255;
    for (int c = 0; c < 3; ++c) {
      const SInt64 slope = inShader.itsSlope[c], intercept = inShader.itsIntercept[c];
      if ((slope < 0 ? -slope : slope) * kLargestD + (intercept < 0 ? -intercept : intercept) >= (SInt64(1) << 31))
        return false;
    }
    return true;
  }
  void Shade(T inValue, UInt32& outWord) const {
    const Acc d = Acc(inValue) - itsBase;
    outWord = XPackRGB32<F>(255, Channel(0, d), Channel(1, d), Channel(2, d));
  }

 private:
  template <class, XPixelFormat, class>
  friend class XLinearPixShader;

  UInt32 Channel(int inC, Acc inD) const {
    const Acc c = (itsSlope[inC] * inD + itsIntercept[inC]) >> 16;
    return c < 1 ? 0u : (c >= 255 ? 255u : UInt32(c));
  }

  Acc itsBase;
  Acc itsSlope[3];
  Acc itsIntercept[3];
};

// A level for each input value (itsLUT), then the level's colour.
template <class T, XPixelFormat F>
class XTablePixShader {
 public:
  XTablePixShader(const XImageRenderer& inRenderer, const XGreyShading& inShading)
      : itsTable(XBuildLevelTable(inRenderer, UInt32(inRenderer.GetMaxInputValue()) + 1)) {
    itsLUT = itsTable.data();
    XAssert(itsLUT);
    const std::array<XARGB32Colour, 256> colours = XTableColoursByLevel(inShading.low, inShading.high);
    for (UInt32 i = 0; i < 256; ++i) itsWords[i] = XPackRGB32<F>(colours[i]);
  }
  void Shade(T inValue, UInt32& outWord) const { outWord = itsWords[itsLUT[inValue]]; }

 private:
  std::vector<UInt8> itsTable;
  const UInt8* itsLUT;
  UInt32 itsWords[256];
};

// 16-bit grey whose white point is one of the usual bit depths: the level is
// the value's top bits.
template <int kShift, XPixelFormat F>
struct XGrey16ShiftPixShader {
  void Shade(UInt16 inValue, UInt32& outWord) const {
    UInt32 level = UInt32(inValue) >> kShift;
    if (kShift < 8) level = level < 255 ? level : 255;
    outWord = XPackGrey32<F>(level);
  }
};

// Float grey untouched (range 0 to 255): 8 fractional bits, then a 16.16 scale.
template <XPixelFormat F>
class XFixedPointPixShader {
 public:
  XFixedPointPixShader(Float64 inMin, Float64 inMax)
      : itsMin(XTruncateToSInt32(inMin * 256.0)),
        itsMax(XTruncateToSInt32(inMax * 256.0)),
        itsScale(XTruncateToSInt32(1.0 / (inMax - inMin) * 255.0 * 256.0)) {}
  void Shade(Float32 inValue, UInt32& outWord) const {
    SInt64 x = XTruncateToSInt32(Float64(inValue) * 256.0);
    x = x < itsMin ? itsMin : (x > itsMax ? itsMax : x);
    outWord = XPackGrey32<F>(UInt8(((x - itsMin) * itsScale) >> 16));
  }

 private:
  SInt64 itsMin;
  SInt64 itsMax;
  SInt64 itsScale;
};

// Float grey over a range of at least 255 from 0: the value's place in the
// range picks one of 256 colours.
template <XPixelFormat F>
class XColourTable256PixShader {
 public:
  explicit XColourTable256PixShader(const XImageRenderer& inRenderer)
      : itsBlack(inRenderer.GetBlack()), itsRange(inRenderer.GetWhite() - inRenderer.GetBlack()) {
    const std::array<XARGB32Colour, 256> colours = XFloatTableColours(inRenderer);
    for (UInt32 i = 0; i < 256; ++i) itsWords[i] = XPackRGB32<F>(colours[i]);
  }
  void Shade(Float32 inValue, UInt32& outWord) const {
    Float64 x = (Float64(inValue) - itsBlack) * 255.0 / itsRange;
    if (!(x > 0.0))
      x = 0.0;
    else if (x > 255.0)
      x = 255.0;
    outWord = itsWords[std::lrint(x)];
  }

 private:
  Float64 itsBlack;
  Float64 itsRange;
  UInt32 itsWords[256];
};

// Float grey in general: the level by the float formula, then the ramp.
// Rows go in blocks: the levels first, in a loop the compiler can run on
// vectors when the gamma is 1, then the colours.
template <XPixelFormat F>
class XGeneralFloatPixShader {
 public:
  explicit XGeneralFloatPixShader(const XGreyShading& inShading)
      : itsShading(inShading),
        itsBlack(Float32(inShading.black)),
        itsRange(Float32(inShading.white) - Float32(inShading.black)),
        itsGain(Float32(inShading.gain)),
        itsOffset(Float32(inShading.offset)),
        itsPlainGamma(inShading.gamma == 1.0) {
    for (UInt32 level = 0; level < 256; ++level) itsWords[level] = XPackRGB32<F>(inShading.RampColourOf(level));
  }
  void Shade(Float32 inValue, UInt32& outWord) const { outWord = itsWords[itsShading.LevelOf(inValue)]; }
  void ShadeRow(const Float32* inSource, UInt32* outDest, UInt32 inCount) const {
    constexpr UInt32 kBlock = 256;
    SInt32 levels[kBlock];
    for (UInt32 start = 0; start < inCount; start += kBlock) {
      const UInt32 count = std::min(kBlock, inCount - start);
      if (itsPlainGamma)
        PlainLevels(inSource + start, levels, count);
      else
        for (UInt32 i = 0; i < count; ++i) levels[i] = itsShading.LevelOf(inSource[start + i]);
      for (UInt32 i = 0; i < count; ++i) outDest[start + i] = itsWords[levels[i]];
    }
  }

 private:
  // LevelOf for a gamma of 1, operation for operation, four at a time: x
  // ends in [0, 1] (NaN at 0), so the plain conversion is exact.
  void PlainLevels(const Float32* inSource, SInt32* outLevels, UInt32 inCount) const {
    const __m128 black = _mm_set1_ps(itsBlack), range = _mm_set1_ps(itsRange), gain = _mm_set1_ps(itsGain);
    const __m128 offset = _mm_set1_ps(itsOffset), zero = _mm_setzero_ps(), one = _mm_set1_ps(1.0f);
    const __m128 full = _mm_set1_ps(255.0f);
    UInt32 i = 0;
    for (; i + 4 <= inCount; i += 4) {
      __m128 x = _mm_add_ps(_mm_div_ps(_mm_mul_ps(_mm_sub_ps(_mm_loadu_ps(inSource + i), black), gain), range), offset);
      x = _mm_and_ps(x, _mm_cmpgt_ps(x, zero));
      x = _mm_min_ps(x, one);
      _mm_storeu_si128(reinterpret_cast<__m128i*>(outLevels + i), _mm_cvttps_epi32(_mm_mul_ps(x, full)));
    }
    for (; i < inCount; ++i) outLevels[i] = itsShading.LevelOf(inSource[i]);
  }

  XGreyShading itsShading;
  Float32 itsBlack;
  Float32 itsRange;
  Float32 itsGain;
  Float32 itsOffset;
  bool itsPlainGamma;
  UInt32 itsWords[256];
};

// A mask shown in two opaque colours, set from 128 on.
template <XPixelFormat F>
class XTwoColourMaskPixShader {
 public:
  XTwoColourMaskPixShader(const XARGB32Colour& inClear, const XARGB32Colour& inSet)
      : itsClear(XPackRGB32<F>(inClear)), itsSet(XPackRGB32<F>(inSet)) {}
  void Shade(UInt8 inValue, UInt32& outWord) const { outWord = inValue >= 128 ? itsSet : itsClear; }

 private:
  UInt32 itsClear;
  UInt32 itsSet;
};

// --------------------------------------------------------- colour shaders

template <class C>
constexpr XPixelFormat XFormatOf() {
  return std::is_same_v<C, XARGB32Colour> ? kPixelFormatARGB : kPixelFormatBGRA;
}

// A 32-bit colour word as it is, its bytes reversed when the target's order
// is the other one. Alpha is kept.
template <class C, XPixelFormat F>
struct XColourCopyPixShader {
  void Shade(const C& inValue, UInt32& outWord) const {
    UInt32 word;
    std::memcpy(&word, &inValue, sizeof(word));
    outWord = XFormatOf<C>() == F ? word : __builtin_bswap32(word);
  }
};

// Per channel: a table of 256 levels, then the balance in 16.16 fixed
// point, at most 255. Alpha becomes 255.
template <class C, XPixelFormat F>
class XChannelTablePixShader {
 public:
  explicit XChannelTablePixShader(const XImageRenderer& inRenderer) {
    const SInt64 balance[3] = {XFixedFrom(inRenderer.GetRedBalance() * 65536.0),
                               XFixedFrom(inRenderer.GetGreenBalance() * 65536.0),
                               XFixedFrom(inRenderer.GetBlueBalance() * 65536.0)};
    for (UInt32 i = 0; i < 256; ++i) {
      const SInt64 level = XChannelLevel(inRenderer, i);
      for (int c = 0; c < 3; ++c) itsTables[c][i] = UInt8(std::min<SInt64>(255, (level * balance[c]) >> 16));
    }
  }
  void Shade(const C& inValue, UInt32& outWord) const {
    outWord = XPackRGB32<F>(255, itsTables[0][inValue.red], itsTables[1][inValue.green], itsTables[2][inValue.blue]);
  }

 private:
  UInt8 itsTables[3][256];
};

// 16-bit colour with the white point at a usual bit depth: top bits per channel.
template <int kShift, XPixelFormat F>
struct XRGB48ShiftPixShader {
  static UInt32 Channel(UInt16 inValue) {
    const UInt32 level = UInt32(inValue) >> kShift;
    return kShift < 8 && level > 255 ? 255u : level;
  }
  void Shade(const XRGB48Colour& inValue, UInt32& outWord) const {
    outWord = XPackRGB32<F>(255, Channel(inValue.red), Channel(inValue.green), Channel(inValue.blue));
  }
};

// 16-bit colour untouched but for another white point: a fixed scale.
template <XPixelFormat F>
class XFixedScaleRGB48PixShader {
 public:
  explicit XFixedScaleRGB48PixShader(const XImageRenderer& renderer)
      : itsWhite(XTruncateToSInt32(renderer.GetWhite())),
        itsScale(XTruncateToSInt32(255.0 / renderer.GetWhite() * 65536.0)) {
    XAssert(renderer.IsNormalExceptForWhitePoint());
  }
  UInt32 Channel(UInt16 inValue) const {
    const SInt64 v = SInt64(inValue) < itsWhite ? SInt64(inValue) : itsWhite;
    return UInt8((v * itsScale) >> 16);
  }
  void Shade(const XRGB48Colour& inValue, UInt32& outWord) const {
    outWord = XPackRGB32<F>(255, Channel(inValue.red), Channel(inValue.green), Channel(inValue.blue));
  }

 private:
  SInt64 itsWhite;
  SInt64 itsScale;
};

// 16-bit colour with a gamma of 1: each channel in doubles.
template <XPixelFormat F>
class XDoubleLinearPixShader {
 public:
  explicit XDoubleLinearPixShader(const XImageRenderer& inRenderer)
      : itsBlack(inRenderer.GetBlack()),
        itsScale(inRenderer.GetGain() / (inRenderer.GetWhite() - inRenderer.GetBlack())),
        itsOffset(inRenderer.GetOffset()),
        itsBalance{inRenderer.GetRedBalance(), inRenderer.GetGreenBalance(), inRenderer.GetBlueBalance()} {}
  UInt32 Channel(UInt16 inValue, int inC) const {
    return XClampTruncate255(((inValue - itsBlack) * itsScale + itsOffset) * 255.0 * itsBalance[inC]);
  }
  void Shade(const XRGB48Colour& inValue, UInt32& outWord) const {
    outWord = XPackRGB32<F>(255, Channel(inValue.red, 0), Channel(inValue.green, 1), Channel(inValue.blue, 2));
  }

 private:
  Float64 itsBlack;
  Float64 itsScale;
  Float64 itsOffset;
  Float64 itsBalance[3];
};

// 16-bit colour in general: a table of 65536 levels, then the balances,
// which are folded into a table of 256 bytes per channel.
template <XPixelFormat F>
class XChannelTable16PixShader {
 public:
  explicit XChannelTable16PixShader(const XImageRenderer& inRenderer) : itsTable(65536) {
    for (UInt32 i = 0; i < 65536; ++i) itsTable[i] = XChannelLevel(inRenderer, i);
    const SInt64 balance[3] = {XFixedFrom(inRenderer.GetRedBalance() * 65536.0),
                               XFixedFrom(inRenderer.GetGreenBalance() * 65536.0),
                               XFixedFrom(inRenderer.GetBlueBalance() * 65536.0)};
    for (int c = 0; c < 3; ++c)
      for (UInt32 level = 0; level < 256; ++level) itsBalanced[c][level] = UInt8(Channel(level, balance[c]));
  }
  static UInt32 Channel(SInt64 inLevel, SInt64 inBalance) { return UInt8(std::min<SInt64>(255, (inLevel * inBalance) >> 16)); }
  void Shade(const XRGB48Colour& inValue, UInt32& outWord) const {
    outWord = XPackRGB32<F>(255, itsBalanced[0][itsTable[inValue.red]], itsBalanced[1][itsTable[inValue.green]],
                            itsBalanced[2][itsTable[inValue.blue]]);
  }

 private:
  std::vector<UInt8> itsTable;
  UInt8 itsBalanced[3][256];
};

}  // namespace mirelan
