// The region writers: XFillVolumeTool, XPaintVolumeTool and XBooleanVolumeTool.
#include "ToolTestSupport.h"
#include "rendering/XImageRenderer.h"
#include "tools/XBooleanVolumeTool.h"
#include "tools/XFillVolumeTool.h"
#include "tools/XPaintVolumeTool.h"

using namespace tooltest;

class FillToolTest : public ToolTest {};

TEST_F(FillToolTest, ValueFillTruncatesToTheTypeInsideTheRegionOnly) {
  XFillVolumeTool tool;
  X3DRegion region(X3DRect(1, 0, 0, 3, 1, 1));

  XGrey8Volume grey8(4, 1, 1);
  grey8.Fill(7);
  tool.FillRegionValue(grey8, &region, 255.9);
  EXPECT_EQ(At(grey8, 0, 0, 0), 7);
  EXPECT_EQ(At(grey8, 1, 0, 0), 255);
  EXPECT_EQ(At(grey8, 2, 0, 0), 255);
  EXPECT_EQ(At(grey8, 3, 0, 0), 7);
  tool.FillRegionValue(grey8, nullptr, 0.0);
  EXPECT_EQ(At(grey8, 3, 0, 0), 0);

  XGrey16Volume grey16(4, 1, 1);
  tool.FillRegionValue(grey16, nullptr, 65535.5);
  EXPECT_EQ(At(grey16, 2, 0, 0), 65535);

  XARGB32Volume argb(4, 1, 1);
  tool.FillRegionValue(argb, &region, 77.7);
  XARGB32Colour c = At(argb, 1, 0, 0);
  EXPECT_EQ(c.GetARGB(), XARGB32Colour(255, 77, 77, 77).GetARGB());

  XFPVolume fp(4, 1, 1);
  tool.FillRegionValue(fp, nullptr, -2.25);
  EXPECT_FLOAT_EQ(At(fp, 3, 0, 0), -2.25f);

  XMaskVolume mask(4, 1, 1);
  mask.Fill(0);
  tool.FillRegionValue(mask, &region, 255.0);
  EXPECT_EQ(At(mask, 2, 0, 0), 255);
}

TEST_F(FillToolTest, OtherTypesAreRefused) {
  XFillVolumeTool tool;
  XRGB48Volume rgb(1, 1, 1);
  EXPECT_EQ(ErrorOf([&] { tool.FillRegionValue(rgb, nullptr, 1.0); }), kErrNotForPixelType);
  XBGRA32Volume bgra(1, 1, 1);
  EXPECT_EQ(ErrorOf([&] { tool.FillRegionValue(bgra, nullptr, 1.0); }), kErrNotForPixelType);
  XGrey8Volume grey(1, 1, 1);
  EXPECT_EQ(ErrorOf([&] { tool.FillRegionColour(grey, nullptr, XARGB32Colour(1, 2, 3)); }), kErrNotForPixelType);
  XARGB32Volume argb(2, 1, 1);
  tool.FillRegionColour(argb, nullptr, XARGB32Colour(9, 1, 2, 3));
  EXPECT_EQ(At(argb, 1, 0, 0).GetARGB(), XARGB32Colour(9, 1, 2, 3).GetARGB());
}

class PaintToolTest : public ToolTest {};

TEST_F(PaintToolTest, TheColourIsConvertedOnceToEachVoxelType) {
  const XARGB32Colour colour(200, 30, 60, 90);  // average 60
  const X3DRect box(0, 0, 0, 2, 1, 1);

  XGrey8Volume grey8(box);
  XPaintVolumeTool::FillRect(grey8, box, colour);
  EXPECT_EQ(At(grey8, 1, 0, 0), 60);

  XMaskVolume mask(box);
  XPaintVolumeTool::FillRect(mask, box, XARGB32Colour(255, 255, 255, 255));
  EXPECT_EQ(At(mask, 0, 0, 0), 255);

  XGrey16Volume grey16(box);
  XPaintVolumeTool::FillRect(grey16, box, colour);
  EXPECT_EQ(At(grey16, 0, 0, 0), 60 * 257);

  XGrey32Volume grey32(box);
  XPaintVolumeTool::FillRect(grey32, box, XARGB32Colour(255, 255, 255, 255));
  EXPECT_EQ(At(grey32, 0, 0, 0), 0xFFFFFFFFu);

  XARGB32Volume argb(box);
  XPaintVolumeTool::FillRect(argb, box, colour);
  EXPECT_EQ(At(argb, 0, 0, 0).GetARGB(), colour.GetARGB());

  XBGRA32Volume bgra(box);
  XPaintVolumeTool::FillRect(bgra, box, colour);
  XBGRA32Colour b = At(bgra, 0, 0, 0);
  EXPECT_EQ(b.alpha, 200);
  EXPECT_EQ(b.red, 30);
  EXPECT_EQ(b.blue, 90);

  XRGB48Volume rgb(box);
  XPaintVolumeTool::FillRect(rgb, box, colour);
  XRGB48Colour r = At(rgb, 0, 0, 0);
  EXPECT_EQ(r.red, 30 * 257);
  EXPECT_EQ(r.blue, 90 * 257);

  // Float takes low + average * (high - low) / 255 over the display range.
  XFPVolume fp(box);
  fp.GetPlaneRenderer().SetBlack(0.0);
  fp.GetPlaneRenderer().SetWhite(510.0);
  XPaintVolumeTool::FillRect(fp, box, colour);
  EXPECT_FLOAT_EQ(At(fp, 0, 0, 0), 120.0f);
}

TEST_F(PaintToolTest, PaintsThroughAComplexRegionAndOnlyThere) {
  XGrey16Volume volume(X3DRect(10, 10, 0, 14, 12, 1));
  volume.Fill(1);
  X3DRegion region(MakeMask(X3DRect(8, 10, 0, 13, 11, 1), [](SInt32 x, SInt32, SInt32) { return x % 2 == 0; }));
  XPaintVolumeTool::FillRegion(volume, region, XARGB32Colour(255, 255, 255, 255));
  EXPECT_EQ(At(volume, 10, 10, 0), 65535);
  EXPECT_EQ(At(volume, 11, 10, 0), 1);
  EXPECT_EQ(At(volume, 12, 10, 0), 65535);
  EXPECT_EQ(At(volume, 13, 10, 0), 1);
  EXPECT_EQ(At(volume, 10, 11, 0), 1);
}

class BooleanToolTest : public ToolTest {};

TEST_F(BooleanToolTest, AndClearsWhereTheMaskIsZeroWithinTheSharedBox) {
  XMaskVolume mask = MakeMask(X3DRect(1, 0, 0, 5, 1, 1), [](SInt32 x, SInt32, SInt32) { return x != 2; });

  XGrey8Volume grey8(4, 1, 1);
  grey8.Fill(9);
  XBooleanVolumeTool::AndVolumes(grey8, mask, grey8);
  EXPECT_EQ(At(grey8, 0, 0, 0), 9);  // outside the mask's box: left as it was
  EXPECT_EQ(At(grey8, 1, 0, 0), 9);
  EXPECT_EQ(At(grey8, 2, 0, 0), 0);
  EXPECT_EQ(At(grey8, 3, 0, 0), 9);

  XARGB32Volume argb(4, 1, 1);
  argb.Fill(XARGB32Colour(255, 1, 2, 3));
  XBooleanVolumeTool::AndVolumes(argb, mask, argb);
  EXPECT_EQ(At(argb, 2, 0, 0).GetARGB(), 0u);
  EXPECT_EQ(At(argb, 3, 0, 0).GetARGB(), XARGB32Colour(255, 1, 2, 3).GetARGB());

  XGrey16Volume grey16(4, 1, 1);
  grey16.Fill(65535);
  XBooleanVolumeTool::AndVolumes(grey16, mask, grey16);
  EXPECT_EQ(At(grey16, 2, 0, 0), 0);
  EXPECT_EQ(At(grey16, 1, 0, 0), 65535);

  XRGB48Volume rgb(4, 1, 1);
  rgb.Fill(XRGB48Colour(65535));
  XBooleanVolumeTool::AndVolumes(rgb, mask, rgb);
  EXPECT_EQ(At(rgb, 2, 0, 0).blue, 0);
  EXPECT_EQ(At(rgb, 3, 0, 0).blue, 65535);

  XFPVolume fp(4, 1, 1);
  fp.Fill(-1.5f);
  XBooleanVolumeTool::AndVolumes(fp, mask, fp);
  EXPECT_EQ(At(fp, 2, 0, 0), 0.0f);
  EXPECT_EQ(At(fp, 3, 0, 0), -1.5f);

  XMaskVolume target(4, 1, 1);
  target.Fill(255);
  XBooleanVolumeTool::AndVolumes(target, mask, target);
  EXPECT_EQ(At(target, 2, 0, 0), 0);
}

TEST_F(BooleanToolTest, ADifferentSourceIsCopiedFirst) {
  XMaskVolume mask = MakeMask(X3DRect(0, 0, 0, 2, 1, 1), [](SInt32 x, SInt32, SInt32) { return x == 0; });
  XGrey8Volume source(2, 1, 1);
  source.Fill(40);
  XGrey8Volume dest(2, 1, 1);
  dest.Fill(1);
  XBooleanVolumeTool::AndVolumes(source, mask, dest);
  EXPECT_EQ(At(dest, 0, 0, 0), 40);
  EXPECT_EQ(At(dest, 1, 0, 0), 0);
  EXPECT_EQ(At(source, 1, 0, 0), 40);
}

TEST_F(BooleanToolTest, XorFlipsByteVolumesAndRefusesOthers) {
  XMaskVolume mask = MakeMask(X3DRect(0, 0, 0, 2, 1, 1), [](SInt32 x, SInt32, SInt32) { return x == 0; });
  XMaskVolume target = MakeMask(X3DRect(0, 0, 0, 2, 1, 1), [](SInt32, SInt32, SInt32) { return true; });
  XBooleanVolumeTool::XorVolumes(target, mask, target);
  EXPECT_EQ(At(target, 0, 0, 0), 0);
  EXPECT_EQ(At(target, 1, 0, 0), 255);

  XGrey8Volume grey(2, 1, 1);
  grey.Fill(0x0F);
  XBooleanVolumeTool::XorVolumes(grey, mask, grey);
  EXPECT_EQ(At(grey, 0, 0, 0), 0xF0);
  EXPECT_EQ(At(grey, 1, 0, 0), 0x0F);

  XGrey16Volume grey16(2, 1, 1);
  EXPECT_EQ(ErrorOf([&] { XBooleanVolumeTool::XorVolumes(grey16, mask, grey16); }), kErrNotForPixelType);
  XBGRA32Volume bgra(2, 1, 1);
  EXPECT_EQ(ErrorOf([&] { XBooleanVolumeTool::AndVolumes(bgra, mask, bgra); }), kErrNotForPixelType);
  XGrey32Volume labels(2, 1, 1);
  EXPECT_EQ(ErrorOf([&] { XBooleanVolumeTool::AndVolumes(labels, mask, labels); }), kErrNotForPixelType);
}
