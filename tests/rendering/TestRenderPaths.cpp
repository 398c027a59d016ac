// Rendering: every shader path at black, white, between and beyond, in both
// byte orders, on the same-size and the scaling path; targets, regions and
// the preconditions of the common entry.
#include <cmath>
#include <limits>

#include "../volume/VolumeTestSupport.h"
#include "RenderingTestClasses.h"
#include "rendering/XPixelShaders.h"
#include "volume/X3DRegion.h"

namespace {

using volumetest::FillWith;
using volumetest::Row;
using volumetest::VoxelAt;

constexpr Float32 kNaN = std::numeric_limits<Float32>::quiet_NaN();

// Colours as 0xAARRGGBB, which gtest prints readably.
UInt32 Grey(UInt32 v) { return 0xFF000000u | (v * 0x010101u); }
UInt32 RGB(UInt32 r, UInt32 g, UInt32 b) { return 0xFF000000u | (r << 16) | (g << 8) | b; }

UInt32 Decode(UInt32 inWord, XPixelFormat inFormat) {
  return (inFormat == kPixelFormatARGB ? XUnpackRGB32<kPixelFormatARGB>(inWord)
                                       : XUnpackRGB32<kPixelFormatBGRA>(inWord))
      .GetARGB();
}

// A row of voxels shown through the renderer into a buffer of words, by the
// same-size path or, with a region over the whole row, by the scaling path.
template <class V>
std::vector<UInt32> Shown(const XImageRenderer& inRenderer, const std::vector<typename V::Voxel>& inValues,
                          XPixelFormat inFormat, bool inScaling) {
  auto volume = Row<V>(inValues);
  const UInt32 n = UInt32(inValues.size());
  std::vector<UInt32> words(n, 0xDEADBEEF);
  const X3DRect box(n, 1, 1);
  const X3DRegion all(box);
  inRenderer.RenderToRGB32Buffer(*volume, XMakeRGB32Layout(words.data(), box, n, n), box, box,
                                 inScaling ? &all : nullptr, inFormat);
  for (UInt32& w : words) w = Decode(w, inFormat);
  return words;
}

// Expects the colours on each path, in both byte orders.
template <class V>
void ExpectShown(const XImageRenderer& inRenderer, const std::vector<typename V::Voxel>& inValues,
                 const std::vector<UInt32>& inSameSize, const std::vector<UInt32>& inScaling) {
  for (XPixelFormat format : {kPixelFormatARGB, kPixelFormatBGRA}) {
    EXPECT_EQ(Shown<V>(inRenderer, inValues, format, false), inSameSize) << "same size, format " << format;
    EXPECT_EQ(Shown<V>(inRenderer, inValues, format, true), inScaling) << "scaling, format " << format;
  }
}

template <class V>
void ExpectShown(const XImageRenderer& inRenderer, const std::vector<typename V::Voxel>& inValues,
                 const std::vector<UInt32>& inBoth) {
  ExpectShown<V>(inRenderer, inValues, inBoth, inBoth);
}

// A shader of bytes for the walker's own checks.
struct PlainShader {
  void Shade(UInt8 inValue, UInt32& outWord) const { outWord = inValue; }
};

UInt32 Rainbow(UInt32 inEntry) { return XBaseGreyImageRenderer::GetRainbowLUT()[inEntry].GetARGB(); }

class RenderPaths : public RenderingStreamTest {};

// --------------------------------------------------------------- grey 8

TEST_F(RenderPaths, Grey8NormalShowsTheValueInEitherByteOrder) {
  XGrey8ImageRenderer grey;
  ASSERT_TRUE(grey.IsNormal());
  ExpectShown<XGrey8Volume>(grey, {0, 100, 255}, {Grey(0), Grey(100), Grey(255)});
  // Pixel 100 is the word (255, 100, 100, 100) in ARGB memory order.
  auto source = Row<XGrey8Volume>({100});
  XARGB32Volume argb(1, 1, 1);
  grey.RenderToARGB32Volume(*source, argb, source->GetBounds(), argb.GetBounds(), nullptr);
  const XARGB32Colour a = VoxelAt(argb, 0, 0, 0);
  EXPECT_EQ(std::vector<UInt8>({a.alpha, a.red, a.green, a.blue}), std::vector<UInt8>({255, 100, 100, 100}));
  XBGRA32Volume bgra(1, 1, 1);
  grey.RenderToBGRA32Volume(*source, bgra, source->GetBounds(), bgra.GetBounds(), nullptr);
  EXPECT_EQ(XARGB32Colour(VoxelAt(bgra, 0, 0, 0)).GetARGB(), Grey(100));
}

TEST_F(RenderPaths, RainbowIgnoresGainColoursAndBalance) {
  XGrey8ImageRenderer grey;
  grey.SetRendererType(kRendererRainbow);
  ExpectShown<XGrey8Volume>(grey, {0, 100, 255}, {Rainbow(0), Rainbow(100), Rainbow(255)});
  grey.SetBlack(10);
  grey.SetWhite(200);
  grey.SetGain(3);
  grey.SetOffset(0.2);
  grey.SetWhiteColour(XARGB32Colour(255, 255, 0, 0));
  grey.SetColourBalance(0.1, 2, 0.5);
  ExpectShown<XGrey8Volume>(grey, {5, 10, 200, 210}, {Rainbow(0), Rainbow(0), Rainbow(255), Rainbow(255)});

  XGrey16ImageRenderer grey16;
  grey16.SetRendererType(kRendererRainbow);
  grey16.SetBlack(1000);
  grey16.SetWhite(1255);
  ExpectShown<XGrey16Volume>(grey16, {900, 1000, 1100, 1255, 3000},
                             {Rainbow(0), Rainbow(0), Rainbow(100), Rainbow(255), Rainbow(255)});
  XFPImageRenderer fp;
  fp.SetRendererType(kRendererRainbow);
  // 0.5 * 255 = 127.5 rounds to the even 128; no number is entry 0.
  ExpectShown<XFPVolume>(fp, {0.0f, 0.5f, 1.0f, 7.0f, kNaN},
                         {Rainbow(0), Rainbow(128), Rainbow(255), Rainbow(255), Rainbow(0)});
}

TEST_F(RenderPaths, SharedRainbowRunsFromBlackTo650Nanometres) {
  const auto& rainbow = XBaseGreyImageRenderer::GetRainbowLUT();
  ASSERT_EQ(rainbow.size(), 256u);
  EXPECT_EQ(&rainbow, &XBaseGreyImageRenderer::GetRainbowLUT());
  EXPECT_EQ(rainbow[0].GetARGB(), RGB(0, 0, 0));
  XARGB32Colour red(255, 0, 0, 0);
  red.SetWavelength(650.0);
  EXPECT_EQ(rainbow[255].GetARGB(), red.GetARGB());
  for (const XARGB32Colour& c : rainbow) EXPECT_EQ(c.alpha, 255);
}

// With a gamma of 1 the same-size path goes straight in fixed point, the
// scaling path through the level table: beyond white the straight line
// goes on (blue 145 past a white colour of 100) while the table stops.
TEST_F(RenderPaths, Grey8LinearOnTheSameSizePathAndTableWhenScaling) {
  XGrey8ImageRenderer grey;
  grey.SetBlack(64);
  grey.SetWhite(192);
  grey.SetWhiteColour(XARGB32Colour(255, 255, 0, 100));
  ExpectShown<XGrey8Volume>(grey, {10, 64, 128, 192, 250},
                            {RGB(0, 0, 0), RGB(0, 0, 0), RGB(127, 0, 50), RGB(255, 0, 100), RGB(255, 0, 145)},
                            {RGB(0, 0, 0), RGB(0, 0, 0), RGB(127, 0, 49), RGB(255, 0, 99), RGB(255, 0, 99)});
}

TEST_F(RenderPaths, Grey8GammaTakesTheTableOnBothPaths) {
  XGrey8ImageRenderer grey;
  grey.SetWhite(128);
  grey.SetGamma(2);
  ExpectShown<XGrey8Volume>(grey, {0, 64, 128, 200}, {Grey(0), Grey(63), Grey(255), Grey(255)});
}

// ------------------------------------------------------------- grey 16

TEST_F(RenderPaths, Grey16UsualWhitePointsShiftTheValue) {
  XGrey16ImageRenderer grey;
  const struct {
    Float64 white;
    std::vector<UInt16> values;
    std::vector<UInt32> shown;
  } cases[] = {
      {1023, {0, 512, 1023, 2000}, {Grey(0), Grey(128), Grey(255), Grey(255)}},
      {4095, {0, 2048, 4095, 5000}, {Grey(0), Grey(128), Grey(255), Grey(255)}},
      {4095.7, {4095, 5000}, {Grey(255), Grey(255)}},
      {16383, {0, 8192, 16383, 20000}, {Grey(0), Grey(128), Grey(255), Grey(255)}},
      {65535, {0, 255, 32768, 65535}, {Grey(0), Grey(0), Grey(128), Grey(255)}},
  };
  for (const auto& c : cases) {
    grey.SetWhite(c.white);
    ASSERT_TRUE(grey.IsNormalExceptForWhitePoint());
    ExpectShown<XGrey16Volume>(grey, c.values, c.shown);
  }
}

TEST_F(RenderPaths, Grey16OtherWhiteIsLinearOnTheSameSizePathOnly) {
  // slope trunc(255 * 65536 / 3000) = 5570 gives 254 at the white point.
  XGrey16ImageRenderer grey;
  grey.SetWhite(3000);
  ExpectShown<XGrey16Volume>(grey, {0, 1500, 3000, 4000}, {Grey(0), Grey(127), Grey(254), Grey(255)},
                             {Grey(0), Grey(127), Grey(255), Grey(255)});
}

// The straight line starts from the black point's integer part cut to 8
// bits: black 1000 enters as 232, so the black pixel shows 104.
TEST_F(RenderPaths, Grey16LinearTakesTheBlackPointAsAByte) {
  XGrey16ImageRenderer grey;
  grey.SetBlack(1000);
  grey.SetWhite(3048);
  grey.SetGain(1.5);
  ExpectShown<XGrey16Volume>(grey, {232, 1000, 2024, 3048}, {Grey(0), Grey(104), Grey(243), Grey(255)},
                             {Grey(0), Grey(0), Grey(191), Grey(255)});
  grey.SetGamma(0.5);  // the table on both paths: sqrt(0.75) * 255 = 220.8
  ExpectShown<XGrey16Volume>(grey, {500, 1000, 2024, 9000}, {Grey(0), Grey(0), Grey(220), Grey(255)});
}

// ------------------------------------------------------------------ float

TEST_F(RenderPaths, FloatNormalIsTheRange0To255InFixedPoint) {
  XFPImageRenderer fp;
  fp.SetWhite(255);
  ASSERT_TRUE(fp.IsNormal());
  ExpectShown<XFPVolume>(fp, {0.0f, 100.5f, 255.0f, 300.0f, -5.0f, kNaN},
                         {Grey(0), Grey(100), Grey(255), Grey(255), Grey(0), Grey(0)});
}

TEST_F(RenderPaths, FloatRangeFrom0OfAtLeast255PicksOneOf256Colours) {
  XFPImageRenderer fp;
  fp.SetWhite(510);
  fp.SetGamma(0.5);
  std::unique_ptr<XIntToColourLUT> lut(fp.GetLUT());
  // 255 * 255 / 510 = 127.5 rounds to the even 128.
  ExpectShown<XFPVolume>(fp, {-3.0f, 0.0f, 255.0f, 510.0f, 1000.0f, kNaN},
                         {EntryOf(*lut, 0).GetARGB(), EntryOf(*lut, 0).GetARGB(), EntryOf(*lut, 128).GetARGB(),
                          EntryOf(*lut, 255).GetARGB(), EntryOf(*lut, 255).GetARGB(), EntryOf(*lut, 0).GetARGB()});
  EXPECT_EQ(EntryOf(*lut, 0).GetARGB(), Grey(0));
  EXPECT_EQ(EntryOf(*lut, 255).GetARGB(), Grey(255));
}

TEST_F(RenderPaths, FloatOtherwisePerPixel) {
  XFPImageRenderer fp;  // 0 to 1: a range too small for the table
  fp.SetBlack(0.25);
  fp.SetWhite(0.75);
  // Rows go four values at a time and then one by one: both forms see each case.
  ExpectShown<XFPVolume>(fp, {kNaN, 0.25f, 0.5f, 2.0f, 0.0f, 0.75f, kNaN},
                         {Grey(0), Grey(0), Grey(127), Grey(255), Grey(0), Grey(255), Grey(0)});
  fp.SetGamma(2);
  ExpectShown<XFPVolume>(fp, {0.5f}, {Grey(63)});
  fp.SetGamma(1);
  fp.SetBlack(0);
  fp.SetWhite(40000);  // above 32767: per pixel too
  ExpectShown<XFPVolume>(fp, {20000.0f, 40000.0f}, {Grey(127), Grey(255)});
}

// ------------------------------------------------------------------ masks

TEST_F(RenderPaths, MaskNormalIsTransparentOrAllOnesAndOtherwiseTwoColours) {
  XMaskImageRenderer mask;
  ExpectShown<XMaskVolume>(mask, {0, 127, 128, 255}, {0u, 0u, 0xFFFFFFFFu, 0xFFFFFFFFu});
  mask.SetGain(0.5);  // white shows as 127, black as 0
  ExpectShown<XMaskVolume>(mask, {0, 127, 128, 255}, {Grey(0), Grey(0), Grey(127), Grey(127)});
  XARGB32Colour colour;
  const UInt8 set = 200;
  mask.GetColour(&set, colour);
  EXPECT_EQ(colour.GetARGB(), Grey(127));
}

TEST_F(RenderPaths, MaskShadersForHostBuffers) {
  UInt32 word = 7;
  XSimpleMaskPixShader().Shade(127, word);
  EXPECT_EQ(word, 0u);
  XSimpleMaskPixShader().Shade(128, word);
  EXPECT_EQ(word, 0xFFFFFFFFu);

  const XARGB32Colour colour(128, 10, 20, 30);
  const UInt32 under = XPackRGB32<kPixelFormatBGRA>(0, 200, 100, 50);
  // Stored with its bytes reversed: the same colour in BGRA order.
  XMaskFillWithBlendingPixShader<false, false> fill(colour);
  word = under;
  fill.Shade(127, word);
  EXPECT_EQ(word, under);
  fill.Shade(128, word);
  EXPECT_EQ(word, XPackRGB32<kPixelFormatBGRA>(colour));
  XMaskFillWithBlendingPixShader<true, false> outside(colour);
  word = under;
  outside.Shade(128, word);
  EXPECT_EQ(word, under);
  outside.Shade(0, word);
  EXPECT_EQ(word, XPackRGB32<kPixelFormatBGRA>(colour));
  // Premultiplied (5, 10, 15) over the word kept at 127/256, alpha 255.
  XMaskFillWithBlendingPixShader<false, true> blend(colour);
  word = under;
  blend.Shade(255, word);
  EXPECT_EQ(word, XPackRGB32<kPixelFormatBGRA>(255, 104, 59, 39));
}

// --------------------------------------------------------------- colour

TEST_F(RenderPaths, RGB32NormalCopiesWithAlphaAndOtherwiseGoesThroughTheChannelTable) {
  XARGB32ImageRenderer argb;
  const std::vector<XARGB32Colour> pixels = {XARGB32Colour(10, 20, 30, 40), XARGB32Colour(0, 64, 64, 200),
                                             XARGB32Colour(77, 128, 128, 0)};
  ExpectShown<XARGB32Volume>(argb, pixels, {0x0A141E28u, 0x004040C8u, 0x4D808000u});
  XBGRA32ImageRenderer bgra;
  const std::vector<XBGRA32Colour> bgraPixels(pixels.begin(), pixels.end());
  ExpectShown<XBGRA32Volume>(bgra, bgraPixels, {0x0A141E28u, 0x004040C8u, 0x4D808000u});

  // Level trunc(c / 128 * 255), green at half balance; alpha becomes 255.
  for (XImageRenderer* r : {static_cast<XImageRenderer*>(&argb), static_cast<XImageRenderer*>(&bgra)}) {
    r->SetWhite(128);
    r->SetColourBalance(1, 0.5, 1);
  }
  const std::vector<UInt32> shown = {RGB(39, 29, 79), RGB(127, 63, 255), RGB(255, 127, 0)};
  ExpectShown<XARGB32Volume>(argb, pixels, shown);
  ExpectShown<XBGRA32Volume>(bgra, bgraPixels, shown);
  argb.Normalise();
  argb.SetGain(2);  // alpha becomes 255
  ExpectShown<XARGB32Volume>(argb, {XARGB32Colour(10, 0, 200, 255)}, {RGB(0, 255, 255)});
}

TEST_F(RenderPaths, RGB48ByWhitePointBalanceAndGamma) {
  XRGB48ImageRenderer rgb;
  const std::vector<XRGB48Colour> pixels = {XRGB48Colour(0, 255, 32768), XRGB48Colour(65535, 4095, 2048),
                                            XRGB48Colour(500, 1000, 5000)};
  ExpectShown<XRGB48Volume>(rgb, pixels, {RGB(0, 0, 128), RGB(255, 15, 8), RGB(1, 3, 19)});
  rgb.SetWhite(4095);
  ExpectShown<XRGB48Volume>(rgb, pixels, {RGB(0, 15, 255), RGB(255, 255, 128), RGB(31, 62, 255)});
  // Fixed scale trunc(255 / 1000 * 65536) = 16711: the white point shows 254.
  rgb.SetWhite(1000);
  ExpectShown<XRGB48Volume>(rgb, pixels, {RGB(0, 65, 254), RGB(254, 254, 254), RGB(127, 254, 254)});
  rgb.SetColourBalance(1, 0.5, 1);  // doubles: 1000 / 1000 * 255 * 0.5 = 127.5
  ExpectShown<XRGB48Volume>(rgb, pixels, {RGB(0, 32, 255), RGB(255, 255, 255), RGB(127, 127, 255)});
  rgb.SetColourBalance(1, 1, 1);
  rgb.SetGamma(2);  // the table of 65536 levels: 0.5^2 * 255 = 63.75
  ExpectShown<XRGB48Volume>(rgb, pixels, {RGB(0, 16, 255), RGB(255, 255, 255), RGB(63, 255, 255)});
}

// ---------------------------------------------------------- single pixels

TEST_F(RenderPaths, GetColourDividesAlongTheRampWhereTheTableUsesFixedPoint) {
  XGrey8ImageRenderer grey;
  grey.SetWhite(128);
  grey.SetGamma(2);
  grey.SetWhiteColour(XARGB32Colour(255, 255, 0, 100));
  XARGB32Colour colour;
  const UInt8 white = 128;
  grey.GetColour(&white, colour);
  EXPECT_EQ(colour.GetARGB(), RGB(255, 0, 100));  // 100 * 255 / 255
  EXPECT_EQ(Shown<XGrey8Volume>(grey, {128}, kPixelFormatARGB, true), std::vector<UInt32>({RGB(255, 0, 99)}));
  grey.GetColourByIndex(64.9, colour);  // as the pixel 64: 0.25 * 255 = 63
  EXPECT_EQ(colour.GetARGB(), RGB(63, 0, 24));
  grey.SetRendererType(kRendererRainbow);
  grey.GetColourByIndex(128, colour);
  EXPECT_EQ(colour.GetARGB(), Rainbow(255));
  grey.SetRendererType(XRendererType(7));  // unknown type: the colour stays
  grey.GetColourByIndex(0, colour);
  EXPECT_EQ(colour.GetARGB(), Rainbow(255));

  XFPImageRenderer fp;
  fp.SetBlack(0.25);
  fp.SetWhite(0.75);
  fp.GetColourByIndex(0.5, colour);
  EXPECT_EQ(colour.GetARGB(), Grey(127));
}

TEST_F(RenderPaths, GetColourOfColourPixelsFollowsTheRenderPaths) {
  XRGB48ImageRenderer rgb;
  const XRGB48Colour pixel(500, 1000, 5000);
  auto check = [&] {
    XARGB32Colour colour;
    rgb.GetColour(&pixel, colour);
    EXPECT_EQ(colour.GetARGB(), Shown<XRGB48Volume>(rgb, {pixel}, kPixelFormatARGB, true)[0]);
  };
  check();
  rgb.SetWhite(1000);
  check();
  rgb.SetGamma(2);
  check();
  rgb.SetColourBalance(0.3, 1, 2);
  check();
  XARGB32ImageRenderer argb;
  const XARGB32Colour colourPixel(9, 64, 128, 255);
  XARGB32Colour colour;
  argb.GetColour(&colourPixel, colour);
  EXPECT_EQ(colour, colourPixel);
  argb.SetGamma(0.5);
  argb.GetColour(&colourPixel, colour);
  EXPECT_EQ(colour.GetARGB(), Shown<XARGB32Volume>(argb, {colourPixel}, kPixelFormatBGRA, false)[0]);
}

// ------------------------------------------------------- targets and regions

TEST_F(RenderPaths, BlackEqualToWhiteShowsTheWhiteColourWithoutReadingPixels) {
  XGrey8ImageRenderer grey;
  grey.SetBlack(100);
  grey.SetWhite(100);
  grey.SetWhiteColour(XARGB32Colour(255, 10, 20, 30));
  ExpectShown<XGrey8Volume>(grey, {0, 100, 255}, std::vector<UInt32>(3, RGB(10, 20, 30)));
  XARGB32ImageRenderer argb;
  argb.SetWhite(0);
  ExpectShown<XARGB32Volume>(argb, {XARGB32Colour(1, 2, 3, 4)}, {RGB(255, 255, 255)});
}

// A 4 x 4 source drawn twice as large into a target whose box has a free
// origin, through a region in target coordinates: inside the region the
// nearest source pixel, outside what was there.
TEST_F(RenderPaths, ScalingIntoARegionLeavesThePixelsOutsideIt) {
  XGrey8Volume source(X3DRect(5, 5, 0, 9, 9, 1));
  FillWith(source, [](SInt32 x, SInt32 y, SInt32) { return UInt8(10 * (x - 5) + (y - 5)); });
  const X3DRect target(-4, 2, 1, 4, 10, 2);
  const XARGB32Colour marker(1, 2, 3, 4);
  XMaskVolume mask(target);
  FillWith(mask, [](SInt32 x, SInt32 y, SInt32) { return UInt8((x + y) % 3 == 0 ? 255 : 0); });
  const X3DRegion region(mask);
  for (XPixelFormat format : {kPixelFormatARGB, kPixelFormatBGRA}) {
    XARGB32Volume argb(target);
    XBGRA32Volume bgra(target);
    FillWith(argb, [&](SInt32, SInt32, SInt32) { return marker; });
    FillWith(bgra, [&](SInt32, SInt32, SInt32) { return XBGRA32Colour(marker); });
    if (format == kPixelFormatARGB)
      source.CopyOutAsDisplayed(argb, source.GetBounds(), target, &region);
    else
      source.CopyOutAsDisplayed(bgra, source.GetBounds(), target, &region);
    for (SInt32 y = target.top; y < target.bottom; ++y)
      for (SInt32 x = target.left; x < target.right; ++x) {
        const UInt32 shown = format == kPixelFormatARGB ? VoxelAt(argb, x, y, 1).GetARGB()
                                                        : XARGB32Colour(VoxelAt(bgra, x, y, 1)).GetARGB();
        const bool inside = (x + y) % 3 == 0;
        EXPECT_EQ(shown, inside ? Grey(10 * ((x + 4) / 2) + (y - 2) / 2) : marker.GetARGB()) << x << "," << y;
      }
  }
}

// The same-size path with the target rectangle half outside the target:
// only the part inside is drawn, from the matching part of the source.
TEST_F(RenderPaths, SameSizeDrawsOnlyWhereTheTargetIs) {
  XGrey16Volume source(4, 4, 1);
  FillWith(source, [](SInt32 x, SInt32 y, SInt32) { return UInt16(256 * (10 * x + y)); });
  XARGB32Volume target(3, 3, 1);
  FillWith(target, [](SInt32, SInt32, SInt32) { return XARGB32Colour(0, 0, 0, 0); });
  source.CopyOutAsDisplayed(target, X3DRect(0, 0, 0, 4, 4, 1), X3DRect(-2, -1, 0, 2, 3, 1), nullptr);
  for (SInt32 y = 0; y < 3; ++y)
    for (SInt32 x = 0; x < 3; ++x)
      EXPECT_EQ(VoxelAt(target, x, y, 0).GetARGB(), x < 2 ? Grey(10 * (x + 2) + (y + 1)) : 0u) << x << "," << y;
}

TEST_F(RenderPaths, HostBuffersWithRowPaddingAndPlanes) {
  XGrey8Volume source(2, 2, 2);
  FillWith(source, [](SInt32 x, SInt32 y, SInt32 z) { return UInt8(100 * z + 10 * y + x); });
  // Two planes of 2 x 2 words, rows 3 words apart, planes 8 apart.
  std::vector<UInt32> words(16, 0xDEADBEEF);
  const XRGB32Layout layout = XMakeRGB32Layout(words.data(), X3DRect(20, 30, 0, 22, 32, 2), 3, 8);
  XGrey8ImageRenderer().RenderToRGB32Buffer(source, layout, source.GetBounds(), X3DRect(20, 30, 0, 22, 32, 2),
                                            nullptr, kPixelFormatBGRA);
  const std::vector<UInt32> expected = {Grey(0),   Grey(1),   0xDEADBEEF, Grey(10),  Grey(11),  0xDEADBEEF,
                                        0xDEADBEEF, 0xDEADBEEF, Grey(100), Grey(101), 0xDEADBEEF, Grey(110),
                                        Grey(111), 0xDEADBEEF, 0xDEADBEEF, 0xDEADBEEF};
  EXPECT_EQ(words, expected);
}

TEST_F(RenderPaths, LuminanceCopiesRenderPlaneByPlane) {
  auto source = Row<XARGB32Volume>({XARGB32Colour(30, 60, 90), XARGB32Colour(200, 10, 20)});
  XGrey8Volume average(4, 1, 1), maximum(4, 1, 1);
  source->CopyOutAsAverageLuminance(average, source->GetBounds(), average.GetBounds(), nullptr);
  source->CopyOutAsMaxLuminance(maximum, source->GetBounds(), maximum.GetBounds(), nullptr);
  EXPECT_EQ(volumetest::Values(average), std::vector<UInt8>({60, 60, 76, 76}));
  EXPECT_EQ(volumetest::Values(maximum), std::vector<UInt8>({90, 90, 200, 200}));
  // Through the plane renderer: white at 128 brightens before the luminance.
  XARGB32ImageRenderer bright;
  bright.SetWhite(128);
  source->SetPlaneRenderer(bright);
  source->CopyOutAsMaxLuminance(maximum, source->GetBounds(), maximum.GetBounds(), nullptr);
  EXPECT_EQ(volumetest::Values(maximum), std::vector<UInt8>({179, 179, 255, 255}));
}

// ------------------------------------------------------------ preconditions

TEST_F(RenderPaths, BrokenPreconditionsAreInternalErrors) {
  auto grey8 = Row<XGrey8Volume>({1, 2});
  auto grey16 = Row<XGrey16Volume>({1, 2});
  XARGB32Volume target(2, 1, 1);
  const X3DRect box(2, 1, 1);
  XGrey8ImageRenderer grey;
  EXPECT_THROW(grey.RenderToARGB32Volume(*grey16, target, box, box, nullptr), XInternalError);  // ourVolume
  EXPECT_THROW(grey.RenderToARGB32Volume(*grey8, target, X3DRect(3, 1, 1), box, nullptr), XInternalError);
  std::vector<UInt32> words(2);
  const XRGB32Layout layout = XMakeRGB32Layout(words.data(), box, 2, 2);
  EXPECT_THROW(grey.RenderToRGB32Buffer(*grey8, layout, box, box, nullptr, XPixelFormat(2)), XInternalError);
  grey.SetBlack(10);
  grey.SetWhite(10);
  EXPECT_THROW(grey.RenderToRGB32Buffer(*grey8, layout, box, box, nullptr, XPixelFormat(2)), XInternalError);
  grey.SetWhite(5);  // accepted by the setter, refused when drawing
  EXPECT_THROW(grey.RenderToARGB32Volume(*grey8, target, box, box, nullptr), XInternalError);

  const XHyperLayout<3, const UInt8> source(nullptr, XToHyperRect(box), {1, 2, 2});
  const XRGB32Layout wide = XMakeRGB32Layout(words.data(), X3DRect(1, 1, 1), 1, 1);
  EXPECT_THROW(XCopyWithShading(source, wide, PlainShader()), XInternalError);
  const XRGB32Layout strided(words.data(), XToHyperRect(box), {2, 4, 4});
  EXPECT_THROW(XCopyWithShading(source, strided, PlainShader()), XInternalError);
}

TEST(HyperLayout, SlicesKeepCoordinatesAndAddresses) {
  std::vector<UInt32> words(24);
  const XRGB32Layout layout = XMakeRGB32Layout(words.data(), X3DRect(-2, -1, 5, 2, 2, 7), 4, 12);
  EXPECT_EQ(layout.GetPtr({-2, -1, 5}), words.data());
  EXPECT_EQ(layout.GetPtr({1, 1, 6}), words.data() + 12 + 2 * 4 + 3);
  const XRGB32Layout part = layout.Slice(XToHyperRect(X3DRect(0, 0, 6, 10, 10, 10)));
  EXPECT_EQ(XToX3DRect(part.GetBounds()), X3DRect(0, 0, 6, 2, 2, 7));
  EXPECT_EQ(part.GetBase(), layout.GetPtr({0, 0, 6}));
  EXPECT_EQ(part.GetPtr({1, 1, 6}), layout.GetPtr({1, 1, 6}));
  EXPECT_TRUE(layout.Slice(XToHyperRect(X3DRect(5, 5, 5, 6, 6, 6))).IsEmpty());
}

}  // namespace
