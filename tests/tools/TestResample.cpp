// Resampling: the filters' weights, the fixed-point taps and their settled
// rules, the axis order, the pixel types served, the kept one-step loss and
// wrap, regions mapped through the tool, and the nearest-neighbour tables.
#include <cmath>

#include "ToolTestSupport.h"
#include "core/XWorkerPool.h"
#include "tools/XResampleFilter.h"
#include "tools/XVolumeResampleTool.h"
#include "volume/XVolumeScaler.h"

namespace {

using namespace tooltest;
using volumetest::Row;
using volumetest::Values;

using Taps = std::vector<std::pair<UInt32, SInt32>>;

Taps TapsOf(const XFilterContributions& inContributions, UInt32 inDest) {
  Taps taps;
  for (UInt32 t = 0; t < inContributions.GetCount(inDest); ++t)
    taps.emplace_back(inContributions.GetTaps(inDest)[t].offset, inContributions.GetTaps(inDest)[t].weight);
  return taps;
}

SInt64 WeightSum(const XFilterContributions& inContributions, UInt32 inDest) {
  SInt64 sum = 0;
  for (const auto& tap : TapsOf(inContributions, inDest)) sum += tap.second;
  return sum;
}

// A filter of the caller's that counts its deletions.
struct CountingFilter : XResampleFilter {
  static int sDeleted;
  ~CountingFilter() override { ++sDeleted; }
  Float64 GetFilterSize() const override { return 0.5; }
  Float64 CalcFilterValue(Float64 inT) const override { return std::fabs(inT) <= 0.5 ? 1.0 : 0.0; }
};
int CountingFilter::sDeleted = 0;

class Resample : public ToolTest {};

TEST_F(Resample, FilterValuesAndSupports) {
  const struct {
    std::unique_ptr<XResampleFilter> filter;
    Float64 size;
    std::vector<std::pair<Float64, Float64>> values;  // t, weight
  } cases[] = {
      {std::make_unique<XSimpleFilter>(), 1.0, {{0, 1}, {0.5, 0.5}, {-0.5, 0.5}, {1, 0}, {2, 0}}},
      {std::make_unique<XTriangleFilter>(), 1.0, {{0, 1}, {0.25, 0.75}, {-0.75, 0.25}, {1, 0}}},
      {std::make_unique<XBellFilter>(), 1.5, {{0, 0.75}, {0.25, 0.6875}, {0.5, 0.5}, {-1, 0.125}, {1.5, 0}}},
      {std::make_unique<XBSplineFilter>(), 2.0, {{0, 2.0 / 3}, {1, 1.0 / 6}, {-1.5, 0.125 / 6}, {2, 0}}},
      {std::make_unique<XLanczos3Filter>(), 3.0, {{0, 1}, {1, 0}, {0.5, 0.6079271018540267}, {-1.5, -0.13509491152311703}, {3, 0}}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.filter->GetFilterSize(), c.size);
    for (const auto& [t, weight] : c.values) EXPECT_NEAR(c.filter->CalcFilterValue(t), weight, 1e-9) << c.size << " at " << t;
  }
}

TEST_F(Resample, SetFilterOwnsWhatItIsGiven) {
  XVolumeResampleTool tool;
  EXPECT_EQ(tool.GetFilterMode(), kFilterAutomatic);
  EXPECT_EQ(tool.GetFilter(), nullptr);
  tool.SetFilter(kFilterLanczos3);
  EXPECT_NE(dynamic_cast<const XLanczos3Filter*>(tool.GetFilter()), nullptr);
  CountingFilter::sDeleted = 0;
  auto* mine = new CountingFilter;
  tool.SetFilter(kFilterCaller, mine);
  EXPECT_EQ(tool.GetFilter(), mine);
  tool.SetFilter(kFilterBSpline);
  EXPECT_EQ(CountingFilter::sDeleted, 1);
  EXPECT_NE(dynamic_cast<const XBSplineFilter*>(tool.GetFilter()), nullptr);
  tool.SetFilter(XFilterMode(9));
  EXPECT_EQ(tool.GetFilterMode(), kFilterAutomatic);
  EXPECT_EQ(tool.GetFilter(), nullptr);
  EXPECT_THROW(tool.SetFilter(kFilterCaller, nullptr), XInternalError);
  EXPECT_EQ(tool.GetFilter(), nullptr);
  // Automatic mode picks per call: bell to enlarge, simple to shrink.
  XFilterContributions taps;
  tool.CalculateFilterContributions(10, 20, 0, 1, taps);
  EXPECT_NE(dynamic_cast<const XBellFilter*>(tool.GetFilter()), nullptr);
  tool.CalculateFilterContributions(20, 10, 0, 1, taps);
  EXPECT_NE(dynamic_cast<const XSimpleFilter*>(tool.GetFilter()), nullptr);
  EXPECT_EQ(tool.GetFilterMode(), kFilterAutomatic);
}

// Enlarging 2 to 4 with the triangle: scale is 4 / (2 - 1), so the last
// position samples 0.75, not the last source element. Offsets are base
// plus index times stride.
TEST_F(Resample, EnlargingTapsDivideBySourceLengthLessOne) {
  XVolumeResampleTool tool(kFilterTriangle);
  XFilterContributions taps;
  tool.CalculateFilterContributions(2, 4, 10, 3, taps);
  ASSERT_EQ(taps.GetDestLength(), 4u);
  EXPECT_EQ(TapsOf(taps, 0), Taps({{10, 65535}}));
  EXPECT_EQ(TapsOf(taps, 1), Taps({{10, 49151}, {13, 16384}}));
  EXPECT_EQ(TapsOf(taps, 2), Taps({{10, 32768}, {13, 32768}}));
  EXPECT_EQ(TapsOf(taps, 3), Taps({{10, 16384}, {13, 49151}}));
}

// The bell reaches past both ends when enlarging: the indices reflect.
TEST_F(Resample, EnlargingReflectsAtTheEnds) {
  XVolumeResampleTool tool(kFilterBell);
  XFilterContributions taps;
  tool.CalculateFilterContributions(4, 8, 0, 1, taps);
  EXPECT_EQ(TapsOf(taps, 0), Taps({{1, 8192}, {0, 49151}, {1, 8192}}));
  EXPECT_EQ(TapsOf(taps, 7), Taps({{2, 25088}, {3, 39935}, {3, 512}}));
  // A source of one element: the divisor is 1 and every tap is element 0.
  tool.CalculateFilterContributions(1, 3, 0, 1, taps);
  for (UInt32 i = 0; i < 3; ++i) {
    for (const auto& tap : TapsOf(taps, i)) EXPECT_EQ(tap.first, 0u);
    EXPECT_NEAR(WeightSum(taps, i), 65535, 1);
  }
}

// Shrinking widens the filter and drops what falls outside; the weights
// left are rescaled to their sum.
TEST_F(Resample, ShrinkingDropsTapsOutsideAndRenormalises) {
  XVolumeResampleTool tool(kFilterBell);
  XFilterContributions taps;
  tool.CalculateFilterContributions(4, 2, 0, 1, taps);
  std::vector<UInt32> offsets;
  for (const auto& tap : TapsOf(taps, 1)) offsets.push_back(tap.first);
  EXPECT_EQ(offsets, std::vector<UInt32>({1, 2, 3}));
  for (UInt32 i = 0; i < 2; ++i) EXPECT_NEAR(WeightSum(taps, i), 65535, 2);
}

// Weights summing to 65535 and a shift by 16: a full 255 comes out as 254,
// in every channel of a colour word, alpha too; 16-bit white loses one step.
TEST_F(Resample, FullValuesLoseOneStep) {
  XVolumeResampleTool tool(kFilterBell);
  auto grey = Row<XGrey8Volume>({255, 255, 255, 255});
  XGrey8Volume bigger(8, 1, 1);
  tool.ApplyTool(*grey, bigger, grey->GetBounds(), bigger.GetBounds());
  const auto values = Values(bigger);
  EXPECT_EQ(values[0], 254);
  for (UInt8 v : values) EXPECT_TRUE(v == 254 || v == 255) << int(v);

  auto colour = Row<XARGB32Volume>(std::vector<XARGB32Colour>(4, XARGB32Colour(255, 255, 100, 0)));
  XARGB32Volume colourBigger(8, 1, 1);
  tool.ApplyTool(*colour, colourBigger, colour->GetBounds(), colourBigger.GetBounds());
  EXPECT_EQ(Values(colourBigger)[0], XARGB32Colour(254, 254, 99, 0));
  auto bgra = Row<XBGRA32Volume>(std::vector<XBGRA32Colour>(4, XBGRA32Colour(255, 255, 100, 0)));
  XBGRA32Volume bgraBigger(8, 1, 1);
  tool.ApplyTool(*bgra, bgraBigger, bgra->GetBounds(), bgraBigger.GetBounds());
  EXPECT_EQ(Values(bgraBigger)[0], XBGRA32Colour(254, 254, 99, 0));

  auto grey16 = Row<XGrey16Volume>({65535, 65535, 65535, 65535});
  XGrey16Volume bigger16(8, 1, 1);
  tool.ApplyTool(*grey16, bigger16, grey16->GetBounds(), bigger16.GetBounds());
  EXPECT_EQ(Values(bigger16)[0], 65534);
}

// No clamp when packing: Lanczos overshoots a hard edge, and the dark side
// wraps to bright while the bright side wraps to dark.
TEST_F(Resample, LanczosOnAHardEdgeWraps) {
  XVolumeResampleTool tool(kFilterLanczos3);
  auto edge = Row<XGrey8Volume>({0, 0, 0, 0, 255, 255, 255, 255});
  XGrey8Volume bigger(16, 1, 1);
  tool.ApplyTool(*edge, bigger, edge->GetBounds(), bigger.GetBounds());
  const auto v = Values(bigger);
  EXPECT_EQ(v[0], 0);
  EXPECT_GE(v[5], 200);  // just below 0
  EXPECT_EQ(v[8], 127);  // the edge
  EXPECT_LE(v[10], 50);  // just above 255
  EXPECT_LE(v[11], 50);
}

// The shortest source axis goes first, x winning ties, then y over z: the
// result is that of the single-axis steps in that order.
TEST_F(Resample, AxesInOrderOfSourceLength) {
  XVolumeResampleTool tool(kFilterBSpline);
  XGrey8Volume source(6, 5, 3);
  FillWith(source, [](SInt32 x, SInt32 y, SInt32 z) { return UInt8((x * 97 + y * 57 + z * 31) % 251); });
  XGrey8Volume direct(X3DRect(10, 20, 30, 14, 27, 35));
  tool.ApplyTool(source, direct, source.GetBounds(), direct.GetBounds());
  XGrey8Volume zDone(6, 5, 5), yDone(6, 7, 5), stepped(X3DRect(10, 20, 30, 14, 27, 35));
  tool.ApplyTool(source, zDone, source.GetBounds(), zDone.GetBounds());
  tool.ApplyTool(zDone, yDone, zDone.GetBounds(), yDone.GetBounds());
  tool.ApplyTool(yDone, stepped, yDone.GetBounds(), stepped.GetBounds());
  EXPECT_TRUE(direct == stepped);

  // z between x and y: a temporary volume after x, then z and y.
  XGrey8Volume tall(4, 10, 6), wide(7, 3, 9), xDone3(7, 10, 6), zDone3(7, 10, 9), xzy(7, 3, 9);
  FillWith(tall, [](SInt32 x, SInt32 y, SInt32 z) { return UInt8((x * 41 + y * 13 + z * 71) % 256); });
  tool.ApplyTool(tall, wide, tall.GetBounds(), wide.GetBounds());
  tool.ApplyTool(tall, xDone3, tall.GetBounds(), xDone3.GetBounds());
  tool.ApplyTool(xDone3, zDone3, xDone3.GetBounds(), zDone3.GetBounds());
  tool.ApplyTool(zDone3, xzy, zDone3.GetBounds(), xzy.GetBounds());
  EXPECT_TRUE(wide == xzy);

  XGrey16Volume square(5, 5, 1);
  FillWith(square, [](SInt32 x, SInt32 y, SInt32) { return UInt16((x * 7919 + y * 104729) % 65521); });
  XGrey16Volume both(3, 7, 1), xDone(3, 5, 1), xThenY(3, 7, 1);
  tool.ApplyTool(square, both, square.GetBounds(), both.GetBounds());
  tool.ApplyTool(square, xDone, square.GetBounds(), xDone.GetBounds());
  tool.ApplyTool(xDone, xThenY, xDone.GetBounds(), xThenY.GetBounds());
  EXPECT_TRUE(both == xThenY);
}

// The x pass takes rows in strips (16 of grey, 4 of colour); a row alone
// comes out as it does within a strip.
template <class V>
void ExpectRowsAloneAsInStrips(const std::function<typename V::Voxel(SInt32, SInt32, SInt32)>& inValue) {
  XVolumeResampleTool tool(kFilterLanczos3);
  V source(9, 37, 2), dest(X3DRect(-5, 3, 1, 8, 40, 3));
  FillWith(source, inValue);
  tool.ApplyTool(source, dest, source.GetBounds(), dest.GetBounds());
  for (SInt32 z = 0; z < 2; ++z)
    for (SInt32 y = 0; y < 37; ++y) {
      V row(9, 1, 1), rowDest(13, 1, 1);
      row.CopyIn(source, X3DRect(0, y, z, 9, y + 1, z + 1), row.GetBounds(), nullptr);
      tool.ApplyTool(row, rowDest, row.GetBounds(), rowDest.GetBounds());
      for (SInt32 x = 0; x < 13; ++x)
        ASSERT_EQ(VoxelAt(rowDest, x, 0, 0), VoxelAt(dest, x - 5, y + 3, z + 1)) << x << "," << y << "," << z;
    }
}

TEST_F(Resample, RowsInStripsAndAlone) {
  ExpectRowsAloneAsInStrips<XGrey16Volume>(
      [](SInt32 x, SInt32 y, SInt32 z) { return UInt16((x * 7919 + y * 104729 + z * 31) % 65536); });
  ExpectRowsAloneAsInStrips<XARGB32Volume>([](SInt32 x, SInt32 y, SInt32 z) {
    return XARGB32Colour(UInt8(x * 31 + z), UInt8(y * 17), UInt8(x * y), UInt8(255 - x - y));
  });
}

// Planes are shared out among the workers; each is made the same way.
TEST_F(Resample, ResultsDoNotDependOnTheWorkerCount) {
  XVolumeResampleTool tool(kFilterBell);
  XARGB32Volume source(11, 9, 13);
  FillWith(source, [](SInt32 x, SInt32 y, SInt32 z) { return XARGB32Colour::FromARGB(UInt32(x * 2654435761u + y * 40503u + z * 977u)); });
  XARGB32Volume flat(11, 9, 3);
  flat.CopyIn(source, X3DRect(11, 9, 3), flat.GetBounds(), nullptr);
  // y first and z last, through temporary volumes; z first, plane by plane.
  XARGB32Volume one(7, 12, 29), three(7, 12, 29), moved(4, 10, 7), movedThree(4, 10, 7);
  XWorkerPool::SetWorkerCount(1);
  tool.ApplyTool(source, one, source.GetBounds(), one.GetBounds());
  tool.ApplyTool(flat, moved, flat.GetBounds(), moved.GetBounds());
  XWorkerPool::SetWorkerCount(3);
  tool.ApplyTool(source, three, source.GetBounds(), three.GetBounds());
  tool.ApplyTool(flat, movedThree, flat.GetBounds(), movedThree.GetBounds());
  XWorkerPool::SetWorkerCount(0);
  EXPECT_TRUE(one == three);
  EXPECT_TRUE(moved == movedThree);
}

TEST_F(Resample, RectanglesPixelTypesAndPreconditions) {
  XVolumeResampleTool tool;
  auto source = Row<XGrey8Volume>({10, 20, 30, 40});
  // Only the rectangles are touched; equal sizes copy as they are.
  XGrey8Volume dest(6, 1, 1);
  FillWith(dest, [](SInt32, SInt32, SInt32) { return UInt8(99); });
  tool.ApplyTool(*source, dest, X3DRect(1, 0, 0, 3, 1, 1), X3DRect(2, 0, 0, 4, 1, 1));
  EXPECT_EQ(Values(dest), std::vector<UInt8>({99, 99, 20, 30, 99, 99}));
  tool.ApplyTool(*source, dest, X3DRect(0, 0, 0, 0, 1, 1), dest.GetBounds());  // empty: nothing
  EXPECT_EQ(Values(dest), std::vector<UInt8>({99, 99, 20, 30, 99, 99}));
  tool.ApplyTool(*source, dest, source->GetBounds(), X3DRect(0, 0, 0, 3, 1, 1));
  EXPECT_EQ(Values(dest)[3], 30);
  // Masks are Grey8 volumes; the two classes must otherwise agree.
  XMaskVolume mask(8, 1, 1);
  tool.ApplyTool(*source, mask, source->GetBounds(), mask.GetBounds());
  XGrey16Volume grey16(8, 1, 1);
  EXPECT_EQ(ErrorOf([&] { tool.ApplyTool(*source, grey16, source->GetBounds(), grey16.GetBounds()); }),
            kErrNotForPixelType);
  XFPVolume fp(2, 1, 1), fpBigger(4, 1, 1);
  EXPECT_EQ(ErrorOf([&] { tool.ApplyTool(fp, fpBigger, fp.GetBounds(), fpBigger.GetBounds()); }), kErrNotForPixelType);
  XRGB48Volume rgb(2, 1, 1), rgbBigger(4, 1, 1);
  EXPECT_EQ(ErrorOf([&] { tool.ApplyTool(rgb, rgbBigger, rgb.GetBounds(), rgbBigger.GetBounds()); }),
            kErrNotForPixelType);
  EXPECT_THROW(tool.ApplyTool(*source, dest, X3DRect(0, 0, 0, 5, 1, 1), dest.GetBounds()), XInternalError);
  EXPECT_THROW(tool.ApplyTool(*source, dest, source->GetBounds(), X3DRect(0, 0, 0, 7, 1, 1)), XInternalError);
}

// A shrinking map with scaling goes through the simple filter, which
// weighs thin columns instead of picking them: columns 1, 4 and 7 of 9 are
// lost at a third of the size, where the nearest voxel keeps one of them.
TEST_F(Resample, RegionsShrunkWithScaleAreFiltered) {
  const XMaskVolume mask = MakeMask(X3DRect(9, 9, 1), [](SInt32 x, SInt32, SInt32) { return x % 3 == 1; });
  X3DRegion nearest(mask), filtered(mask);
  nearest.Map(X3DRect(9, 9, 1), X3DRect(3, 3, 1), false);
  filtered.Map(X3DRect(9, 9, 1), X3DRect(3, 3, 1), true);
  EXPECT_EQ(nearest.GetVolume(), 3u);
  EXPECT_TRUE(filtered.IsEmpty());
  // A solid block survives either way and stays a box.
  X3DRegion block(MakeMask(X3DRect(9, 9, 1), [](SInt32 x, SInt32 y, SInt32) { return x < 6 && y < 6 && (x + y) % 7; }));
  block.Map(X3DRect(9, 9, 1), X3DRect(3, 3, 1), true);
  EXPECT_TRUE(block.IsSimple());
  EXPECT_EQ(block.GetBounds(), X3DRect(2, 2, 1));
}

TEST_F(Resample, ScalerTablesPickTheNearestLowerSource) {
  const XImageScaler image(XRect(0, 0, 3, 2), XRect(10, 10, 15, 13), 4, 100);
  std::vector<UInt64> xs, ys;
  for (UInt32 i = 0; i < 5; ++i) xs.push_back(image.GetSrcX(i));
  for (UInt32 i = 0; i < 3; ++i) ys.push_back(image.GetSrcY(i));
  EXPECT_EQ(xs, std::vector<UInt64>({0, 0, 4, 4, 8}));
  EXPECT_EQ(ys, std::vector<UInt64>({0, 0, 100}));
  const XVolumeScaler volume(X3DRect(4, 1, 6), X3DRect(2, 1, 4), 1, 4, 4);
  EXPECT_EQ(volume.GetSrcX(1), 2u);
  EXPECT_EQ(volume.GetSrcZ(3), 16u);
  std::vector<UInt64> table;
  XVolumeScaler::FillArray(table, 7, 3, 2);
  EXPECT_EQ(table, std::vector<UInt64>({0, 4, 8}));
}

}  // namespace
