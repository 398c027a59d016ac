// XInvertVolumeTool on every pixel type it serves, with its persisting maximum.
#include <cmath>
#include <memory>

#include "ToolTestSupport.h"
#include "tools/XInvertVolumeTool.h"

using namespace tooltest;

class InvertToolTest : public ToolTest {};

TEST_F(InvertToolTest, GreyLevelsBecomeMaximumMinusValue) {
  XGrey8Volume grey8(3, 1, 1);
  FillWith(grey8, [](SInt32 x, SInt32, SInt32) { return UInt8(x == 0 ? 0 : x == 1 ? 255 : 100); });
  XInvertVolumeTool tool8;
  tool8.ApplyToolInPlace(grey8);
  EXPECT_EQ(At(grey8, 0, 0, 0), 255);
  EXPECT_EQ(At(grey8, 1, 0, 0), 0);
  EXPECT_EQ(At(grey8, 2, 0, 0), 155);
  EXPECT_EQ(tool8.GetMaximum(), 255.0);

  XGrey16Volume grey16(3, 1, 1);
  FillWith(grey16, [](SInt32 x, SInt32, SInt32) { return UInt16(x == 0 ? 0 : x == 1 ? 65535 : 1000); });
  XInvertVolumeTool tool16;
  std::unique_ptr<XVolume> result(tool16.ApplyTool(grey16));
  auto& inverted = static_cast<XGrey16Volume&>(*result);
  EXPECT_EQ(At(inverted, 0, 0, 0), 65535);
  EXPECT_EQ(At(inverted, 1, 0, 0), 0);
  EXPECT_EQ(At(inverted, 2, 0, 0), 64535);
  EXPECT_EQ(At(grey16, 2, 0, 0), 1000);  // the source is left alone
}

TEST_F(InvertToolTest, MasksInvertAsGrey) {
  XMaskVolume mask(2, 1, 1);
  FillWith(mask, [](SInt32 x, SInt32, SInt32) { return UInt8(x == 0 ? 255 : 0); });
  XInvertVolumeTool tool;
  tool.ApplyToolInPlace(mask);
  EXPECT_EQ(At(mask, 0, 0, 0), 0);
  EXPECT_EQ(At(mask, 1, 0, 0), 255);
}

TEST_F(InvertToolTest, ColoursInvertRedGreenBlueAndKeepAlpha) {
  XARGB32Volume argb(2, 1, 1);
  FillWith(argb, [](SInt32 x, SInt32, SInt32) {
    return x == 0 ? XARGB32Colour(17, 0, 255, 100) : XARGB32Colour(0, 255, 0, 1);
  });
  XInvertVolumeTool tool;
  tool.ApplyToolInPlace(argb);
  XARGB32Colour first = At(argb, 0, 0, 0);
  EXPECT_EQ(first.alpha, 17);
  EXPECT_EQ(first.red, 255);
  EXPECT_EQ(first.green, 0);
  EXPECT_EQ(first.blue, 155);
  XARGB32Colour second = At(argb, 1, 0, 0);
  EXPECT_EQ(second.alpha, 0);
  EXPECT_EQ(second.red, 0);
  EXPECT_EQ(second.blue, 254);

  XRGB48Volume rgb(1, 1, 1);
  rgb.Fill(XRGB48Colour(0, 65535, 30000));
  XInvertVolumeTool tool48;
  tool48.ApplyToolInPlace(rgb);
  XRGB48Colour c = At(rgb, 0, 0, 0);
  EXPECT_EQ(c.red, 65535);
  EXPECT_EQ(c.green, 0);
  EXPECT_EQ(c.blue, 35535);
}

TEST_F(InvertToolTest, FloatsMapMinimumToOneAndMaximumToZero) {
  XFPVolume fp(3, 1, 1);
  FillWith(fp, [](SInt32 x, SInt32, SInt32) { return Float32(x == 0 ? 2.0f : x == 1 ? 10.0f : 6.0f); });
  XInvertVolumeTool tool;
  tool.ApplyToolInPlace(fp);
  // 1 - (v / max - min / max) with max 10 and min 2.
  EXPECT_FLOAT_EQ(At(fp, 0, 0, 0), 1.0f);
  EXPECT_FLOAT_EQ(At(fp, 1, 0, 0), 0.2f);
  EXPECT_FLOAT_EQ(At(fp, 2, 0, 0), 0.6f);
  EXPECT_EQ(tool.GetMaximum(), 10.0);

  // Normalised data: a maximum below 1 is used as it is.
  XFPVolume normalised(2, 1, 1);
  FillWith(normalised, [](SInt32 x, SInt32, SInt32) { return x == 0 ? 0.2f : 0.8f; });
  XInvertVolumeTool second;
  second.ApplyToolInPlace(normalised);
  EXPECT_FLOAT_EQ(At(normalised, 0, 0, 0), 1.0f);
  EXPECT_FLOAT_EQ(At(normalised, 1, 0, 0), 0.25f);  // 1 - (0.8 / 0.8 - 0.2 / 0.8)
}

TEST_F(InvertToolTest, BGRAAndGrey32AreRefused) {
  XInvertVolumeTool tool;
  XBGRA32Volume bgra(1, 1, 1);
  EXPECT_EQ(ErrorOf([&] { tool.ApplyToolInPlace(bgra); }), kErrNotForPixelType);
  XGrey32Volume labels(1, 1, 1);
  EXPECT_EQ(ErrorOf([&] { tool.ApplyToolInPlace(labels); }), kErrNotForPixelType);
  EXPECT_TRUE(std::isnan(tool.GetMaximum()));
}

TEST_F(InvertToolTest, TheFirstMaximumStaysForLaterPixelTypes) {
  XInvertVolumeTool tool;
  XGrey8Volume grey8(1, 1, 1);
  grey8.Fill(5);
  tool.ApplyToolInPlace(grey8);
  XGrey16Volume grey16(2, 1, 1);
  FillWith(grey16, [](SInt32 x, SInt32, SInt32) { return UInt16(x == 0 ? 200 : 1000); });
  tool.ApplyToolInPlace(grey16);
  EXPECT_EQ(At(grey16, 0, 0, 0), 55);
  EXPECT_EQ(At(grey16, 1, 0, 0), UInt16(255 - 1000));  // wraps in 16 bits

  // A 16-bit maximum carried to 8 bits keeps its low byte: 65535 acts as 255.
  XInvertVolumeTool wide;
  XGrey16Volume first(1, 1, 1);
  first.Fill(0);
  wide.ApplyToolInPlace(first);
  grey8.Fill(5);
  wide.ApplyToolInPlace(grey8);
  EXPECT_EQ(At(grey8, 0, 0, 0), 250);
}
