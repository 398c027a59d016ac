#include <gtest/gtest.h>

#include <memory>

#include "RenderingTestClasses.h"

namespace {

const XARGB32Colour kBlack(255, 0, 0, 0);
const XARGB32Colour kWhite(255, 255, 255, 255);

XARGB32Colour EntryOf(const XIntToColourLUT& inLUT, UInt32 inIndex) {
  XARGB32Colour c;
  inLUT.IndexToValue(inIndex, c);
  return c;
}

// ----------------------------------------------------------- defaults

TEST(RendererDefaults, WhitePointsAndInputRangesByClass) {
  EXPECT_EQ(XGrey8ImageRenderer().GetWhite(), 255.0);
  EXPECT_EQ(XMaskImageRenderer().GetWhite(), 255.0);
  EXPECT_EQ(XGrey16ImageRenderer().GetWhite(), 65535.0);
  EXPECT_EQ(XGrey16ImageRenderer().GetMaxInputValue(), 65535.0);
  EXPECT_EQ(XFPImageRenderer().GetWhite(), 1.0);
  EXPECT_EQ(XARGB32ImageRenderer().GetWhite(), 255.0);
  EXPECT_EQ(XBGRA32ImageRenderer().GetMaxInputValue(), 255.0);
  EXPECT_EQ(XRGB48ImageRenderer().GetWhite(), 65535.0);
  EXPECT_EQ(XRGB48ImageRenderer().GetMaxInputValue(), 65535.0);

  XFPImageRenderer fp;
  fp.SetBlack(-2.0);
  fp.SetWhite(6.0);
  EXPECT_EQ(fp.GetMinInputValue(), -2.0);
  EXPECT_EQ(fp.GetMaxInputValue(), 6.0);

  XGrey8ImageRenderer grey;
  EXPECT_TRUE(grey.IsMonochromatic());
  grey.SetRendererType(kRendererRainbow);
  EXPECT_FALSE(grey.IsMonochromatic());

  // Colour renderers have no colours or type to set.
  XARGB32ImageRenderer colour;
  colour.SetWhiteColour(XARGB32Colour(255, 1, 2, 3));
  colour.SetRendererType(kRendererRainbow);
  EXPECT_EQ(colour.GetWhiteColour(), kWhite);
  EXPECT_EQ(colour.GetRendererType(), kRendererRamp);
  EXPECT_FALSE(colour.IsMonochromatic());
}

// ------------------------------------------------------------ normal state

TEST(RendererNormal, GreyColoursCountAlphaDoesNot) {
  XGrey8ImageRenderer grey;
  EXPECT_TRUE(grey.IsNormal());
  grey.SetBlackColour(XARGB32Colour(0, 0, 0, 0));
  grey.SetWhiteColour(XARGB32Colour(7, 255, 255, 255));
  EXPECT_TRUE(grey.IsNormal());
  grey.SetWhiteColour(XARGB32Colour(255, 255, 254, 255));
  EXPECT_FALSE(grey.IsNormal());
  EXPECT_FALSE(grey.IsNormalExceptForWhitePoint());
  grey.Normalise();
  EXPECT_TRUE(grey.IsNormal());
  EXPECT_EQ(grey.GetWhiteColour(), kWhite);

  XGrey16ImageRenderer sixteen;
  sixteen.SetWhite(4095);
  EXPECT_FALSE(sixteen.IsNormal());
  EXPECT_TRUE(sixteen.IsNormalExceptForWhitePoint());
  sixteen.SetColourBalance(1.0, 0.5, 1.0);
  EXPECT_FALSE(sixteen.IsNormalExceptForWhitePoint());
  sixteen.Normalise();
  EXPECT_TRUE(sixteen.IsNormal());
  EXPECT_EQ(sixteen.GetWhite(), 65535.0);
}

TEST(RendererNormal, FloatNormalMeansTheRange0To255) {
  XFPImageRenderer fp;
  EXPECT_FALSE(fp.IsNormal());  // white 1
  EXPECT_TRUE(fp.IsNormalExceptForWhitePoint());
  fp.SetWhite(255);
  EXPECT_TRUE(fp.IsNormal());
  fp.SetColourBalance(0.1, 0.2, 0.3);  // balances are not asked
  EXPECT_TRUE(fp.IsNormal());
  fp.SetGain(2.0);
  EXPECT_FALSE(fp.IsNormal());

  // Normalise sets black and white to the input range, which is black and white.
  XFPImageRenderer range;
  range.SetBlack(3.0);
  range.SetWhite(9.0);
  range.SetGamma(0.5);
  range.Normalise();
  EXPECT_EQ(range.GetBlack(), 3.0);
  EXPECT_EQ(range.GetWhite(), 9.0);
  EXPECT_EQ(range.GetGamma(), 1.0);

  XRGB48ImageRenderer rgb;
  EXPECT_TRUE(rgb.IsNormal());
  rgb.SetColourBalance(1.0, 1.0, 0.9);
  EXPECT_FALSE(rgb.IsNormal());
}

// -------------------------------------------------------------- properties

TEST(RendererProperties, WhichClassesHaveWhichProperties) {
  XARGB32ImageRenderer colour;
  XBGRA32ImageRenderer bgra;
  XGrey8ImageRenderer grey;
  XMaskImageRenderer mask;
  for (UInt32 p = 0; p <= 16; ++p) {
    const bool base = p >= 1 && p <= 8;
    const bool greyOnly = p >= 10 && p <= 15;
    EXPECT_EQ(colour.HasProperty(p), base) << p;
    EXPECT_EQ(bgra.HasProperty(p), base) << p;
    EXPECT_EQ(grey.HasProperty(p), base || greyOnly) << p;
    EXPECT_EQ(mask.HasProperty(p), (base || greyOnly) && p != 1 && p != 2 && p != 5) << p;
  }
}

TEST(RendererProperties, SetAndGetByNumber) {
  XGrey8ImageRenderer grey;
  grey.SetProperty(kPropertyBlack, 10);
  grey.SetProperty(kPropertyWhite, 200);
  grey.SetProperty(kPropertyGain, 1.5);
  grey.SetProperty(kPropertyOffset, -0.25);
  grey.SetProperty(kPropertyGamma, 0.7);
  grey.SetProperty(kPropertyGreenBalance, 0.5);
  EXPECT_EQ(grey.GetBlack(), 10.0);
  EXPECT_EQ(grey.GetWhite(), 200.0);
  EXPECT_EQ(grey.GetGain(), 1.5);
  EXPECT_EQ(grey.GetOffset(), -0.25);
  EXPECT_EQ(grey.GetGamma(), 0.7);
  EXPECT_EQ(grey.GetRedBalance(), 1.0);
  EXPECT_EQ(grey.GetGreenBalance(), 0.5);
  EXPECT_EQ(grey.GetBlueBalance(), 1.0);

  grey.SetProperty(kPropertyWhiteRed, 200.9);  // integer part
  grey.SetProperty(kPropertyBlackBlue, 300);   // cut to 8 bits
  EXPECT_EQ(grey.GetWhiteColour(), XARGB32Colour(255, 200, 255, 255));
  EXPECT_EQ(grey.GetBlackColour(), XARGB32Colour(255, 0, 0, 44));
  EXPECT_EQ(grey.GetProperty(kPropertyWhiteRed), 200.0);
  EXPECT_EQ(grey.GetProperty(kPropertyBlackBlue), 44.0);
  EXPECT_EQ(grey.GetProperty(9), 0.0);

  XARGB32ImageRenderer colour;
  colour.SetProperty(kPropertyWhiteRed, 12);  // not a property here
  EXPECT_EQ(colour.GetProperty(kPropertyWhiteRed), 0.0);
  EXPECT_EQ(colour.GetWhiteColour(), kWhite);
}

TEST(RendererProperties, CopyBetweenClassesRescalesBlackAndWhite) {
  XGrey8ImageRenderer grey;
  grey.SetBlack(51);
  grey.SetWhite(204);
  grey.SetGain(2.0);
  grey.SetGamma(0.5);
  grey.SetColourBalance(0.9, 0.8, 0.7);
  grey.SetWhiteColour(XARGB32Colour(255, 255, 0, 0));

  XGrey16ImageRenderer sixteen;
  sixteen.CopyProperties(grey);
  EXPECT_DOUBLE_EQ(sixteen.GetBlack(), 51.0 / 255 * 65535);
  EXPECT_DOUBLE_EQ(sixteen.GetWhite(), 204.0 / 255 * 65535);
  EXPECT_EQ(sixteen.GetGain(), 2.0);
  EXPECT_EQ(sixteen.GetGamma(), 0.5);
  EXPECT_EQ(sixteen.GetBlueBalance(), 0.7);
  EXPECT_EQ(sixteen.GetWhiteColour(), XARGB32Colour(255, 255, 0, 0));

  XGrey8ImageRenderer same;
  same.CopyProperties(grey);  // same class: as they are
  EXPECT_EQ(same.GetBlack(), 51.0);
  EXPECT_EQ(same.GetWhite(), 204.0);

  // A float target takes black and white raw, whatever the ranges.
  XFPImageRenderer fp;
  fp.CopyProperties(sixteen);
  EXPECT_DOUBLE_EQ(fp.GetBlack(), sixteen.GetBlack());
  EXPECT_DOUBLE_EQ(fp.GetWhite(), sixteen.GetWhite());
  EXPECT_EQ(fp.GetWhiteColour(), XARGB32Colour(255, 255, 0, 0));

  // A float source maps its black and white onto the target's range ends.
  XRGB48ImageRenderer rgb;
  fp.SetBlack(-1.0);
  fp.SetWhite(3.0);
  rgb.CopyProperties(fp);
  EXPECT_EQ(rgb.GetBlack(), 0.0);
  EXPECT_EQ(rgb.GetWhite(), 65535.0);

  // A mask has no black, white or gamma to give.
  XMaskImageRenderer mask;
  mask.SetGamma(3.0);
  mask.SetOffset(0.25);
  XGrey8ImageRenderer fromMask;
  fromMask.SetBlack(7);
  fromMask.CopyProperties(mask);
  EXPECT_EQ(fromMask.GetBlack(), 7.0);
  EXPECT_EQ(fromMask.GetGamma(), 1.0);
  EXPECT_EQ(fromMask.GetOffset(), 0.25);
}

// --------------------------------------------------------------- luminance

TEST(RendererLuminance, LevelsAndTheirInverse) {
  XGrey8ImageRenderer grey;
  EXPECT_EQ(grey.GetLuminance(100), 100);
  EXPECT_EQ(grey.GetLuminance(-5), 0);
  EXPECT_EQ(grey.GetLuminance(300), 255);
  EXPECT_NEAR(grey.GetValueForLuminance(100), 100.0, 1e-9);

  grey.SetBlack(50);
  grey.SetWhite(150);
  grey.SetGamma(2.0);
  EXPECT_EQ(grey.GetLuminance(100), 63);  // 0.5^2 * 255 = 63.75
  EXPECT_NEAR(grey.GetValueForLuminance(64), 100.0, 0.2);

  // No range: scale 0, only the offset counts.
  grey.SetWhite(50);
  grey.SetOffset(0.5);
  grey.SetGamma(1.0);
  EXPECT_EQ(grey.GetLuminance(1000), 127);

  XMaskImageRenderer mask;
  mask.SetWhiteColour(XARGB32Colour(255, 255, 0, 0));
  mask.SetBlackColour(XARGB32Colour(255, 0, 30, 0));
  EXPECT_EQ(mask.GetLuminance(128), 85);
  EXPECT_EQ(mask.GetLuminance(127), 10);
}

// ------------------------------------------------------------------ tables

TEST(RendererTables, ColourRenderersHaveNoTable) {
  XARGB32ImageRenderer argb;
  XBGRA32ImageRenderer bgra;
  XRGB48ImageRenderer rgb;
  EXPECT_EQ(ErrorNumberOf([&] { delete argb.GetLUT(); }), kErrRendererHasNoLUT);
  EXPECT_EQ(ErrorNumberOf([&] { delete bgra.GetLUT(); }), kErrRendererHasNoLUT);
  EXPECT_EQ(ErrorNumberOf([&] { delete rgb.GetLUT(); }), kErrRendererHasNoLUT);
  EXPECT_EQ(ErrorNumberOf([&] { rgb.ApplyLUT(XIntToColourLUT::GetStandardLUT(8)); }),
            kErrRendererHasNoLUT);
}

TEST(RendererTables, GreyTableFollowsTheRampColours) {
  XGrey8ImageRenderer grey;
  std::unique_ptr<XIntToColourLUT> identity(grey.GetLUT());
  ASSERT_EQ(identity->GetSize(), 256u);
  EXPECT_EQ(EntryOf(*identity, 0), kBlack);
  EXPECT_EQ(EntryOf(*identity, 255), kWhite);
  for (UInt32 i = 1; i < 256; ++i) ASSERT_GE(EntryOf(*identity, i).red, EntryOf(*identity, i - 1).red);

  grey.SetBlack(100);
  grey.SetWhite(200);
  grey.SetBlackColour(XARGB32Colour(255, 0, 0, 100));
  grey.SetWhiteColour(XARGB32Colour(255, 255, 0, 0));
  grey.SetColourBalance(1.0, 1.0, 2.0);  // black's blue becomes 200
  std::unique_ptr<XIntToColourLUT> ramp(grey.GetLUT());
  EXPECT_EQ(EntryOf(*ramp, 50), XARGB32Colour(255, 0, 0, 200));
  EXPECT_EQ(EntryOf(*ramp, 250), XARGB32Colour(255, 255, 0, 0));
  // level 127 at the middle: red (65536 * 127) >> 16; blue delta trunc(-200 / 255 * 65536)
  EXPECT_EQ(EntryOf(*ramp, 150), XARGB32Colour(255, 127, 0, UInt8(200 + ((-51400 * 127) >> 16))));

  std::unique_ptr<XIntToColourLUT> wide(XGrey16ImageRenderer().GetLUT());
  EXPECT_EQ(wide->GetSize(), 65536u);
  EXPECT_EQ(wide->GetTrueDepth(), 16u);
  EXPECT_EQ(EntryOf(*wide, 65535), kWhite);
}

TEST(RendererTables, MaskTableSplitsAt128) {
  XMaskImageRenderer mask;
  mask.SetWhiteColour(XARGB32Colour(0, 255, 128, 0));
  mask.SetGain(0.5);
  std::unique_ptr<XIntToColourLUT> lut(mask.GetLUT());
  EXPECT_EQ(EntryOf(*lut, 127), kBlack);
  EXPECT_EQ(EntryOf(*lut, 128), XARGB32Colour(255, 127, 64, 0));
  EXPECT_EQ(EntryOf(*lut, 255), XARGB32Colour(255, 127, 64, 0));
}

TEST(RendererTables, ApplyTakesTheEndColoursAndRange) {
  XIntToColourLUT green(256);
  green.MakeChannelLUT(kGreenChannel);
  XGrey8ImageRenderer fromGreen(green);
  EXPECT_EQ(fromGreen.GetWhiteColour(), XARGB32Colour(255, 0, 255, 0));
  EXPECT_EQ(fromGreen.GetBlackColour(), kBlack);
  EXPECT_EQ(fromGreen.GetWhite(), 255.0);
  EXPECT_EQ(fromGreen.GetBlack(), 0.0);

  XIntToColourLUT down(XIntToColourLUT::GetStandardLUT(8));
  down.Reverse(0, 255);
  XGrey8ImageRenderer grey;
  grey.SetRendererType(kRendererRainbow);
  grey.SetBlack(9);
  grey.ApplyLUT(down);
  EXPECT_EQ(grey.GetWhiteColour(), kWhite);  // the downward table's first entry
  EXPECT_EQ(grey.GetRendererType(), kRendererRamp);
  EXPECT_EQ(grey.GetBlack(), 0.0);

  XIntToColourLUT down16(XIntToColourLUT::GetStandardLUT(16));
  down16.Reverse(0, 65535);
  XGrey16ImageRenderer sixteen(down16);
  EXPECT_EQ(sixteen.GetWhiteColour(), kBlack);  // no downward test here
  EXPECT_EQ(sixteen.GetWhite(), 65535.0);

  XIntToColourLUT twelve(XIntToColourLUT::GetStandardLUT(12));
  XGrey16ImageRenderer fromTwelve(twelve);
  EXPECT_EQ(fromTwelve.GetWhite(), 4095.0);
  EXPECT_TRUE(fromTwelve.IsNormalExceptForWhitePoint());
}

TEST(RendererTables, FloatRendererNeedsAFloatTable) {
  XFPImageRenderer fp;
  EXPECT_EQ(ErrorNumberOf([&] { fp.ApplyLUT(XIntToColourLUT::GetStandardLUT(8)); }),
            kErrRendererHasNoLUT);

  XFloatToColourLUT range(2.0, 10.0);
  range.MakeChannelLUT(kRedChannel);
  XFPImageRenderer fromRange(range);
  EXPECT_EQ(fromRange.GetBlack(), 2.0);
  EXPECT_EQ(fromRange.GetWhite(), 10.0);
  EXPECT_EQ(fromRange.GetWhiteColour(), XARGB32Colour(255, 255, 0, 0));

  std::unique_ptr<XIntToColourLUT> back(fromRange.GetLUT());
  auto* floatBack = dynamic_cast<XFloatToColourLUT*>(back.get());
  ASSERT_NE(floatBack, nullptr);
  EXPECT_EQ(floatBack->GetMin(), 2.0);
  EXPECT_EQ(floatBack->GetMax(), 10.0);
  EXPECT_EQ(EntryOf(*back, 0), kBlack);
  EXPECT_EQ(EntryOf(*back, 255), XARGB32Colour(255, 255, 0, 0));
  XFPImageRenderer again(*floatBack);
  EXPECT_EQ(again.GetWhiteColour(), fromRange.GetWhiteColour());
}

// ------------------------------------------------------------------ copies

TEST(RendererCopies, CloneKeepsClassAndSettings) {
  XMaskImageRenderer mask;
  mask.SetGain(3.0);
  mask.SetWhiteColour(XARGB32Colour(255, 1, 2, 3));
  std::unique_ptr<XImageRenderer> clone(mask.Clone());
  ASSERT_NE(dynamic_cast<XMaskImageRenderer*>(clone.get()), nullptr);
  EXPECT_EQ(clone->GetVersion(), XMaskImageRenderer::GetClassVersion());
  EXPECT_EQ(clone->GetGain(), 3.0);
  EXPECT_EQ(clone->GetWhiteColour(), XARGB32Colour(255, 1, 2, 3));

  XFPImageRenderer fp;
  fp.SetRendererType(kRendererRainbow);
  XFPImageRenderer assigned;
  assigned = fp;
  EXPECT_EQ(assigned.GetRendererType(), kRendererRainbow);
  EXPECT_EQ(assigned.GetWhite(), 1.0);
}

}  // namespace
