#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "RenderingTestClasses.h"
#include "rendering/XNiceColours.h"
#include "volume/XARGB32Volume.h"

namespace {

const XARGB32Colour kBlack(255, 0, 0, 0);
const XARGB32Colour kWhite(255, 255, 255, 255);

XARGB32Colour EntryOf(const XIntToColourLUT& inLUT, UInt32 inIndex) {
  XARGB32Colour c;
  inLUT.IndexToValue(inIndex, c);
  return c;
}

UInt8 EntryOf(const XIntToIntLUT& inLUT, UInt32 inIndex) {
  UInt8 v;
  inLUT.IndexToValue(inIndex, v);
  return v;
}

void Set(XIntToColourLUT& ioLUT, UInt32 inIndex, const XARGB32Colour& inColour) {
  XLock lock(ioLUT, kLockReadWrite);
  ioLUT.SetValue(inIndex, inColour);
}

void Set(XIntToIntLUT& ioLUT, UInt32 inIndex, UInt8 inValue) {
  XLock lock(ioLUT, kLockReadWrite);
  ioLUT.SetValue(inIndex, inValue);
}

XIntToIntLUT NumberRamp(UInt32 inSize) {
  XIntToIntLUT lut(inSize);
  XLock lock(lut, kLockReadWrite);
  for (UInt32 i = 0; i < inSize; ++i) lut.SetValue(i, UInt8(i));
  return lut;
}

// ------------------------------------------------------------------ seeds

TEST(LUTSeed, NewTablesAndChangesTakeFreshSeedsCopiesShareThem) {
  XIntToColourLUT a(4), b(4);
  EXPECT_NE(a.GetSeed(), b.GetSeed());
  EXPECT_GT(b.GetSeed(), a.GetSeed());

  XIntToColourLUT copy(a);
  EXPECT_EQ(copy.GetSeed(), a.GetSeed());

  const UInt32 before = a.GetSeed();
  Set(a, 1, kWhite);
  EXPECT_NE(a.GetSeed(), before);
  EXPECT_NE(a.GetSeed(), copy.GetSeed());

  b = a;  // same size: shares entries and seed
  EXPECT_EQ(b.GetSeed(), a.GetSeed());
  EXPECT_EQ(EntryOf(b, 1), kWhite);

  XIntToIntLUT small(4), large = NumberRamp(16);
  const UInt32 smallSeed = small.GetSeed();
  small = large;  // other size: resampled, fresh seed
  EXPECT_NE(small.GetSeed(), large.GetSeed());
  EXPECT_NE(small.GetSeed(), smallSeed);
}

TEST(LUTSeed, CopyIsIndependentOnceWritten) {
  XIntToColourLUT a(4);
  a.MakeDefaultLUT();
  XIntToColourLUT b(a);
  Set(b, 0, XARGB32Colour(255, 9, 9, 9));
  EXPECT_EQ(EntryOf(a, 0), kBlack);
  EXPECT_EQ(EntryOf(b, 0), XARGB32Colour(255, 9, 9, 9));
}

// ----------------------------------------------------------- reverse lookup

TEST(LUTReverseLookup, OneSidedDistanceFirstSmallestWins) {
  XIntToColourLUT lut(4);
  Set(lut, 0, XARGB32Colour(255, 0, 0, 0));
  Set(lut, 1, XARGB32Colour(255, 100, 0, 0));
  Set(lut, 2, XARGB32Colour(255, 50, 50, 50));
  Set(lut, 3, XARGB32Colour(255, 50, 50, 50));
  // distances: (60+40+40)/3 = 46, (0+40+40)/3 = 26, (10+0+0)/3 = 3, 3
  EXPECT_EQ(lut.ValueToIndex(XARGB32Colour(255, 60, 40, 40)), 2u);

  XIntToColourLUT whiteFirst(3);
  Set(whiteFirst, 0, kWhite);
  Set(whiteFirst, 1, XARGB32Colour(255, 10, 10, 10));
  Set(whiteFirst, 2, XARGB32Colour(255, 10, 10, 10));
  // White is at least as bright in every channel: distance 0, scan ends.
  EXPECT_EQ(whiteFirst.ValueToIndex(XARGB32Colour(255, 10, 10, 10)), 0u);

  XIntToColourLUT empty(0);
  EXPECT_EQ(empty.GetSize(), 0u);
  EXPECT_EQ(empty.GetLastEntry(), 0xFFFFFFFFu);
  EXPECT_EQ(empty.ValueToIndex(kWhite), 0u);

  XIntToIntLUT numbers(3);
  Set(numbers, 0, 10);
  Set(numbers, 1, 30);
  Set(numbers, 2, 20);
  EXPECT_EQ(numbers.ValueToIndex(24), 2u);
  EXPECT_EQ(numbers.ValueToIndex(25), 1u);  // 5 and 5: the first wins
}

TEST(LUTReverseLookup, OneSlotCacheIgnoresAlphaAndIsDroppedBySetValue) {
  XIntToColourLUT lut(3);
  Set(lut, 0, kBlack);
  Set(lut, 1, XARGB32Colour(255, 100, 100, 100));
  Set(lut, 2, kWhite);
  const XARGB32Colour grey(255, 90, 90, 90);
  ASSERT_EQ(lut.ValueToIndex(grey), 1u);

  // Change an entry behind the cache's back: the cached answer stands,
  // also for the same colour with another alpha.
  {
    XLock lock(lut, kLockReadWrite);
    lut.IndexToValue(1) = XARGB32Colour(255, 10, 10, 10);
  }
  EXPECT_EQ(lut.ValueToIndex(grey), 1u);
  EXPECT_EQ(lut.ValueToIndex(XARGB32Colour(0, 90, 90, 90)), 1u);

  // Another value evicts the slot, and the table is scanned again.
  EXPECT_EQ(lut.ValueToIndex(kBlack), 0u);
  EXPECT_EQ(lut.ValueToIndex(grey), 2u);

  // SetValue resets the cache.
  Set(lut, 0, kWhite);
  EXPECT_EQ(lut.ValueToIndex(grey), 0u);
}

// ---------------------------------------------------- fill, blend, reverse

TEST(LUTEditing, FillClampsAndIgnoresReversedRanges) {
  XIntToColourLUT lut(256);
  lut.MakeDefaultLUT();
  const XARGB32Colour red(255, 255, 0, 0);
  lut.Fill(10, 5, red);
  for (UInt32 i = 0; i < 256; ++i) ASSERT_EQ(EntryOf(lut, i), XARGB32Colour(255, i, i, i)) << i;
  lut.Fill(5, 1000000, red);
  EXPECT_EQ(EntryOf(lut, 4), XARGB32Colour(255, 4, 4, 4));
  EXPECT_EQ(EntryOf(lut, 5), red);
  EXPECT_EQ(EntryOf(lut, 255), red);
}

TEST(LUTEditing, ColourBlendIsSignedTruncatingAndCoversAlpha) {
  XIntToColourLUT lut(16);
  lut.Fill(0, 15, XARGB32Colour(1, 1, 1, 1));
  Set(lut, 0, XARGB32Colour(0, 255, 0, 200));
  Set(lut, 2, XARGB32Colour(255, 0, 255, 100));
  lut.Blend(0, 2);
  // alpha 0 + 255/2 = 127; red 255 - 255/2 = 128 (towards zero); blue 200 - 50
  EXPECT_EQ(EntryOf(lut, 1), XARGB32Colour(127, 128, 127, 150));

  const XARGB32Colour before = EntryOf(lut, 4);
  lut.Blend(3, 3);
  lut.Blend(9, 3);
  EXPECT_EQ(EntryOf(lut, 4), before);

  // Ends past the table are clamped to the last entry.
  Set(lut, 10, XARGB32Colour(255, 200, 200, 200));
  Set(lut, 15, XARGB32Colour(255, 100, 100, 100));
  lut.Blend(10, 99);
  EXPECT_EQ(EntryOf(lut, 15), XARGB32Colour(255, 100, 100, 100));
  EXPECT_EQ(EntryOf(lut, 12), XARGB32Colour(255, 160, 160, 160));
}

TEST(LUTEditing, NumberBlendWrapsWhenDescending) {
  XIntToIntLUT lut(16);
  Set(lut, 0, 200);
  Set(lut, 10, 100);
  lut.Blend(0, 10);
  // The difference is taken modulo 256: 156, not -100.
  EXPECT_EQ(EntryOf(lut, 1), 215);
  EXPECT_EQ(EntryOf(lut, 5), UInt8(200 + 78));
  EXPECT_EQ(EntryOf(lut, 9), UInt8(200 + 140));
  EXPECT_EQ(EntryOf(lut, 10), 100);

  Set(lut, 0, 0);
  Set(lut, 3, 255);
  lut.Blend(0, 3);
  EXPECT_EQ(EntryOf(lut, 1), 85);
  EXPECT_EQ(EntryOf(lut, 2), 170);
}

TEST(LUTEditing, ReverseUsesACopyOfTheTable) {
  XIntToIntLUT lut = NumberRamp(8);
  lut.Reverse(2, 100);  // clamped to 7
  const UInt8 expected[8] = {0, 1, 7, 6, 5, 4, 3, 2};
  for (UInt32 i = 0; i < 8; ++i) EXPECT_EQ(EntryOf(lut, i), expected[i]) << i;
}

TEST(LUTEditing, CopyDataFromAndResizingAssignmentResample) {
  const XIntToIntLUT source = NumberRamp(256);
  XIntToIntLUT target(16);
  target.CopyDataFrom(source, 0, 255, 0, 15);
  for (UInt32 k = 0; k < 16; ++k) EXPECT_EQ(EntryOf(target, k), 17 * k) << k;

  XIntToIntLUT part = NumberRamp(16);
  part.CopyDataFrom(source, 100, 103, 4, 7);
  EXPECT_EQ(EntryOf(part, 3), 3);
  EXPECT_EQ(EntryOf(part, 4), 100);
  EXPECT_EQ(EntryOf(part, 7), 103);
  EXPECT_EQ(EntryOf(part, 8), 8);

  EXPECT_THROW(part.CopyDataFrom(source, 0, 10, 5, 5), XInternalError);

  XIntToIntLUT resized(4);
  resized = source;  // entry i = source[255 * i / 3]
  EXPECT_EQ(EntryOf(resized, 1), 85);
  EXPECT_EQ(EntryOf(resized, 3), 255);
  XIntToIntLUT single(1);
  EXPECT_THROW(single = source, XInternalError);
}

// --------------------------------------------------------- standard tables

TEST(StandardLUT, DepthsOneEightTwelveSixteenAndAbove) {
  const XIntToColourLUT& one = XIntToColourLUT::GetStandardLUT(1);
  EXPECT_EQ(one.GetSize(), 256u);
  EXPECT_EQ(one.GetTrueDepth(), 1u);
  EXPECT_EQ(one.GetLastTrueValue(), 1u);
  EXPECT_EQ(EntryOf(one, 0), kBlack);
  EXPECT_EQ(EntryOf(one, 1), kWhite);
  EXPECT_EQ(EntryOf(one, 255), kWhite);

  const XIntToColourLUT& eight = XIntToColourLUT::GetStandardLUT(8);
  for (UInt32 i = 0; i < 256; ++i) ASSERT_EQ(EntryOf(eight, i), XARGB32Colour(255, i, i, i));
  EXPECT_EQ(&XIntToColourLUT::GetStandardLUT(17), &eight);
  EXPECT_EQ(&XIntToColourLUT::GetStandardLUT(8), &eight);

  const XIntToColourLUT& twelve = XIntToColourLUT::GetStandardLUT(12);
  EXPECT_EQ(twelve.GetSize(), 65536u);
  EXPECT_EQ(twelve.GetLastTrueValue(), 4095u);
  EXPECT_EQ(twelve.GetTrueDepth(), 12u);
  EXPECT_EQ(EntryOf(twelve, 2048), XARGB32Colour(255, 127, 127, 127));  // 255 * 2048 / 4095
  EXPECT_EQ(EntryOf(twelve, 4094).red, 254);
  EXPECT_EQ(EntryOf(twelve, 4095), kWhite);
  EXPECT_EQ(EntryOf(twelve, 4096), kWhite);
  EXPECT_EQ(EntryOf(twelve, 65535), kWhite);

  const XIntToColourLUT& sixteen = XIntToColourLUT::GetStandardLUT(16);
  EXPECT_EQ(sixteen.GetLastTrueValue(), 65535u);
  EXPECT_EQ(EntryOf(sixteen, 257), XARGB32Colour(255, 1, 1, 1));
  EXPECT_EQ(EntryOf(sixteen, 65535), kWhite);

  EXPECT_THROW(XIntToColourLUT::GetStandardLUT(0), XInternalError);
}

TEST(StandardLUT, NumberTablesRefuseDepthsAbove16) {
  EXPECT_THROW(XIntToIntLUT::GetStandardLUT(17), XInternalError);
  EXPECT_THROW(XIntToIntLUT::GetStandardLUT(0), XInternalError);
  const XIntToIntLUT& four = XIntToIntLUT::GetStandardLUT(4);
  EXPECT_EQ(four.GetSize(), 256u);
  EXPECT_EQ(EntryOf(four, 1), 17);
  EXPECT_EQ(EntryOf(four, 15), 255);
  EXPECT_EQ(XIntToIntLUT::GetStandardLUT(9).GetSize(), 65536u);
  EXPECT_EQ(EntryOf(XIntToIntLUT::GetStandardLUT(16), 65535), 255);
}

TEST(StandardLUT, DisposeRebuildsOnNextUse) {
  XIntToColourLUT::GetStandardLUT(3);
  XIntToColourLUT::DisposeStandardLUTs();
  XIntToIntLUT::DisposeStandardLUTs();
  const XIntToColourLUT& three = XIntToColourLUT::GetStandardLUT(3);
  EXPECT_EQ(three.GetLastTrueValue(), 7u);
  EXPECT_EQ(EntryOf(three, 7), kWhite);
  EXPECT_EQ(EntryOf(three, 1), XARGB32Colour(255, 36, 36, 36));
}

// ------------------------------------------------------- colour table tools

TEST(ColourLUT, NewTableDepthFromHighestBit) {
  EXPECT_EQ(XIntToColourLUT(300).GetTrueDepth(), 8u);
  EXPECT_EQ(XIntToColourLUT(300).GetLastTrueValue(), 299u);
  EXPECT_EQ(XIntToColourLUT(65536).GetTrueDepth(), 16u);
  EXPECT_EQ(XIntToColourLUT(1).GetTrueDepth(), 0u);
}

TEST(ColourLUT, ChannelTablesRampOverTheDepthOnly) {
  XIntToColourLUT lut(256);
  lut.Fill(0, 255, XARGB32Colour(1, 2, 3, 4));
  lut.SetTrueDepth(4);
  lut.MakeChannelLUT(kGreenChannel | kBlueChannel);
  EXPECT_EQ(EntryOf(lut, 0), XARGB32Colour(255, 0, 0, 0));
  EXPECT_EQ(EntryOf(lut, 1), XARGB32Colour(255, 0, 17, 17));
  EXPECT_EQ(EntryOf(lut, 15), XARGB32Colour(255, 0, 255, 255));
  EXPECT_EQ(EntryOf(lut, 16), XARGB32Colour(1, 2, 3, 4));

  lut.SetTrueDepth(0);
  EXPECT_THROW(lut.MakeChannelLUT(kRedChannel), XInternalError);
}

TEST(ColourLUT, WavelengthRampsFromBlackToTheSpectralColour) {
  XIntToColourLUT lut(256);
  lut.MakeWavelengthLUT(650);
  XARGB32Colour red = kBlack;
  red.SetWavelength(650);
  EXPECT_EQ(EntryOf(lut, 0), kBlack);
  EXPECT_EQ(EntryOf(lut, 255), red);
  EXPECT_EQ(EntryOf(lut, 128).red, 255 * 128 / 255);

  // The black end is written first, so equal ends keep the colour.
  lut.Wavelength(440, 7, 7);
  XARGB32Colour blue = kBlack;
  blue.SetWavelength(440);
  EXPECT_EQ(EntryOf(lut, 7), blue);
}

TEST(ColourLUT, MonotonicityByBrightestChannel) {
  XIntToColourLUT up(XIntToColourLUT::GetStandardLUT(8));
  EXPECT_TRUE(up.IsMonotonic(kMonotonicIncreasing));
  EXPECT_FALSE(up.IsMonotonic(kMonotonicDecreasing));
  EXPECT_TRUE(up.IsMonotonic(kMonotonicAny));

  XIntToColourLUT down(up);
  down.Reverse(0, 255);
  EXPECT_TRUE(down.IsMonotonic(kMonotonicDecreasing));
  EXPECT_FALSE(down.IsMonotonic(kMonotonicIncreasing));
  EXPECT_TRUE(down.IsMonotonic(kMonotonicAny));

  // A changed table is scanned again: the cache is keyed by seed.
  Set(up, 100, kBlack);
  EXPECT_FALSE(up.IsMonotonic(kMonotonicIncreasing));
  EXPECT_FALSE(up.IsMonotonic(kMonotonicAny));

  XIntToColourLUT flat(16);
  flat.Fill(0, 15, XARGB32Colour(255, 9, 0, 0));
  Set(flat, 3, XARGB32Colour(255, 0, 9, 0));  // different colour, same brightness
  EXPECT_TRUE(flat.IsMonotonic(kMonotonicIncreasing));
  EXPECT_TRUE(flat.IsMonotonic(kMonotonicDecreasing));

  EXPECT_THROW(flat.IsMonotonic(XMonotonicityDirection(3)), XInternalError);
}

TEST(ColourLUT, MonotonicityIsSafeOnSeveralThreads) {
  XIntToColourLUT lut(XIntToColourLUT::GetStandardLUT(16));
  std::vector<std::thread> threads;
  std::vector<int> answers(8, -1);
  for (int t = 0; t < 8; ++t)
    threads.emplace_back([&, t] {
      bool all = true;
      for (int k = 0; k < 20; ++k)
        all = all && lut.IsMonotonic(t % 2 ? kMonotonicIncreasing : kMonotonicAny) &&
              !lut.IsMonotonic(kMonotonicDecreasing);
      answers[t] = all ? 1 : 0;
    });
  for (auto& thread : threads) thread.join();
  for (int a : answers) EXPECT_EQ(a, 1);
}

TEST(ColourLUT, AssignmentAcrossSizesFollowsTheDepths) {
  XIntToColourLUT target(65536);
  target.SetTrueDepth(12);
  const UInt32 seed = target.GetSeed();
  target = XIntToColourLUT::GetStandardLUT(8);
  EXPECT_EQ(target.GetTrueDepth(), 12u);  // keeps its own
  EXPECT_EQ(target.GetSize(), 65536u);
  EXPECT_NE(target.GetSeed(), seed);
  EXPECT_EQ(EntryOf(target, 0), kBlack);
  EXPECT_EQ(EntryOf(target, 2048), XARGB32Colour(255, 127, 127, 127));  // source[255 * 2048 / 4095]
  EXPECT_EQ(EntryOf(target, 4095), kWhite);
  EXPECT_EQ(EntryOf(target, 4096), kWhite);  // padded with the entry at 4095
  EXPECT_EQ(EntryOf(target, 65535), kWhite);

  XIntToColourLUT same(256);
  same.SetTrueDepth(3);
  same = XIntToColourLUT::GetStandardLUT(8);
  EXPECT_EQ(same.GetTrueDepth(), 8u);  // same size: depth taken
  EXPECT_EQ(same.GetSeed(), XIntToColourLUT::GetStandardLUT(8).GetSeed());
}

TEST(ColourLUT, VectorOfColoursNeeds256Entries) {
  XVector<XARGB32Colour> colours = XIntToColourLUT::GetStandardLUT(16).GetVectorOfColours();
  ASSERT_EQ(colours.size(), 256u);
  EXPECT_EQ(colours[255], XARGB32Colour(255, 0, 0, 0));  // entry 255 of 65536, still dark
  EXPECT_THROW(XNiceColours::GetContrastingLUT().GetVectorOfColours(), XInternalError);
}

// ------------------------------------------------------------- float table

TEST(FloatLUT, LookupsClampToTheRange) {
  XFloatToColourLUT lut(0.0, 1.0);
  EXPECT_EQ(lut.GetSize(), 256u);
  EXPECT_EQ(lut.ValueToIndex(2.0), 255);
  EXPECT_EQ(lut.ValueToIndex(-1.0), 0);
  EXPECT_EQ(lut.ValueToIndex(0.5), 127);
  EXPECT_DOUBLE_EQ(lut.IndexToValue(300), 1.0);
  EXPECT_DOUBLE_EQ(lut.IndexToValue(51), 0.2);

  XARGB32Colour c;
  lut.ValueToColour(0.2, c);
  EXPECT_EQ(c, XARGB32Colour(255, 51, 51, 51));
  EXPECT_DOUBLE_EQ(lut.ColourToValue(XARGB32Colour(255, 51, 51, 51)), 0.2);

  lut.SetMin(-1.0);
  lut.SetMax(3.0);
  EXPECT_EQ(lut.ValueToIndex(1.0), 127);
  EXPECT_DOUBLE_EQ(lut.IndexToValue(255), 3.0);

  // An empty range gives a NaN index, which maps to entry 255.
  XFloatToColourLUT flat(2.0, 2.0);
  flat.ValueToColour(2.0, c);
  EXPECT_EQ(c, kWhite);
}

TEST(FloatLUT, RangeTravelsOnlyBetweenFloatTables) {
  XFloatToColourLUT source(5.0, 9.0);
  XFloatToColourLUT fromFloat(static_cast<const XIntToColourLUT&>(source));
  EXPECT_EQ(fromFloat.GetMin(), 5.0);
  EXPECT_EQ(fromFloat.GetMax(), 9.0);
  XFloatToColourLUT fromInt(XIntToColourLUT::GetStandardLUT(8));
  EXPECT_EQ(fromInt.GetMin(), 0.0);
  EXPECT_EQ(fromInt.GetMax(), 1.0);

  XFloatToColourLUT assigned(-2.0, 2.0);
  XIntToColourLUT red(256);
  red.MakeChannelLUT(kRedChannel);
  assigned = red;
  EXPECT_EQ(assigned.GetMin(), -2.0);  // a plain table has no range to give
  EXPECT_EQ(EntryOf(assigned, 255), XARGB32Colour(255, 255, 0, 0));
  assigned = source;
  EXPECT_EQ(assigned.GetMax(), 9.0);
}

// ------------------------------------------------------------- nice colours

TEST(NiceColours, ContrastingTable) {
  XIntToColourLUT lut = XNiceColours::GetContrastingLUT();
  EXPECT_EQ(lut.GetSize(), 18u);
  EXPECT_EQ(EntryOf(lut, 0), XARGB32Colour(255, 128, 128, 255));
  EXPECT_EQ(EntryOf(lut, 9), XARGB32Colour(255, 64, 255, 255));
  EXPECT_EQ(EntryOf(lut, 13), XARGB32Colour(255, 64, 128, 128));
  EXPECT_EQ(EntryOf(lut, 17), XARGB32Colour(255, 128, 255, 64));
}

TEST(NiceColours, SystemPaletteKeepsEntry130Exception) {
  XIntToColourLUT lut = XNiceColours::GetSystemColoursLUT();
  EXPECT_EQ(EntryOf(lut, 0), kWhite);
  EXPECT_EQ(EntryOf(lut, 129), XARGB32Colour(255, 102, 102, 102));
  EXPECT_EQ(EntryOf(lut, 130), XARGB32Colour(255, 102, 102, 53));  // the rule would give 51
  EXPECT_EQ(EntryOf(lut, 131), XARGB32Colour(255, 102, 102, 0));
  EXPECT_EQ(EntryOf(lut, 214), XARGB32Colour(255, 0, 0, 51));
  EXPECT_EQ(EntryOf(lut, 215), XARGB32Colour(255, 238, 0, 0));
  EXPECT_EQ(EntryOf(lut, 234), XARGB32Colour(255, 0, 17, 0));
  EXPECT_EQ(EntryOf(lut, 235), XARGB32Colour(255, 0, 0, 238));
  EXPECT_EQ(EntryOf(lut, 250), XARGB32Colour(255, 119, 119, 119));
  EXPECT_EQ(EntryOf(lut, 255), kBlack);
}

TEST(NiceColours, WavelengthTableStepsOneNanometre) {
  XIntToColourLUT lut = XNiceColours::GetWavelengthLUT();
  XARGB32Colour expected = kBlack;
  expected.SetWavelength(380);
  EXPECT_EQ(EntryOf(lut, 0), expected);
  expected = kBlack;
  expected.SetWavelength(634);  // not 780
  EXPECT_EQ(EntryOf(lut, 254), expected);
  expected = kBlack;
  expected.SetWavelength(500);
  EXPECT_EQ(EntryOf(lut, 120), expected);
  EXPECT_EQ(EntryOf(lut, 255), kWhite);
}

}  // namespace

namespace {

TEST(ColourLUTImage, ColumnsShowEntriesAcrossTheWidth) {
  std::unique_ptr<XARGB32Volume> image(XIntToColourLUT::GetStandardLUT(8).GetImageOfLUT());
  ASSERT_EQ(image->GetWidth(), 256u);
  ASSERT_EQ(image->GetHeight(), 50u);
  ASSERT_EQ(image->GetDepth(), 1u);
  {
    XLock lock(*image, kLockRead);
    EXPECT_EQ(image->GetVoxel(0, 0, 0), kBlack);
    EXPECT_EQ(image->GetVoxel(200, 49, 0), XARGB32Colour(255, 200, 200, 200));
  }

  // Four columns over 18 entries: entry trunc(4.5 * x) = 0, 4, 9, 13.
  XIntToColourLUT contrasting = XNiceColours::GetContrastingLUT();
  std::unique_ptr<XARGB32Volume> narrow(contrasting.GetImageOfLUT(4, 2));
  {
    XLock lock(*narrow, kLockRead);
    EXPECT_EQ(narrow->GetVoxel(1, 1, 0), EntryOf(contrasting, 4));
    EXPECT_EQ(narrow->GetVoxel(2, 0, 0), EntryOf(contrasting, 9));
    EXPECT_EQ(narrow->GetVoxel(3, 1, 0), EntryOf(contrasting, 13));
  }

  std::unique_ptr<XARGB32Volume> empty(contrasting.GetImageOfLUT(0, 5));
  EXPECT_EQ(empty->GetWidth(), 0u);
  contrasting.Dump();  // no window here; must simply not fail
}

}  // namespace
