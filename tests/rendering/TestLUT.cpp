#include <gtest/gtest.h>

#include <vector>

#include "RenderingTestClasses.h"
#include "rendering/XNiceColours.h"
#include "volume/XARGB32Volume.h"

using namespace mirelan;

namespace {

using ::EntryOf;  // the colour table form, from the shared helpers

UInt8 EntryOf(const XIntToIntLUT& inLUT, UInt32 inIndex) {
  UInt8 v;
  inLUT.IndexToValue(inIndex, v);
  return v;
}

template <class L, class T>
void Set(L& ioLUT, UInt32 inIndex, const T& inValue) {
  XLock lock(ioLUT, kLockReadWrite);
  ioLUT.SetValue(inIndex, inValue);
}

// A table of the given entries.
template <class L, class T>
L Table(std::initializer_list<T> inValues) {
  L lut(UInt32(inValues.size()));
  UInt32 i = 0;
  for (const T& v : inValues) Set(lut, i++, v);
  return lut;
}

XIntToIntLUT NumberRamp(UInt32 inSize) {
  XIntToIntLUT lut(inSize);
  for (UInt32 i = 0; i < inSize; ++i) Set(lut, i, UInt8(i));
  return lut;
}

TEST(LUT, SeedsAreFreshForNewContentAndSharedByCopies) {
  XIntToColourLUT a(4), b(4);
  EXPECT_GT(b.GetSeed(), a.GetSeed());
  a.MakeDefaultLUT();
  XIntToColourLUT copy(a);
  EXPECT_EQ(copy.GetSeed(), a.GetSeed());
  Set(a, 0, kWhite);
  EXPECT_NE(a.GetSeed(), copy.GetSeed());
  EXPECT_EQ(EntryOf(copy, 0), kBlack);  // the copy is independent once written
  b = a;                                // same size: shares entries and seed
  EXPECT_EQ(b.GetSeed(), a.GetSeed());

  XIntToIntLUT small(4), large = NumberRamp(256), single(1);
  small = large;  // other size: resampled, entry i = large[255 * i / 3], fresh seed
  EXPECT_EQ(EntryOf(small, 1), 85);
  EXPECT_NE(small.GetSeed(), large.GetSeed());
  EXPECT_THROW(single = large, XInternalError);
}

TEST(LUT, ReverseLookupIsOneSidedAndFirstSmallestWins) {
  auto lut = Table<XIntToColourLUT, XARGB32Colour>({kBlack, {255, 100, 0, 0}, {255, 50, 50, 50}, {255, 50, 50, 50}});
  // distances: (60+40+40)/3 = 46, (0+40+40)/3 = 26, (10+0+0)/3 = 3, 3
  EXPECT_EQ(lut.ValueToIndex(XARGB32Colour(255, 60, 40, 40)), 2u);
  Set(lut, 0, kWhite);  // at least as bright in every channel: distance 0
  EXPECT_EQ(lut.ValueToIndex(XARGB32Colour(255, 50, 50, 50)), 0u);
  EXPECT_EQ(XIntToColourLUT(0).ValueToIndex(kWhite), 0u);

  auto numbers = Table<XIntToIntLUT, UInt8>({10, 30, 20});
  EXPECT_EQ(numbers.ValueToIndex(24), 2u);
  EXPECT_EQ(numbers.ValueToIndex(25), 1u);  // 5 and 5: the first wins
}

TEST(LUT, ReverseCacheHoldsOneValueIgnoresAlphaAndIsResetBySetValue) {
  auto lut = Table<XIntToColourLUT, XARGB32Colour>({kBlack, {255, 100, 100, 100}, kWhite});
  const XARGB32Colour grey(255, 90, 90, 90);
  ASSERT_EQ(lut.ValueToIndex(grey), 1u);
  {  // behind the cache's back: the cached answer stands, for any alpha
    XLock lock(lut, kLockReadWrite);
    lut.IndexToValue(1) = XARGB32Colour(255, 10, 10, 10);
  }
  EXPECT_EQ(lut.ValueToIndex(grey), 1u);
  EXPECT_EQ(lut.ValueToIndex(XARGB32Colour(0, 90, 90, 90)), 1u);
  EXPECT_EQ(lut.ValueToIndex(kBlack), 0u);  // evicts the slot
  EXPECT_EQ(lut.ValueToIndex(grey), 2u);
  Set(lut, 0, kWhite);
  EXPECT_EQ(lut.ValueToIndex(grey), 0u);
}

TEST(LUT, FillBlendReverseAndCopyClampTheirRangesAndNumberBlendWraps) {
  XIntToColourLUT lut(256);
  lut.MakeDefaultLUT();
  const XARGB32Colour red(255, 255, 0, 0);
  lut.Fill(10, 5, red);  // reversed: nothing
  EXPECT_EQ(EntryOf(lut, 7), XARGB32Colour(255, 7, 7, 7));
  lut.Fill(5, 1000000, red);
  EXPECT_EQ(EntryOf(lut, 4), XARGB32Colour(255, 4, 4, 4));
  EXPECT_EQ(EntryOf(lut, 5), red);
  EXPECT_EQ(EntryOf(lut, 255), red);
  // Colour blend: signed, truncating, alpha too.
  Set(lut, 0, XARGB32Colour(0, 255, 0, 200));
  Set(lut, 2, XARGB32Colour(255, 0, 255, 100));
  lut.Blend(0, 2);
  EXPECT_EQ(EntryOf(lut, 1), XARGB32Colour(127, 128, 127, 150));
  Set(lut, 250, XARGB32Colour(255, 200, 200, 200));
  Set(lut, 255, XARGB32Colour(255, 100, 100, 100));
  lut.Blend(250, 999);  // clamped to the last entry
  EXPECT_EQ(EntryOf(lut, 252), XARGB32Colour(255, 160, 160, 160));

  XIntToIntLUT ramp = NumberRamp(8);
  ramp.Reverse(2, 100);  // clamped to 7; works from a copy
  const UInt8 reversed[8] = {0, 1, 7, 6, 5, 4, 3, 2};
  for (UInt32 i = 0; i < 8; ++i) EXPECT_EQ(EntryOf(ramp, i), reversed[i]) << i;

  const XIntToIntLUT source = NumberRamp(256);
  XIntToIntLUT part = NumberRamp(16);
  part.CopyDataFrom(source, 0, 255, 0, 15);
  EXPECT_EQ(EntryOf(part, 3), 51);
  part.CopyDataFrom(source, 100, 103, 4, 7);
  EXPECT_EQ(EntryOf(part, 4), 100);
  EXPECT_EQ(EntryOf(part, 7), 103);
  EXPECT_EQ(EntryOf(part, 8), 136);
  EXPECT_THROW(part.CopyDataFrom(source, 0, 10, 5, 5), XInternalError);

  // A descending number blend wraps: the difference is taken modulo 256, 156 not -100.
  Set(part, 0, UInt8(200));
  Set(part, 10, UInt8(100));
  part.Blend(0, 10);
  EXPECT_EQ(EntryOf(part, 1), 215);
  EXPECT_EQ(EntryOf(part, 5), UInt8(200 + 78));
  EXPECT_EQ(EntryOf(part, 9), UInt8(200 + 140));
  Set(part, 0, UInt8(0));
  Set(part, 3, UInt8(255));
  part.Blend(0, 3);
  EXPECT_EQ(EntryOf(part, 1), 85);
  EXPECT_EQ(EntryOf(part, 2), 170);
}

TEST(LUT, StandardTablesAtEdgeDepths) {
  struct Row {
    UInt32 depth, size, lastTrue, index;
    UInt8 level;
  };
  const Row rows[] = {{1, 256, 1, 0, 0},          {1, 256, 1, 1, 255},           {1, 256, 1, 255, 255},
                      {3, 256, 7, 1, 36},         {8, 256, 255, 200, 200},       {12, 65536, 4095, 2048, 127},
                      {12, 65536, 4095, 4094, 254}, {12, 65536, 4095, 4096, 255}, {16, 65536, 65535, 257, 1},
                      {16, 65536, 65535, 65535, 255}};
  for (const Row& r : rows) {
    SCOPED_TRACE(testing::Message() << "depth " << r.depth << " index " << r.index);
    const XIntToColourLUT& lut = XIntToColourLUT::GetStandardLUT(r.depth);
    EXPECT_EQ(lut.GetSize(), r.size);
    EXPECT_EQ(lut.GetTrueDepth(), r.depth);
    EXPECT_EQ(lut.GetLastTrueValue(), r.lastTrue);
    EXPECT_EQ(EntryOf(lut, r.index), XARGB32Colour(255, r.level, r.level, r.level));
  }
  EXPECT_EQ(&XIntToColourLUT::GetStandardLUT(17), &XIntToColourLUT::GetStandardLUT(8));
  EXPECT_THROW(XIntToColourLUT::GetStandardLUT(0), XInternalError);
  XIntToColourLUT::DisposeStandardLUTs();  // rebuilt on next use
  EXPECT_EQ(EntryOf(XIntToColourLUT::GetStandardLUT(3), 7), kWhite);

  // Number tables refuse depths above 16.
  EXPECT_THROW(XIntToIntLUT::GetStandardLUT(17), XInternalError);
  EXPECT_THROW(XIntToIntLUT::GetStandardLUT(0), XInternalError);
  EXPECT_EQ(EntryOf(XIntToIntLUT::GetStandardLUT(4), 1), 17);
  EXPECT_EQ(EntryOf(XIntToIntLUT::GetStandardLUT(4), 15), 255);
  XIntToIntLUT::DisposeStandardLUTs();
  EXPECT_EQ(XIntToIntLUT::GetStandardLUT(9).GetSize(), 65536u);
  EXPECT_EQ(EntryOf(XIntToIntLUT::GetStandardLUT(16), 65535), 255);
}

TEST(ColourLUT, AssignmentAcrossSizesFollowsTheDepths) {
  XIntToColourLUT target(65536);
  target.SetTrueDepth(12);
  target = XIntToColourLUT::GetStandardLUT(8);
  EXPECT_EQ(target.GetTrueDepth(), 12u);  // keeps its own
  EXPECT_EQ(EntryOf(target, 2048), XARGB32Colour(255, 127, 127, 127));  // source[255 * 2048 / 4095]
  EXPECT_EQ(EntryOf(target, 4096), kWhite);  // padded with the entry at 4095
  XIntToColourLUT same(256);
  same.SetTrueDepth(3);
  same = XIntToColourLUT::GetStandardLUT(8);
  EXPECT_EQ(same.GetTrueDepth(), 8u);  // same size: depth taken
  EXPECT_EQ(XIntToColourLUT(300).GetTrueDepth(), 8u);  // a new table: the highest bit
  EXPECT_EQ(XIntToColourLUT(300).GetLastTrueValue(), 299u);
}

TEST(ColourLUT, ChannelAndWavelengthTables) {
  XIntToColourLUT lut(256);
  lut.Fill(0, 255, XARGB32Colour(1, 2, 3, 4));
  lut.SetTrueDepth(4);
  lut.MakeChannelLUT(kGreenChannel | kBlueChannel);  // over the depth only
  EXPECT_EQ(EntryOf(lut, 1), XARGB32Colour(255, 0, 17, 17));
  EXPECT_EQ(EntryOf(lut, 15), XARGB32Colour(255, 0, 255, 255));
  EXPECT_EQ(EntryOf(lut, 16), XARGB32Colour(1, 2, 3, 4));
  lut.SetTrueDepth(0);
  EXPECT_THROW(lut.MakeChannelLUT(kRedChannel), XInternalError);

  lut.SetTrueDepth(8);
  lut.MakeWavelengthLUT(650);
  XARGB32Colour red = kBlack, blue = kBlack;
  red.SetWavelength(650);
  blue.SetWavelength(440);
  EXPECT_EQ(EntryOf(lut, 0), kBlack);
  EXPECT_EQ(EntryOf(lut, 255), red);
  lut.Wavelength(440, 7, 7);  // the black end is written first: equal ends keep the colour
  EXPECT_EQ(EntryOf(lut, 7), blue);
}

TEST(ColourLUT, MonotonicityByBrightestChannel) {
  XIntToColourLUT up(XIntToColourLUT::GetStandardLUT(8)), down(up);
  down.Reverse(0, 255);
  const XMonotonicityDirection dirs[] = {kMonotonicIncreasing, kMonotonicDecreasing, kMonotonicAny};
  const bool upAnswers[] = {true, false, true}, downAnswers[] = {false, true, true};
  for (int d = 0; d < 3; ++d) {
    EXPECT_EQ(up.IsMonotonic(dirs[d]), upAnswers[d]) << d;
    EXPECT_EQ(down.IsMonotonic(dirs[d]), downAnswers[d]) << d;
  }
  Set(up, 100, kBlack);  // the cache is keyed by seed
  EXPECT_FALSE(up.IsMonotonic(kMonotonicAny));
  XIntToColourLUT flat(16);
  flat.Fill(0, 15, XARGB32Colour(255, 9, 0, 0));
  Set(flat, 3, XARGB32Colour(255, 0, 9, 0));  // different colour, same brightness
  EXPECT_TRUE(flat.IsMonotonic(kMonotonicIncreasing));
  EXPECT_TRUE(flat.IsMonotonic(kMonotonicDecreasing));
  EXPECT_THROW(flat.IsMonotonic(XMonotonicityDirection(3)), XInternalError);
}

TEST(ColourLUT, VectorAndImageOfTheTable) {
  // The vector is the first 256 entries, not a resampling; other sizes are refused.
  EXPECT_EQ(XIntToColourLUT::GetStandardLUT(16).GetVectorOfColours()[255], kBlack);
  XIntToColourLUT contrasting = XNiceColours::GetContrastingLUT();
  EXPECT_THROW(contrasting.GetVectorOfColours(), XInternalError);
  // Four columns over 18 entries: entry trunc(4.5 * x) = 0, 4, 9, 13.
  std::unique_ptr<XARGB32Volume> narrow(contrasting.GetImageOfLUT(4, 2));
  XLock lock(*narrow, kLockRead);
  ASSERT_EQ(narrow->GetBounds(), X3DRect(4, 2, 1));
  for (UInt32 x = 0; x < 4; ++x) EXPECT_EQ(narrow->GetVoxel(x, 1, 0), EntryOf(contrasting, UInt32(4.5 * x))) << x;
}

TEST(FloatLUT, LookupsClampAndTheRangeTravelsOnlyBetweenFloatTables) {
  XFloatToColourLUT lut(0.0, 1.0);
  EXPECT_EQ(lut.ValueToIndex(2.0), 255);
  EXPECT_EQ(lut.ValueToIndex(-1.0), 0);
  EXPECT_EQ(lut.ValueToIndex(0.5), 127);
  EXPECT_DOUBLE_EQ(lut.IndexToValue(300), 1.0);
  XARGB32Colour c;
  lut.ValueToColour(0.2, c);
  EXPECT_EQ(c, XARGB32Colour(255, 51, 51, 51));
  EXPECT_DOUBLE_EQ(lut.ColourToValue(c), 0.2);
  lut.SetMin(-1.0);
  lut.SetMax(3.0);
  EXPECT_EQ(lut.ValueToIndex(1.0), 127);
  XFloatToColourLUT(2.0, 2.0).ValueToColour(2.0, c);  // an empty range: NaN index, entry 255
  EXPECT_EQ(c, kWhite);

  XFloatToColourLUT fromFloat(static_cast<const XIntToColourLUT&>(lut));
  EXPECT_EQ(fromFloat.GetMax(), 3.0);
  EXPECT_EQ(XFloatToColourLUT(XIntToColourLUT::GetStandardLUT(8)).GetMax(), 1.0);
  XIntToColourLUT red(256);
  red.MakeChannelLUT(kRedChannel);
  fromFloat = red;
  EXPECT_EQ(fromFloat.GetMin(), -1.0);  // a plain table has no range to give
  EXPECT_EQ(EntryOf(fromFloat, 255), XARGB32Colour(255, 255, 0, 0));
}

TEST(NiceColours, PalettesKeepTheirIrregularEntries) {
  const XIntToColourLUT contrasting = XNiceColours::GetContrastingLUT(), system = XNiceColours::GetSystemColoursLUT();
  EXPECT_EQ(contrasting.GetSize(), 18u);
  const std::pair<UInt32, XARGB32Colour> contrastingEntries[] = {
      {0, {255, 128, 128, 255}}, {9, {255, 64, 255, 255}}, {13, {255, 64, 128, 128}}, {17, {255, 128, 255, 64}}};
  for (const auto& [i, c] : contrastingEntries) EXPECT_EQ(EntryOf(contrasting, i), c) << i;
  // Entry 130 breaks the rule, which would give 51.
  const std::pair<UInt32, XARGB32Colour> systemEntries[] = {
      {0, kWhite},           {129, {255, 102, 102, 102}}, {130, {255, 102, 102, 53}}, {131, {255, 102, 102, 0}},
      {214, {255, 0, 0, 51}}, {215, {255, 238, 0, 0}},     {234, {255, 0, 17, 0}},     {235, {255, 0, 0, 238}},
      {250, {255, 119, 119, 119}}, {255, kBlack}};
  for (const auto& [i, c] : systemEntries) EXPECT_EQ(EntryOf(system, i), c) << i;

  const XIntToColourLUT wavelengths = XNiceColours::GetWavelengthLUT();
  for (UInt32 i : {0u, 120u, 254u}) {  // 1 nm steps: entry 254 is 634 nm, not 780
    XARGB32Colour expected = kBlack;
    expected.SetWavelength(380 + i);
    EXPECT_EQ(EntryOf(wavelengths, i), expected) << i;
  }
  EXPECT_EQ(EntryOf(wavelengths, 255), kWhite);
}

using LUTStreams = RenderingStreamTest;

XIntToColourLUT TwoEntryTable() {
  return Table<XIntToColourLUT, XARGB32Colour>({{0x11, 0x22, 0x33, 0x44}, {0xFF, 0xA0, 0xB0, 0xC0}});
}

template <class T>
std::unique_ptr<T> ReadBack(const std::vector<UInt8>& inBytes, XStorable::XOptions inOptions = XStorable::kReadAll) {
  XMemoryStream stream(inBytes.data(), inBytes.size(), kLittleEndian);
  std::unique_ptr<T> object = stream.ReadObjectAs<T>(inOptions);
  EXPECT_EQ(stream.GetPosition(), stream.GetExtent());
  return object;
}

TEST_F(LUTStreams, EveryTableWritesExactBytes) {
  EXPECT_EQ(BytesOf([](XStream& s) { s.WriteObject(TwoEntryTable()); }),
            XByteWriter()
                .U32(0x00010017)  // object tag
                .U32(0x00010017)  // the class's own word
                .U32(2)           // size
                .Handle({0x11, 0x22, 0x33, 0x44, 0xFF, 0xA0, 0xB0, 0xC0})
                .U32(1)  // true depth: highest bit of 2
                .U32(1)  // last true value
                .bytes);

  XFloatToColourLUT floatTable(-1.5, 2.0);
  floatTable = TwoEntryTable();  // other size: resampled by depth into 256 entries
  const auto floatBytes = BytesOf([&](XStream& s) { floatTable.WriteStream2(s); });
  const std::vector<UInt8> tail = XByteWriter().U32(8).U32(255).U32(0x16).F64(-1.5).F64(2.0).bytes;
  ASSERT_EQ(floatBytes.size(), 4 + 4 + 4 + 4 + 8 + 4 + 1024 + tail.size());
  EXPECT_EQ(std::vector<UInt8>(floatBytes.end() - tail.size(), floatBytes.end()), tail);

  const auto numbers = Table<XIntToIntLUT, UInt8>({7, 8, 9});
  EXPECT_EQ(BytesOf([&](XStream& s) { numbers.WriteStream2(s); }),
            XByteWriter().U32(0x15).U32(3).Handle({7, 8, 9}).bytes);
}

TEST_F(LUTStreams, RoundTripsKeepEntriesDepthAndRange) {
  XIntToColourLUT lut(XIntToColourLUT::GetStandardLUT(12));
  lut.SetLastTrueValue(4000);
  auto back = ReadBack<XIntToColourLUT>(BytesOf([&](XStream& s) { s.WriteObject(lut); }));
  ASSERT_TRUE(back);
  EXPECT_EQ(back->GetSize(), 65536u);
  EXPECT_EQ(back->GetTrueDepth(), 12u);
  EXPECT_EQ(back->GetLastTrueValue(), 4000u);
  EXPECT_EQ(EntryOf(*back, 2048), EntryOf(lut, 2048));
  EXPECT_NE(back->GetSeed(), lut.GetSeed());  // read tables are new content

  // Through the stream constructor and through header-only reading.
  const auto floatBytes = BytesOf([](XStream& s) { s.WriteObject(XFloatToColourLUT(-3.0, 7.5)); });
  for (auto options : {XStorable::kReadAll, XStorable::kReadHeaderOnly}) {
    auto floatBack = ReadBack<XFloatToColourLUT>(floatBytes, options);
    ASSERT_TRUE(floatBack);
    EXPECT_EQ(floatBack->GetMin(), -3.0);
    EXPECT_EQ(floatBack->ValueToIndex(7.5), 255);  // scale recomputed
    EXPECT_EQ(floatBack->GetSize(), 256u);
  }

  auto numbers = ReadBack<XIntToIntLUT>(BytesOf([](XStream& s) { s.WriteObject(XIntToIntLUT::GetStandardLUT(8)); }));
  ASSERT_TRUE(numbers);
  EXPECT_EQ(EntryOf(*numbers, 200), 200);
}

TEST_F(LUTStreams, OlderFormsRead) {
  struct Row {
    const char* what;
    std::vector<UInt8> bytes;
    UInt32 size, depth, lastTrue;
    UInt8 lastRed;
  };
  const Row rows[] = {
      // Tag 20 then straight away the size: the stream constructor gives the word back.
      {"id 20, no class word", XByteWriter().U32(20).U32(3).Handle({255, 1, 1, 1, 255, 2, 2, 2, 255, 3, 3, 3}).bytes,
       3, 1, 1, 3},
      {"id-20 class word", XByteWriter().U32(20).U32(20).U32(1).Handle({255, 9, 9, 9}).bytes, 1, 0, 0, 9},
      {"version 0: no last value",
       XByteWriter().U32(23).U32(23).U32(2).Handle({255, 0, 0, 0, 255, 1, 1, 1}).U32(5).bytes, 2, 5, 31, 1},
  };
  for (const Row& r : rows)
    for (auto options : {XStorable::kReadAll, XStorable::kReadHeaderOnly}) {
      SCOPED_TRACE(testing::Message() << r.what << " options " << options);
      auto lut = ReadBack<XIntToColourLUT>(r.bytes, options);
      ASSERT_TRUE(lut);
      EXPECT_EQ(lut->GetSize(), r.size);
      EXPECT_EQ(lut->GetTrueDepth(), r.depth);
      EXPECT_EQ(lut->GetLastTrueValue(), r.lastTrue);
      EXPECT_EQ(EntryOf(*lut, r.size - 1).red, r.lastRed);
    }

  // An old float table: tag 22, the base's size and entries, then its own word and range.
  auto old = ReadBack<XFloatToColourLUT>(
      XByteWriter().U32(22).U32(1).Handle({255, 4, 4, 4}).U32(0x16).F64(0.5).F64(4.5).bytes);
  ASSERT_TRUE(old);
  EXPECT_EQ(old->GetSize(), 1u);
  EXPECT_EQ(old->GetMin(), 0.5);
  EXPECT_EQ(old->GetMax(), 4.5);
}

TEST_F(LUTStreams, WrongClassNewerVersionAndBadEntriesAreRefused) {
  XIntToColourLUT colour;
  XIntToIntLUT numbers;
  XFloatToColourLUT floats;
  EXPECT_EQ(ErrorReading(colour, BytesOf([](XStream& s) { XIntToIntLUT(4).WriteStream2(s); })), kErrWrongClass);
  EXPECT_EQ(ErrorReading(numbers, BytesOf([](XStream& s) { XIntToColourLUT(4).WriteStream2(s); })), kErrWrongClass);
  // Outside ReadObject there is no class being created to fall back on.
  const auto bare = XByteWriter().U32(2).Handle({0, 0, 0, 0, 0, 0, 0, 0}).bytes;
  XMemoryStream bareStream(bare.data(), bare.size(), kLittleEndian);
  EXPECT_EQ(ErrorNumberOf([&] { XIntToColourLUT lut(bareStream); }), kErrWrongClass);

  EXPECT_EQ(ErrorReading(colour, XByteWriter().U32(0x20017).U32(1).Handle({0, 0, 0, 0}).U32(0).U32(0).bytes),
            kErrNewerVersion);
  EXPECT_EQ(ErrorReading(numbers, XByteWriter().U32(0x10015).U32(1).Handle({0}).bytes), kErrNewerVersion);
  std::vector<UInt8> floatBytes = BytesOf([](XStream& s) { XFloatToColourLUT(0, 1).WriteStream2(s); });
  floatBytes[floatBytes.size() - 16 - 4 + 2] = 1;  // the float word becomes version 1
  EXPECT_EQ(ErrorReading(floats, floatBytes), kErrNewerVersion);

  // The entries must be a memory handle of the stated size.
  const auto wrongObject = BytesOf([](XStream& s) {
    s.Write32(0x10017);  // the class word and size, then a table
    s.Write32(1);
    s.WriteObject(XIntToIntLUT(4));
  });
  EXPECT_EQ(ErrorReading(colour, wrongObject), kErrWrongClass);
  EXPECT_EQ(ErrorReading(colour, XByteWriter().U32(0x10017).U32(1).U32(0).U32(0).U32(0).bytes), kErrWrongClass);
  EXPECT_EQ(ErrorReading(colour, XByteWriter().U32(0x10017).U32(1000000).Handle({0, 0, 0, 0}).U32(8).U32(255).bytes),
            kErrBadStreamSize);
  EXPECT_EQ(colour.GetSize(), 0u);  // a failed read leaves the table as it was
  EXPECT_EQ(ErrorReading(numbers, XByteWriter().U32(0x15).U32(5).Handle({1, 2, 3, 4}).bytes), kErrBadStreamSize);
}

TEST_F(LUTStreams, EveryTruncationThrowsAnXException) {
  ExpectEveryCutOfTwoObjectsThrows(BytesOf([](XStream& s) {
    s.WriteObject(XFloatToColourLUT(0.0, 3.0));
    s.WriteObject(XIntToIntLUT::GetStandardLUT(2));
  }));
}

}  // namespace
