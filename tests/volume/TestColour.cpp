#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <functional>

#include "volume/XColour.h"

using namespace mirelan;

namespace {

template <class C>
std::array<UInt8, sizeof(C)> MemoryOf(const C& inColour) {
  std::array<UInt8, sizeof(C)> bytes;
  std::memcpy(bytes.data(), &inColour, sizeof(C));
  return bytes;
}

using Four = std::array<UInt8, 4>;

TEST(ColourLayout, WordsLieInTheirByteOrder) {
  XARGB32Colour argb(10, 20, 30, 40);
  XBGRA32Colour bgra(10, 20, 30, 40);  // a, r, g, b
  EXPECT_EQ(MemoryOf(argb), (Four{10, 20, 30, 40}));
  EXPECT_EQ(MemoryOf(bgra), (Four{40, 30, 20, 10}));
  EXPECT_EQ(std::vector<UInt32>({argb.GetARGB(), argb.GetRGBA(), argb.GetBGRA(), bgra.GetARGB()}),
            (std::vector<UInt32>{0x0A141E28u, 0x141E280Au, 0x281E140Au, 0x0A141E28u}));
  EXPECT_EQ(XARGB32Colour(bgra), argb);
  EXPECT_EQ(XBGRA32Colour(argb), bgra);
  // Both orders reformat to RGBA in memory.
  XARGB32Colour c(0xAA, 0x11, 0x22, 0x33);
  XBGRA32Colour d(0xAA, 0x11, 0x22, 0x33);
  c.ReformatToRGBA();
  d.ReformatToRGBA();
  EXPECT_EQ(MemoryOf(c), (Four{0x11, 0x22, 0x33, 0xAA}));
  EXPECT_EQ(MemoryOf(d), MemoryOf(c));
  // RGB48 is six packed bytes: an array's second colour starts at byte 6.
  XRGB48Colour pair[2] = {XRGB48Colour(0x0102, 0x0304, 0x0506), XRGB48Colour(7, 8, 9)};
  EXPECT_EQ(MemoryOf(pair), (std::array<UInt8, 12>{2, 1, 4, 3, 6, 5, 7, 0, 8, 0, 9, 0}));
  // Grey and three-value forms are opaque.
  EXPECT_EQ(XARGB32Colour(7).GetARGB(), 0xFF070707u);
  EXPECT_EQ(XBGRA32Colour(1, 2, 3).GetARGB(), 0xFF010203u);
  float gl[4];
  XARGB32Colour(51, 255, 0, 102).GetGL(gl);  // red, green, blue, alpha
  EXPECT_EQ(std::vector<float>(gl, gl + 4), (std::vector<float>{1.0f, 0.0f, 0.4f, 0.2f}));
}

TEST(ColourComparison, OrderIsByIntensityOnly) {
  XARGB32Colour a(1, 2, 3), b(3, 2, 1);
  EXPECT_FALSE(a < b);
  EXPECT_FALSE(b < a);
  EXPECT_TRUE(a <= b);
  EXPECT_TRUE(a >= b);
  EXPECT_NE(a, b);
  EXPECT_TRUE(XARGB32Colour(0, 0, 9) > XARGB32Colour(8, 8, 8));
  EXPECT_EQ(static_cast<unsigned char>(XARGB32Colour(10, 20, 31)), 20);  // (61) / 3
  EXPECT_EQ(XRGB48Colour(100, 200, 301).GetAverage(), 200);
  EXPECT_FALSE(XRGB48Colour(1, 2, 3) < XRGB48Colour(3, 2, 1));
}

// Each case starts from its own colour, applies one operator and compares every channel.
template <class C>
struct OpCase { const char* name; C in; std::function<void(C&)> op; C out; };

template <class C, class Key>
void RunCases(const std::vector<OpCase<C>>& inCases, Key inKey) {
  for (const auto& t : inCases) {
    SCOPED_TRACE(t.name);
    C c = t.in;
    t.op(c);
    EXPECT_EQ(inKey(c), inKey(t.out));
  }
}

TEST(ColourArithmetic, OperatorsSaturateAndKeepAlpha) {
  using C = XARGB32Colour;
  RunCases<C>({
          {"+= saturates", C(9, 200, 10, 100), [](C& c) { c += C(1, 100, 5, 0); }, C(9, 255, 15, 100)},
          {"-= floors", C(9, 255, 15, 100), [](C& c) { c -= C(77, 20, 30, 0); }, C(9, 235, 0, 100)},
          {"*= colour, no rescale", C(5, 2, 20, 200), [](C& c) { c *= C(0, 2, 20, 0); }, C(5, 4, 255, 0)},
          {"*= factor", C(5, 100, 10, 3), [](C& c) { c *= 2.9; }, C(5, 255, 29, 8)},
          {"/= factor is times 0.5", C(5, 255, 29, 8), [](C& c) { c /= 2.0; }, C(5, 127, 14, 4)},
          {"/= colour", C(5, 100, 9, 7), [](C& c) { c /= C(0, 3, 2, 7); }, C(5, 33, 4, 1)},
          {"Invert", C(9, 0, 100, 255), [](C& c) { c.Invert(); }, C(9, 255, 155, 0)},
          {"Offset down", C(9, 255, 155, 0), [](C& c) { c.Offset(-200); }, C(9, 55, 0, 0)},
          {"Offset up", C(9, 55, 0, 0), [](C& c) { c.Offset(210); }, C(9, 255, 210, 210)},
          {"MIP RGB", C(10, 1, 50, 3), [](C& c) { c.MIPCompositeRGBFrom(C(20, 5, 4, 3)); }, C(10, 5, 50, 3)},
          {"MIP ARGB", C(10, 1, 50, 3), [](C& c) { c.MIPCompositeARGBFrom(C(20, 5, 4, 3)); }, C(20, 5, 50, 3)},
          // (255*128 + 100*127) >> 8 = 177, (200*127) >> 8 = 99, (255*128) >> 8 = 127
          {"Blend", C(255, 100, 200, 0), [](C& c) { c.BlendRGBWith(C(128, 255, 0, 255)); }, C(255, 177, 99, 127)},
          {"Premultiply: 255 * 255 >> 8", C(255, 255, 255, 255), [](C& c) { c.PremultiplyAlpha(); },
           C(255, 254, 254, 254)},
          {"CombineAlpha", C(255, 1, 2, 3), [](C& c) { c.CombineAlpha(128); }, C(127, 1, 2, 3)},
      }, [](const C& c) { return c.GetARGB(); });

  using W = XRGB48Colour;
  RunCases<W>({
          {"+= saturates", W(60000, 100, 5), [](W& c) { c += W(10000, 100, 0); }, W(65535, 200, 5)},
          {"-= floors", W(65535, 200, 5), [](W& c) { c -= W(0, 300, 1); }, W(65535, 0, 4)},
          {"*= colour", W(65535, 0, 4), [](W& c) { c *= W(2, 2, 2); }, W(65535, 0, 8)},
          {"Invert", W(65535, 0, 8), [](W& c) { c.Invert(); }, W(0, 65535, 65527)},
          {"Offset", W(0, 65535, 65527), [](W& c) { c.Offset(-65530); }, W(0, 5, 0)},
          {"*= factor", W(0, 5, 0), [](W& c) { c *= 20000.5; }, W(0, 65535, 0)},
          {"MIP", W(0, 65535, 0), [](W& c) { c.MIPCompositeRGBFrom(W(7, 8, 9)); }, W(7, 65535, 9)},
      }, [](const W& c) { return std::vector<UInt16>{c.red, c.green, c.blue}; });
  EXPECT_EQ(XRGB48Colour(7, 65535, 9).GetIntensity(), 65535);
}

TEST(ColourHSI, EdgeColours) {
  const struct {
    XARGB32Colour colour;
    UInt8 h, s, i;
  } cases[] = {
      {XARGB32Colour(255, 0, 0), 0, 255, 255},    {XARGB32Colour(0, 0, 0), 0, 0, 0},
      {XARGB32Colour(90, 90, 90), 0, 0, 90},      // grey: no hue, no saturation
      {XARGB32Colour(0, 255, 0), 85, 255, 255},   // t = (0 + 2) / 6, h = trunc(255 / 3)
      {XARGB32Colour(255, 0, 255), 212, 255, 255},  // r is max, t = -1/6 + 1 = 5/6
  };
  for (const auto& t : cases) {
    SCOPED_TRACE(t.colour.GetARGB());
    UInt8 h, s, i;
    XARGB32Colour::RGBToHSI(t.colour, h, s, i);
    EXPECT_EQ(h, t.h);
    EXPECT_EQ(s, t.s);
    EXPECT_EQ(i, t.i);
  }
  EXPECT_EQ(XARGB32Colour(255, 0, 255).GetHue(), 212);
  EXPECT_EQ(XBGRA32Colour(255, 0, 255).GetHue(), 212);
  EXPECT_EQ(XARGB32Colour(100, 50, 0).GetSaturation(), 255);
  EXPECT_EQ(XARGB32Colour(100, 50, 50).GetSaturation(), 127);  // 0.5 * 255 = 127.5

  XARGB32Colour c(7, 1, 1, 1);
  XARGB32Colour::HSIToRGB(255, 255, 200, c);  // p = 6.0 maps to sector 0, f = 0
  EXPECT_EQ(c.GetARGB(), XARGB32Colour(7, 200, 0, 0).GetARGB());  // alpha stays
  XARGB32Colour::HSIToRGB(0, 0, 77, c);
  EXPECT_EQ(c.GetARGB(), XARGB32Colour(7, 77, 77, 77).GetARGB());
  XARGB32Colour::HSIToRGB(170, 255, 255, c);  // p = 4.0, sector 4, f = 0
  EXPECT_EQ(c.GetARGB(), XARGB32Colour(7, 0, 0, 255).GetARGB());
}

TEST(ColourHSI, RoundTripOfSaturatedColoursStaysClose) {
  // The 8-bit hue scale loses a few levels per channel, never the sector.
  for (const XARGB32Colour& original :
       {XARGB32Colour(255, 0, 0), XARGB32Colour(0, 255, 0), XARGB32Colour(0, 0, 255), XARGB32Colour(200, 100, 50),
        XARGB32Colour(30, 180, 90), XARGB32Colour(120, 40, 220), XARGB32Colour(50, 50, 50),
        XARGB32Colour(255, 255, 0)}) {
    SCOPED_TRACE(original.GetARGB());
    UInt8 h, s, i;
    XARGB32Colour::RGBToHSI(original, h, s, i);
    XARGB32Colour back;
    XARGB32Colour::HSIToRGB(h, s, i, back);
    EXPECT_NEAR(back.red, original.red, 8);
    EXPECT_NEAR(back.green, original.green, 8);
    EXPECT_NEAR(back.blue, original.blue, 8);
    EXPECT_EQ(back.GetIntensity(), original.GetIntensity());
  }
}

TEST(ColourWavelength, VisibleLightLandmarks) {
  XARGB32Colour c(255, 0, 0, 0);
  auto at = [&](SInt32 inNm) { c.SetWavelength(inNm); return c.GetARGB(); };
  EXPECT_EQ(at(650), 0xFFFF0000u);  // red, alpha kept
  EXPECT_EQ(at(440), 0xFF0000FFu);
  EXPECT_EQ(at(900), 0xFF000000u);
  EXPECT_EQ(at(530) & 0xFFFFu, 0xFF00u);  // green, no blue, some red
  EXPECT_GT(c.red, 0);
  EXPECT_EQ(at(380) & 0xFF00u, 0u);  // dim violet at the edge
  EXPECT_GT(c.blue, 0);
  EXPECT_LT(c.blue, 255);
}

TEST(ColourFloat, FromARGBAndArithmetic) {
  XRGBFloat32Colour f(XARGB32Colour(0, 255, 0, 51));
  EXPECT_FLOAT_EQ(f.red, 1.0f);
  EXPECT_FLOAT_EQ(f.blue, 0.2f);
  EXPECT_EQ(XRGBFloat32Colour(1, 2, 3) * XRGBFloat32Colour(2, 2, 2) + XRGBFloat32Colour(1, 1, 1),
            XRGBFloat32Colour(3, 5, 7));
}

}  // namespace
