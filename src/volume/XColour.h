// Colour voxel types: 8-bit ARGB and BGRA words, 16-bit RGB triples and
// float RGB triples. Plain values, copied freely; no locks.
#pragma once

#include <algorithm>
#include <utility>

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

class XARGB32Colour;

// Byte order of the two 32-bit colour words in memory. The field names are
// the same in both so that the shared operations below serve either order.
struct MIRELAN_EXPORT XARGB32Layout {
  UInt8 alpha = 0;
  UInt8 red = 0;
  UInt8 green = 0;
  UInt8 blue = 0;
};

struct MIRELAN_EXPORT XBGRA32Layout {
  UInt8 blue = 0;
  UInt8 green = 0;
  UInt8 red = 0;
  UInt8 alpha = 0;
};

// Operations shared by XARGB32Colour and XBGRA32Colour. Channel arithmetic
// saturates (unlike volume arithmetic, which wraps); alpha is left alone
// unless an operation says otherwise.
template <class Layout, class Derived>
class MIRELAN_EXPORT XRGB32ColourOps : public Layout {
 public:
  using Layout::alpha;
  using Layout::blue;
  using Layout::green;
  using Layout::red;

  UInt8 GetAlpha() const { return alpha; }
  UInt8 GetRed() const { return red; }
  UInt8 GetGreen() const { return green; }
  UInt8 GetBlue() const { return blue; }
  void SetAlpha(UInt8 inValue) { alpha = inValue; }
  void SetRed(UInt8 inValue) { red = inValue; }
  void SetGreen(UInt8 inValue) { green = inValue; }
  void SetBlue(UInt8 inValue) { blue = inValue; }
  void SetRGB(UInt8 inRed, UInt8 inGreen, UInt8 inBlue) {
    red = inRed;
    green = inGreen;
    blue = inBlue;
  }

  // Packed words, independent of the memory order: 0xAARRGGBB, 0xRRGGBBAA, 0xBBGGRRAA.
  UInt32 GetARGB() const {
    return (UInt32(alpha) << 24) | (UInt32(red) << 16) | (UInt32(green) << 8) | UInt32(blue);
  }
  UInt32 GetRGBA() const {
    return (UInt32(red) << 24) | (UInt32(green) << 16) | (UInt32(blue) << 8) | UInt32(alpha);
  }
  UInt32 GetBGRA() const {
    return (UInt32(blue) << 24) | (UInt32(green) << 16) | (UInt32(red) << 8) | UInt32(alpha);
  }
  void SetARGB(UInt32 inARGB) {
    alpha = UInt8(inARGB >> 24);
    red = UInt8(inARGB >> 16);
    green = UInt8(inARGB >> 8);
    blue = UInt8(inARGB);
  }

  Float32 GetAlphaFloat() const { return Float32(alpha / 255.0); }
  Float32 GetRedFloat() const { return Float32(red / 255.0); }
  Float32 GetGreenFloat() const { return Float32(green / 255.0); }
  Float32 GetBlueFloat() const { return Float32(blue / 255.0); }
  // Red, green, blue, alpha: the order OpenGL takes colours in.
  void GetGL(Float32* outRGBA) const {
    outRGBA[0] = GetRedFloat();
    outRGBA[1] = GetGreenFloat();
    outRGBA[2] = GetBlueFloat();
    outRGBA[3] = GetAlphaFloat();
  }

  UInt8 GetAverage() const { return UInt8((UInt32(red) + green + blue) / 3); }
  operator unsigned char() const { return GetAverage(); }  // NOLINT: grey value of a colour
  UInt8 GetIntensity() const { return std::max(red, std::max(green, blue)); }
  UInt8 GetHue() const;
  UInt8 GetSaturation() const;

  // Exact equality of all four bytes.
  bool operator==(const Derived& inOther) const { return GetARGB() == inOther.GetARGB(); }
  bool operator!=(const Derived& inOther) const { return GetARGB() != inOther.GetARGB(); }
  // Order by intensity only: two colours of equal maximum are neither less
  // nor greater, though they may differ.
  bool operator<(const Derived& inOther) const { return GetIntensity() < inOther.GetIntensity(); }
  bool operator<=(const Derived& inOther) const { return GetIntensity() <= inOther.GetIntensity(); }
  bool operator>(const Derived& inOther) const { return GetIntensity() > inOther.GetIntensity(); }
  bool operator>=(const Derived& inOther) const { return GetIntensity() >= inOther.GetIntensity(); }

  Derived& operator+=(const Derived& inOther) {
    red = Cap(SInt32(red) + inOther.red);
    green = Cap(SInt32(green) + inOther.green);
    blue = Cap(SInt32(blue) + inOther.blue);
    return Self();
  }
  Derived& operator-=(const Derived& inOther) {
    red = Floor0(SInt32(red) - inOther.red);
    green = Floor0(SInt32(green) - inOther.green);
    blue = Floor0(SInt32(blue) - inOther.blue);
    return Self();
  }
  // Plain product per channel, not rescaled: 2 * 2 = 4.
  Derived& operator*=(const Derived& inOther) {
    red = Cap(SInt32(red) * inOther.red);
    green = Cap(SInt32(green) * inOther.green);
    blue = Cap(SInt32(blue) * inOther.blue);
    return Self();
  }
  // Truncated product; above 255 gives 255. A negative factor is not
  // floored: the truncated result is kept in 8 bits as it comes.
  Derived& operator*=(Float64 inFactor) {
    red = ScaleChannel(red, inFactor);
    green = ScaleChannel(green, inFactor);
    blue = ScaleChannel(blue, inFactor);
    return Self();
  }
  // Integer quotient per channel; a zero channel in the divisor faults.
  Derived& operator/=(const Derived& inOther) {
    red = UInt8(red / inOther.red);
    green = UInt8(green / inOther.green);
    blue = UInt8(blue / inOther.blue);
    return Self();
  }
  Derived& operator/=(Float64 inDivisor) { return *this *= 1.0 / inDivisor; }

  Derived operator+(const Derived& inOther) const { return Derived(Self()) += inOther; }
  Derived operator-(const Derived& inOther) const { return Derived(Self()) -= inOther; }
  Derived operator*(const Derived& inOther) const { return Derived(Self()) *= inOther; }
  Derived operator*(Float64 inFactor) const { return Derived(Self()) *= inFactor; }
  Derived operator/(const Derived& inOther) const { return Derived(Self()) /= inOther; }
  Derived operator/(Float64 inDivisor) const { return Derived(Self()) /= inDivisor; }

  void Invert() {
    red = UInt8(255 - red);
    green = UInt8(255 - green);
    blue = UInt8(255 - blue);
  }
  void Offset(SInt32 inDelta) {
    red = Clamp255(SInt32(red) + inDelta);
    green = Clamp255(SInt32(green) + inDelta);
    blue = Clamp255(SInt32(blue) + inDelta);
  }
  // Lays inOther over this colour with inOther's alpha as its weight. The
  // divide by 256 (a shift) rather than 255 is the blend's known darkening.
  void BlendRGBWith(const Derived& inOther) {
    const UInt32 a = inOther.alpha, k = 255 - a;
    red = UInt8((inOther.red * a + red * k) >> 8);
    green = UInt8((inOther.green * a + green * k) >> 8);
    blue = UInt8((inOther.blue * a + blue * k) >> 8);
  }
  void CombineAlpha(UInt8 inValue) { alpha = UInt8((UInt32(alpha) * inValue) >> 8); }
  void PremultiplyAlpha() {
    red = UInt8((UInt32(red) * alpha) >> 8);
    green = UInt8((UInt32(green) * alpha) >> 8);
    blue = UInt8((UInt32(blue) * alpha) >> 8);
  }
  void MIPCompositeRGBFrom(const Derived& inOther) {
    red = std::max(red, inOther.red);
    green = std::max(green, inOther.green);
    blue = std::max(blue, inOther.blue);
  }
  void MIPCompositeARGBFrom(const Derived& inOther) {
    MIPCompositeRGBFrom(inOther);
    alpha = std::max(alpha, inOther.alpha);
  }

  // Sets red, green and blue to the visible colour of a wavelength in
  // nanometres; alpha is kept. See XColour.cpp for the mapping.
  void SetWavelength(Float64 inNanometres);

 protected:
  XRGB32ColourOps() = default;
  Derived& Self() { return static_cast<Derived&>(*this); }
  const Derived& Self() const { return static_cast<const Derived&>(*this); }

  static UInt8 Cap(SInt32 v) { return UInt8(v > 255 ? 255 : v); }
  static UInt8 Floor0(SInt32 v) { return UInt8(v < 0 ? 0 : v); }
  static UInt8 Clamp255(SInt32 v) { return UInt8(v < 0 ? 0 : (v > 255 ? 255 : v)); }
  static UInt8 ScaleChannel(UInt8 inChannel, Float64 inFactor) {
    Float64 product = inChannel * inFactor;
    if (product > 255.0) return 255;
    return UInt8(SInt32(product));
  }
};

class XBGRA32Colour;

class MIRELAN_EXPORT XARGB32Colour : public XRGB32ColourOps<XARGB32Layout, XARGB32Colour> {
 public:
  XARGB32Colour() = default;  // all zero: transparent black
  explicit XARGB32Colour(UInt8 inGrey) { Set(255, inGrey, inGrey, inGrey); }
  XARGB32Colour(UInt8 inRed, UInt8 inGreen, UInt8 inBlue) { Set(255, inRed, inGreen, inBlue); }
  XARGB32Colour(UInt8 inAlpha, UInt8 inRed, UInt8 inGreen, UInt8 inBlue) {
    Set(inAlpha, inRed, inGreen, inBlue);
  }
  explicit XARGB32Colour(const XBGRA32Colour& inOther);
  static XARGB32Colour FromARGB(UInt32 inARGB) {
    XARGB32Colour c;
    c.SetARGB(inARGB);
    return c;
  }

  // Rotates the ARGB word left by 8 in place, so that the four bytes in
  // memory read red, green, blue, alpha. The fields lose their meaning
  // afterwards: this is for handing a buffer to an RGBA consumer.
  void ReformatToRGBA() { SetARGB((GetARGB() << 8) | (GetARGB() >> 24)); }

  // Hue, saturation and intensity, each 0 to 255 (see XColour.cpp).
  static void RGBToHSI(const XARGB32Colour& inColour, UInt8& outHue, UInt8& outSaturation,
                       UInt8& outIntensity);
  // The inverse; alpha of ioColour stays.
  static void HSIToRGB(UInt8 inHue, UInt8 inSaturation, UInt8 inIntensity, XARGB32Colour& ioColour);

 private:
  void Set(UInt8 a, UInt8 r, UInt8 g, UInt8 b) {
    alpha = a;
    red = r;
    green = g;
    blue = b;
  }
};

class MIRELAN_EXPORT XBGRA32Colour : public XRGB32ColourOps<XBGRA32Layout, XBGRA32Colour> {
 public:
  XBGRA32Colour() = default;  // all zero: transparent black
  explicit XBGRA32Colour(UInt8 inGrey) { Set(255, inGrey, inGrey, inGrey); }
  XBGRA32Colour(UInt8 inRed, UInt8 inGreen, UInt8 inBlue) { Set(255, inRed, inGreen, inBlue); }
  XBGRA32Colour(UInt8 inAlpha, UInt8 inRed, UInt8 inGreen, UInt8 inBlue) {
    Set(inAlpha, inRed, inGreen, inBlue);
  }
  explicit XBGRA32Colour(const XARGB32Colour& inOther) {
    Set(inOther.alpha, inOther.red, inOther.green, inOther.blue);
  }
  static XBGRA32Colour FromARGB(UInt32 inARGB) {
    XBGRA32Colour c;
    c.SetARGB(inARGB);
    return c;
  }

  // Puts the bytes in memory in the order red, green, blue, alpha, as the
  // ARGB form does; in this memory order that swaps red and blue.
  void ReformatToRGBA() { std::swap(blue, red); }

 private:
  void Set(UInt8 a, UInt8 r, UInt8 g, UInt8 b) {
    alpha = a;
    red = r;
    green = g;
    blue = b;
  }
};

inline XARGB32Colour::XARGB32Colour(const XBGRA32Colour& inOther) {
  Set(inOther.alpha, inOther.red, inOther.green, inOther.blue);
}

// Three 16-bit channels and no alpha, packed into 6 bytes as the voxels of an
// XRGB48Volume lie in memory.
#pragma pack(push, 1)
class MIRELAN_EXPORT XRGB48Colour {
 public:
  UInt16 red;
  UInt16 green;
  UInt16 blue;

  constexpr XRGB48Colour() : red(0), green(0), blue(0) {}
  explicit constexpr XRGB48Colour(UInt16 inGrey) : red(inGrey), green(inGrey), blue(inGrey) {}
  constexpr XRGB48Colour(UInt16 inRed, UInt16 inGreen, UInt16 inBlue)
      : red(inRed), green(inGreen), blue(inBlue) {}

  UInt16 GetRed() const { return red; }
  UInt16 GetGreen() const { return green; }
  UInt16 GetBlue() const { return blue; }
  void SetRed(UInt16 inValue) { red = inValue; }
  void SetGreen(UInt16 inValue) { green = inValue; }
  void SetBlue(UInt16 inValue) { blue = inValue; }

  UInt16 GetAverage() const { return UInt16((UInt32(red) + green + blue) / 3); }
  operator unsigned short() const { return GetAverage(); }  // NOLINT: grey value of a colour
  UInt16 GetIntensity() const { return Max(red, Max(green, blue)); }
  // Hue and saturation as for XARGB32Colour, on the 16-bit scale (0 to 65535).
  UInt16 GetHue() const;
  UInt16 GetSaturation() const;
  static void RGBToHSI(const XRGB48Colour& inColour, UInt16& outHue, UInt16& outSaturation,
                       UInt16& outIntensity);

  bool operator==(const XRGB48Colour& o) const {
    return red == o.red && green == o.green && blue == o.blue;
  }
  bool operator!=(const XRGB48Colour& o) const { return !(*this == o); }
  bool operator<(const XRGB48Colour& o) const { return GetIntensity() < o.GetIntensity(); }
  bool operator<=(const XRGB48Colour& o) const { return GetIntensity() <= o.GetIntensity(); }
  bool operator>(const XRGB48Colour& o) const { return GetIntensity() > o.GetIntensity(); }
  bool operator>=(const XRGB48Colour& o) const { return GetIntensity() >= o.GetIntensity(); }

  XRGB48Colour& operator+=(const XRGB48Colour& o) {
    red = Cap(SInt32(red) + o.red);
    green = Cap(SInt32(green) + o.green);
    blue = Cap(SInt32(blue) + o.blue);
    return *this;
  }
  XRGB48Colour& operator-=(const XRGB48Colour& o) {
    red = Floor0(SInt32(red) - o.red);
    green = Floor0(SInt32(green) - o.green);
    blue = Floor0(SInt32(blue) - o.blue);
    return *this;
  }
  XRGB48Colour& operator*=(const XRGB48Colour& o) {
    red = Cap(SInt64(red) * o.red);
    green = Cap(SInt64(green) * o.green);
    blue = Cap(SInt64(blue) * o.blue);
    return *this;
  }
  XRGB48Colour& operator*=(Float64 inFactor) {
    red = ScaleChannel(red, inFactor);
    green = ScaleChannel(green, inFactor);
    blue = ScaleChannel(blue, inFactor);
    return *this;
  }
  XRGB48Colour& operator/=(const XRGB48Colour& o) {
    red = UInt16(red / o.red);
    green = UInt16(green / o.green);
    blue = UInt16(blue / o.blue);
    return *this;
  }
  XRGB48Colour& operator/=(Float64 inDivisor) { return *this *= 1.0 / inDivisor; }

  XRGB48Colour operator+(const XRGB48Colour& o) const { return XRGB48Colour(*this) += o; }
  XRGB48Colour operator-(const XRGB48Colour& o) const { return XRGB48Colour(*this) -= o; }
  XRGB48Colour operator*(const XRGB48Colour& o) const { return XRGB48Colour(*this) *= o; }
  XRGB48Colour operator*(Float64 f) const { return XRGB48Colour(*this) *= f; }
  XRGB48Colour operator/(const XRGB48Colour& o) const { return XRGB48Colour(*this) /= o; }
  XRGB48Colour operator/(Float64 d) const { return XRGB48Colour(*this) /= d; }

  void Invert() {
    red = UInt16(65535 - red);
    green = UInt16(65535 - green);
    blue = UInt16(65535 - blue);
  }
  void Offset(SInt32 inDelta) {
    red = Clamp(SInt32(red) + inDelta);
    green = Clamp(SInt32(green) + inDelta);
    blue = Clamp(SInt32(blue) + inDelta);
  }
  void MIPCompositeRGBFrom(const XRGB48Colour& o) {
    red = Max(red, o.red);
    green = Max(green, o.green);
    blue = Max(blue, o.blue);
  }

 private:
  // By value: references to members of a packed type may be misaligned.
  static UInt16 Max(UInt16 a, UInt16 b) { return a > b ? a : b; }
  static UInt16 Cap(SInt64 v) { return UInt16(v > 65535 ? 65535 : v); }
  static UInt16 Floor0(SInt32 v) { return UInt16(v < 0 ? 0 : v); }
  static UInt16 Clamp(SInt32 v) { return UInt16(v < 0 ? 0 : (v > 65535 ? 65535 : v)); }
  static UInt16 ScaleChannel(UInt16 inChannel, Float64 inFactor) {
    Float64 product = inChannel * inFactor;
    if (product > 65535.0) return 65535;
    return UInt16(SInt32(product));
  }
};
#pragma pack(pop)

// Red, green, blue as floats, for colour arithmetic that must not saturate.
class MIRELAN_EXPORT XRGBFloat32Colour {
 public:
  Float32 red;
  Float32 green;
  Float32 blue;

  constexpr XRGBFloat32Colour() : red(0), green(0), blue(0) {}
  constexpr XRGBFloat32Colour(Float32 inRed, Float32 inGreen, Float32 inBlue)
      : red(inRed), green(inGreen), blue(inBlue) {}
  // Each channel / 255.0; alpha is dropped.
  explicit XRGBFloat32Colour(const XARGB32Colour& inColour)
      : red(Float32(inColour.red / 255.0)),
        green(Float32(inColour.green / 255.0)),
        blue(Float32(inColour.blue / 255.0)) {}

  XRGBFloat32Colour& operator+=(const XRGBFloat32Colour& o) {
    red += o.red;
    green += o.green;
    blue += o.blue;
    return *this;
  }
  XRGBFloat32Colour& operator*=(const XRGBFloat32Colour& o) {
    red *= o.red;
    green *= o.green;
    blue *= o.blue;
    return *this;
  }
  XRGBFloat32Colour& operator*=(Float32 inFactor) {
    red *= inFactor;
    green *= inFactor;
    blue *= inFactor;
    return *this;
  }
  XRGBFloat32Colour operator+(const XRGBFloat32Colour& o) const { return XRGBFloat32Colour(*this) += o; }
  XRGBFloat32Colour operator*(const XRGBFloat32Colour& o) const { return XRGBFloat32Colour(*this) *= o; }
  XRGBFloat32Colour operator*(Float32 f) const { return XRGBFloat32Colour(*this) *= f; }

  Float32 GetMaxComponent() const { return std::max(red, std::max(green, blue)); }
  Float32 GetMinComponent() const { return std::min(red, std::min(green, blue)); }
  bool IsBlack() const { return red == 0 && green == 0 && blue == 0; }
  bool IsGrey() const { return red == green && green == blue; }
  // Only this channel is non-zero.
  bool IsRed() const { return red != 0 && green == 0 && blue == 0; }
  bool IsGreen() const { return green != 0 && red == 0 && blue == 0; }
  bool IsBlue() const { return blue != 0 && red == 0 && green == 0; }
  bool IsPrimary() const { return IsRed() || IsGreen() || IsBlue(); }

  bool operator==(const XRGBFloat32Colour& o) const {
    return red == o.red && green == o.green && blue == o.blue;
  }
  bool operator!=(const XRGBFloat32Colour& o) const { return !(*this == o); }
};

static_assert(sizeof(XARGB32Colour) == 4, "XARGB32Colour must be 4 bytes");
static_assert(sizeof(XBGRA32Colour) == 4, "XBGRA32Colour must be 4 bytes");
static_assert(sizeof(XRGB48Colour) == 6, "XRGB48Colour must be 6 bytes, packed");
static_assert(sizeof(XRGBFloat32Colour) == 12, "XRGBFloat32Colour must be 12 bytes");
static_assert(alignof(XRGB48Colour) == 1, "XRGB48Colour voxels are not aligned");

// Hue and saturation of either word go through the ARGB form.
template <class Layout, class Derived>
UInt8 XRGB32ColourOps<Layout, Derived>::GetHue() const {
  UInt8 h, s, i;
  XARGB32Colour::RGBToHSI(XARGB32Colour(red, green, blue), h, s, i);
  return h;
}

template <class Layout, class Derived>
UInt8 XRGB32ColourOps<Layout, Derived>::GetSaturation() const {
  UInt8 h, s, i;
  XARGB32Colour::RGBToHSI(XARGB32Colour(red, green, blue), h, s, i);
  return s;
}

// The visible colour of a wavelength in nanometres as 8-bit red, green, blue (XColour.cpp).
MIRELAN_EXPORT void XWavelengthToRGB(Float64 inNanometres, UInt8& outRed, UInt8& outGreen, UInt8& outBlue);

template <class Layout, class Derived>
void XRGB32ColourOps<Layout, Derived>::SetWavelength(Float64 inNanometres) {
  XWavelengthToRGB(inNanometres, red, green, blue);
}

}  // namespace mirelan
