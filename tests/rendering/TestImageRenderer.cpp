#include <gtest/gtest.h>

#include <memory>

#include "RenderingTestClasses.h"

using namespace mirelan;

namespace {

TEST(Renderer, DefaultsByClass) {
  const Float64 white[] = {255, 255, 65535, 1, 255, 255, 65535};
  const bool grey[] = {true, true, true, true, false, false, false};
  const auto all = EveryRenderer();
  for (size_t i = 0; i < all.size(); ++i) {
    XImageRenderer& r = *all[i];
    SCOPED_TRACE(i);
    EXPECT_EQ(r.GetWhite(), white[i]);
    EXPECT_EQ(r.GetMaxInputValue(), white[i]);
    EXPECT_EQ(r.IsMonochromatic(), grey[i]);
    // Only grey renderers take colours and a type.
    r.SetWhiteColour(XARGB32Colour(255, 1, 2, 3));
    r.SetRendererType(kRendererRainbow);
    EXPECT_EQ(r.GetWhiteColour(), grey[i] ? XARGB32Colour(255, 1, 2, 3) : kWhite);
    EXPECT_EQ(r.GetRendererType(), grey[i] ? kRendererRainbow : kRendererRamp);
    EXPECT_FALSE(r.IsMonochromatic());
  }
}

TEST(Renderer, IsNormalVariants) {
  XGrey8ImageRenderer grey;
  grey.SetBlackColour(XARGB32Colour(0, 0, 0, 0));  // alpha does not count
  EXPECT_TRUE(grey.IsNormal());
  grey.SetWhiteColour(XARGB32Colour(255, 255, 254, 255));
  EXPECT_FALSE(grey.IsNormal());
  EXPECT_FALSE(grey.IsNormalExceptForWhitePoint());
  grey.Normalise();
  EXPECT_TRUE(grey.IsNormal());

  XGrey16ImageRenderer sixteen;
  sixteen.SetWhite(4095);
  EXPECT_FALSE(sixteen.IsNormal());
  EXPECT_TRUE(sixteen.IsNormalExceptForWhitePoint());
  sixteen.SetColourBalance(1.0, 0.5, 1.0);
  EXPECT_FALSE(sixteen.IsNormalExceptForWhitePoint());
  sixteen.Normalise();
  EXPECT_TRUE(sixteen.IsNormal());

  // Float: normal means 0 to 255, and the balances are not asked.
  XFPImageRenderer fp;
  EXPECT_FALSE(fp.IsNormal());
  EXPECT_TRUE(fp.IsNormalExceptForWhitePoint());
  SetProperties(fp, {{kPropertyWhite, 255}, {kPropertyRedBalance, 0.1}});
  EXPECT_TRUE(fp.IsNormal());
  // Normalise sets black and white to the input range, which for floats is black and white.
  SetProperties(fp, {{kPropertyBlack, 3}, {kPropertyWhite, 9}, {kPropertyGain, 2}});
  fp.Normalise();
  EXPECT_EQ(fp.GetBlack(), 3.0);
  EXPECT_EQ(fp.GetWhite(), 9.0);
  EXPECT_EQ(fp.GetGain(), 1.0);
}

TEST(Renderer, PropertiesByNumber) {
  const auto all = EveryRenderer();
  for (UInt32 p = 0; p <= 16; ++p) {
    const bool base = p >= 1 && p <= 8, colours = p >= 10 && p <= 15;
    EXPECT_EQ(all[0]->HasProperty(p), base || colours) << p;
    EXPECT_EQ(all[1]->HasProperty(p), (base || colours) && p != 1 && p != 2 && p != 5) << p;  // mask
    EXPECT_EQ(all[6]->HasProperty(p), base) << p;
  }
  using R = XImageRenderer;
  using Getter = Float64 (R::*)() const;
  const Getter getters[] = {&R::GetBlack, &R::GetWhite,      &R::GetGain,          &R::GetOffset,
                            &R::GetGamma, &R::GetRedBalance, &R::GetGreenBalance, &R::GetBlueBalance};
  for (UInt32 id = 1; id <= 8; ++id) {
    XGrey8ImageRenderer grey;
    grey.SetProperty(id, 0.25 + id);
    EXPECT_EQ((grey.*getters[id - 1])(), 0.25 + id) << id;
    EXPECT_EQ(grey.GetProperty(id), 0.25 + id) << id;
  }

  XGrey8ImageRenderer grey;
  // White red takes the integer part; black blue is cut to 8 bits.
  SetProperties(grey, {{13, 200.9}, {12, 300}, {11, 7}});
  EXPECT_EQ(grey.GetWhiteColour(), XARGB32Colour(255, 200, 255, 255));
  EXPECT_EQ(grey.GetBlackColour(), XARGB32Colour(255, 0, 7, 44));
  EXPECT_EQ(grey.GetProperty(12), 44.0);
  EXPECT_EQ(grey.GetProperty(9), 0.0);
  all[6]->SetProperty(13, 12);  // not a property of a colour renderer
  EXPECT_EQ(all[6]->GetProperty(13), 0.0);
}

TEST(Renderer, CopyPropertiesRescalesBlackAndWhiteBetweenClasses) {
  XGrey8ImageRenderer grey, same, fromMask;
  SetProperties(grey, {{kPropertyBlack, 51}, {kPropertyWhite, 204}, {kPropertyGain, 2}, {kPropertyBlueBalance, 0.7}});
  grey.SetWhiteColour(XARGB32Colour(255, 255, 0, 0));
  XGrey16ImageRenderer sixteen;
  sixteen.CopyProperties(grey);
  EXPECT_DOUBLE_EQ(sixteen.GetBlack(), 51.0 / 255 * 65535);
  EXPECT_DOUBLE_EQ(sixteen.GetWhite(), 204.0 / 255 * 65535);
  EXPECT_EQ(sixteen.GetGain(), 2.0);
  EXPECT_EQ(sixteen.GetBlueBalance(), 0.7);
  EXPECT_EQ(sixteen.GetWhiteColour(), XARGB32Colour(255, 255, 0, 0));
  same.CopyProperties(grey);  // same class: as they are
  EXPECT_EQ(same.GetWhite(), 204.0);

  XFPImageRenderer fp;  // a float target takes black and white raw
  fp.CopyProperties(sixteen);
  EXPECT_DOUBLE_EQ(fp.GetWhite(), sixteen.GetWhite());
  // A float source maps its black and white onto the target's range ends.
  XRGB48ImageRenderer rgb;
  SetProperties(fp, {{kPropertyBlack, -1}, {kPropertyWhite, 3}});
  rgb.CopyProperties(fp);
  EXPECT_EQ(rgb.GetBlack(), 0.0);
  EXPECT_EQ(rgb.GetWhite(), 65535.0);

  // A mask has no black, white or gamma to give.
  XMaskImageRenderer mask;
  mask.SetGamma(3.0);
  mask.SetOffset(0.25);
  fromMask.SetBlack(7);
  fromMask.CopyProperties(mask);
  EXPECT_EQ(fromMask.GetBlack(), 7.0);
  EXPECT_EQ(fromMask.GetGamma(), 1.0);
  EXPECT_EQ(fromMask.GetOffset(), 0.25);
}

TEST(Renderer, LuminanceAndItsInverse) {
  XGrey8ImageRenderer grey;
  EXPECT_EQ(grey.GetLuminance(-5), 0);
  EXPECT_EQ(grey.GetLuminance(300), 255);
  SetProperties(grey, {{kPropertyBlack, 50}, {kPropertyWhite, 150}, {kPropertyGamma, 2}});
  EXPECT_EQ(grey.GetLuminance(100), 63);  // 0.5^2 * 255 = 63.75
  EXPECT_NEAR(grey.GetValueForLuminance(64), 100.0, 0.2);
  // No range: scale 0, only the offset counts.
  SetProperties(grey, {{kPropertyWhite, 50}, {kPropertyOffset, 0.5}, {kPropertyGamma, 1}});
  EXPECT_EQ(grey.GetLuminance(1000), 127);

  XMaskImageRenderer mask;
  mask.SetWhiteColour(XARGB32Colour(255, 255, 0, 0));
  mask.SetBlackColour(XARGB32Colour(255, 0, 30, 0));
  EXPECT_EQ(mask.GetLuminance(128), 85);
  EXPECT_EQ(mask.GetLuminance(127), 10);
}

TEST(Renderer, GetLUTFollowsTheRampOrThrows2506) {
  // Colour renderers, and the float one given an integer table, throw 2506.
  const auto all = EveryRenderer();
  for (size_t i = 3; i < all.size(); ++i) {
    EXPECT_EQ(ErrorNumberOf([&] { all[i]->ApplyLUT(XIntToColourLUT::GetStandardLUT(8)); }), 2506) << i;
    EXPECT_EQ(ErrorNumberOf([&] { delete all[i]->GetLUT(); }), i > 3 ? 2506 : 0) << i;
  }

  XGrey8ImageRenderer grey;
  std::unique_ptr<XIntToColourLUT> identity(grey.GetLUT());
  ASSERT_EQ(identity->GetSize(), 256u);
  for (UInt32 i = 0; i < 256; ++i) ASSERT_EQ(EntryOf(*identity, i), XARGB32Colour(255, i, i, i));
  // Black's blue becomes 200 through the balance.
  SetProperties(grey, {{kPropertyBlack, 100}, {kPropertyWhite, 200}, {kPropertyBlueBalance, 2}});
  grey.SetBlackColour(XARGB32Colour(255, 0, 0, 100));
  grey.SetWhiteColour(XARGB32Colour(255, 255, 0, 0));
  std::unique_ptr<XIntToColourLUT> ramp(grey.GetLUT());
  EXPECT_EQ(EntryOf(*ramp, 50), XARGB32Colour(255, 0, 0, 200));
  EXPECT_EQ(EntryOf(*ramp, 250), XARGB32Colour(255, 255, 0, 0));
  // level 127 at the middle: red (65536 * 127) >> 16; blue delta trunc(-200 / 255 * 65536)
  EXPECT_EQ(EntryOf(*ramp, 150), XARGB32Colour(255, 127, 0, UInt8(200 + ((-51400 * 127) >> 16))));

  std::unique_ptr<XIntToColourLUT> wide(XGrey16ImageRenderer().GetLUT());
  EXPECT_EQ(wide->GetTrueDepth(), 16u);
  EXPECT_EQ(EntryOf(*wide, 65535), kWhite);

  XMaskImageRenderer mask;  // splits at 128
  mask.SetWhiteColour(XARGB32Colour(0, 255, 128, 0));
  mask.SetGain(0.5);
  std::unique_ptr<XIntToColourLUT> maskLUT(mask.GetLUT());
  EXPECT_EQ(EntryOf(*maskLUT, 127), kBlack);
  EXPECT_EQ(EntryOf(*maskLUT, 128), XARGB32Colour(255, 127, 64, 0));
}

TEST(Renderer, ApplyLUTTakesTheEndColoursAndRange) {
  XIntToColourLUT down(XIntToColourLUT::GetStandardLUT(8));
  down.Reverse(0, 255);
  XGrey8ImageRenderer grey;
  grey.SetRendererType(kRendererRainbow);
  grey.SetBlack(9);
  grey.ApplyLUT(down);
  EXPECT_EQ(grey.GetWhiteColour(), kWhite);  // the downward table's first entry
  EXPECT_EQ(grey.GetBlackColour(), kBlack);
  EXPECT_EQ(grey.GetRendererType(), kRendererRamp);
  EXPECT_EQ(grey.GetBlack(), 0.0);

  XIntToColourLUT down16(XIntToColourLUT::GetStandardLUT(16));
  down16.Reverse(0, 65535);
  EXPECT_EQ(XGrey16ImageRenderer(down16).GetWhiteColour(), kBlack);  // no downward test here
  EXPECT_EQ(XGrey16ImageRenderer(XIntToColourLUT::GetStandardLUT(12)).GetWhite(), 4095.0);

  XFloatToColourLUT range(2.0, 10.0);
  range.MakeChannelLUT(kRedChannel);
  XFPImageRenderer fp(range);
  EXPECT_EQ(fp.GetBlack(), 2.0);
  EXPECT_EQ(fp.GetWhiteColour(), XARGB32Colour(255, 255, 0, 0));
  std::unique_ptr<XIntToColourLUT> back(fp.GetLUT());
  auto* floatBack = dynamic_cast<XFloatToColourLUT*>(back.get());
  ASSERT_NE(floatBack, nullptr);
  EXPECT_EQ(floatBack->GetMax(), 10.0);
  EXPECT_EQ(EntryOf(*back, 255), XARGB32Colour(255, 255, 0, 0));
}

using RendererStreams = RenderingStreamTest;

// The 12001 block of default settings with the given white point.
XByteWriter& BaseBlock(XByteWriter& ioWriter, Float64 inWhite) {
  return ioWriter.U32(0x2EE1).F64(0).F64(1).F64(1).F64(0).F64(inWhite).F64(1).F64(1).F64(1);
}

void Customise(XImageRenderer& ioRenderer) {
  for (UInt32 p = 1; p <= 8; ++p) ioRenderer.SetProperty(p, p + 0.5);
  ioRenderer.SetBlackColour(XARGB32Colour(10, 20, 30, 40));
  ioRenderer.SetWhiteColour(XARGB32Colour(50, 60, 70, 80));
  ioRenderer.SetRendererType(kRendererRainbow);
}

void ExpectSameSettings(const XImageRenderer& a, const XImageRenderer& b) {
  EXPECT_EQ(typeid(a), typeid(b));
  for (UInt32 p = 1; p <= 15; ++p) EXPECT_EQ(a.GetProperty(p), b.GetProperty(p)) << p;
  EXPECT_EQ(a.GetBlackColour(), b.GetBlackColour());  // alpha too
  EXPECT_EQ(a.GetWhiteColour(), b.GetWhiteColour());
  EXPECT_EQ(a.GetRendererType(), b.GetRendererType());
}

TEST_F(RendererStreams, EveryClassWritesItsExactChain) {
  // Base block; grey classes add 12002 version 2 with the type, then 12003
  // with the two colours; then the concrete words.
  const Float64 white[] = {255, 255, 65535, 1, 255, 255, 65535};
  const std::vector<std::vector<UInt32>> words = {{12005}, {12005, 12004}, {12006}, {12010}, {12007}, {12008}, {12009}};
  const auto all = EveryRenderer();
  for (size_t i = 0; i < all.size(); ++i) {
    XByteWriter expected;
    BaseBlock(expected, white[i]);
    if (i < 4) expected.U32(0x00022EE2).U32(0).U32(0x2EE3).Raw({0xFF, 0, 0, 0}).Raw({0xFF, 0xFF, 0xFF, 0xFF});
    for (UInt32 w : words[i]) expected.U32(w);
    EXPECT_EQ(BytesOf([&](XStream& s) { all[i]->WriteStream2(s); }), expected.bytes) << i;
  }
}

TEST_F(RendererStreams, EveryClassRoundTripsThroughReadObjectAndReadStream2) {
  const auto all = EveryRenderer(), targets = EveryRenderer();
  for (size_t i = 0; i < all.size(); ++i) {
    SCOPED_TRACE(i);
    Customise(*all[i]);
    XMemoryStream stream;
    stream.WriteObject(*all[i]);
    stream.SeekTo(0);
    std::unique_ptr<XStorable> object(stream.ReadObject());
    EXPECT_EQ(stream.GetPosition(), stream.GetExtent());
    auto* back = dynamic_cast<XImageRenderer*>(object.get());
    ASSERT_NE(back, nullptr);
    ExpectSameSettings(*back, *all[i]);
    EXPECT_EQ(ErrorReading(*targets[i], BytesOf([&](XStream& s) { all[i]->WriteStream2(s); })), 0);
    ExpectSameSettings(*targets[i], *all[i]);
  }
}

TEST_F(RendererStreams, GreyBlockBeforeVersion2HasNoType) {
  XByteWriter v1;
  BaseBlock(v1, 200).U32(0x00012EE2).U32(0x2EE3).Raw({0xFF, 1, 2, 3}).Raw({0xFF, 4, 5, 6}).U32(0x2EE5);
  XGrey8ImageRenderer grey;
  grey.SetRendererType(kRendererRainbow);
  EXPECT_EQ(ErrorReading(grey, v1.bytes), 0);
  EXPECT_EQ(grey.GetRendererType(), kRendererRainbow);  // stays as it was
  EXPECT_EQ(grey.GetWhite(), 200.0);
  EXPECT_EQ(grey.GetBlackColour(), XARGB32Colour(255, 1, 2, 3));
  EXPECT_EQ(grey.GetWhiteColour(), XARGB32Colour(255, 4, 5, 6));
}

TEST_F(RendererStreams, WrongWordsAndNewerVersionsAreRefused) {
  const auto all = EveryRenderer();
  auto written = [&](size_t i) { return BytesOf([&](XStream& s) { all[i]->WriteStream2(s); }); };
  EXPECT_EQ(ErrorReading(*all[0], written(2)), kErrWrongClass);  // 12006 for 12005
  EXPECT_EQ(ErrorReading(*all[0], written(4)), kErrWrongClass);
  EXPECT_NE(ErrorReading(*all[1], written(0)), 0);  // no 12004 word
  XByteWriter newerGrey, newerConcrete;
  BaseBlock(newerGrey, 255).U32(0x00032EE2).U32(0);
  BaseBlock(newerConcrete, 255).U32(0x00012EE7);
  EXPECT_EQ(ErrorReading(*all[0], newerGrey.bytes), kErrNewerVersion);
  EXPECT_EQ(ErrorReading(*all[6], XByteWriter().U32(0x00012EE1).bytes), kErrNewerVersion);
  EXPECT_EQ(ErrorReading(*all[4], newerConcrete.bytes), kErrNewerVersion);
}

TEST_F(RendererStreams, EveryTruncationThrowsAnXException) {
  XMaskImageRenderer mask;
  Customise(mask);
  ExpectEveryCutOfTwoObjectsThrows(BytesOf([&](XStream& s) {
    s.WriteObject(mask);
    s.WriteObject(XFPImageRenderer());
  }));
}

}  // namespace
