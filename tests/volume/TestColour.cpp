#include <gtest/gtest.h>

#include <cstring>

#include "volume/XColour.h"

namespace {

TEST(ColourLayout, ARGBAndBGRAWordsLieInTheirByteOrder) {
  XARGB32Colour argb(10, 20, 30, 40);
  UInt8 bytes[4];
  std::memcpy(bytes, &argb, 4);
  EXPECT_EQ(bytes[0], 10);
  EXPECT_EQ(bytes[1], 20);
  EXPECT_EQ(bytes[2], 30);
  EXPECT_EQ(bytes[3], 40);
  EXPECT_EQ(argb.GetARGB(), 0x0A141E28u);
  EXPECT_EQ(argb.GetRGBA(), 0x141E280Au);
  EXPECT_EQ(argb.GetBGRA(), 0x281E140Au);

  XBGRA32Colour bgra(10, 20, 30, 40);  // a, r, g, b
  std::memcpy(bytes, &bgra, 4);
  EXPECT_EQ(bytes[0], 40);
  EXPECT_EQ(bytes[1], 30);
  EXPECT_EQ(bytes[2], 20);
  EXPECT_EQ(bytes[3], 10);
  EXPECT_EQ(bgra.GetARGB(), 0x0A141E28u);
  EXPECT_EQ(XARGB32Colour(bgra), argb);
  EXPECT_EQ(XBGRA32Colour(argb), bgra);
}

TEST(ColourLayout, RGB48IsSixPackedBytes) {
  XRGB48Colour v[2] = {XRGB48Colour(0x0102, 0x0304, 0x0506), XRGB48Colour(7, 8, 9)};
  UInt8 bytes[12];
  std::memcpy(bytes, v, 12);
  UInt16 second;
  std::memcpy(&second, bytes + 6, 2);
  EXPECT_EQ(second, 7);
  UInt16 blue;
  std::memcpy(&blue, bytes + 4, 2);
  EXPECT_EQ(blue, 0x0506);
}

TEST(ColourLayout, ReformatToRGBALeavesRGBAInMemory) {
  XARGB32Colour c(0xAA, 0x11, 0x22, 0x33);
  c.ReformatToRGBA();
  UInt8 bytes[4];
  std::memcpy(bytes, &c, 4);
  EXPECT_EQ(bytes[0], 0x11);
  EXPECT_EQ(bytes[1], 0x22);
  EXPECT_EQ(bytes[2], 0x33);
  EXPECT_EQ(bytes[3], 0xAA);

  XBGRA32Colour d(0xAA, 0x11, 0x22, 0x33);
  d.ReformatToRGBA();
  std::memcpy(bytes, &d, 4);
  EXPECT_EQ(bytes[0], 0x11);
  EXPECT_EQ(bytes[1], 0x22);
  EXPECT_EQ(bytes[2], 0x33);
  EXPECT_EQ(bytes[3], 0xAA);
}

TEST(ColourConstruction, GreyAndThreeValueFormsAreOpaque) {
  EXPECT_EQ(XARGB32Colour(7).GetARGB(), 0xFF070707u);
  EXPECT_EQ(XARGB32Colour(1, 2, 3).GetARGB(), 0xFF010203u);
  EXPECT_EQ(XBGRA32Colour(1, 2, 3).GetARGB(), 0xFF010203u);
  float gl[4];
  XARGB32Colour(51, 255, 0, 102).GetGL(gl);  // red, green, blue, alpha
  EXPECT_FLOAT_EQ(gl[0], 1.0f);
  EXPECT_FLOAT_EQ(gl[2], 0.4f);
  EXPECT_FLOAT_EQ(gl[3], 0.2f);
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

TEST(ColourArithmetic, ChannelsSaturateAndAlphaIsUntouched) {
  XARGB32Colour c(9, 200, 10, 100);
  c += XARGB32Colour(1, 100, 5, 0);
  EXPECT_EQ(c.GetARGB(), XARGB32Colour(9, 255, 15, 100).GetARGB());
  c -= XARGB32Colour(77, 20, 30, 0);
  EXPECT_EQ(c.GetARGB(), XARGB32Colour(9, 235, 0, 100).GetARGB());

  XARGB32Colour m(5, 2, 20, 200);
  m *= XARGB32Colour(0, 2, 20, 0);  // plain product, no rescale
  EXPECT_EQ(m.GetARGB(), XARGB32Colour(5, 4, 255, 0).GetARGB());

  XARGB32Colour f(5, 100, 10, 3);
  f *= 2.9;
  EXPECT_EQ(f.GetARGB(), XARGB32Colour(5, 255, 29, 8).GetARGB());
  f /= 2.0;  // times 0.5
  EXPECT_EQ(f.GetARGB(), XARGB32Colour(5, 127, 14, 4).GetARGB());

  XARGB32Colour q(5, 100, 9, 7);
  q /= XARGB32Colour(0, 3, 2, 7);
  EXPECT_EQ(q.GetARGB(), XARGB32Colour(5, 33, 4, 1).GetARGB());

  XRGB48Colour w(60000, 100, 5);
  w += XRGB48Colour(10000, 100, 0);
  EXPECT_EQ(w, XRGB48Colour(65535, 200, 5));
  w -= XRGB48Colour(0, 300, 1);
  EXPECT_EQ(w, XRGB48Colour(65535, 0, 4));
  w *= XRGB48Colour(2, 2, 2);
  EXPECT_EQ(w, XRGB48Colour(65535, 0, 8));
  w.Invert();
  EXPECT_EQ(w, XRGB48Colour(0, 65535, 65527));
  w.Offset(-65530);
  EXPECT_EQ(w, XRGB48Colour(0, 5, 0));
  w *= 20000.5;
  EXPECT_EQ(w, XRGB48Colour(0, 65535, 0));
  w.MIPCompositeRGBFrom(XRGB48Colour(7, 8, 9));
  EXPECT_EQ(w, XRGB48Colour(7, 65535, 9));
  EXPECT_EQ(w.GetIntensity(), 65535);
}

TEST(ColourArithmetic, InvertOffsetAndMIP) {
  XARGB32Colour c(9, 0, 100, 255);
  c.Invert();
  EXPECT_EQ(c.GetARGB(), XARGB32Colour(9, 255, 155, 0).GetARGB());
  c.Offset(-200);
  EXPECT_EQ(c.GetARGB(), XARGB32Colour(9, 55, 0, 0).GetARGB());
  c.Offset(210);
  EXPECT_EQ(c.GetARGB(), XARGB32Colour(9, 255, 210, 210).GetARGB());

  XARGB32Colour a(10, 1, 50, 3), b(20, 5, 4, 3);
  XARGB32Colour rgb = a, argb = a;
  rgb.MIPCompositeRGBFrom(b);
  argb.MIPCompositeARGBFrom(b);
  EXPECT_EQ(rgb.GetARGB(), XARGB32Colour(10, 5, 50, 3).GetARGB());
  EXPECT_EQ(argb.GetARGB(), XARGB32Colour(20, 5, 50, 3).GetARGB());
}

TEST(ColourAlpha, BlendCombineAndPremultiplyShiftBy8) {
  XARGB32Colour base(255, 100, 200, 0);
  base.BlendRGBWith(XARGB32Colour(128, 255, 0, 255));
  // (255*128 + 100*127) >> 8 = 177, (0 + 200*127) >> 8 = 99, (255*128) >> 8 = 127
  EXPECT_EQ(base.GetARGB(), XARGB32Colour(255, 177, 99, 127).GetARGB());

  XARGB32Colour opaque(255, 255, 255, 255);
  opaque.PremultiplyAlpha();  // 255 * 255 >> 8 = 254: the shift loses one
  EXPECT_EQ(opaque.GetARGB(), XARGB32Colour(255, 254, 254, 254).GetARGB());
  opaque.CombineAlpha(128);
  EXPECT_EQ(opaque.GetAlpha(), 127);
}

TEST(ColourHSI, EdgeColours) {
  UInt8 h, s, i;
  XARGB32Colour::RGBToHSI(XARGB32Colour(255, 0, 0), h, s, i);
  EXPECT_EQ(h, 0);
  EXPECT_EQ(s, 255);
  EXPECT_EQ(i, 255);
  XARGB32Colour::RGBToHSI(XARGB32Colour(0, 0, 0), h, s, i);
  EXPECT_EQ(h + s + i, 0);
  XARGB32Colour::RGBToHSI(XARGB32Colour(90, 90, 90), h, s, i);
  EXPECT_EQ(h, 0);
  EXPECT_EQ(s, 0);
  EXPECT_EQ(i, 90);
  // Green: t = (0 + 2) / 6, h = trunc(255 / 3) = 85.
  XARGB32Colour::RGBToHSI(XARGB32Colour(0, 255, 0), h, s, i);
  EXPECT_EQ(h, 85);
  // Magenta: r is max, t = -1 -> -1/6 + 1 = 5/6, h = 212.
  XARGB32Colour::RGBToHSI(XARGB32Colour(255, 0, 255), h, s, i);
  EXPECT_EQ(h, 212);
  EXPECT_EQ(XARGB32Colour(255, 0, 255).GetHue(), 212);
  EXPECT_EQ(XBGRA32Colour(255, 0, 255).GetHue(), 212);
  EXPECT_EQ(XARGB32Colour(100, 50, 0).GetSaturation(), 255);
  EXPECT_EQ(XARGB32Colour(100, 50, 50).GetSaturation(), 127);  // 0.5 * 255 = 127.5
}

TEST(ColourHSI, HSIToRGBSectorsAndWrap) {
  XARGB32Colour c(7, 1, 1, 1);
  XARGB32Colour::HSIToRGB(255, 255, 200, c);  // p = 6.0 maps to sector 0, f = 0
  EXPECT_EQ(c.GetARGB(), XARGB32Colour(7, 200, 0, 0).GetARGB());  // alpha stays
  XARGB32Colour::HSIToRGB(0, 0, 77, c);
  EXPECT_EQ(c.GetARGB(), XARGB32Colour(7, 77, 77, 77).GetARGB());
  // h 170: p = 4.0, sector 4: (hi, lo, v) with f = 0: hi = (1 - sat) * i = lo
  XARGB32Colour::HSIToRGB(170, 255, 255, c);
  EXPECT_EQ(c.GetARGB(), XARGB32Colour(7, 0, 0, 255).GetARGB());
}

TEST(ColourHSI, RoundTripOfSaturatedColoursStaysClose) {
  // The 8-bit hue scale loses up to a few levels per channel; a round trip
  // must land near the original, never in another sector.
  const XARGB32Colour colours[] = {XARGB32Colour(255, 0, 0),   XARGB32Colour(0, 255, 0),
                                   XARGB32Colour(0, 0, 255),   XARGB32Colour(200, 100, 50),
                                   XARGB32Colour(30, 180, 90), XARGB32Colour(120, 40, 220),
                                   XARGB32Colour(50, 50, 50),  XARGB32Colour(255, 255, 0)};
  for (const XARGB32Colour& original : colours) {
    UInt8 h, s, i;
    XARGB32Colour::RGBToHSI(original, h, s, i);
    XARGB32Colour back;
    XARGB32Colour::HSIToRGB(h, s, i, back);
    EXPECT_NEAR(back.red, original.red, 8) << int(original.red) << "," << int(original.green);
    EXPECT_NEAR(back.green, original.green, 8) << int(original.red) << "," << int(original.green);
    EXPECT_NEAR(back.blue, original.blue, 8) << int(original.red) << "," << int(original.green);
    EXPECT_EQ(back.GetIntensity(), original.GetIntensity());
  }
}

TEST(ColourWavelength, VisibleSpectrumLandmarks) {
  XARGB32Colour c(255, 0, 0, 0);
  c.SetWavelength(650);
  EXPECT_EQ(c.GetARGB(), 0xFFFF0000u);  // red, alpha kept
  c.SetWavelength(440);
  EXPECT_EQ(c.red, 0);
  EXPECT_EQ(c.green, 0);
  EXPECT_EQ(c.blue, 255);
  c.SetWavelength(530);
  EXPECT_EQ(c.green, 255);
  EXPECT_EQ(c.blue, 0);
  EXPECT_GT(c.red, 0);
  c.SetWavelength(900);
  EXPECT_EQ(c.GetARGB(), 0xFF000000u);
  c.SetWavelength(380);  // dim violet at the edge
  EXPECT_GT(c.blue, 0);
  EXPECT_LT(c.blue, 255);
  EXPECT_EQ(c.green, 0);
}

TEST(ColourFloat, FromARGBAndPredicates) {
  XRGBFloat32Colour f(XARGB32Colour(0, 255, 0, 51));
  EXPECT_FLOAT_EQ(f.red, 1.0f);
  EXPECT_FLOAT_EQ(f.blue, 0.2f);
  EXPECT_FLOAT_EQ(f.GetMaxComponent(), 1.0f);
  EXPECT_FLOAT_EQ(f.GetMinComponent(), 0.0f);
  EXPECT_FALSE(f.IsPrimary());
  EXPECT_TRUE(XRGBFloat32Colour(0, 0.5f, 0).IsGreen());
  EXPECT_TRUE(XRGBFloat32Colour(0, 0.5f, 0).IsPrimary());
  EXPECT_TRUE(XRGBFloat32Colour().IsBlack());
  EXPECT_TRUE(XRGBFloat32Colour().IsGrey());
  EXPECT_EQ(XRGBFloat32Colour(1, 2, 3) * XRGBFloat32Colour(2, 2, 2) + XRGBFloat32Colour(1, 1, 1),
            XRGBFloat32Colour(3, 5, 7));
}

}  // namespace
