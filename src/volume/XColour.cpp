#include "volume/XColour.h"

#include <cmath>
#include <limits>

namespace mirelan {

namespace {

// Hue, saturation and intensity on the scale of the channel type (0..255 or
// 0..65535): intensity is the largest channel, saturation the spread over
// it, hue the position on the colour wheel. Ties for the largest channel go
// red, then green, then blue.
template <class T>
void RGBToHSIOf(T r, T g, T b, T& outHue, T& outSaturation, T& outIntensity) {
  constexpr Float64 kFull = Float64(std::numeric_limits<T>::max());
  const T max = std::max(r, std::max(g, b));
  const T min = std::min(r, std::min(g, b));
  outIntensity = max;
  if (max == 0) {
    outHue = outSaturation = 0;
    return;
  }
  const SInt32 delta = SInt32(max) - min;
  outSaturation = T(SInt32(Float64(delta) / max * kFull));
  // A grey has no hue; the ratio below would divide by zero.
  if (outSaturation == 0) {
    outHue = 0;
    return;
  }
  const Float64 rf = r / kFull, gf = g / kFull, bf = b / kFull, d = delta / kFull;
  Float64 t;
  if (r == max)
    t = (gf - bf) / d;
  else if (g == max)
    t = (bf - rf) / d + 2.0;
  else
    t = (rf - gf) / d + 4.0;
  t = t / 6.0;
  if (t < 0.0) t += 1.0;
  outHue = T(SInt32(t * kFull));
}

}  // namespace

void XARGB32Colour::RGBToHSI(const XARGB32Colour& inColour, UInt8& outHue, UInt8& outSaturation,
                             UInt8& outIntensity) {
  RGBToHSIOf<UInt8>(inColour.red, inColour.green, inColour.blue, outHue, outSaturation, outIntensity);
}

void XRGB48Colour::RGBToHSI(const XRGB48Colour& inColour, UInt16& outHue, UInt16& outSaturation,
                            UInt16& outIntensity) {
  RGBToHSIOf<UInt16>(inColour.red, inColour.green, inColour.blue, outHue, outSaturation, outIntensity);
}

UInt16 XRGB48Colour::GetHue() const {
  UInt16 h, s, i;
  RGBToHSI(*this, h, s, i);
  return h;
}

UInt16 XRGB48Colour::GetSaturation() const {
  UInt16 h, s, i;
  RGBToHSI(*this, h, s, i);
  return s;
}

void XARGB32Colour::HSIToRGB(UInt8 inHue, UInt8 inSaturation, UInt8 inIntensity,
                             XARGB32Colour& ioColour) {
  if (inSaturation == 0) {
    ioColour.SetRGB(inIntensity, inIntensity, inIntensity);
    return;
  }
  Float64 p = inHue * 6.0 / 255.0;
  if (p == 6.0) p = 0.0;  // hue 255 wraps round to the red sector
  const SInt32 k = SInt32(p);
  const Float64 f = p - k;
  const Float64 sat = inSaturation / 255.0;
  const UInt8 v = inIntensity;
  const UInt8 hi = UInt8(SInt32((1.0 - (1.0 - f) * sat) * inIntensity));
  const UInt8 lo = UInt8(SInt32((1.0 - sat) * inIntensity));
  const UInt8 mid = UInt8(SInt32((1.0 - f * sat) * inIntensity));
  switch (k) {
    case 0: ioColour.SetRGB(v, hi, lo); break;
    case 1: ioColour.SetRGB(mid, v, lo); break;
    case 2: ioColour.SetRGB(lo, v, hi); break;
    case 3: ioColour.SetRGB(lo, mid, v); break;
    case 4: ioColour.SetRGB(hi, lo, v); break;
    default: ioColour.SetRGB(v, lo, mid); break;
  }
}

// The usual piecewise-linear approximation of the visible spectrum (after
// Dan Bruton's "Color Science" notes), 380 to 780 nm:
//   380-440 violet to blue   R = (440 - w) / 60, G = 0, B = 1
//   440-490 blue to cyan     R = 0, G = (w - 440) / 50, B = 1
//   490-510 cyan to green    R = 0, G = 1, B = (510 - w) / 20
//   510-580 green to yellow  R = (w - 510) / 70, G = 1, B = 0
//   580-645 yellow to red    R = 1, G = (645 - w) / 65, B = 0
//   645-780 red              R = 1, G = 0, B = 0
// and black outside. The eye's weaker response at both ends is modelled by an
// intensity factor falling linearly from 1 to 0.3 over 420-380 nm and over
// 700-780 nm. Each channel is then raised to the display gamma 0.8 and
// rounded onto 0..255.
void XWavelengthToRGB(Float64 inNanometres, UInt8& outRed, UInt8& outGreen, UInt8& outBlue) {
  const Float64 w = inNanometres;
  Float64 r = 0, g = 0, b = 0;
  if (w >= 380 && w < 440) {
    r = (440 - w) / 60;
    b = 1;
  } else if (w >= 440 && w < 490) {
    g = (w - 440) / 50;
    b = 1;
  } else if (w >= 490 && w < 510) {
    g = 1;
    b = (510 - w) / 20;
  } else if (w >= 510 && w < 580) {
    r = (w - 510) / 70;
    g = 1;
  } else if (w >= 580 && w < 645) {
    r = 1;
    g = (645 - w) / 65;
  } else if (w >= 645 && w <= 780) {
    r = 1;
  }
  Float64 factor = 0;
  if (w >= 380 && w < 420)
    factor = 0.3 + 0.7 * (w - 380) / 40;
  else if (w >= 420 && w <= 700)
    factor = 1;
  else if (w > 700 && w <= 780)
    factor = 0.3 + 0.7 * (780 - w) / 80;
  auto channel = [factor](Float64 c) -> UInt8 {
    if (c <= 0) return 0;
    return UInt8(SInt32(255.0 * std::pow(c * factor, 0.8) + 0.5));
  };
  outRed = channel(r);
  outGreen = channel(g);
  outBlue = channel(b);
}

}  // namespace mirelan
